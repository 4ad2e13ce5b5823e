#include "host/detail/ControlPaint.h"

#include <orn/host/TBitmap.h>

#include <algorithm>

namespace orn::detail {

void FillSolid(TCanvas& canvas, const TRect& rect, TColor color) {
    canvas.Brush().SetStyle(bsSolid);
    canvas.Brush().SetColor(color);
    canvas.FillRect(rect);
}

void Frame(TCanvas& canvas, const TRect& rect, TColor color) {
    canvas.Brush().SetStyle(bsClear);
    canvas.Pen().SetColor(color);
    canvas.Rectangle(rect);
    canvas.Brush().SetStyle(bsSolid);
}

TRect Inset(const TRect& rect, int d) {
    TRect r = Rect(rect.Left + d, rect.Top + d, rect.Right - d, rect.Bottom - d);
    if (r.Right < r.Left) r.Right = r.Left;
    if (r.Bottom < r.Top) r.Bottom = r.Top;
    return r;
}

TColor Mix(TColor a, TColor b, double t) {
    auto channel = [t](int ca, int cb) { return static_cast<std::uint8_t>(ca + (cb - ca) * t + 0.5); };
    return RGB(channel(GetRValue(a), GetRValue(b)), channel(GetGValue(a), GetGValue(b)),
               channel(GetBValue(a), GetBValue(b)));
}

void TextOutColored(TCanvas& canvas, const TFont& font, int x, int y, const std::string& text,
                    const TRect& clip, const std::function<TColor(int x, int y)>& colorAt) {
    if (text.empty() || clip.Width() <= 0 || clip.Height() <= 0) return;
    // The text is set white on black; its brightness is the coverage of each pixel.
    TBitmap mask(1, 1);
    TCanvas& m = mask.Canvas();
    m.Font().Assign(&font);
    m.Font().SetColor(clWhite);
    const TSize extent = m.TextExtent(text);
    // Only the part of the cell inside the clip rectangle is ever set.
    const int left = std::max(x, clip.Left), top = std::max(y, clip.Top);
    const int right = std::min(x + extent.cx, clip.Right), bottom = std::min(y + extent.cy, clip.Bottom);
    if (right <= left || bottom <= top) return;
    // The mask holds only the visible part: a huge font's cell may be far larger than the control.
    mask.SetSize(right - left, bottom - top);
    m.Brush().SetColor(clBlack);
    m.Brush().SetStyle(bsSolid);
    m.FillRect(Rect(0, 0, right - left, bottom - top));
    m.Brush().SetStyle(bsClear);
    m.TextOut(x - left, y - top, text);
    for (int py = top; py < bottom; ++py)
        for (int px = left; px < right; ++px) {
            const int coverage = GetRValue(mask.Pixel(px - left, py - top));
            if (coverage == 0) continue;
            canvas.SetPixels(px, py, Mix(canvas.Pixels(px, py), colorAt(px, py), coverage / 255.0));
        }
}

void TextCentered(TCanvas& canvas, const TFont& font, const TRect& rect, const std::string& text,
                  TColor color) {
    if (text.empty() || rect.Width() <= 0 || rect.Height() <= 0) return;
    canvas.Font().Assign(&font);
    const TSize extent = canvas.TextExtent(text);
    const int x = rect.Left + (rect.Width() - extent.cx) / 2;
    const int y = rect.Top + (rect.Height() - extent.cy) / 2;
    TextOutColored(canvas, font, x, y, text, rect, [color](int, int) { return color; });
}

} // namespace orn::detail
