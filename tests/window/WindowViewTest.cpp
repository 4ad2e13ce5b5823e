// A view in a real window: run under Xvfb (ctest's "window" test does), events are sent through
// the X server, so they travel the same way a user's do.
#include <gtest/gtest.h>

#include <orn/host/TApplication.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#define GLFW_EXPOSE_NATIVE_X11
#include <GLFW/glfw3native.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <chrono>
#include <functional>
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
        display = glfwGetX11Display();
        window = glfwGetX11Window(static_cast<GLFWwindow*>(view.Surface()->NativeWindow()));
    }

    /// Steps the application until done() holds, for at most two seconds.
    bool StepUntil(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        while (std::chrono::steady_clock::now() < end) {
            TApplication::Instance().Step(0.02);
            if (done()) return true;
        }
        return done();
    }

    void SendButton(bool press, unsigned button, int x, int y) {
        XEvent e{};
        e.xbutton.type = press ? ButtonPress : ButtonRelease;
        e.xbutton.display = display;
        e.xbutton.window = window;
        e.xbutton.button = button;
        e.xbutton.x = x;
        e.xbutton.y = y;
        e.xbutton.same_screen = True;
        XSendEvent(display, window, True, press ? ButtonPressMask : ButtonReleaseMask, &e);
        XFlush(display);
    }
    void SendMotion(int x, int y) {
        XEvent e{};
        e.xmotion.type = MotionNotify;
        e.xmotion.display = display;
        e.xmotion.window = window;
        e.xmotion.x = x;
        e.xmotion.y = y;
        e.xmotion.same_screen = True;
        XSendEvent(display, window, True, PointerMotionMask, &e);
        XFlush(display);
    }
    void SendKey(KeySym sym) {
        XEvent e{};
        e.xkey.type = KeyPress;
        e.xkey.display = display;
        e.xkey.window = window;
        e.xkey.keycode = XKeysymToKeycode(display, sym);
        e.xkey.same_screen = True;
        XSendEvent(display, window, True, KeyPressMask, &e);
        XFlush(display);
    }

    TOrnView view{nullptr};
    int renders = 0;
    Display* display = nullptr;
    Window window = 0;
};

TEST_F(WindowView, OpensAndPaintsThroughTheApplicationStep) {
    EXPECT_EQ(view.Surface()->Kind(), "window");
    EXPECT_GE(view.PixelFormat().ColorBits, 24);
    EXPECT_TRUE(view.PixelFormat().DoubleBuffer());
    // The window's first expose asks for a paint.
    EXPECT_TRUE(StepUntil([&] { return renders > 0; }));
    const int before = renders;
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
}

TEST_F(WindowView, ResizingTheWindowResizesTheView) {
    int resized = 0;
    view.OnResize = [&](TObject*) { ++resized; };
    StepUntil([&] { return renders > 0; });
    const int before = renders;
    XResizeWindow(display, window, 400, 300);
    XFlush(display);
    EXPECT_TRUE(StepUntil([&] { return view.Width() == 400 && view.Height() == 300; }));
    EXPECT_GE(resized, 1);
    EXPECT_TRUE(StepUntil([&] { return renders > before; })); // a resize repaints

    // And the other way: the view's size moves the window.
    view.SetBounds(200, 150);
    EXPECT_TRUE(StepUntil([&] {
        XWindowAttributes attributes;
        XGetWindowAttributes(display, window, &attributes);
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
    view.OnMouseDown = [&](TObject*, TMouseButton b, TShiftState, int x, int y) {
        log.push_back("down " + std::to_string(b) + " " + std::to_string(x) + "," + std::to_string(y));
    };
    view.OnMouseMove = [&](TObject*, TShiftState s, int x, int y) {
        log.push_back("move " + std::to_string(x) + "," + std::to_string(y) +
                      (s.Contains(ssLeft) ? " left" : ""));
    };
    view.OnMouseUp = [&](TObject*, TMouseButton b, TShiftState, int x, int y) {
        log.push_back("up " + std::to_string(b) + " " + std::to_string(x) + "," + std::to_string(y));
    };
    view.OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState) {
        log.push_back("key " + std::to_string(key));
    };
    CountingController controller(nullptr);
    view.SetController(&controller);
    StepUntil([&] { return renders > 0; });

    SendMotion(30, 40);
    SendButton(true, Button1, 30, 40);
    SendMotion(35, 45);
    SendButton(false, Button1, 35, 45);
    SendButton(true, Button3, 50, 60);
    SendKey(XK_Left);
    SendKey(XK_a);
    const std::vector<std::string> expected{"move 30,40",   "down 0 30,40", "move 35,45 left", "up 0 35,45",
                                            "down 1 35,45", "key 37",       "key 65"};
    EXPECT_TRUE(StepUntil([&] { return log.size() >= expected.size(); }));
    EXPECT_EQ(log, expected);
    // The controller saw the moves and its answer asked for a repaint.
    EXPECT_EQ(controller.moves, 2);
    const int before = renders;
    SendMotion(36, 46);
    EXPECT_TRUE(StepUntil([&] { return renders > before; }));
}

} // namespace
} // namespace orn
