#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
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
    Rgba At(int x, int y) const;
};

/// Whether every channel of a and b differs by at most tolerance.
bool SameColor(const Rgba& a, const Rgba& b, int tolerance = 2);
/// For EXPECT_TRUE(ColorNear(ReadPixel(x, y), {255, 0, 0, 255})): the message shows both colours.
::testing::AssertionResult ColorNear(const Rgba& actual, const Rgba& expected, int tolerance = 2);
/// How many pixels match color within tolerance, alpha ignored (a silhouette's area in pixels).
std::size_t CountPixels(const Image& image, const Rgba& color, int tolerance = 2);
/// "(r, g, b, a)", for messages.
std::string ToString(const Rgba& color);

} // namespace orn::test
