#pragma once

#include <orn/host/TColor.h>
#include <orn/host/TFont.h>
#include <orn/host/TRect.h>

#include <string>

namespace orn {

class TBitmap;

enum TBrushStyle { bsSolid, bsClear };

/// The pen a canvas draws lines and outlines with (always one pixel wide).
class TPen {
public:
    TColor Color() const { return fColor; }
    void SetColor(TColor value) { fColor = value; }

private:
    TColor fColor = clBlack;
};

/// The brush a canvas fills with; bsClear fills nothing.
class TBrush {
public:
    TColor Color() const { return fColor; }
    void SetColor(TColor value) { fColor = value; }
    TBrushStyle Style() const { return fStyle; }
    void SetStyle(TBrushStyle value) { fStyle = value; }

private:
    TColor fColor = clWhite;
    TBrushStyle fStyle = bsSolid;
};

/// Draws on a bitmap as the host framework's canvas does: rectangles exclude their right and bottom
/// edges, everything is clipped to the bitmap, and each operation notifies the bitmap once.
class TCanvas {
public:
    explicit TCanvas(TBitmap& bitmap) : fBitmap(bitmap) {}
    TCanvas(const TCanvas&) = delete;
    TCanvas& operator=(const TCanvas&) = delete;

    TPen& Pen() { return fPen; }
    TBrush& Brush() { return fBrush; }
    TFont& Font() { return fFont; }

    /// Fills rect with the brush colour (nothing for bsClear or an empty rect).
    void FillRect(const TRect& rect);
    /// Outlines rect in the pen colour and fills its inside with the brush (unless bsClear).
    void Rectangle(const TRect& rect);
    void Rectangle(int left, int top, int right, int bottom) { Rectangle(Rect(left, top, right, bottom)); }

    /// The colour at (x, y); clNone outside the bitmap.
    TColor Pixels(int x, int y) const;
    /// Sets one pixel; outside the bitmap nothing happens.
    void SetPixels(int x, int y, TColor color);

    TPoint PenPos() const { return fPenPos; }
    void MoveTo(int x, int y) { fPenPos = Point(x, y); }
    /// Draws a line in the pen colour from the pen position up to, but not including, (x, y), and
    /// moves the pen there.
    void LineTo(int x, int y);

    /// Draws UTF-8 text with its cell's top-left corner at (x, y), anti-aliased in the font colour;
    /// with a solid brush the cell (TextExtent at x, y) is filled first. Drawing stays inside the
    /// cell. Moves the pen to the cell's top-right corner.
    void TextOut(int x, int y, const std::string& text);
    /// The advance width and the cell height (ascent plus descent) of text in pixels.
    TSize TextExtent(const std::string& text);
    int TextWidth(const std::string& text) { return TextExtent(text).cx; }
    int TextHeight(const std::string& text) { return TextExtent(text).cy; }

private:
    void FillClipped(const TRect& rect, TColor color);

    TBitmap& fBitmap;
    TPen fPen;
    TBrush fBrush;
    TFont fFont;
    TPoint fPenPos;
};

} // namespace orn
