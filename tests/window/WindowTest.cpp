// Views in real windows, and `orn view` as a user meets it (the program in its own process, the test
// reading its printed answers and grabbing its window's picture). Run under Xvfb (ctest's "window"
// test does); input goes through the X server, so it travels the way a user's does.
#include <orn/host/EOrnError.h>
#include <orn/host/TApplication.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#define GLFW_EXPOSE_NATIVE_X11
#include <GLFW/glfw3native.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace orn {
namespace {

// Events sent to the window through the X server.
struct XInput {
    Display* display = nullptr;
    Window window = 0;

    void Send(XEvent e, int type, long mask) const {
        e.xany.type = type;
        e.xany.display = display;
        e.xany.window = window;
        XSendEvent(display, window, True, mask, &e);
        XFlush(display);
    }
    void Key(KeySym sym, unsigned state = 0) const {
        XEvent e{};
        e.xkey.state = state;
        e.xkey.keycode = XKeysymToKeycode(display, sym);
        e.xkey.same_screen = True;
        Send(e, KeyPress, KeyPressMask);
    }
    void Button(bool press, unsigned button, int x, int y) const {
        XEvent e{};
        e.xbutton.button = button;
        e.xbutton.x = x;
        e.xbutton.y = y;
        e.xbutton.same_screen = True;
        Send(e, press ? ButtonPress : ButtonRelease, press ? ButtonPressMask : ButtonReleaseMask);
    }
    void Motion(int x, int y) const {
        XEvent e{};
        e.xmotion.x = x;
        e.xmotion.y = y;
        e.xmotion.same_screen = True;
        Send(e, MotionNotify, PointerMotionMask);
    }
};

/// Runs step until done() holds, for at most limit; whether it came to hold.
bool Until(const std::function<bool()>& done, const std::function<void()>& step,
           std::chrono::milliseconds limit = std::chrono::seconds(2)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        step();
        if (done()) return true;
    }
    return done();
}

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

class CountingController : public TOrnCustomController {
public:
    using TOrnCustomController::TOrnCustomController;
    int moves = 0;
    bool HandleMouseMove(TShiftState, int, int) override { return ++moves > 0; }
};

