#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace orn::test {

using Rgba = std::array<std::uint8_t, 4>;

/// An RGBA8 image as glReadPixels returns it: rows from the bottom up, no padding.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    /// The pixel at (x, y), y from the bottom; transparent black outside the image.
    Rgba At(int x, int y) const {
        const std::size_t i = (static_cast<std::size_t>(y) * width + x) * 4;
        if (x < 0 || y < 0 || x >= width || y >= height || i + 3 >= pixels.size()) return {0, 0, 0, 0};
        return {pixels[i], pixels[i + 1], pixels[i + 2], pixels[i + 3]};
    }
};

/// Whether every channel of a and b differs by at most tolerance.
inline bool SameColor(const Rgba& a, const Rgba& b, int tolerance = 2) {
    for (std::size_t c = 0; c < 4; ++c)
        if (std::abs(int(a[c]) - int(b[c])) > tolerance) return false;
    return true;
}

/// For EXPECT_TRUE(ColorNear(ReadPixel(x, y), {255, 0, 0, 255})): the message shows both colours.
inline ::testing::AssertionResult ColorNear(const Rgba& actual, const Rgba& expected, int tolerance = 2) {
    if (SameColor(actual, expected, tolerance)) return ::testing::AssertionSuccess();
    const auto text = [](const Rgba& c) {
        return "(" + std::to_string(c[0]) + ", " + std::to_string(c[1]) + ", " + std::to_string(c[2]) + ", " +
               std::to_string(c[3]) + ")";
    };
    return ::testing::AssertionFailure() << "colour " << text(actual) << " differs from " << text(expected)
                                         << " by more than " << tolerance;
}

/// How many pixels match color within tolerance, alpha ignored (a silhouette's area in pixels).
inline std::size_t CountPixels(const Image& image, const Rgba& color, int tolerance = 2) {
    std::size_t count = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            Rgba pixel = image.At(x, y);
            pixel[3] = color[3];
            count += SameColor(pixel, color, tolerance) ? 1 : 0;
        }
    return count;
}

} // namespace orn::test
