#include <orn/host/TBitmap.h>
#include <orn/objects/TOrnLabel.h>
#include <orn/state/TOrnTexture.h>
#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCanvasView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

using namespace orn;
using orn::test::Image;
using orn::test::Rgba;

namespace {

TSize Extent(const std::string& text, const TFont& font) {
    TBitmap bitmap(1, 1);
    bitmap.Canvas().Font().Assign(&font);
    return bitmap.Canvas().TextExtent(text);
}

} // namespace

TEST(TOrnLabel, TheBitmapIsThePowerOfTwoAboveTheTextExtentOrTheSizeSetAndItsAlphaTheFontsOrTheColours) {
    TComponent form(nullptr);
    auto* label = new TOrnLabel(&form);
    EXPECT_EQ(label->LabelTexture()->Owner(), label);
    TBitmap& bitmap = *label->LabelTexture()->Bitmap();
    for (int height : {-11, 16, 32}) { // positive: cells of exactly a power of two
        label->Font()->SetHeight(height);
        label->SetCaption("Label " + std::to_string(height));
        const TSize extent = Extent(label->Caption(), *label->Font());
        EXPECT_EQ((TSize{label->Width(), label->Height()}), extent);
        label->Init();
        for (auto [side, text] : {std::pair{bitmap.Width(), extent.cx}, {bitmap.Height(), extent.cy}})
            EXPECT_TRUE((side & (side - 1)) == 0 && side > text && side <= 2 * text)
                << height << ": " << side;
        EXPECT_TRUE(label->LabelTexture()->Valid());
    }
    for (auto [caption, width] : {std::pair{std::string(), 2}, {std::string(5000, 'W'), 4096}}) {
        label->SetCaption(caption);
        label->Init();
        EXPECT_EQ(std::pair(bitmap.Width(), label->LabelTexture()->Valid()), std::pair(width, true));
    }
    label->SetSize(0, 300);
    label->SetSize(1, 40);
    label->SetSize(2, 99); // no third size; the bitmap follows
    EXPECT_EQ((std::vector<int>{label->Width(), label->Height(), bitmap.Width(), bitmap.Height()}),
              (std::vector<int>{300, 40, 300, 40}));
    label->SetCaption("TOrnLabel");
    label->Font()->SetHeight(-11);
    label->Font()->SetStyle({fsBold}); // a font change goes back to the text's extent
    const TSize extent = Extent("TOrnLabel", *label->Font());
    EXPECT_EQ((TSize{label->Width(), label->Height()}), extent);
    EXPECT_GT(extent.cx, Extent("TOrnLabel", TFont()).cx);
    label->SetFont(nullptr); // ignored
    EXPECT_EQ(label->Width(), extent.cx);
    // Text pixels take the font's alpha, the background the colour's.
    label->Font()->SetHeight(-40); // stems several pixels wide, so some pixels are wholly text
    label->Font()->SetColor(clRed);
    label->Font()->SetAlpha(0.5f);
    label->Color()->SetAlpha(0.25f);
    label->SetCaption("IIII");
    label->Init();
    const int w = bitmap.Width(), h = bitmap.Height();
    int text = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool isText = bitmap.Canvas().Pixels(x, y) == clRed;
            text += isText;
            EXPECT_EQ(label->LabelTexture()->Pixels()[(static_cast<std::size_t>(h - 1 - y) * w + x) * 4 + 3],
                      isText ? 128 : 64)
                << "rows run bottom-up";
        }
    EXPECT_TRUE(text > 20 && text < w * h / 2) << text; // the stems of the I's
    // Outside the text cell the background is one step off the (white) label colour.
    EXPECT_EQ(bitmap.Canvas().Pixels(w - 1, h - 1), TColor(0xFFFFFE));
}

TEST(TOrnLabel, EveryChangeOfWhatItShowsAsksForANewBitmapButInDesignOrWithoutItsTextureItDrawsNothing) {
    TComponent form(nullptr);
    auto* label = new TOrnLabel(&form);
    int i = 0;
    for (const std::function<void()>& change : std::vector<std::function<void()>>{
             [&] { label->SetCaption("x"); }, [&] { label->Font()->SetColor(clBlue); },
             [&] { label->Color()->SetColor(clRed); }, [&] { label->Color()->SetAlpha(0.5f); },
             [&] { label->SetSize(0, 10); }, [&] { label->SetSize(1, 10); },
             [&] { label->Font()->SetAlpha(0.5f); }}) {
        label->Init();
        change();
        EXPECT_FALSE(label->Initialized()) << "change " << i++;
    }
    TComponent designing(nullptr);
    designing.SetDesigning(true);
    auto* shown = new TOrnLabel(&designing);
    shown->SetSize(0, 100);
    EXPECT_TRUE(shown->LabelTexture()->Bitmap()->Empty() && shown->Width() == 100);
    shown->Init();
    EXPECT_TRUE(!shown->Initialized() && shown->LabelTexture()->Pixels().empty());
    delete label->LabelTexture();
    EXPECT_EQ(label->LabelTexture(), nullptr);
    label->SetCaption("still here");
    label->SetSize(0, 20);
    label->Init();
    EXPECT_FALSE(label->Initialized());
}

