// A view drawing into a GLFW window that the application (here the test) created, owns and pumps:
// the view renders into it, follows its size and takes its input, and the application's own
// callbacks keep working and come back when the view lets go.
#include <gtest/gtest.h>

#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#define GLFW_EXPOSE_NATIVE_X11
#include <GLFW/glfw3native.h>

#include "XInput.h"

#include <array>
#include <string>

namespace orn {
namespace {

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

    /// Processes the window's events, as the application's loop does, until done() holds.
    static bool PollUntil(const std::function<bool()>& done) {
        return test::StepUntil(done, [] { glfwWaitEventsTimeout(0.02); });
    }

    GLFWwindow* window = nullptr;
    Application app;
    TOrnView view{nullptr};
    int renders = 0;
    std::uint16_t viewKey = 0;
};

TEST_F(EmbeddedWindow, TheViewRendersIntoTheWindowItDidNotCreate) {
    EXPECT_EQ(view.Surface()->NativeWindow(), window);
    int width = 0, height = 0;
    glfwGetFramebufferSize(window, &width, &height);
    EXPECT_EQ(view.Width(), width);
    EXPECT_EQ(view.Height(), height);

    view.Paint();
    EXPECT_EQ(renders, 1);
    // The pixels of the window's own framebuffer, read before they are swapped away.
    view.SetCurrent(true);
    EXPECT_EQ(glfwGetCurrentContext(), window);
    view.RenderSceneGL();
    std::array<unsigned char, 4> pixel{};
    glReadPixels(width / 2, height / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    view.SetCurrent(false);
    EXPECT_EQ(pixel, (std::array<unsigned char, 4>{255, 0, 0, 255}));

    // The application resizes its window; the view follows, and does not fight it back.
    glfwSetWindowSize(window, 260, 180);
    EXPECT_TRUE(PollUntil([&] { return view.Width() == 260 && view.Height() == 180; }))
        << view.Width() << "x" << view.Height();
}

TEST_F(EmbeddedWindow, KeysReachTheViewAndTheApplicationsCallbackWhichDisconnectingGivesBack) {
    test::XInput{glfwGetX11Display(), glfwGetX11Window(window)}.Key(XK_a);
    EXPECT_TRUE(PollUntil([&] { return viewKey != 0 && app.keys > 0; }))
        << "view key " << viewKey << ", application keys " << app.keys;
    EXPECT_EQ(viewKey, 'A');
    EXPECT_EQ(app.keys, 1);
    // The window's user pointer stays the application's.
    EXPECT_EQ(glfwGetWindowUserPointer(window), &app);

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
