#include <orn/host/TBitmap.h>
#include <orn/host/TComponentClass.h>
#include <orn/objects/TOrnLabel.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnTexture.h>

#include "geometry/GeometryTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace orn;

namespace {

TSize Extent(const std::string& text, const TFont& font) {
    TBitmap bitmap(1, 1);
    bitmap.Canvas().Font().Assign(&font);
    return bitmap.Canvas().TextExtent(text);
}

bool IsPowerOfTwo(int n) {
    return n > 0 && (n & (n - 1)) == 0;
}

// The alpha of bitmap pixel (x, y), y counted from the top, from the texture's bottom-up pixels.
int AlphaAt(const TOrnTexture& texture, int x, int y) {
    const int w = texture.Bitmap()->Width(), h = texture.Bitmap()->Height();
    return texture.Pixels()[(static_cast<std::size_t>(h - 1 - y) * w + x) * 4 + 3];
}

struct Form {
    TComponent form{nullptr};
    TOrnLabel* label = new TOrnLabel(&form);
};

} // namespace

// ---------------------------------------------------------------------------------------------
// A new label

TEST(TOrnLabelNew, ShowsItsClassNameAtTheTextExtentOnATransparentBackground) {
    Form f;
    EXPECT_EQ(f.label->Caption(), "TOrnLabel");
    const TSize extent = Extent("TOrnLabel", *f.label->Font());
    EXPECT_EQ(f.label->Width(), extent.cx);
    EXPECT_EQ(f.label->Height(), extent.cy);
    EXPECT_EQ(f.label->Color()->Alpha(), 0.0f);
    EXPECT_EQ(f.label->Transparency(), tmAlpha);
    EXPECT_FALSE(f.label->Initialized());
    ASSERT_NE(f.label->LabelTexture(), nullptr);
    EXPECT_EQ(f.label->LabelTexture()->Owner(), f.label);
}

// ---------------------------------------------------------------------------------------------
// The caption in the bitmap

TEST(TOrnLabelInit, TextPixelsTakeTheFontAlphaAndTheBackgroundTheColourAlpha) {
    Form f;
    f.label->Font()->SetHeight(-40); // stems several pixels wide, so some pixels are wholly text
    f.label->Font()->SetColor(clRed);
    f.label->Font()->SetAlpha(0.5f);
    f.label->Color()->SetAlpha(0.25f);
    f.label->SetCaption("IIII");
    f.label->Init();
    const TOrnTexture& texture = *f.label->LabelTexture();
    TCanvas& canvas = texture.Bitmap()->Canvas();
    int text = 0, background = 0;
    for (int y = 0; y < texture.Bitmap()->Height(); ++y)
        for (int x = 0; x < texture.Bitmap()->Width(); ++x) {
            const TColor c = canvas.Pixels(x, y);
            if (c == clRed) {
                ++text;
                EXPECT_EQ(AlphaAt(texture, x, y), 128);
            } else {
                ++background;
                EXPECT_EQ(AlphaAt(texture, x, y), 64);
            }
        }
    EXPECT_GT(text, 20); // the stems of the I's
    EXPECT_GT(background, text);
    // Outside the text cell the background is one step off the (white) label colour.
    EXPECT_EQ(canvas.Pixels(texture.Bitmap()->Width() - 1, texture.Bitmap()->Height() - 1), TColor(0xFFFFFE));
}

TEST(TOrnLabelInit, TheBitmapIsThePowerOfTwoAboveTheTextExtent) {
    Form f;
    for (int height : {-11, 16, 32}) { // positive: cells of exactly a power of two
        f.label->Font()->SetHeight(height);
        f.label->SetCaption("Label " + std::to_string(height));
        f.label->Init();
        const TBitmap& bitmap = *f.label->LabelTexture()->Bitmap();
        SCOPED_TRACE(height);
        EXPECT_TRUE(IsPowerOfTwo(bitmap.Width()));
        EXPECT_TRUE(IsPowerOfTwo(bitmap.Height()));
        EXPECT_GT(bitmap.Width(), f.label->Width());
        EXPECT_LE(bitmap.Width(), 2 * f.label->Width());
        EXPECT_GT(bitmap.Height(), f.label->Height());
        EXPECT_LE(bitmap.Height(), 2 * f.label->Height());
        EXPECT_TRUE(f.label->LabelTexture()->Valid());
    }
}