namespace {

constexpr Rgba kBlue{0, 0, 255, 255};

// The pixels that are not the clear colour: their box, window pixels with y downwards, and how many.
struct Ink {
    int Left = 1 << 20, Top = 1 << 20, Right = -1, Bottom = -1, Count = 0;
};

class TOrnLabelPixels : public orn::test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(256, 120);
        view.SetBackgroundColor(clBlue);
        view.Coordinates()->SetVisible(false);
        view.SetCamera(&camera);
        view.OpenGLConnect();
        view.OnRender = [this](TOrnView* v) {
            glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stackBefore);
            label->Render(v);
            glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stackAfter);
        };
    }
    void TearDown() override {
        view.SetCamera(nullptr);
        ViewTest::TearDown();
    }
    Image Draw() {
        view.RenderScene();
        return ViewImage(view);
    }
    static Rgba Top(const Image& image, int x, int y) { return image.At(x, image.height - 1 - y); }
    static Ink FindInk(const Image& image) {
        Ink ink;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                if (Top(image, x, y) != kBlue)
                    ink = {std::min(ink.Left, x), std::min(ink.Top, y), std::max(ink.Right, x),
                           std::max(ink.Bottom, y), ink.Count + 1};
        return ink;
    }
    // The cell at the projected origin against the bitmap: glyph pixels drawn as drawn, the rest the
    // clear colour; how many glyph pixels.
    int ExpectCell(const Image& image, TColor glyph, Rgba drawn) {
        const TPoint at = Projected({0, 0, 0});
        TCanvas& canvas = label->LabelTexture()->Bitmap()->Canvas();
        int text = 0;
        for (int j = 0; j < label->Height(); ++j)
            for (int i = 0; i < label->Width(); ++i) {
                const bool isText = canvas.Pixels(i, j) == glyph;
                text += isText;
                EXPECT_EQ(Top(image, at.X + i, at.Y + j), isText ? drawn : kBlue) << i << ", " << j;
            }
        return text;
    }
    // Where the view puts a scene point now, rounded as the label rounds it.
    TPoint Projected(const TOrnMathVector& point) {
        const TOrnMathVector w = view.WinFrom3D(point);
        return Point(static_cast<int>(std::nearbyint(w.x)), static_cast<int>(std::nearbyint(w.y)));
    }

    TComponent form{nullptr};
    TOrnPerspectiveCamera camera{nullptr};
    TOrnCanvasView view{nullptr};
    TOrnLabel* label = new TOrnLabel(&form);
    GLint stackBefore = -1, stackAfter = -2;
};

} // namespace

TEST_F(TOrnLabelPixels, ANewLabelShowsItsClassNameOneToOneOnATransparentBackgroundInBitmapsToo) {
    Image image = Draw();
    EXPECT_EQ(stackBefore, stackAfter);
    ASSERT_EQ(std::pair(label->LabelTexture()->Bitmap()->Width(), label->LabelTexture()->Bitmap()->Height()),
              std::pair(64, 16));
    const int text = ExpectCell(image, clBlack, {0, 0, 0, 255});
    EXPECT_GT(text, 20);                   // the pixels that glyphs cover wholly
    EXPECT_EQ(FindInk(image).Count, text); // and nothing outside the cell
    const auto bitmap = view.GetImage(256, 120);
    ASSERT_TRUE(bitmap);
    EXPECT_TRUE(label->Initialized());
    int inBitmap = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 256; ++x)
            inBitmap += bitmap->Canvas().Pixels(x, y) != clBlue;
    EXPECT_EQ(inBitmap, text);
    // A black background stays invisible (drawn one step off black); an opaque one shows its colour.
    label->Color()->SetColor(clBlack);
    label->Font()->SetColor(clWhite);
    image = Draw();
    ASSERT_EQ(label->LabelTexture()->Bitmap()->Canvas().Pixels(63, 15), TColor(1));
    EXPECT_GT(ExpectCell(image, clWhite, {255, 255, 255, 255}), 20);
    label->Color()->SetColor(clRed);
    label->Color()->SetAlpha(1);
    image = Draw();
    // The last row and column of the rectangle lie below and right of the glyphs: one step off red.
    const TPoint at = Projected({0, 0, 0});
    EXPECT_EQ(Top(image, at.X + label->Width() - 1, at.Y + label->Height() - 1), (Rgba{254, 0, 0, 255}));
    EXPECT_EQ(Top(image, at.X + label->Width() + 1, at.Y), kBlue);
}

TEST_F(TOrnLabelPixels, ALabelFollowsItsPointAndShiftsByPixelsWhateverTheCamera) {
    label->SetCaption("H");
    label->Font()->SetHeight(-20); // stems wider than a pixel
    const TOrnMathVector point{0.3, -0.2, 0.2};
    label->Transformation()->Translation()->SetAsMathVector(point);
    int previous = -1;
    for (float turn : {0.0f, 15.0f}) {
        SCOPED_TRACE(turn);
        camera.Transformation()->Rotation()->SetY(turn);
        const Ink ink = FindInk(Draw());
        const TPoint at = Projected(point);
        ASSERT_GT(ink.Count, 0);
        // The H's ink sits in its cell, whose corner is the projected point.
        EXPECT_TRUE(ink.Left >= at.X && ink.Left <= at.X + 4 && ink.Top >= at.Y &&
                    ink.Bottom <= at.Y + label->Height());
        EXPECT_NE(ink.Left, previous);
        previous = ink.Left;
        label->SetShiftX(10); // right and down by different amounts, so that swapped shifts show
        label->SetShiftY(6);
        const Ink shifted = FindInk(Draw());
        label->SetShiftX(0);
        label->SetShiftY(0);
        EXPECT_EQ(std::vector<int>({shifted.Left, shifted.Right, shifted.Top, shifted.Bottom, shifted.Count}),
                  std::vector<int>({ink.Left + 10, ink.Right + 10, ink.Top + 6, ink.Bottom + 6, ink.Count}));
    }
}
