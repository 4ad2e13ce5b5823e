#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnCanvasView.h>

#include "support/GLRecorder.h"
#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::ColorNear;
using test::Image;
using test::Rgba;

constexpr Rgba kBlack{0, 0, 0, 255};
constexpr Rgba kWhite{255, 255, 255, 255};
constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kBlue{0, 0, 255, 255};
constexpr Rgba kLime{0, 255, 0, 255};

class CanvasTest : public test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(64, 48);
        view.Coordinates()->SetVisible(false);
        view.OpenGLConnect();
    }
    /// Renders with draw as the canvas overlay; the image's rows are read top-down through At(x, H-1-y).
    Image Draw(const std::function<void(TOrnViewCanvas&)>& draw) {
        view.OnDrawCanvas = [&](TOrnView* v) { draw(v->Canvas()); };
        view.RenderScene();
        return ViewImage(view);
    }
    static Rgba Top(const Image& image, int x, int y) { return image.At(x, image.height - 1 - y); }

    TOrnCanvasView view{nullptr};
};

TEST_F(CanvasTest, DrawsNothingOutsideARender) {
    test::GLRecorder rec;
    view.Canvas().FillRect(Rect(0, 0, 10, 10));
    view.Canvas().Line(0, 0, 5, 5);
    view.SetCurrent(true);
    view.Canvas().Rectangle(Rect(0, 0, 10, 10)); // current, but not rendering
    view.SetCurrent(false);
    rec.Stop();
    EXPECT_TRUE(rec.Calls().empty());
    EXPECT_FALSE(view.Canvas().CanDraw());
}

TEST_F(CanvasTest, FillRectLinesAndOutlinesCoverExactlyTheirPixels) {
    const Image image = Draw([](TOrnViewCanvas& c) {
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 5, 20, 8));
        c.SetPenColor(clWhite);
        c.MoveTo(5, 30);
        c.LineTo(25, 30);
        c.SetPenColor(clLime);
        c.SetBrushColor(clBlue);
        c.Rectangle(Rect(40, 10, 50, 20));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 30u);
    const std::tuple<int, int, Rgba> expected[] = {{10, 5, kRed},    {19, 7, kRed},   {20, 7, kBlack},
                                                   {10, 8, kBlack},  {5, 30, kWhite}, {24, 30, kWhite},
                                                   {15, 31, kBlack}, {40, 10, kLime}, {49, 19, kLime},
                                                   {45, 15, kBlue},  {50, 15, kBlack}};
    for (const auto& [x, y, colour] : expected)
        EXPECT_TRUE(ColorNear(Top(image, x, y), colour, 0)) << x << "," << y;
}

TEST_F(CanvasTest, DrawsOverTheSceneAndLeavesItsState) {
    TOrnOrthographicCamera camera(nullptr);
    view.SetCamera(&camera);
    GLint depthTest = -1, matrixMode = -1;
    double before[16], after[16];
    view.OnRender = [](TOrnView*) {
        glColor3f(0, 0, 1);
        glRectf(-5, -5, 5, 5); // fills the view, in front of the far plane
    };
    const Image image = Draw([&](TOrnViewCanvas& c) {
        glGetDoublev(GL_PROJECTION_MATRIX, before);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(0, 0, 4, 4));
        glGetDoublev(GL_PROJECTION_MATRIX, after);
        depthTest = glIsEnabled(GL_DEPTH_TEST);
        glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
    });
    EXPECT_TRUE(ColorNear(Top(image, 1, 1), kRed, 0));
    EXPECT_TRUE(ColorNear(Top(image, 30, 30), kBlue, 0));
    EXPECT_EQ(depthTest, GL_TRUE);
    EXPECT_EQ(matrixMode, GL_MODELVIEW);
    EXPECT_TRUE(std::equal(before, before + 16, after));
    view.SetCamera(nullptr);
}

