#include <orn/host/TOrnClock.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/samples/TOrnPerformanceGraph.h>
#include <orn/view/TOrnCanvasView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::ColorNear;
using test::Rgba;

constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kBlue{0, 0, 255, 255};
constexpr Rgba kLime{0, 255, 0, 255};
constexpr Rgba kWhite{255, 255, 255, 255};
constexpr Rgba kYellow{255, 255, 0, 255};

class CanvasViewTest : public test::ViewTest {};

TEST_F(CanvasViewTest, ControlsPaintOverTheRenderedScene) {
    TOrnCanvasView view(nullptr);
    view.SetBounds(120, 90);
    view.Coordinates()->SetVisible(false);
    view.SetBackgroundColor(clBlue);
    // The scene: the left half of the window red, the rest the blue background.
    view.OnRender = [](TOrnView*) {
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
    gauge.SetParent(&view);
    TOrnPerformanceGraph graph(nullptr);
    graph.SetBounds(50, 50, 60, 30);
    graph.SetGridSize(0);
    graph.SetAutoScale(false);
    graph.SetScale(29);
    graph.DataPoint(clYellow, 29);
    graph.Update();
    graph.SetParent(&view);
    view.OpenGLConnect();
    view.RenderScene();
    const test::Image image = ViewImage(view);
    // (x, y from the top, colour): the gauge reaching out of the window, the
    // scene beside and above it, the graph's newest value at its top right and
    // its black background.
    const std::tuple<int, int, Rgba> expected[] = {
        {0, 10, kLime}, {24, 29, kLime},    {25, 20, kWhite},         {59, 20, kWhite}, {60, 20, kBlue},
        {10, 9, kRed},  {109, 50, kYellow}, {80, 60, {0, 0, 0, 255}}, {115, 60, kBlue}};
    for (const auto& [x, y, colour] : expected)
        EXPECT_TRUE(ColorNear(image.At(x, image.height - 1 - y), colour, 0)) << x << "," << y;
    gauge.SetVisible(false);
    view.RenderScene();
    EXPECT_TRUE(ColorNear(ViewImage(view).At(25, 89 - 20), kRed, 0));
}

TEST_F(CanvasViewTest, TimesItsOwnRepaints) {
    std::int64_t now = 0;
    // Every read of the clock is 4 ms later; a repaint reads it twice.
    TOrnClockOverride clock([&] { return now += 4; }, 1000);
    TOrnCanvasView view(nullptr);
    view.SetBounds(8, 8);
    view.RenderScene(); // not active: nothing to time
    EXPECT_EQ(view.RenderTime(), 0.0);
    view.OpenGLConnect();
    view.RenderScene();
    EXPECT_DOUBLE_EQ(view.RenderTime(), 0.004);
    EXPECT_EQ(view.FrameRate(), 0.0);
    now += 12;
    view.RenderScene(); // started 20 ms after the first
    EXPECT_DOUBLE_EQ(view.FrameRate(), 50.0);
}

TEST(TOrnCanvasViewInput, ControlsTakeTheirInputBeforeTheView) {
    TOrnCanvasView view(nullptr);
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(100, 100, 160, 160);
    grid.SetParent(&view);
    int viewDowns = 0, viewKeys = 0, changes = 0;
    view.OnMouseDown = [&](TObject*, TMouseButton, TShiftState, int, int) { ++viewDowns; };
    view.OnKeyDown = [&](TObject*, std::uint16_t&, TShiftState) { ++viewKeys; };
    grid.OnChange = [&](TObject*) { ++changes; };
    std::uint16_t key = VK_RIGHT;
    view.KeyDown(key, {}); // no control has the focus yet
    EXPECT_EQ(viewKeys, 1);
    view.MouseDown(mbLeft, {}, 190, 150); // cell 6
    view.MouseUp(mbLeft, {}, 190, 150);
    EXPECT_EQ(grid.ForegroundIndex(), 6);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(viewDowns, 0);
    key = VK_RIGHT;
    view.KeyDown(key, {});
    EXPECT_EQ(grid.ForegroundIndex(), 7);
    EXPECT_EQ(viewKeys, 1);
    view.MouseDown(mbLeft, {}, 10, 10); // the scene: the keys go back to the view
    EXPECT_EQ(viewDowns, 1);
    key = VK_RIGHT;
    view.KeyDown(key, {});
    EXPECT_EQ(viewKeys, 2);
    EXPECT_EQ(grid.ForegroundIndex(), 7);
}

} // namespace
} // namespace orn
