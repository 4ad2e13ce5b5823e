#include <orn/host/TOrnClock.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnCanvasView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>

namespace orn {
namespace {

using test::Image;
using test::Rgba;

constexpr Rgba kBlack{0, 0, 0, 255};
constexpr Rgba kWhite{255, 255, 255, 255};
constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kBlue{0, 0, 255, 255};
constexpr Rgba kLime{0, 255, 0, 255};
constexpr Rgba kYellow{255, 255, 0, 255};

class CanvasTest : public test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(64, 48);
        view.Coordinates()->SetVisible(false);
        view.OpenGLConnect();
    }
    /// Renders with draw as the canvas overlay.
    Image Draw(const std::function<void(TOrnViewCanvas&)>& draw) {
        view.OnDrawCanvas = [&](TOrnView* v) { draw(v->Canvas()); };
        view.RenderScene();
        return ViewImage(view);
    }
    /// Checks pixels given as (x, y counted from the top, colour).
    template <std::size_t N>
    static void ExpectPixels(const Image& image, const std::tuple<int, int, Rgba> (&pixels)[N],
                             int tolerance = 0) {
        for (const auto& [x, y, colour] : pixels)
            EXPECT_TRUE(test::ColorNear(image.At(x, image.height - 1 - y), colour, tolerance))
                << x << "," << y;
    }

    TOrnCanvasView view{nullptr};
};

TEST_F(CanvasTest, FillRectLinesOutlinesAndTurnedShapesCoverExactlyTheirPixels) {
    const Image image = Draw([](TOrnViewCanvas& c) {
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 5, 20, 8));
        c.SetPenColor(clWhite);
        c.MoveTo(5, 30);
        c.LineTo(25, 30);
        c.SetPenColor(clLime);
        c.SetBrushColor(clBlue);
        c.Rectangle(Rect(40, 10, 50, 20));
        c.SetBrushColor(clWhite);
        c.SetAlpha(0.5f);
        c.FillRect(Rect(0, 40, 8, 48)); // ctNone: alpha ignored
        c.SetTransparency(ctAlpha);
        c.FillRect(Rect(10, 40, 18, 48));
        c.SetTransparency(ctAddAlpha);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 40, 12, 48)); // added to the grey
        c.SetTransparency(ctNone);
        c.SetAlpha(1);
        c.SetBrushColor(clYellow);
        c.Transformation()->Rotation()->SetZ(90); // about the first point; x turns into y, running down
        c.FillRect(Rect(30, 24, 50, 28));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 30u);
    EXPECT_EQ(test::CountPixels(image, kYellow, 0), 80u);
    const std::tuple<int, int, Rgba> pixels[] = {{10, 5, kRed},    {19, 7, kRed},    {20, 7, kBlack},
                                                 {10, 8, kBlack},  {5, 30, kWhite},  {24, 30, kWhite},
                                                 {15, 31, kBlack}, {40, 10, kLime},  {49, 19, kLime},
                                                 {45, 15, kBlue},  {50, 15, kBlack}, {28, 40, kYellow}};
    ExpectPixels(image, pixels);
    // Blending writes (and blends) the alpha channel too.
    ExpectPixels(
        image,
        {{4, 44, {255, 255, 255, 128}}, {14, 44, {128, 128, 128, 191}}, {11, 44, {255, 128, 128, 255}}}, 1);
}

