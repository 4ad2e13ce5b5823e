// `orn view` as a user meets it: the program runs in its own process under the test's X server,
// and the test types and drags in its window through the X server, reads its printed answers and
// grabs the window's picture.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int kWidth = 320;
constexpr int kHeight = 240;

class ViewVerb : public ::testing::Test {
protected:
    /// Arguments after the common ones.
    virtual std::vector<std::string> ExtraArguments() const { return {}; }

    void SetUp() override {
        display = XOpenDisplay(nullptr);
        if (!display) GTEST_SKIP() << "no X display";
        int out[2];
        ASSERT_EQ(pipe(out), 0);
        pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            dup2(out[1], STDOUT_FILENO);
            close(out[0]);
            close(out[1]);
            std::vector<std::string> args{ORN_APP_PATH, "view", "--still", "--size=320x240"};
            for (const std::string& a : ExtraArguments())
                args.push_back(a);
            std::vector<char*> argv;
            for (std::string& a : args)
                argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(ORN_APP_PATH, argv.data());
            _exit(127);
        }
        close(out[1]);
        output = out[0];
        fcntl(output, F_SETFL, O_NONBLOCK);
        ASSERT_TRUE(WaitFor([&] { return (window = FindWindow(DefaultRootWindow(display))) != 0; }))
            << "orn view opened no window; it said: " << Output();
        ASSERT_TRUE(WaitFor([&] { return Output().find("press H") != std::string::npos; }));
    }

    void TearDown() override {
        if (pid > 0 && !exited) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
        if (output >= 0) close(output);
        if (display) XCloseDisplay(display);
    }

    static bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds limit = 5s) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < end) {
            if (done()) return true;
            std::this_thread::sleep_for(20ms);
        }
        return done();
    }

    /// Everything the viewer has printed so far.
    const std::string& Output() {
        char buffer[4096];
        ssize_t n;
        while ((n = read(output, buffer, sizeof buffer)) > 0)
            printed.append(buffer, static_cast<size_t>(n));
        return printed;
    }

    Window FindWindow(Window w) {
        char* name = nullptr;
        if (XFetchName(display, w, &name) && name) {
            const bool match = std::strcmp(name, "orn view") == 0;
            XFree(name);
            if (match) return w;
        }
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(display, w, &root, &parent, &children, &count)) return 0;
        Window found = 0;
        for (unsigned i = 0; i < count && !found; ++i)
            found = FindWindow(children[i]);
        if (children) XFree(children);
        return found;
    }

    void Send(XEvent e, long mask) {
        e.xany.display = display;
        e.xany.window = window;
        XSendEvent(display, window, True, mask, &e);
        XFlush(display);
    }
    void Motion(int x, int y) {
        XEvent e{};
        e.xmotion.type = MotionNotify;
        e.xmotion.x = x;
        e.xmotion.y = y;
        e.xmotion.same_screen = True;
        Send(e, PointerMotionMask);
    }
    void Button(bool press) {
        XEvent e{};
        e.xbutton.type = press ? ButtonPress : ButtonRelease;
        e.xbutton.button = Button1;
        e.xbutton.same_screen = True;
        Send(e, press ? ButtonPressMask : ButtonReleaseMask);
    }
    void Key(KeySym sym) {
        XEvent e{};
        e.xkey.type = KeyPress;
        e.xkey.keycode = XKeysymToKeycode(display, sym);
        e.xkey.same_screen = True;
        Send(e, KeyPressMask);
    }

    /// The window's pixels as 0xRRGGBB values, or empty when they cannot be read.
    std::vector<unsigned long> Picture() {
        XImage* image = XGetImage(display, window, 0, 0, kWidth, kHeight, AllPlanes, ZPixmap);
        if (!image) return {};
        std::vector<unsigned long> pixels;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                pixels.push_back(XGetPixel(image, x, y) & 0xFFFFFF);
        XDestroyImage(image);
        return pixels;
    }
    static int Differences(const std::vector<unsigned long>& a, const std::vector<unsigned long>& b) {
        int n = 0;
        for (size_t i = 0; i < a.size() && i < b.size(); ++i)
            n += a[i] != b[i];
        return n;
    }

    /// Asks for the object under (x, y) and returns the answer line.
    std::string Pick(int x, int y) {
        Motion(x, y);
        const size_t from = Output().size();
        Key(XK_o);
        WaitFor([&] { return Output().find('\n', from) != std::string::npos; });
        const std::string& all = Output();
        return all.substr(from, all.find('\n', from) - from);
    }

    Display* display = nullptr;
    Window window = 0;
    pid_t pid = -1;
    int output = -1;
    std::string printed;
    bool exited = false;
};

TEST_F(ViewVerb, PicksTheObjectUnderTheMouse) {
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2), "at 160,120: \"Centre\" (TOrnSphere)");
    EXPECT_EQ(Pick(5, 5), "at 5,5: nothing");
}

TEST_F(ViewVerb, DraggingMovesTheCameraAndChangesThePicture) {
    std::vector<unsigned long> before;
    ASSERT_TRUE(WaitFor([&] { return !(before = Picture()).empty(); })) << "the window cannot be read";
    Motion(10, kHeight / 2);
    Button(true);
    Motion(310, kHeight / 2); // turns the camera by 300 / 2000 * 133 = 19.95 degrees
    Button(false);
    EXPECT_TRUE(WaitFor([&] { return Differences(before, Picture()) > 500; }));
    // The centre sphere has left the middle of the window.
    EXPECT_NE(Pick(kWidth / 2, kHeight / 2), "at 160,120: \"Centre\" (TOrnSphere)");
}

