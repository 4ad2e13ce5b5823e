#include <orn/host/TBitmap.h>
#include <orn/host/TFont.h>

#include "host/detail/FontEngine.h"
#include "support/ErrorText.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace orn;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr const char* kSample = "Hello, Wörld! gjpqy";

// Pixels that differ from the background: {inside r, outside r}.
std::pair<int, int> CountInk(const TBitmap& bmp, const TRect& r, TColor background = clBlack) {
    std::pair<int, int> ink{0, 0};
    for (int y = 0; y < bmp.Height(); ++y)
        for (int x = 0; x < bmp.Width(); ++x)
            if (bmp.Pixel(x, y) != background)
                ++(x >= r.Left && x < r.Right && y >= r.Top && y < r.Bottom ? ink.first : ink.second);
    return ink;
}

} // namespace

TEST(TFont, ChangesNotifyOnceAndSizeAndHeightConvertAtNinetySixDpi) {
    TFont font, other;
    int changes = 0;
    font.OnChange = [&](TObject* sender) {
        EXPECT_EQ(sender, &font);
        ++changes;
    };
    font.SetName("DejaVu Serif");
    font.SetName("DejaVu Serif");
    font.SetSize(8); // already -11
    font.SetStyle({fsBold, fsUnderline});
    font.SetColor(clRed);
    EXPECT_EQ(changes, 3);
    other.SetSize(20);
    other.SetStyle({fsItalic});
    font.Assign(&other);
    font.Assign(&other);
    EXPECT_EQ(changes, 4);
    EXPECT_EQ(std::tuple(font.Name(), font.Height(), font.Style(), font.Color()),
              std::tuple(std::string("DejaVu Sans"), -27, TFontStyles({fsItalic}), clBlack));
    for (auto [size, height] : {std::pair{8, -11}, {9, -12}, {10, -13}, {12, -16}, {72, -96}}) {
        other.SetSize(size);
        EXPECT_EQ(std::pair(other.Size(), other.Height()), std::pair(size, height));
    }
    other.SetHeight(20); // a cell height: Size turns negative as the host's does
    EXPECT_EQ(other.Size(), -15);
    other.SetHeight(1000000);
    EXPECT_EQ(other.Height(), TFont::kMaxHeight);
}

TEST(TCanvasText, InkStaysInsideTheExtentAndMissingGlyphsAndBadUtf8StillDraw) {
    const std::pair<std::string, TFontStyles> cases[] = {{kSample, {}},
                                                         {kSample, {fsItalic}},
                                                         {kSample, {fsBold, fsUnderline, fsStrikeOut}},
                                                         {"\U0010FFFD", {}},
                                                         {"\xC3\x28\xFF", {}}};
    for (const auto& [text, style] : cases) {
        SCOPED_TRACE(text + " " + std::to_string(style.Bits()));
        TBitmap bmp(300, 80);
        TCanvas& c = bmp.Canvas();
        c.Font().SetSize(16);
        c.Font().SetStyle(style);
        c.Font().SetColor(clWhite);
        c.Brush().SetStyle(bsClear);
        c.TextOut(10, 12, text);
        const TSize e = c.TextExtent(text);
        const auto [inside, outside] = CountInk(bmp, Rect(10, 12, 10 + e.cx, 12 + e.cy));
        EXPECT_GT(inside, text == kSample ? 100 : 10);
        EXPECT_EQ(outside, 0);
        EXPECT_EQ(c.PenPos(), Point(10 + e.cx, 12));
    }
}

