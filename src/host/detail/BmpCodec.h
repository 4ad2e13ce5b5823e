#pragma once

#include "ImageData.h"

namespace orn::detail {

/// Decodes a BMP file image; throws EOrnError naming name and the fault for anything it refuses.
/// Files with an alpha channel (32 bit, or 16 bit with an alpha mask) give 4 bytes per pixel.
DecodedImage DecodeBmp(const std::uint8_t* data, std::size_t size, const std::string& name);

/// Encodes uncompressed, bottom-up: 24-bit for 3 bytes per pixel, 32-bit for 4.
std::vector<std::uint8_t> EncodeBmp(int width, int height, int bytesPerPixel, const std::uint8_t* bits,
                                    int stride);

} // namespace orn::detail