TEST_F(CanvasTest, DrawsOnlyWhileRenderingOverTheSceneLeavesItsStateAndCanBePicked) {
    view.RenderScene();
    view.Canvas().SetBrushColor(clRed);
    view.Canvas().FillRect(Rect(0, 0, 10, 10));
    view.SetCurrent(true);
    view.Canvas().Rectangle(Rect(0, 0, 10, 10)); // current, but not rendering
    view.SetCurrent(false);
    EXPECT_EQ(test::CountPixels(ViewImage(view), kBlack, 0), 64u * 48u);
    EXPECT_FALSE(view.Canvas().CanDraw());
    TOrnOrthographicCamera camera(nullptr);
    view.SetCamera(&camera);
    GLint matrixMode = -1;
    std::array<GLboolean, 4> enabled{};
    double before[16], after[16];
    view.OnRender = [](TOrnView*) {
        glColor3f(0, 0, 1);
        glRectf(-5, -5, 5, 5); // fills the view, in front of the far plane
        glEnable(GL_LIGHTING); // none of which may touch what the canvas draws
        glEnable(GL_CULL_FACE);
        glCullFace(GL_FRONT_AND_BACK);
        glEnable(GL_FOG); // everything in front of the eye fully fogged
        glFogi(GL_FOG_MODE, GL_LINEAR);
        glFogf(GL_FOG_START, -2);
        glFogf(GL_FOG_END, -1);
    };
    const Image image = Draw([&](TOrnViewCanvas& c) {
        glGetDoublev(GL_PROJECTION_MATRIX, before);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(0, 0, 4, 4));
        glGetDoublev(GL_PROJECTION_MATRIX, after);
        enabled = {glIsEnabled(GL_DEPTH_TEST), glIsEnabled(GL_LIGHTING), glIsEnabled(GL_CULL_FACE),
                   glIsEnabled(GL_FOG)};
        glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
    });
    ExpectPixels(image, {{1, 1, kRed}, {30, 30, kBlue}});
    EXPECT_EQ(enabled, (std::array<GLboolean, 4>{1, 1, 1, 1}));
    for (auto [set, kept] : {std::pair(1.5f, 1.0f), {-1.0f, 0.0f}}) {
        view.Canvas().SetAlpha(set);
        EXPECT_EQ(view.Canvas().Alpha(), kept);
    }
    EXPECT_EQ(matrixMode, GL_MODELVIEW);
    EXPECT_TRUE(std::equal(before, before + 16, after));
    view.SetCamera(nullptr);
    TOrnObject marker(nullptr); // what the canvas draws can be picked
    view.OnRender = [&](TOrnView* v) {
        const bool named = IsNamingDrawMode(v->DrawMode());
        if (named) glPushName(static_cast<GLuint>(v->GetNextID(&marker, -1)));
        v->Canvas().FillRect(Rect(10, 10, 20, 20));
        if (named) glPopName();
    };
    EXPECT_EQ(view.GetObj(15, 15).Object, &marker);
    EXPECT_EQ(view.GetObj(40, 30).Object, nullptr);
}

