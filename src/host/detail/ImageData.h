#pragma once

#include <orn/host/EOrnError.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orn::detail {

/// Pixels as a codec hands them to TBitmap: rows top-down, B, G, R(, A) bytes, rows padded to 4 bytes.
struct DecodedImage {
    int Width = 0;
    int Height = 0;
    int BytesPerPixel = 3;
    std::vector<std::uint8_t> Bits;
};

inline int RowStride(int width, int bytesPerPixel) {
    return (width * bytesPerPixel + 3) & ~3;
}

/// Throws the error every image reader gives: the file's name and what is wrong with it.
[[noreturn]] inline void ImageFail(const std::string& name, const std::string& reason) {
    throw EOrnError("Cannot read image \"" + name + "\": " + reason);
}

} // namespace orn::detail
