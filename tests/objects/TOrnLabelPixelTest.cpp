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

using namespace orn;
using orn::test::Image;
using orn::test::Rgba;

namespace {

constexpr Rgba kBlue{0, 0, 255, 255};

// The pixels where a label drew something other than the clear colour: their box, window pixels
// with y downwards, and how many.
struct Ink {
    int Left = 1 << 20, Top = 1 << 20, Right = -1, Bottom = -1;
    int Count = 0;
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
            for (TOrnLabel* label : labels)
                label->Render(v);
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
                if (!orn::test::SameColor(Top(image, x, y), kBlue, 0)) {
                    ink.Left = std::min(ink.Left, x);
                    ink.Top = std::min(ink.Top, y);
                    ink.Right = std::max(ink.Right, x);
                    ink.Bottom = std::max(ink.Bottom, y);
                    ++ink.Count;
                }
        return ink;
    }
    TOrnLabel* AddLabel() {
        labels.push_back(new TOrnLabel(&form));
        return labels.back();
    }
    // Where the view puts a scene point now, rounded as the label rounds it.
    TPoint Projected(const TOrnMathVector& point) {
        const TOrnMathVector w = view.WinFrom3D(point);
        return Point(static_cast<int>(std::nearbyint(w.x)), static_cast<int>(std::nearbyint(w.y)));
    }

    TComponent form{nullptr};
    TOrnPerspectiveCamera camera{nullptr};
    TOrnCanvasView view{nullptr};
    std::vector<TOrnLabel*> labels;
};

} // namespace

TEST_F(TOrnLabelPixels, ANewLabelShowsItsClassNameOnATransparentBackground) {
    TOrnLabel* label = AddLabel();
    const Image image = Draw();
    const TBitmap& bitmap = *label->LabelTexture()->Bitmap();
    ASSERT_EQ(bitmap.Width(), 64);
    ASSERT_EQ(bitmap.Height(), 16);
    // Drawn 1:1 from the bitmap at the projection of the origin: text pixels black, the rest the
    // clear colour showing through.
    const TPoint at = Projected({0, 0, 0});
    int text = 0;
    TCanvas& canvas = label->LabelTexture()->Bitmap()->Canvas();
    for (int j = 0; j < label->Height(); ++j)
        for (int i = 0; i < label->Width(); ++i) {
            const bool isText = canvas.Pixels(i, j) == clBlack;
            text += isText;
            ASSERT_TRUE(
                orn::test::ColorNear(Top(image, at.X + i, at.Y + j), isText ? Rgba{0, 0, 0, 255} : kBlue, 0))
                << i << ", " << j;
        }
    EXPECT_GT(text, 20); // the pixels that glyphs cover wholly
    const Ink ink = FindInk(image);
    EXPECT_EQ(ink.Count, text);
    EXPECT_GE(ink.Left, at.X);
    EXPECT_GE(ink.Top, at.Y);
    EXPECT_LT(ink.Right, at.X + label->Width());
    EXPECT_LT(ink.Bottom, at.Y + label->Height());
}

TEST_F(TOrnLabelPixels, ShiftsMoveItTenPixelsWhateverTheCamera) {
    TOrnLabel* label = AddLabel();
    label->Transformation()->Translation()->SetAsMathVector({-0.3, 0.1, 0});
    for (float turn : {0.0f, 8.0f, -8.0f}) {
        camera.Transformation()->Rotation()->SetY(turn);
        label->SetShiftX(0);
        const Ink before = FindInk(Draw());
        label->SetShiftX(10);
        const Ink after = FindInk(Draw());
        SCOPED_TRACE(turn);
        ASSERT_GT(before.Count, 0);
        EXPECT_EQ(after.Left, before.Left + 10);
        EXPECT_EQ(after.Right, before.Right + 10);
        EXPECT_EQ(after.Top, before.Top);
        EXPECT_EQ(after.Count, before.Count);
        label->SetShiftX(0);
        label->SetShiftY(10);
        const Ink up = FindInk(Draw());
        label->SetShiftY(0);
        EXPECT_EQ(up.Left, before.Left);
        EXPECT_EQ(up.Top, before.Top + 10);
        EXPECT_EQ(up.Bottom, before.Bottom + 10);
    }
}

