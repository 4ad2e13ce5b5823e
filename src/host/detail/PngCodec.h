#pragma once

#include "ImageData.h"

namespace orn::detail {

/// Decodes a PNG file image: 4 bytes per pixel when it has alpha (or transparency), 3 otherwise.
DecodedImage DecodePng(const std::uint8_t* data, std::size_t size, const std::string& name);

std::vector<std::uint8_t> EncodePng(int width, int height, int bytesPerPixel, const std::uint8_t* bits,
                                    int stride, const std::string& name);

} // namespace orn::detail