TEST_F(CanvasTest, TransparencyBlends) {
    const Image image = Draw([](TOrnViewCanvas& c) {
        c.SetBrushColor(clWhite);
        c.SetAlpha(0.5f);
        c.FillRect(Rect(0, 0, 8, 8)); // ctNone: alpha ignored
        c.SetTransparency(ctAlpha);
        c.FillRect(Rect(10, 0, 18, 8));
        c.SetTransparency(ctAddAlpha);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 0, 12, 8)); // added to the grey
    });
    // The alpha channel is written (and blended) too.
    EXPECT_TRUE(ColorNear(Top(image, 4, 4), {255, 255, 255, 128}, 1));
    EXPECT_TRUE(ColorNear(Top(image, 14, 4), {128, 128, 128, 191}, 1));
    EXPECT_TRUE(ColorNear(Top(image, 11, 4), {255, 128, 128, 255}, 1));
}

TEST_F(CanvasTest, TransformationTurnsAboutTheFirstPoint) {
    const Image image = Draw([](TOrnViewCanvas& c) {
        c.SetBrushColor(clRed);
        c.Transformation()->Rotation()->SetZ(90); // x turns into y, which runs downwards
        c.FillRect(Rect(30, 10, 50, 14));
    });
    EXPECT_TRUE(ColorNear(Top(image, 28, 25), kRed, 0));
    EXPECT_TRUE(ColorNear(Top(image, 40, 12), kBlack, 0));
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 80u);
}

TEST_F(CanvasTest, DrawTextureMapsTheSourceRectangleOfTheBitmap) {
    GLuint name = 0;
    view.SetCurrent(true);
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    // A 4 × 4 image uploaded bottom-up: bitmap rows 0 … 1 (the top) are red, 2 … 3 blue.
    std::uint8_t texels[4 * 4 * 4];
    for (int row = 0; row < 4; ++row)
        for (int x = 0; x < 4; ++x) {
            std::uint8_t* t = texels + (row * 4 + x) * 4;
            const bool top = row >= 2;
            t[0] = top ? 255 : 0, t[1] = 0, t[2] = top ? 0 : 255, t[3] = 255;
        }
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    view.SetCurrent(false);
    TOrnGLTextureName texture(name, 4, 4);

    Image image = Draw([&](TOrnViewCanvas& c) {
        c.DrawTexture(texture, Rect(0, 0, 16, 16), Rect(0, 0, 4, 2)); // the red top half
        c.DrawTexture(texture, Rect(20, 0, 28, 8), Rect(0, 0, 4, 4));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 16u * 16u + 8u * 4u);
    EXPECT_TRUE(ColorNear(Top(image, 24, 1), kRed, 0));
    EXPECT_TRUE(ColorNear(Top(image, 24, 6), kBlue, 0));

    TOrnGLTextureName missing(0, 4, 4);
    image = Draw([&](TOrnViewCanvas& c) { c.DrawTexture(missing, Rect(0, 0, 16, 16), Rect(0, 0, 4, 4)); });
    EXPECT_EQ(test::CountPixels(image, kBlack, 0), 64u * 48u);

    view.SetCurrent(true);
    glDeleteTextures(1, &name);
    view.SetCurrent(false);
}

TEST_F(CanvasTest, TextOutDrawsInTheFontColourInsideItsCell) {
    view.SetBounds(128, 48);
    const Image image = Draw([](TOrnViewCanvas& c) {
        c.Font().SetColor(clRed);
        c.Font().SetHeight(20);
        c.TextOut(10, 5, "HHH");
    });
    std::size_t reddish = 0, outside = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const Rgba p = Top(image, x, y);
            if (p[0] == 0 && p[1] == 0 && p[2] == 0) continue;
            EXPECT_EQ(p[1], 0);
            EXPECT_EQ(p[2], 0);
            ++reddish;
            if (x < 10 || y < 5 || y >= 5 + 32) ++outside;
        }
    EXPECT_GT(reddish, 60u);
    EXPECT_EQ(outside, 0u);
}

TEST_F(CanvasTest, CanvasDrawingCanBePicked) {
    TOrnObject marker(nullptr);
    view.OnRender = [&](TOrnView* v) {
        const bool named = IsNamingDrawMode(v->DrawMode());
        if (named) glPushName(static_cast<GLuint>(v->GetNextID(&marker, -1)));
        v->Canvas().FillRect(Rect(10, 10, 20, 20));
        if (named) glPopName();
    };
    EXPECT_EQ(view.GetObj(15, 15).Object, &marker);
    EXPECT_EQ(view.GetObj(40, 30).Object, nullptr);
}

} // namespace
} // namespace orn
