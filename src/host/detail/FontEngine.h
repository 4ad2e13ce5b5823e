#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// Text widths and positions are kept within this many pixels, so that sums of them fit an int.
inline constexpr int kMaxTextExtent = 1 << 28;

/// What a text is drawn with: a family name or font file, a host height, synthesised or real styles.
struct FontRequest {
    std::string Name;
    int Height = 0;
    bool Bold = false;
    bool Italic = false;
};

/// One rendered glyph: 8-bit coverage rows; Left/Top place its top-left corner relative to the pen
/// on the baseline (Top upwards).
struct GlyphImage {
    int Width = 0;
    int Rows = 0;
    int Left = 0;
    int Top = 0;
    long Advance64 = 0; // in 1/64 pixel
    std::vector<std::uint8_t> Coverage;
};

struct PlacedGlyph {
    int X = 0; // pen position in pixels from the start of the text
    const GlyphImage* Glyph = nullptr;
};

/// A line of text laid out: glyphs and the metrics of the font at its size, all in pixels.
struct TextLayout {
    int Width = 0;
    int Ascent = 0;
    int Descent = 0;
    int UnderlineOffset = 0; // below the baseline
    int UnderlineSize = 1;
    int StrikeOffset = 0; // above the baseline
    int StrikeSize = 1;
    std::vector<PlacedGlyph> Glyphs;
};

/// Lays out UTF-8 text (bad sequences become U+FFFD; characters the font lacks take its glyph 0).
/// Faces are found through fontconfig and cached with their rendered glyphs; glyph images stay
/// valid for the life of the program. Throws EOrnError when FreeType refuses the font file.
TextLayout LayOutText(const FontRequest& request, std::string_view utf8);

/// A point of a glyph outline in ems (the font's em square is 1 × 1), y upwards, baseline at y = 0.
struct OutlinePoint {
    double X = 0;
    double Y = 0;
};

/// The outlines of a line of text: closed contours (the first point is not repeated at the end),
/// each glyph placed at its pen position from x = 0. Which contours are holes follows from nesting.
struct TextOutline {
    std::vector<std::vector<OutlinePoint>> Contours;
    /// Where each glyph's contours start in Contours (empty: all are one glyph).
    std::vector<std::size_t> GlyphStarts;
    double Width = 0; // the advance of the whole text
    double Ascent = 0;
    double Descent = 0; // positive, below the baseline
};

/// Unhinted outlines of UTF-8 text in the request's face and style (its height does not matter:
/// everything is in ems), curves flattened so that no chord strays more than tolerance ems from
/// its curve. Throws EOrnError when FreeType refuses the font file.
TextOutline OutlineText(const FontRequest& request, std::string_view utf8, double tolerance);

/// The code points of UTF-8 text, U+FFFD for each malformed sequence.
std::u32string DecodeUtf8(std::string_view utf8);

} // namespace orn::detail
