#pragma once

#include "ImageData.h"

namespace orn::detail {

/// Decodes a BMP file image; throws EOrnError naming name and the fault for anything it refuses.
/// Reads 1, 2, 4, 8, 16, 24 and 32 bits per pixel, uncompressed, RLE4, RLE8 and bit fields (with
/// alpha masks from V4/V5 headers), Windows and OS/2 headers, rows top-down or bottom-up.
/// Files with an alpha channel (32 bit, or 16 bit with an alpha mask) give 4 bytes per pixel; a
/// 32-bit file whose fourth bytes are all 0 is taken as opaque. Pixels an RLE stream skips are black.
/// Refused: a palette index outside the palette, truncated data (pixel rows must be complete with
/// their padding), a file-size or image-size field larger than the data, an RLE stream that leaves
/// the bitmap or ends without its end mark, top-down RLE, empty, overlapping or broken colour masks,
/// implausible resolutions, JPEG/PNG/Huffman/RLE24 compression, and anything above kMaxBitmapBytes
/// (checked from the header, before allocating).
DecodedImage DecodeBmp(const std::uint8_t* data, std::size_t size, const std::string& name);

/// Encodes uncompressed, bottom-up: 24-bit for 3 bytes per pixel, 32-bit for 4.
std::vector<std::uint8_t> EncodeBmp(int width, int height, int bytesPerPixel, const std::uint8_t* bits,
                                    int stride);

} // namespace orn::detail
