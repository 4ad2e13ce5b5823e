#pragma once

namespace orn {

/// A point in pixels: x to the right, y downwards.
struct TPoint {
    int X = 0;
    int Y = 0;
    constexpr bool operator==(const TPoint&) const = default;
};

/// A size in pixels, named as the host names it.
struct TSize {
    int cx = 0;
    int cy = 0;
    constexpr bool operator==(const TSize&) const = default;
};

/// A rectangle in pixels as the host framework has it: Left and Top inside, Right and Bottom just
/// outside, so Right - Left is the width.
struct TRect {
    int Left = 0;
    int Top = 0;
    int Right = 0;
    int Bottom = 0;

    constexpr int Width() const { return Right - Left; }
    constexpr int Height() const { return Bottom - Top; }
    constexpr bool operator==(const TRect&) const = default;
};

constexpr TRect Rect(int left, int top, int right, int bottom) {
    return TRect{left, top, right, bottom};
}
constexpr TPoint Point(int x, int y) {
    return TPoint{x, y};
}

} // namespace orn
