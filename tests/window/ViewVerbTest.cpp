// `orn view` as a user meets it: the program runs in its own process under the test's X server,
// and the test types and drags in its window through the X server, reads its printed answers and
// grabs the window's picture.
#include <gtest/gtest.h>

#include "XInput.h"

#include <X11/Xutil.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Picture = std::vector<unsigned long>;

constexpr int kWidth = 320;
constexpr int kHeight = 240;

class ViewVerb : public ::testing::Test {
protected:
    void SetUp() override {
        input.display = XOpenDisplay(nullptr);
        if (!input.display) GTEST_SKIP() << "no X display";
    }

    // Runs `orn view --still --size=320x240 extra` and waits for its window and its greeting.
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
        return orn::test::StepUntil(
            done, [] { std::this_thread::sleep_for(20ms); }, 5s);
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
        int n = 0;
        for (size_t i = 0; i < a.size() && i < b.size(); ++i)
            n += a[i] != b[i];
        return n;
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

    orn::test::XInput input;
    std::FILE* viewer = nullptr;
    std::string printed;
};

TEST_F(ViewVerb, DemoPicksDragsExaminesSwitchesControllersAndQuits) {
    Start("");
    const std::string centre = "at 160,120: \"Centre\" (TOrnSphere)";
    EXPECT_EQ(Pick(kWidth / 2, kHeight / 2), centre);
    EXPECT_EQ(Pick(5, 5), "at 5,5: nothing");
    Picture before;
    ASSERT_TRUE(WaitFor([&] { return !(before = Grab()).empty(); })) << "the window cannot be read";
    Drag(10, 310); // turns the camera by 300 / 2000 * 133 = 19.95 degrees
    before = Changed(before);
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
    EXPECT_NE(Output().find("orn view: Cannot get 16 samples per pixel"), std::string::npos) << Output();
    EXPECT_NE(Output().find("demo.orngl, "), std::string::npos) << Output();
    EXPECT_NE(Output().find("seen through the file's camera"), std::string::npos) << Output();
    EXPECT_EQ(Output().find("framed: "), std::string::npos) << Output();
    Picture own;
    ASSERT_TRUE(WaitFor([&] { return !(own = Grab()).empty(); })) << "the window cannot be read";
    input.Key(XK_f);
    ASSERT_TRUE(Prints("framed: ", 0)) << Output();
    const Picture framed = Changed(own);
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
    struct stat info {};
    EXPECT_EQ(stat(file.c_str(), &info), 0) << file;
    EXPECT_GT(info.st_size, 1000);
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

} // namespace
