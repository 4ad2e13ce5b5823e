// A view in a real window: run under Xvfb (ctest's "window" test does), events are sent through
// the X server, so they travel the same way a user's do.
#include <gtest/gtest.h>

#include <orn/host/EOrnError.h>
#include <orn/host/TApplication.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include "XInput.h"

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#define GLFW_EXPOSE_NATIVE_X11
#include <GLFW/glfw3native.h>

#include <array>
#include <string>
#include <vector>

namespace orn {
namespace {

using Pixel = std::array<unsigned char, 4>;

// The pixel at (x, y) of a frame rendered in view's window, read before it is swapped away.
Pixel FramePixel(TOrnView& view, int x, int y) {
    Pixel pixel{};
    view.SetCurrent(true);
    view.RenderSceneGL();
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    view.SetCurrent(false);
    return pixel;
}

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

    static bool StepUntil(const std::function<bool()>& done) {
        return test::StepUntil(done, [] { TApplication::Instance().Step(0.02); });
    }

    TOrnView view{nullptr};
    int renders = 0;
    test::XInput input;
};

class CountingController : public TOrnCustomController {
public:
    using TOrnCustomController::TOrnCustomController;
    int moves = 0;
    bool HandleMouseMove(TShiftState, int, int) override { return ++moves > 0; }
};

TEST_F(WindowView, PaintsThroughTheApplicationStepFollowsTheWindowsSizeAndTakesItsInput) {
    EXPECT_EQ(view.Surface()->Kind(), "window");
    EXPECT_TRUE(view.PixelFormat().ColorBits >= 24 && view.PixelFormat().DoubleBuffer());
    int before = renders;
    view.InvalidateGL();
    EXPECT_TRUE(StepUntil([&] { return renders > before; }));
    EXPECT_FALSE(view.PaintPending());
    EXPECT_EQ(FramePixel(view, 10, 10), (Pixel{0, 0, 255, 255}));

    int resized = 0;
    view.OnResize = [&](TObject*) { ++resized; };
    before = renders;
    XResizeWindow(input.display, input.window, 400, 300);
    XFlush(input.display);
    EXPECT_TRUE(StepUntil([&] { return view.Width() == 400 && view.Height() == 300; }));
    EXPECT_GE(resized, 1);
    EXPECT_TRUE(StepUntil([&] { return renders > before; })); // a resize repaints
    view.SetBounds(200, 150);                                 // and the view's size moves the window
    EXPECT_TRUE(StepUntil([&] {
        XWindowAttributes attributes;
        XGetWindowAttributes(input.display, input.window, &attributes);
        return attributes.width == 200 && attributes.height == 150;
    }));

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
    view.OnMouseWheel = [&](TObject*, TShiftState, int delta, int x, int y) {
        log.push_back("wheel " + std::to_string(delta) + at(x, y));
    };
    view.OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState s) {
        log.push_back("key " + std::to_string(key) + (s.Contains(ssShift) ? " shift" : ""));
    };
    CountingController controller(nullptr);
    view.SetController(&controller);
    input.Motion(30, 40);
    input.Button(true, Button1, 30, 40);
    input.Motion(35, 45);
    input.Button(false, Button1, 35, 45);
    input.Button(true, Button3, 50, 60);
    input.Button(false, Button3, 50, 60);
    input.Button(true, Button4, 50, 60); // one step of the wheel away from the user
    input.Key(XK_Left);
    input.Key(XK_a, ShiftMask);
    const std::vector<std::string> expected{"move 30,40",      "down 0 30,40", "move 35,45 left",
                                            "up 0 35,45",      "down 1 35,45", "up 1 35,45",
                                            "wheel 120 35,45", "key 37",       "key 65 shift"};
    EXPECT_TRUE(StepUntil([&] { return log.size() >= expected.size(); }));
    EXPECT_EQ(log, expected);
    // The controller saw the moves and its answer asked for a repaint.
    EXPECT_EQ(controller.moves, 2);
    before = renders;
    input.Motion(36, 46);
    EXPECT_TRUE(StepUntil([&] { return renders > before; }));
}

