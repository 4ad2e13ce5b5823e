#include "support/Image.h"

#include <cstdlib>

namespace orn::test {

Rgba Image::At(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return {0, 0, 0, 0};
    const std::size_t i = (static_cast<std::size_t>(y) * width + x) * 4;
    if (i + 3 >= pixels.size()) return {0, 0, 0, 0};
    return {pixels[i], pixels[i + 1], pixels[i + 2], pixels[i + 3]};
}

bool SameColor(const Rgba& a, const Rgba& b, int tolerance) {
    for (std::size_t c = 0; c < 4; ++c)
        if (std::abs(int(a[c]) - int(b[c])) > tolerance) return false;
    return true;
}

::testing::AssertionResult ColorNear(const Rgba& actual, const Rgba& expected, int tolerance) {
    if (SameColor(actual, expected, tolerance)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "colour " << ToString(actual) << " differs from "
                                         << ToString(expected) << " by more than " << tolerance;
}

std::size_t CountPixels(const Image& image, const Rgba& color, int tolerance) {
    std::size_t count = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            Rgba pixel = image.At(x, y);
            pixel[3] = color[3];
            count += SameColor(pixel, color, tolerance) ? 1 : 0;
        }
    return count;
}

std::string ToString(const Rgba& color) {
    return "(" + std::to_string(color[0]) + ", " + std::to_string(color[1]) + ", " +
           std::to_string(color[2]) + ", " + std::to_string(color[3]) + ")";
}

} // namespace orn::test