TEST(WindowView, PaintsThroughTheApplicationStepFollowsTheWindowsSizeAndTakesItsInput) {
    std::string reason;
    if (!WindowSystemAvailable(&reason)) GTEST_SKIP() << "no window system: " << reason;
    const auto stepUntil = [](const std::function<bool()>& done) {
        return Until(done, [] { TApplication::Instance().Step(0.02); });
    };
    TOrnView view(nullptr);
    int renders = 0;
    view.SetSurfaceFactory(WindowSurfaceFactory({"Orn window test", true, false}));
    view.SetBounds(320, 240);
    view.SetBackgroundColor(clBlue);
    view.OnRender = [&](TOrnView*) { ++renders; };
    ASSERT_TRUE(view.OpenGLConnect());
    const XInput input{glfwGetX11Display(),
                       glfwGetX11Window(static_cast<GLFWwindow*>(view.Surface()->NativeWindow()))};
    // The window's first expose asks for a paint.
    ASSERT_TRUE(stepUntil([&] { return renders > 0; }));
    EXPECT_EQ(view.Surface()->Kind(), "window");
    EXPECT_TRUE(view.PixelFormat().ColorBits >= 24 && view.PixelFormat().DoubleBuffer());
    int before = renders;
    view.InvalidateGL();
    EXPECT_TRUE(stepUntil([&] { return renders > before; }));
    EXPECT_FALSE(view.PaintPending());
    EXPECT_EQ(FramePixel(view, 10, 10), (Pixel{0, 0, 255, 255}));
    int resized = 0;
    view.OnResize = [&](TObject*) { ++resized; };
    before = renders;
    XResizeWindow(input.display, input.window, 400, 300);
    XFlush(input.display);
    EXPECT_TRUE(stepUntil([&] { return view.Width() == 400 && view.Height() == 300; }));
    EXPECT_GE(resized, 1);
    EXPECT_TRUE(stepUntil([&] { return renders > before; })); // a resize repaints
    view.SetBounds(200, 150);                                 // and the view's size moves the window
    EXPECT_TRUE(stepUntil([&] {
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
    EXPECT_TRUE(stepUntil([&] { return log.size() >= expected.size(); }));
    EXPECT_EQ(log, expected);
    // The controller saw the moves and its answer asked for a repaint.
    EXPECT_EQ(controller.moves, 2);
    before = renders;
    input.Motion(36, 46);
    EXPECT_TRUE(stepUntil([&] { return renders > before; }));
}

// The application's key callback counts its presses in the count its user pointer names.
void ApplicationKey(GLFWwindow* window, int, int, int action, int) {
    if (action == GLFW_PRESS) ++*static_cast<int*>(glfwGetWindowUserPointer(window));
}

// A view drawing into a GLFW window that the application (here the test) created, owns and pumps:
// the view renders into it, follows its size and takes its input, and the application's own
// callbacks keep working and come back when the view lets go.
TEST(EmbeddedWindow, TheViewRendersIntoTheWindowItDidNotCreateAndSharesItsKeysUntilItLetsGo) {
    std::string reason;
    if (!WindowSystemAvailable(&reason)) GTEST_SKIP() << "no window system: " << reason;
    const auto pollUntil = [](const std::function<bool()>& done) {
        return Until(done, [] { glfwWaitEventsTimeout(0.02); }); // as the application's own loop does
    };
    glfwDefaultWindowHints();
    // Destroyed after every view below.
    const std::unique_ptr<GLFWwindow, void (*)(GLFWwindow*)> owned(
        glfwCreateWindow(200, 150, "The application's window", nullptr, nullptr), glfwDestroyWindow);
    GLFWwindow* window = owned.get();
    ASSERT_NE(window, nullptr);
    int appKeys = 0, renders = 0;
    std::uint16_t viewKey = 0;
    glfwSetWindowUserPointer(window, &appKeys);
    glfwSetKeyCallback(window, ApplicationKey);
    TOrnView view(nullptr);
    view.SetSurfaceFactory(ExistingWindowSurfaceFactory(window));
    view.SetBackgroundColor(clRed);
    view.OnRender = [&](TOrnView*) { ++renders; };
    view.OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState) { viewKey = key; };
    ASSERT_TRUE(view.OpenGLConnect());
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
    EXPECT_TRUE(pollUntil([&] { return view.Width() == 260 && view.Height() == 180; }))
        << view.Width() << "x" << view.Height();
    XInput{glfwGetX11Display(), glfwGetX11Window(window)}.Key(XK_a);
    EXPECT_TRUE(pollUntil([&] { return viewKey != 0 && appKeys > 0; }))
        << "view key " << viewKey << ", application keys " << appKeys;
    EXPECT_EQ(std::pair(viewKey, appKeys), std::pair(std::uint16_t('A'), 1));
    EXPECT_EQ(glfwGetWindowUserPointer(window), &appKeys) << "the user pointer stays the application's";
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

// The tests of the orn command run the program itself.
#ifdef ORN_APP_PATH

using Picture = std::vector<unsigned long>;
constexpr int kWidth = 320, kHeight = 240;

class ViewVerb : public ::testing::Test {
protected:
    void SetUp() override {
        input.display = XOpenDisplay(nullptr);
        if (!input.display) GTEST_SKIP() << "no X display";
    }
    // Runs `orn view --still --size=320x240 extra`; waits for its window, greeting and first picture.
    void Start(const std::string& extra) {
        // A viewer left behind by a failed test ends by itself.
        const std::string command =
            "timeout -k 5 30 " ORN_APP_PATH " view --still --size=320x240 " + extra + " 2>&1";
        viewer = popen(command.c_str(), "r");
        ASSERT_NE(viewer, nullptr);
        fcntl(fileno(viewer), F_SETFL, O_NONBLOCK);
        ASSERT_TRUE(WaitFor([&] { return (input.window = FindWindow()) != 0; }))
            << "orn view opened no window; it said: " << Output();
        ASSERT_TRUE(Prints("press H", 0));
        ASSERT_TRUE(WaitFor([&] { return !(first = Grab()).empty(); })) << "the window cannot be read";
    }
    int Quit() {
        if (input.window) input.Key(XK_q);
        const int status = pclose(viewer);
        viewer = nullptr;
        return status;
    }
    void TearDown() override {
        if (viewer) Quit();
        if (input.display) XCloseDisplay(input.display);
    }
    static bool WaitFor(const std::function<bool()>& done) {
        return Until(
            done, [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); },
            std::chrono::seconds(5));
    }
    // One look reads at most 64 KiB, so that a viewer that never stops printing cannot keep a wait
    // from reaching its time limit.
    const std::string& Output() {
        char buffer[4096];
        ssize_t n = 1;
        for (int i = 0; i < 16 && (n = read(fileno(viewer), buffer, sizeof buffer)) > 0; ++i)
            printed.append(buffer, static_cast<size_t>(n));
        return printed;
    }
    bool Prints(const std::string& text, size_t from) {
        return WaitFor([&] { return Output().find(text, from) != std::string::npos; });
    }
    // No window manager reparents the top-level windows here.
    Window FindWindow() {
        Window root, parent, *children = nullptr, found = 0;
        unsigned count = 0;
        XQueryTree(input.display, DefaultRootWindow(input.display), &root, &parent, &children, &count);
        for (unsigned i = 0; i < count && !found; ++i) {
            char* name = nullptr;
            if (XFetchName(input.display, children[i], &name) && name) {
                if (std::strcmp(name, "orn view") == 0) found = children[i];
                XFree(name);
            }
        }
        if (children) XFree(children);
        return found;
    }
    void Drag(int x0, int x1) {
        input.Motion(x0, kHeight / 2);
        input.Button(true, Button1, x0, kHeight / 2);
        input.Motion(x1, kHeight / 2);
        input.Button(false, Button1, x1, kHeight / 2);
    }
    // 0xRRGGBB values, or empty when the window cannot be read.
    Picture Grab() {
        XImage* image = XGetImage(input.display, input.window, 0, 0, kWidth, kHeight, AllPlanes, ZPixmap);
        if (!image) return {};
        Picture pixels;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                pixels.push_back(XGetPixel(image, x, y) & 0xFFFFFF);
        XDestroyImage(image);
        return pixels;
    }
    static int Differences(const Picture& a, const Picture& b) {
        const auto n = std::min(a.size(), b.size());
        return std::inner_product(a.begin(), a.begin() + n, b.begin(), 0, std::plus<>(),
                                  std::not_equal_to<>());
    }
    Picture Changed(const Picture& before) {
        Picture now;
        EXPECT_TRUE(WaitFor([&] { return Differences(before, now = Grab()) > 500; }));
        return now;
    }
    std::string Pick(int x, int y) {
        input.Motion(x, y);
        const size_t from = Output().size();
        input.Key(XK_o);
        WaitFor([&] { return Output().find('\n', from) != std::string::npos; });
        const std::string& all = Output();
        return all.substr(from, all.find('\n', from) - from);
    }
    XInput input;
    std::FILE* viewer = nullptr;
    std::string printed;
    Picture first; // the first picture Start could read
};

TEST_F(ViewVerb, DemoPicksDragsExaminesSwitchesControllersAndQuits) {
    Start("");
    const std::string centre = "at 160,120: \"Centre\" (TOrnSphere)";
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2), centre);
    EXPECT_EQ(Pick(5, 5), "at 5,5: nothing");
    Drag(10, 310); // turns the camera by 300 / 2000 * 133 = 19.95 degrees
    Picture before = Changed(first);
    EXPECT_NE(Pick(kWidth / 2, kHeight / 2), centre) << "the centre sphere has left the middle";
    size_t from = Output().size();
    input.Key(XK_e);
    EXPECT_TRUE(Prints("examine mode\n", from));
    before = Changed(before);
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2), centre) << "examined about the scene's centre";
    from = Output().size();
    for (int i = 0; i < 3; ++i)
        input.Key(XK_c);
    EXPECT_TRUE(Prints("controller: TOrnPersonController\ncontroller: TOrnCarController\n"
                       "controller: TOrnMouseController\n",
                       from));
    const int status = Quit();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(ViewVerb, SceneFileOpensThroughItsCameraZoomsOrbitsFramesAndTakesScreenshots) {
    // No driver here has 16 samples per pixel: the viewer says so and goes on without.
    Start(ORN_SOURCE_DIR "/examples/scenes/demo.orngl --samples=16");
    for (const char* said :
         {"orn view: Cannot get 16 samples per pixel", "demo.orngl, ", "seen through the file's camera"})
        EXPECT_NE(Output().find(said), std::string::npos) << Output();
    EXPECT_EQ(Output().find("framed: "), std::string::npos) << Output();
    input.Key(XK_f);
    ASSERT_TRUE(Prints("framed: ", 0)) << Output();
    const Picture framed = Changed(first);
    // Framed, the scene fills the middle of the window.
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2).find("nothing"), std::string::npos);
    EXPECT_EQ(Pick(5, 5), "at 5,5: nothing");
    for (bool press : {true, false, true, false}) // two wheel steps nearer
        input.Button(press, Button4, kWidth / 2, kHeight / 2);
    const Picture zoomed = Changed(framed);
    Drag(100, 220); // orbits by 60 degrees about the centre
    Changed(zoomed);
    // Orbiting turns about the centre, so the scene stays in the middle.
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2).find("nothing"), std::string::npos);
    // F frames the whole scene again: the first picture comes back.
    input.Key(XK_f);
    EXPECT_TRUE(WaitFor([&] { return Differences(framed, Grab()) < 50; }));
    const size_t from = Output().size();
    input.Key(XK_s);
    ASSERT_TRUE(Prints(".png\n", from)) << Output();
    const std::string line = Output().substr(from);
    ASSERT_EQ(line.rfind("wrote /", 0), 0u) << line;
    const std::string file = line.substr(6, line.find('\n') - 6);
    EXPECT_GT(std::filesystem::file_size(file), 1000u) << file; // throws where there is none
    std::remove(file.c_str());
}

// Every key the viewer acts on is in its help text.
TEST(ViewVerbHelp, ListsEveryKey) {
    std::FILE* pipe = popen("timeout -k 5 30 " ORN_APP_PATH " view --help", "r");
    ASSERT_NE(pipe, nullptr);
    std::string help;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe))
        help += buffer;
    EXPECT_EQ(pclose(pipe), 0);
    // It says what the demo shows.
    EXPECT_NE(help.find("ringed sphere"), std::string::npos);
    EXPECT_EQ(help.find("cube"), std::string::npos);
    // Entries are aligned with runs of spaces; compare with two.
    for (size_t at; (at = help.find("   ")) != std::string::npos;)
        help.erase(at, 1);
    for (const char* entry :
         {"C",     "Up, Down", "Left, Right", "Page Up, Page Down", "Home",    "O", "Space", "R",
          "H",     "Esc, Q",   "left drag",   "right drag",         "--still", "E", "F",     "P",
          "wheel", "S",        "F1",          "--samples N"})
        EXPECT_NE(help.find("\n  " + std::string(entry) + "  "), std::string::npos) << "missing: " << entry;
}

#endif

} // namespace
} // namespace orn