TEST(TCanvasText, BrushesFillOrKeepTheCellInkTakesTheFontColourTextClipsAndExtentsFollowTheFont) {
    TBitmap bmp(200, 60, pf32bit);
    int changes = 0;
    bmp.OnChange = [&](TObject*) { ++changes; };
    TCanvas& c = bmp.Canvas();
    c.Brush().SetColor(clBlue);
    c.Font().SetColor(clYellow);
    c.TextOut(5, 5, "Ab");
    const TSize e = c.TextExtent("Ab");
    EXPECT_EQ(bmp.Pixel(5, 5), clBlue);
    EXPECT_EQ(bmp.Pixel(5 + e.cx - 1, 5 + e.cy - 1), clBlue);
    EXPECT_EQ(bmp.Pixel(5 + e.cx, 5), clBlack);
    c.Brush().SetStyle(bsClear);
    c.Font().SetHeight(-48);
    c.Font().SetColor(RGB(200, 100, 50));
    c.TextOut(100, 0, "l");
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(bmp.Pixel(100, 0), clBlack);
    int exact = 0, blended = 0;
    for (int y = 0; y < bmp.Height(); ++y)
        for (int x = 100; x < bmp.Width(); ++x) {
            const TColor p = bmp.Pixel(x, y);
            exact += p == RGB(200, 100, 50) && bmp.Alpha(x, y) == 255;
            blended += p != clBlack && p != RGB(200, 100, 50);
        }
    EXPECT_GT(exact, 50);
    EXPECT_GT(blended, 0) << "anti-aliased edges";
    const Bytes drawn = bmp.ToRGBA();
    c.Brush().SetStyle(bsSolid);
    c.Brush().SetColor(clRed);
    c.Font().SetSize(24);
    for (int far : {INT_MIN, INT_MAX}) {
        c.TextOut(far, far, "far away");
        c.TextOut(far, 0, "far away");
    }
    EXPECT_EQ(bmp.ToRGBA(), drawn) << "far away";
    c.TextOut(-15, -2, "Clipped text"); // (0, 0) and (199, 59) lie above the letters
    c.TextOut(195, 55, "Clipped text");
    EXPECT_EQ(std::pair(bmp.Pixel(0, 0), bmp.Pixel(199, 59)), std::pair(clRed, clRed));
    // Extents grow with the size and bold; fonts are found by name or file.
    TSize previous{0, 0};
    for (int size : {6, 12, 36}) {
        c.Font().SetSize(size);
        const TSize extent = c.TextExtent(kSample);
        EXPECT_TRUE(extent.cx > previous.cx && extent.cy > previous.cy) << size;
        EXPECT_EQ(std::pair(extent.cx, extent.cy), std::pair(c.TextWidth(kSample), c.TextHeight(kSample)));
        previous = extent;
    }
    for (int cell : {12, 45}) { // a positive height asks for the cell height itself
        c.Font().SetHeight(cell);
        EXPECT_NEAR(c.TextHeight("x"), cell, 1) << cell;
    }
    EXPECT_EQ(c.TextWidth(""), 0);
    EXPECT_GT(c.TextHeight(""), 0);
    c.Font().SetSize(14);
    const int regular = c.TextWidth(kSample);
    c.Font().SetStyle({fsBold});
    EXPECT_GT(c.TextWidth(kSample), regular);
    c.Font().SetStyle({});
    c.Font().SetName("No Such Font Family 42");
    EXPECT_EQ(c.TextWidth(kSample), regular);
    c.Font().SetName("DejaVu Sans Mono");
    EXPECT_EQ(c.TextWidth("iiii"), c.TextWidth("WWWW"));
    c.Font().SetName("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"); // a file: the same face
    EXPECT_EQ(c.TextWidth(kSample), regular);
    const auto path =
        std::filesystem::temp_directory_path() / ("orn_bad_font_" + std::to_string(::getpid()) + ".ttf");
    std::ofstream(path) << "this is not a font";
    c.Font().SetName(path.string());
    EXPECT_NE(orn::test::ErrorText([&] { c.TextWidth("x"); }).find(path.string()), std::string::npos);
    std::filesystem::remove(path);
}

TEST(TCanvasText, MalformedUtf8BecomesReplacementCharacters) {
    const std::vector<std::pair<std::string, std::u32string>> table = {
        {"A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", U"A\u00E9\u20AC\U0001F600"},
        {"\xC0\xAF", U"\uFFFD\uFFFD"},                     // overlong '/'
        {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // above U+10FFFF
        {"ab\xE2\x82", U"ab\uFFFD\uFFFD"},                 // cut short
        {"\x80x", U"\uFFFDx"},                             // stray continuation byte
    };
    for (const auto& [utf8, expected] : table)
        EXPECT_TRUE(detail::DecodeUtf8(utf8) == expected) << utf8;
}