TEST(TOrnLabelInit, AnEmptyOrHugeCaptionStillGivesAValidTexture) {
    Form f;
    f.label->SetCaption("");
    f.label->Init();
    EXPECT_EQ(f.label->LabelTexture()->Bitmap()->Width(), 2);
    EXPECT_TRUE(f.label->Initialized());
    f.label->SetCaption(std::string(5000, 'W'));
    f.label->Init();
    EXPECT_EQ(f.label->LabelTexture()->Bitmap()->Width(), 4096);
    EXPECT_TRUE(f.label->LabelTexture()->Valid());
}

TEST(TOrnLabelInit, DesignStateDrawsNothing) {
    TComponent form(nullptr);
    form.SetDesigning(true);
    auto* label = new TOrnLabel(&form);
    EXPECT_TRUE(label->LabelTexture()->Bitmap()->Empty());
    label->SetSize(0, 100);
    EXPECT_TRUE(label->LabelTexture()->Bitmap()->Empty());
    EXPECT_EQ(label->Width(), 100);
    label->Init();
    EXPECT_FALSE(label->Initialized());
    EXPECT_TRUE(label->LabelTexture()->Pixels().empty());
}

// ---------------------------------------------------------------------------------------------
// Size

TEST(TOrnLabelSize, AChangedFontResetsWidthAndHeightToTheTextExtent) {
    Form f;
    f.label->SetSize(0, 300);
    f.label->SetSize(1, 40);
    EXPECT_EQ(f.label->Width(), 300);
    EXPECT_EQ(f.label->LabelTexture()->Bitmap()->Width(), 300); // set directly, the bitmap follows
    EXPECT_EQ(f.label->LabelTexture()->Bitmap()->Height(), 40);
    f.label->Font()->SetStyle({fsBold});
    const TSize extent = Extent("TOrnLabel", *f.label->Font());
    EXPECT_EQ(f.label->Width(), extent.cx);
    EXPECT_EQ(f.label->Height(), extent.cy);
    EXPECT_GT(extent.cx, Extent("TOrnLabel", TFont()).cx);
    f.label->SetFont(nullptr); // ignored
    EXPECT_EQ(f.label->Width(), extent.cx);
}

TEST(TOrnLabelSize, NegativeSizesCountAsZeroAndOtherIndicesAreIgnored) {
    Form f;
    f.label->SetSize(0, -5);
    EXPECT_EQ(f.label->Width(), 0);
    const int height = f.label->Height();
    f.label->SetSize(2, 99);
    EXPECT_EQ(f.label->Height(), height);
}

TEST(TOrnLabelSize, EveryChangeClearsTheInitialisedFlag) {
    Form f;
    const std::vector<std::function<void()>> changes = {
        [&] { f.label->SetCaption("x"); },          [&] { f.label->Font()->SetColor(clBlue); },
        [&] { f.label->Color()->SetColor(clRed); }, [&] { f.label->Color()->SetAlpha(0.5f); },
        [&] { f.label->SetSize(0, 10); },           [&] { f.label->SetSize(1, 10); },
        [&] { f.label->Font()->SetAlpha(0.5f); }};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        f.label->Init();
        ASSERT_TRUE(f.label->Initialized());
        changes[i]();
        EXPECT_FALSE(f.label->Initialized()) << i;
    }
}

TEST(TOrnLabelSize, TheColourStillTellsTheObjectOfItsChange) {
    Form f;
    int changes = 0;
    f.label->OnChange = [&](TObject*) { ++changes; };
    f.label->Color()->SetColor(clGreen);
    EXPECT_EQ(changes, 1);
}

TEST(TOrnLabelSize, ALabelWhoseTextureIsGoneStaysQuiet) {
    Form f;
    delete f.label->LabelTexture();
    EXPECT_EQ(f.label->LabelTexture(), nullptr);
    f.label->SetCaption("still here");
    f.label->SetSize(0, 20);
    f.label->Init();
    EXPECT_FALSE(f.label->Initialized());
}