TEST_F(TOrnLabelPixels, ALabelFollowsItsPointAsTheCameraTurns) {
    TOrnLabel* label = AddLabel();
    label->SetCaption("H");
    label->Font()->SetHeight(-20); // stems wider than a pixel
    const TOrnMathVector point{0.3, -0.2, 0.2};
    label->Transformation()->Translation()->SetAsMathVector(point);
    int previous = -1;
    for (float turn : {-15.0f, 0.0f, 15.0f}) {
        camera.Transformation()->Rotation()->SetY(turn);
        const Image image = Draw();
        const TPoint at = Projected(point);
        const Ink ink = FindInk(image);
        SCOPED_TRACE(turn);
        ASSERT_GT(ink.Count, 0);
        // The H's ink sits in its cell, whose corner is the projected point.
        EXPECT_GE(ink.Left, at.X);
        EXPECT_LE(ink.Left, at.X + 4);
        EXPECT_GE(ink.Top, at.Y);
        EXPECT_LE(ink.Bottom, at.Y + label->Height());
        EXPECT_NE(ink.Left, previous);
        previous = ink.Left;
    }
}

TEST_F(TOrnLabelPixels, ABlackLabelsBackgroundStaysInvisible) {
    TOrnLabel* label = AddLabel();
    label->Color()->SetColor(clBlack);
    label->Font()->SetColor(clWhite);
    const Image image = Draw();
    const TPoint at = Projected({0, 0, 0});
    ASSERT_EQ(label->LabelTexture()->Bitmap()->Canvas().Pixels(63, 15), TColor(1));
    int white = 0;
    for (int j = 0; j < label->Height(); ++j)
        for (int i = 0; i < label->Width(); ++i) {
            const Rgba c = Top(image, at.X + i, at.Y + j);
            if (orn::test::SameColor(c, {255, 255, 255, 255}, 0))
                ++white;
            else
                EXPECT_TRUE(orn::test::ColorNear(c, kBlue, 0)) << i << ", " << j;
        }
    EXPECT_GT(white, 20);
}

TEST_F(TOrnLabelPixels, AnOpaqueBackgroundShowsTheLabelColour) {
    TOrnLabel* label = AddLabel();
    label->Color()->SetColor(clRed);
    label->Color()->SetAlpha(1);
    const Image image = Draw();
    const TPoint at = Projected({0, 0, 0});
    // The last row and column of the rectangle lie below and right of the glyphs: one step off red.
    EXPECT_TRUE(orn::test::ColorNear(Top(image, at.X + label->Width() - 1, at.Y + label->Height() - 1),
                                     {254, 0, 0, 255}, 0));
    EXPECT_TRUE(orn::test::ColorNear(Top(image, at.X + label->Width() + 1, at.Y), kBlue, 0));
}

TEST_F(TOrnLabelPixels, BiggerTextCoversMorePixels) {
    TOrnLabel* label = AddLabel();
    const Ink small = FindInk(Draw());
    label->Font()->SetSize(16);
    const Ink big = FindInk(Draw());
    EXPECT_GT(big.Right - big.Left, small.Right - small.Left);
    EXPECT_GT(big.Bottom - big.Top, small.Bottom - small.Top);
    EXPECT_GT(big.Count, 2 * small.Count);
}

TEST_F(TOrnLabelPixels, ReInitialisesForABitmapRender) {
    TOrnLabel* label = AddLabel();
    Draw();
    ASSERT_TRUE(label->Initialized());
    const auto bitmap = view.GetImage(256, 120);
    ASSERT_TRUE(bitmap);
    EXPECT_TRUE(label->Initialized());
    // The caption reaches the bitmap render too: some pixel is not the blue background.
    bool ink = false;
    for (int y = 0; y < 120 && !ink; ++y)
        for (int x = 0; x < 256 && !ink; ++x)
            ink = bitmap->Canvas().Pixels(x, y) != clBlue;
    EXPECT_TRUE(ink);
}

TEST_F(TOrnLabelPixels, RenderLeavesTheMatrixStacksBalanced) {
    AddLabel();
    GLint before = -1, after = -2;
    view.OnRender = [&](TOrnView* v) {
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &before);
        labels[0]->Render(v);
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &after);
    };
    EXPECT_GT(FindInk(Draw()).Count, 0);
    EXPECT_EQ(before, after);
}