TEST_F(CanvasTest, DrawTextureMapsTheSourceRectangleOfTheBitmap) {
    GLuint name = 0;
    view.SetCurrent(true);
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    // A 4 × 4 image uploaded bottom-up: bitmap rows 0 … 1 (the top) are red, 2 … 3 blue.
    std::vector<std::uint32_t> texels(16, 0xFFFF0000u); // A, B, G, R from the high byte: blue
    std::fill(texels.begin() + 8, texels.end(), 0xFF0000FFu);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    view.SetCurrent(false);
    TOrnGLTextureName texture(name, 4, 4), missing(0, 4, 4);
    Image image = Draw([&](TOrnViewCanvas& c) {
        c.DrawTexture(texture, Rect(0, 0, 16, 16), Rect(0, 0, 4, 2)); // the red top half
        c.DrawTexture(texture, Rect(20, 0, 28, 8), Rect(0, 0, 4, 4));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 16u * 16u + 8u * 4u);
    ExpectPixels(image, {{24, 1, kRed}, {24, 6, kBlue}});
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
    std::size_t red = 0, other = 0;
    for (int y = 0; y < image.height; ++y) // counted from the bottom: the cell is rows 11 … 42
        for (int x = 0; x < image.width; ++x) {
            const Rgba p = image.At(x, y);
            const bool inside = x >= 10 && y >= 48 - 5 - 32 && y < 48 - 5;
            red += p[0] > 0 && p[1] == 0 && p[2] == 0 && inside;
            other += p != kBlack && !(p[0] > 0 && p[1] == 0 && p[2] == 0 && inside);
        }
    EXPECT_GT(red, 60u);
    EXPECT_EQ(other, 0u);
}

TEST_F(CanvasTest, ControlsPaintOverTheRenderedScene) {
    TOrnCanvasView v(nullptr);
    v.SetBounds(120, 90);
    v.Coordinates()->SetVisible(false);
    v.SetBackgroundColor(clBlue);
    // The scene: the left half of the window red, the rest the blue background.
    v.OnRender = [](TOrnView*) {
        glColor3f(1, 0, 0);
        glRectf(-1, -1, 0, 1);
    };
    TOrnGauge gauge(nullptr);
    gauge.SetBounds(-10, 10, 70, 20); // reaches out of the window on the left
    gauge.SetBorderStyle(false);
    gauge.SetShowText(false);
    gauge.SetForeColor(clLime);
    gauge.SetBackColor(clWhite);
    gauge.SetProgress(50); // lime from x = -10 to 25, white up to 60
    gauge.SetParent(&v);
    v.OpenGLConnect();
    v.RenderScene();
    // The gauge reaching out of the window, and the scene beside and above it.
    const std::tuple<int, int, Rgba> pixels[] = {{0, 10, kLime},   {24, 29, kLime}, {25, 20, kWhite},
                                                 {59, 20, kWhite}, {60, 20, kBlue}, {10, 9, kRed},
                                                 {80, 60, kBlue}};
    ExpectPixels(ViewImage(v), pixels);
    gauge.SetVisible(false);
    v.RenderScene();
    ExpectPixels(ViewImage(v), {{25, 20, kRed}});
}

TEST_F(CanvasTest, CanvasViewTimesItsOwnRepaints) {
    std::int64_t now = 0;
    // Every read of the clock is 4 ms later; a repaint reads it twice.
    TOrnClockOverride clock([&] { return now += 4; }, 1000);
    TOrnCanvasView v(nullptr);
    v.SetBounds(8, 8);
    v.RenderScene(); // not active: nothing to time
    EXPECT_EQ(v.RenderTime(), 0.0);
    v.OpenGLConnect();
    v.RenderScene();
    EXPECT_DOUBLE_EQ(v.RenderTime(), 0.004);
    EXPECT_EQ(v.FrameRate(), 0.0);
    now += 12;
    v.RenderScene(); // started 20 ms after the first
    EXPECT_DOUBLE_EQ(v.FrameRate(), 50.0);
}

TEST(TOrnCanvasViewInput, ControlsTakeTheirInputBeforeTheView) {
    TOrnCanvasView view(nullptr);
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(100, 100, 160, 160);
    grid.SetParent(&view);
    std::vector<std::string> log;
    view.OnMouseDown = [&](TObject*, TMouseButton, TShiftState, int, int) { log.push_back("view down"); };
    view.OnKeyDown = [&](TObject*, std::uint16_t&, TShiftState) { log.push_back("view key"); };
    grid.OnChange = [&](TObject*) { log.push_back("grid " + std::to_string(grid.ForegroundIndex())); };
    auto right = [&] {
        std::uint16_t key = VK_RIGHT;
        view.KeyDown(key, {});
    };
    right();                              // no control has the focus yet
    view.MouseDown(mbLeft, {}, 190, 150); // cell 6
    view.MouseUp(mbLeft, {}, 190, 150);
    right();
    view.MouseDown(mbLeft, {}, 10, 10); // the scene: the keys go back to the view
    right();
    EXPECT_EQ(log, (std::vector<std::string>{"view key", "grid 6", "grid 7", "view down", "view key"}));
    EXPECT_EQ(grid.ForegroundIndex(), 7);
}

} // namespace
} // namespace orn