// A view drawing into a GLFW window that the application (here the test) created, owns and pumps:
// the view renders into it, follows its size and takes its input, and the application's own
// callbacks keep working and come back when the view lets go.

struct Application {
    int keys = 0;
};

void ApplicationKey(GLFWwindow* window, int, int, int action, int) {
    if (action == GLFW_PRESS) ++static_cast<Application*>(glfwGetWindowUserPointer(window))->keys;
}

class EmbeddedWindow : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!WindowSystemAvailable(&reason)) GTEST_SKIP() << "no window system: " << reason;
        glfwDefaultWindowHints();
        window = glfwCreateWindow(200, 150, "The application's window", nullptr, nullptr);
        ASSERT_NE(window, nullptr);
        glfwSetWindowUserPointer(window, &app);
        glfwSetKeyCallback(window, ApplicationKey);
        view.SetSurfaceFactory(ExistingWindowSurfaceFactory(window));
        view.SetBackgroundColor(clRed);
        view.OnRender = [this](TOrnView*) { ++renders; };
        view.OnKeyDown = [this](TObject*, std::uint16_t& key, TShiftState) { viewKey = key; };
        ASSERT_TRUE(view.OpenGLConnect());
    }

    void TearDown() override {
        view.OpenGLDisconnect();
        if (window) glfwDestroyWindow(window);
    }

    // As the application's own loop does.
    static bool PollUntil(const std::function<bool()>& done) {
        return test::StepUntil(done, [] { glfwWaitEventsTimeout(0.02); });
    }

    GLFWwindow* window = nullptr;
    Application app;
    TOrnView view{nullptr};
    int renders = 0;
    std::uint16_t viewKey = 0;
};

TEST_F(EmbeddedWindow, TheViewRendersIntoTheWindowItDidNotCreateAndSharesItsKeysUntilItLetsGo) {
    EXPECT_EQ(view.Surface()->NativeWindow(), window);
    int width = 0, height = 0;
    glfwGetFramebufferSize(window, &width, &height);
    EXPECT_EQ(std::pair(view.Width(), view.Height()), std::pair(width, height));
    view.Paint();
    EXPECT_EQ(renders, 1);
    view.SetCurrent(true);
    EXPECT_EQ(glfwGetCurrentContext(), window);
    view.SetCurrent(false);
    EXPECT_EQ(FramePixel(view, width / 2, height / 2), (Pixel{255, 0, 0, 255}));
    // The application resizes its window; the view follows, and does not fight it back.
    glfwSetWindowSize(window, 260, 180);
    EXPECT_TRUE(PollUntil([&] { return view.Width() == 260 && view.Height() == 180; }))
        << view.Width() << "x" << view.Height();

    test::XInput{glfwGetX11Display(), glfwGetX11Window(window)}.Key(XK_a);
    EXPECT_TRUE(PollUntil([&] { return viewKey != 0 && app.keys > 0; }))
        << "view key " << viewKey << ", application keys " << app.keys;
    EXPECT_EQ(std::pair(viewKey, app.keys), std::pair(std::uint16_t('A'), 1));
    EXPECT_EQ(glfwGetWindowUserPointer(window), &app) << "the user pointer stays the application's";
    view.OpenGLDisconnect();
    EXPECT_EQ(glfwSetKeyCallback(window, ApplicationKey), &ApplicationKey);
    EXPECT_FALSE(glfwWindowShouldClose(window));
    // Another view may now draw into it; two at once may not.
    TOrnView second(nullptr);
    second.SetSurfaceFactory(ExistingWindowSurfaceFactory(window));
    EXPECT_TRUE(second.OpenGLConnect());
    TOrnView third(nullptr);
    third.SetSurfaceFactory(ExistingWindowSurfaceFactory(window));
    EXPECT_THROW(third.OpenGLConnect(), EOrnError);
}

} // namespace
} // namespace orn