TEST_F(ViewVerb, SwitchesControllersAndQuitsOnQ) {
    const size_t from = Output().size();
    Key(XK_c);
    Key(XK_c);
    Key(XK_c);
    EXPECT_TRUE(WaitFor([&] { return Output().find("TOrnMouseController", from) != std::string::npos; }));
    EXPECT_NE(Output().find("controller: TOrnPersonController\ncontroller: TOrnCarController\n", from),
              std::string::npos);
    Key(XK_q);
    int status = -1;
    EXPECT_TRUE(WaitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }));
    exited = true;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// A scene file, seen through its own camera, then framed in examine mode.
class ViewVerbFile : public ViewVerb {
protected:
    std::vector<std::string> ExtraArguments() const override {
        return {ORN_SOURCE_DIR "/examples/scenes/demo.orngl"};
    }

    void Wheel(unsigned button) {
        XEvent e{};
        e.xbutton.type = ButtonPress;
        e.xbutton.button = button;
        e.xbutton.x = kWidth / 2;
        e.xbutton.y = kHeight / 2;
        e.xbutton.same_screen = True;
        Send(e, ButtonPressMask);
        e.xbutton.type = ButtonRelease;
        Send(e, ButtonReleaseMask);
    }
};

TEST_F(ViewVerbFile, OpensTheFileThroughItsCameraAndOrbitsZoomsAndFrames) {
    EXPECT_NE(Output().find("demo.orngl, "), std::string::npos) << Output();
    EXPECT_NE(Output().find("seen through the file's camera"), std::string::npos) << Output();
    EXPECT_EQ(Output().find("framed: "), std::string::npos) << Output();
    std::vector<unsigned long> own;
    ASSERT_TRUE(WaitFor([&] { return !(own = Picture()).empty(); })) << "the window cannot be read";
    Key(XK_f);
    ASSERT_TRUE(WaitFor([&] { return Output().find("framed: ") != std::string::npos; })) << Output();
    EXPECT_TRUE(WaitFor([&] { return Differences(own, Picture()) > 500; }));
    // Framed, the scene fills the middle of the window.
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2).find("nothing"), std::string::npos);
    EXPECT_EQ(Pick(5, 5), "at 5,5: nothing");

    std::vector<unsigned long> framed;
    ASSERT_TRUE(WaitFor([&] { return !(framed = Picture()).empty(); })) << "the window cannot be read";
    Wheel(Button4); // nearer
    Wheel(Button4);
    std::vector<unsigned long> zoomed;
    EXPECT_TRUE(WaitFor([&] { return Differences(framed, zoomed = Picture()) > 500; }));

    Motion(100, kHeight / 2);
    Button(true);
    Motion(220, kHeight / 2); // orbits by 60 degrees about the centre
    Button(false);
    EXPECT_TRUE(WaitFor([&] { return Differences(zoomed, Picture()) > 500; }));
    // Orbiting turns about the centre, so the scene stays in the middle.
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2).find("nothing"), std::string::npos);

    // F frames the whole scene again: the first picture comes back.
    Key(XK_f);
    EXPECT_TRUE(WaitFor([&] { return Differences(framed, Picture()) < 50; }));
}

TEST_F(ViewVerbFile, SWritesAScreenshotAndSaysWhere) {
    const size_t from = Output().size();
    Key(XK_s);
    ASSERT_TRUE(WaitFor([&] { return Output().find(".png\n", from) != std::string::npos; })) << Output();
    const std::string line = Output().substr(from);
    ASSERT_EQ(line.rfind("wrote /", 0), 0u) << line;
    const std::string file = line.substr(6, line.find('\n') - 6);
    struct stat info {};
    EXPECT_EQ(stat(file.c_str(), &info), 0) << file;
    EXPECT_GT(info.st_size, 1000);
    std::remove(file.c_str());
}

} // namespace

namespace {

// Every key the viewer acts on is in its help text.
TEST(ViewVerbHelp, ListsEveryKey) {
    std::FILE* pipe = popen(ORN_APP_PATH " view --help", "r");
    ASSERT_NE(pipe, nullptr);
    std::string help;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe))
        help += buffer;
    EXPECT_EQ(pclose(pipe), 0);
    // It says what the demo shows.
    EXPECT_NE(help.find("ringed sphere"), std::string::npos);
    EXPECT_EQ(help.find("cube"), std::string::npos);
    for (const char* entry :
         {"\n  C  ", "\n  Up, Down  ", "\n  Left, Right  ", "\n  Page Up, Page Down  ", "\n  Home  ",
          "\n  O  ", "\n  Space  ", "\n  R  ", "\n  H  ", "\n  Esc, Q  ", "\n  left drag  ",
          "\n  right drag  ", "\n  --still  ", "\n  E  ", "\n  F  ", "\n  P  ", "\n  wheel  "}) {
        std::string squeezed = help;
        // Entries are aligned with runs of spaces; compare with two.
        for (size_t at; (at = squeezed.find("   ")) != std::string::npos;)
            squeezed.erase(at, 1);
        EXPECT_NE(squeezed.find(entry), std::string::npos) << "missing:" << entry;
    }
}

} // namespace
