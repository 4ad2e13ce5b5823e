// A view in a real window: run under Xvfb (ctest's "window" test does), events are sent through
// the X server, so they travel the same way a user's do.
#include <gtest/gtest.h>

#include <orn/host/TApplication.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include "XInput.h"

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#define GLFW_EXPOSE_NATIVE_X11
#include <GLFW/glfw3native.h>

#include <string>
#include <vector>

namespace orn {
namespace {

class WindowView : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!WindowSystemAvailable(&reason)) GTEST_SKIP() << "no window system: " << reason;
        view.SetSurfaceFactory(WindowSurfaceFactory({"Orn window test", true, false}));
        view.SetBounds(320, 240);
        view.SetBackgroundColor(clBlue);
        view.OnRender = [this](TOrnView*) { ++renders; };
        ASSERT_TRUE(view.OpenGLConnect());
        input.display = glfwGetX11Display();
        input.window = glfwGetX11Window(static_cast<GLFWwindow*>(view.Surface()->NativeWindow()));
        // The window's first expose asks for a paint.
        ASSERT_TRUE(StepUntil([&] { return renders > 0; }));
    }

    /// Steps the application until done() holds.
    static bool StepUntil(const std::function<bool()>& done) {
        return test::StepUntil(done, [] { TApplication::Instance().Step(0.02); });
    }

    TOrnView view{nullptr};
    int renders = 0;
    test::XInput input;
};

TEST_F(WindowView, PaintsThroughTheApplicationStepAndFollowsTheWindowsSize) {
    EXPECT_EQ(view.Surface()->Kind(), "window");
    EXPECT_GE(view.PixelFormat().ColorBits, 24);
    EXPECT_TRUE(view.PixelFormat().DoubleBuffer());
    int before = renders;
    view.InvalidateGL();
    EXPECT_TRUE(StepUntil([&] { return renders > before; }));
    EXPECT_FALSE(view.PaintPending());

    // The window's context draws: the scene's pixels, read before they are swapped away.
    view.SetCurrent(true);
    view.RenderSceneGL();
    unsigned char pixel[4] = {};
    glReadPixels(10, 10, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    view.SetCurrent(false);
    EXPECT_EQ(pixel[0], 0);
    EXPECT_EQ(pixel[2], 255);

    int resized = 0;
    view.OnResize = [&](TObject*) { ++resized; };
    before = renders;
    XResizeWindow(input.display, input.window, 400, 300);
    XFlush(input.display);
    EXPECT_TRUE(StepUntil([&] { return view.Width() == 400 && view.Height() == 300; }));
    EXPECT_GE(resized, 1);
    EXPECT_TRUE(StepUntil([&] { return renders > before; })); // a resize repaints

    // And the other way: the view's size moves the window.
    view.SetBounds(200, 150);
    EXPECT_TRUE(StepUntil([&] {
        XWindowAttributes attributes;
        XGetWindowAttributes(input.display, input.window, &attributes);
        return attributes.width == 200 && attributes.height == 150;
    }));
}

class CountingController : public TOrnCustomController {
public:
    using TOrnCustomController::TOrnCustomController;
    int moves = 0;
    bool HandleMouseMove(TShiftState, int, int) override {
        ++moves;
        return true;
    }
};

TEST_F(WindowView, MouseAndKeyEventsArrive) {
    std::vector<std::string> log;
    auto at = [](int x, int y) { return " " + std::to_string(x) + "," + std::to_string(y); };
    view.OnMouseDown = [&](TObject*, TMouseButton b, TShiftState, int x, int y) {
        log.push_back("down " + std::to_string(b) + at(x, y));
    };
    view.OnMouseMove = [&](TObject*, TShiftState s, int x, int y) {
        log.push_back("move" + at(x, y) + (s.Contains(ssLeft) ? " left" : ""));
    };
    view.OnMouseUp = [&](TObject*, TMouseButton b, TShiftState, int x, int y) {
        log.push_back("up " + std::to_string(b) + at(x, y));
    };
    view.OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState) {
        log.push_back("key " + std::to_string(key));
    };
    CountingController controller(nullptr);
    view.SetController(&controller);

    input.Motion(30, 40);
    input.Button(true, Button1, 30, 40);
    input.Motion(35, 45);
    input.Button(false, Button1, 35, 45);
    input.Button(true, Button3, 50, 60);
    input.Key(XK_Left);
    input.Key(XK_a);
    const std::vector<std::string> expected{"move 30,40",   "down 0 30,40", "move 35,45 left", "up 0 35,45",
                                            "down 1 35,45", "key 37",       "key 65"};
    EXPECT_TRUE(StepUntil([&] { return log.size() >= expected.size(); }));
    EXPECT_EQ(log, expected);
    // The controller saw the moves and its answer asked for a repaint.
    EXPECT_EQ(controller.moves, 2);
    const int before = renders;
    input.Motion(36, 46);
    EXPECT_TRUE(StepUntil([&] { return renders > before; }));
}

} // namespace
} // namespace orn
