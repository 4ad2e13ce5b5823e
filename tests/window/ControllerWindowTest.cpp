// Controllers steering a camera in a real window: pointer and key events go through the X server
// (run under Xvfb, as ctest's "window" test does), the view forwards them to its controller, and
// the picture drawn afterwards must show the camera's new place.
#include <gtest/gtest.h>

#include <orn/geometry/TOrnRectangle.h>
#include <orn/host/TApplication.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/scene/TOrnNode.h>
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
#include <vector>

namespace orn {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;

class ControllerWindow : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!WindowSystemAvailable(&reason)) GTEST_SKIP() << "no window system: " << reason;
        // A red square straight ahead on black: any motion of the camera moves its edges.
        auto* square = new TOrnRectangle(&form);
        square->Color()->SetColor(clRed);
        square->Transformation()->Rotation()->SetX(90);
        square->Transformation()->Translation()->SetValues(0, -0.5f, 0);
        scene->Add(square);
        camera->Transformation()->Translation()->SetValues(0, 0, -3);
        view->SetCamera(camera);
        view->SetBounds(kWidth, kHeight);
        view->OnRender = [this](TOrnView* v) {
            scene->Render(v);
            image.assign(kWidth * kHeight * 4, 0);
            glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, image.data());
            ++renders;
        };
        view->SetSurfaceFactory(WindowSurfaceFactory({"Orn controller test", true, false}));
        ASSERT_TRUE(view->OpenGLConnect());
        display = glfwGetX11Display();
        window = glfwGetX11Window(static_cast<GLFWwindow*>(view->Surface()->NativeWindow()));
        ASSERT_TRUE(StepUntil([&] { return renders > 0; }));
    }

    /// Steps the application until done() holds, for at most the given time.
    bool StepUntil(const std::function<bool()>& done,
                   std::chrono::milliseconds limit = std::chrono::seconds(2)) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < end) {
            TApplication::Instance().Step(0.02);
            if (done()) return true;
        }
        return done();
    }
    /// Steps until a paint after mark (a count of renders) has happened and moved() holds.
    bool PaintedAfter(int mark, const std::function<bool()>& moved) {
        return StepUntil([&] { return renders > mark && moved(); });
    }
    int RedPixels(const std::vector<unsigned char>& pixels) const {
        int n = 0;
        for (size_t i = 0; i + 3 < pixels.size(); i += 4)
            n += pixels[i] > 200 && pixels[i + 1] < 50;
        return n;
    }
    int DifferentPixels(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) const {
        int n = 0;
        for (size_t i = 0; i + 3 < a.size() && i + 3 < b.size(); i += 4)
            n += a[i] != b[i] || a[i + 1] != b[i + 1] || a[i + 2] != b[i + 2];
        return n;
    }

    void Send(XEvent e, long mask) {
        e.xany.display = display;
        e.xany.window = window;
        XSendEvent(display, window, True, mask, &e);
        XFlush(display);
    }
    void SendButton(bool press, unsigned button) {
        XEvent e{};
        e.xbutton.type = press ? ButtonPress : ButtonRelease;
        e.xbutton.button = button;
        e.xbutton.same_screen = True;
        Send(e, press ? ButtonPressMask : ButtonReleaseMask);
    }
    void SendMotion(int x, int y) {
        XEvent e{};
        e.xmotion.type = MotionNotify;
        e.xmotion.x = x;
        e.xmotion.y = y;
        e.xmotion.same_screen = True;
        Send(e, PointerMotionMask);
    }
    void SendKey(KeySym sym) {
        XEvent e{};
        e.xkey.type = KeyPress;
        e.xkey.keycode = XKeysymToKeycode(display, sym);
        e.xkey.same_screen = True;
        Send(e, KeyPressMask);
    }

    TComponent form{nullptr};
    TOrnNode* scene = new TOrnNode(&form);
    TOrnPerspectiveCamera* camera = new TOrnPerspectiveCamera(&form);
    TOrnView* view = new TOrnView(&form);
    std::vector<unsigned char> image;
    int renders = 0;
    Display* display = nullptr;
    Window window = 0;
};

TEST_F(ControllerWindow, MouseDragMovesTheCameraAndThePicture) {
    auto* mouse = new TOrnMouseController(&form);
    mouse->SetControlled(camera);
    view->SetController(mouse);
    const std::vector<unsigned char> before = image;
    ASSERT_GT(RedPixels(before), 100) << "the square is not in sight";

    int mark = renders;
    SendMotion(80, 60);
    SendButton(true, Button1);
    SendMotion(80, 160); // 100 pixels down: up by 0.266
    ASSERT_TRUE(PaintedAfter(mark, [&] { return camera->Transformation()->Translation()->Y() != 0; }));
    const std::vector<unsigned char> moved = image;
    EXPECT_NEAR(camera->Transformation()->Translation()->Y(), 0.266, 1e-5);
    EXPECT_GT(DifferentPixels(before, moved), 100);

    mark = renders;
    SendMotion(180, 160); // 100 pixels right: turned by 6.65 degrees
    ASSERT_TRUE(PaintedAfter(mark, [&] { return camera->Transformation()->Rotation()->Y() != 0; }));
    const std::vector<unsigned char> turned = image;
    EXPECT_NEAR(camera->Transformation()->Rotation()->Y(), 6.65, 1e-4);
    EXPECT_GT(DifferentPixels(moved, turned), 100);

    SendButton(false, Button1);
    SendMotion(10, 10);                                              // no button held: nothing moves any more
    StepUntil([] { return false; }, std::chrono::milliseconds(200)); // let the events arrive
    EXPECT_NEAR(camera->Transformation()->Translation()->Y(), 0.266, 1e-5);
    EXPECT_NEAR(camera->Transformation()->Rotation()->Y(), 6.65, 1e-4);
}

TEST_F(ControllerWindow, ArrowKeysWalkTheCamera) {
    auto* person = new TOrnPersonController(&form);
    person->SetStepLength(0.5f);
    person->SetControlled(camera);
    view->SetController(person);
    const int redBefore = RedPixels(image);

    const int mark = renders;
    SendKey(XK_Up); // one step towards the square: it grows
    ASSERT_TRUE(PaintedAfter(mark, [&] { return camera->Transformation()->Translation()->Z() != -3.0f; }));
    EXPECT_FLOAT_EQ(camera->Transformation()->Translation()->Z(), -2.5f);
    EXPECT_GT(RedPixels(image), redBefore);

    SendKey(XK_Right);
    ASSERT_TRUE(StepUntil([&] { return camera->Transformation()->Rotation()->Y() != 0; }));
    EXPECT_FLOAT_EQ(camera->Transformation()->Rotation()->Y(), 1.0f);
}

} // namespace
} // namespace orn
