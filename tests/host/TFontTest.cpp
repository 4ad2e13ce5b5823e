#include <orn/host/TFont.h>

#include <gtest/gtest.h>

using namespace orn;

TEST(TFontProperties, SizeAndHeightConvertAtNinetySixDpi) {
    const std::vector<std::pair<int, int>> sizeToHeight = {
        {8, -11}, {9, -12}, {10, -13}, {12, -16}, {72, -96}};
    TFont font;
    for (const auto& [size, height] : sizeToHeight) {
        font.SetSize(size);
        EXPECT_EQ(font.Height(), height) << size;
        EXPECT_EQ(font.Size(), size) << size;
    }
    font.SetHeight(20); // a cell height: Size turns negative as the host's does
    EXPECT_EQ(font.Size(), -15);
    font.SetHeight(1000000);
    EXPECT_EQ(font.Height(), TFont::kMaxHeight);
}

TEST(TFontChange, NotifiesOncePerRealChange) {
    TFont font;
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
    TFont other;
    other.SetSize(20);
    other.SetStyle({fsItalic});
    font.Assign(&other);
    EXPECT_EQ(changes, 4);
    EXPECT_EQ(font.Name(), "DejaVu Sans");
    EXPECT_EQ(font.Height(), other.Height());
    EXPECT_EQ(font.Style(), TFontStyles({fsItalic}));
    EXPECT_EQ(font.Color(), clBlack);
    font.Assign(&other);
    EXPECT_EQ(changes, 4);
}
