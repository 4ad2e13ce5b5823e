#include <orn/host/TBitmap.h>
#include <orn/host/TCanvas.h>

#include "detail/FontEngine.h"

#include <algorithm>
#include <cstdlib>

namespace orn {
namespace {

detail::FontRequest RequestFor(const TFont& font) {
    return detail::FontRequest{font.Name(), font.Height(), font.Style().Contains(fsBold),
                               font.Style().Contains(fsItalic)};
}

// Lays coverage over a pixel: the font colour in proportion to coverage, alpha composited "over".
void Blend(std::uint8_t* p, int bytesPerPixel, TColor color, unsigned coverage) {
    const unsigned channel[3] = {GetBValue(color), GetGValue(color), GetRValue(color)};
    for (int i = 0; i < 3; ++i)
        p[i] = static_cast<std::uint8_t>((channel[i] * coverage + p[i] * (255 - coverage) + 127) / 255);
    if (bytesPerPixel == 4) p[3] = static_cast<std::uint8_t>(p[3] + ((255 - p[3]) * coverage + 127) / 255);
}

} // namespace

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

TSize TCanvas::TextExtent(const std::string& text) {
    const detail::TextLayout layout = detail::LayOutText(RequestFor(fFont), text);
    return TSize{layout.Width, layout.Ascent + layout.Descent};
}

void TCanvas::TextOut(int x, int y, const std::string& text) {
    const detail::TextLayout layout = detail::LayOutText(RequestFor(fFont), text);
    // Far-away positions draw nothing either way; the clamp keeps the cell arithmetic in range.
    x = std::clamp(x, -detail::kMaxTextExtent, detail::kMaxTextExtent);
    y = std::clamp(y, -detail::kMaxTextExtent, detail::kMaxTextExtent);
    const TRect cell = Rect(x, y, x + layout.Width, y + layout.Ascent + layout.Descent);
    if (fBrush.Style() == bsSolid) FillClipped(cell, fBrush.Color());
    const TRect clip = Rect(std::max(cell.Left, 0), std::max(cell.Top, 0),
                            std::min(cell.Right, fBitmap.Width()), std::min(cell.Bottom, fBitmap.Height()));
    const int baseline = y + layout.Ascent;
    const int bpp = fBitmap.BytesPerPixel();
    const TColor color = fFont.Color();
    for (const detail::PlacedGlyph& placed : layout.Glyphs) {
        const detail::GlyphImage& g = *placed.Glyph;
        const int left = x + placed.X + g.Left, top = baseline - g.Top;
        for (int r = std::max(0, clip.Top - top); r < g.Rows && top + r < clip.Bottom; ++r) {
            std::uint8_t* row = fBitmap.ScanLine(top + r);
            for (int c = std::max(0, clip.Left - left); c < g.Width && left + c < clip.Right; ++c)
                if (const unsigned cov = g.Coverage[static_cast<std::size_t>(r) * g.Width + c])
                    Blend(row + static_cast<std::size_t>(left + c) * bpp, bpp, color, cov);
        }
    }
    if (fFont.Style().Contains(fsUnderline)) {
        const int top = baseline + layout.UnderlineOffset - layout.UnderlineSize / 2;
        FillClipped(Rect(clip.Left, std::max(top, clip.Top), clip.Right,
                         std::min(top + layout.UnderlineSize, clip.Bottom)),
                    color);
    }
    if (fFont.Style().Contains(fsStrikeOut)) {
        const int top = baseline - layout.StrikeOffset - layout.StrikeSize / 2;
        FillClipped(Rect(clip.Left, std::max(top, clip.Top), clip.Right,
                         std::min(top + layout.StrikeSize, clip.Bottom)),
                    color);
    }
    fPenPos = Point(cell.Right, y);
    fBitmap.Changed();
}

} // namespace orn
