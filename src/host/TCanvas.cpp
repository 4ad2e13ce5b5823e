#include <orn/host/TBitmap.h>
#include <orn/host/TCanvas.h>

#include <algorithm>
#include <cstdlib>

namespace orn {

void TCanvas::FillClipped(const TRect& rect, TColor color) {
    const int left = std::max(rect.Left, 0), top = std::max(rect.Top, 0);
    const int right = std::min(rect.Right, fBitmap.Width()), bottom = std::min(rect.Bottom, fBitmap.Height());
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x)
            fBitmap.PutPixel(x, y, color);
}

void TCanvas::FillRect(const TRect& rect) {
    if (fBrush.Style() == bsClear || rect.Right <= rect.Left || rect.Bottom <= rect.Top) return;
    FillClipped(rect, fBrush.Color());
    fBitmap.Changed();
}

void TCanvas::Rectangle(const TRect& rect) {
    // The host draws a rectangle given with its corners swapped the same as the normalised one.
    const TRect r = Rect(std::min(rect.Left, rect.Right), std::min(rect.Top, rect.Bottom),
                         std::max(rect.Left, rect.Right), std::max(rect.Top, rect.Bottom));
    if (r.Right == r.Left || r.Bottom == r.Top) return;
    if (fBrush.Style() == bsSolid)
        FillClipped(Rect(r.Left + 1, r.Top + 1, r.Right - 1, r.Bottom - 1), fBrush.Color());
    const TColor pen = fPen.Color();
    FillClipped(Rect(r.Left, r.Top, r.Right, r.Top + 1), pen);
    FillClipped(Rect(r.Left, r.Bottom - 1, r.Right, r.Bottom), pen);
    FillClipped(Rect(r.Left, r.Top, r.Left + 1, r.Bottom), pen);
    FillClipped(Rect(r.Right - 1, r.Top, r.Right, r.Bottom), pen);
    fBitmap.Changed();
}

TColor TCanvas::Pixels(int x, int y) const {
    return fBitmap.Pixel(x, y);
}

void TCanvas::SetPixels(int x, int y, TColor color) {
    fBitmap.SetPixel(x, y, color);
}

void TCanvas::LineTo(int x, int y) {
    // Bresenham, leaving out the last point as the host does so that joined lines touch once.
    long long cx = fPenPos.X, cy = fPenPos.Y;
    const long long dx = std::llabs(x - cx), dy = -std::llabs(y - cy);
    const int sx = cx < x ? 1 : -1, sy = cy < y ? 1 : -1;
    long long err = dx + dy;
    while (cx != x || cy != y) {
        fBitmap.PutPixel(static_cast<int>(cx), static_cast<int>(cy), fPen.Color());
        const long long e2 = 2 * err;
        if (e2 >= dy) {
            err += dy;
            cx += sx;
        }
        if (e2 <= dx) {
            err += dx;
            cy += sy;
        }
    }
    fPenPos = Point(x, y);
    fBitmap.Changed();
}

} // namespace orn
