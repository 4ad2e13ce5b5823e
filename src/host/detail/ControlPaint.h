#pragma once

#include <orn/host/TCanvas.h>

#include <functional>
#include <string>

namespace orn::detail {

/// Fills rect with color through a solid brush.
void FillSolid(TCanvas& canvas, const TRect& rect, TColor color);
/// A one-pixel outline of rect in color.
void Frame(TCanvas& canvas, const TRect& rect, TColor color);
/// rect shrunk by d pixels on each side (never inside out).
TRect Inset(const TRect& rect, int d);
/// The colour a ⋅ (1 − t) + b ⋅ t, t in 0 … 1.
TColor Mix(TColor a, TColor b, double t);

/// Draws text anti-aliased with its cell's top-left corner at (x, y), each pixel in the colour that
/// colorAt gives for it (canvas pixels), blended over what the canvas holds. Nothing is drawn outside
/// clip.
void TextOutColored(TCanvas& canvas, const TFont& font, int x, int y, const std::string& text,
                    const TRect& clip, const std::function<TColor(int x, int y)>& colorAt);
/// Draws text centred in rect in one colour, clipped to rect.
void TextCentered(TCanvas& canvas, const TFont& font, const TRect& rect, const std::string& text,
                  TColor color);

} // namespace orn::detail
