// A scene and the files it refers to are saved as one: every way a save can fail here leaves the
// previous files as they were and nothing else behind. A load says what it could not read, and refuses
// a file from its size and first bytes before it can fill the memory.
#include <orn/host/EOrnError.h>
#include <orn/io/TOrnExchange.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnTexture.h>

#include "support/ErrorText.h"
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A folder's files with their contents (a FIFO or a folder as "?").
std::map<std::string, std::string> Snapshot(const fs::path& dir) {
    std::map<std::string, std::string> m;
    for (const auto& e : fs::directory_iterator(dir))
        m[e.path().filename().string()] = e.is_regular_file() ? ReadAll(e.path()) : "?";
    return m;
}

::testing::AssertionResult Fails(const std::function<void()>& f, const std::string& saying) {
    const std::string e = test::ErrorText(f);
    if (!e.empty() && e.find(saying) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the error was '" << e << "'";
}

/// Runs save in a child process; its exit status (128 + the signal that killed it).
int InChild(const std::function<void()>& save) {
    const pid_t child = ::fork();
    if (child == 0) {
        int status = 0;
        try {
            save();
        } catch (const EOrnError& e) {
            status = std::strstr(e.what(), std::strerror(EFBIG)) ? 1 : 2;
        }
        ::_exit(status);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct SceneSave : ::testing::Test {
    TComponent form{nullptr};
    TOrnNode* scene = new TOrnNode(&form);
    TOrnTexture* texture = new TOrnTexture(scene);
    TOrnPointSet* points = new TOrnPointSet(scene);
    TOrnExchange exchange{nullptr};
    fs::path dir =
        fs::temp_directory_path() / ("orn_save_" + std::to_string(::getpid()) + "_" +
                                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::path file = dir / "out.orngl";
    void SetUp() override {
        fs::remove_all(dir);
        fs::create_directories(dir);
        texture->Bitmap()->SetSize(8, 8);
        scene->Add(texture);
        points->ReadFromText("1 2 3\n4 5 6\n", "inline");
        scene->Add(points);
    }
    void TearDown() override { fs::remove_all(dir); }
    int LoadedBitmapWidth(const fs::path& from) {
        TComponent owner(nullptr);
        auto* node = new TOrnNode(&owner);
        exchange.LoadFromFile(*node, from.string());
        for (int i = 0; i < node->Count(); ++i)
            if (auto* t = dynamic_cast<TOrnTexture*>(node->Items(i))) return t->Bitmap()->Width();
        return -1;
    }
};

} // namespace

TEST_F(SceneSave, AFailureOfAnyFileLeavesEveryFileAsItWas) {
    exchange.SaveToFile(*scene, file.string());
    const auto before = Snapshot(dir);
    EXPECT_EQ(before.size() + before.count("out_1.bmp") + before.count("out_2.txt"), 5u);
    texture->Bitmap()->SetSize(300, 300); // a bigger scene, whose saves are to fail
    points->ReadFromText("7 8 9\n", "inline");
    // The point data cannot be put in place: the texture, written before it, must not be either.
    fs::remove(dir / "out_2.txt");
    fs::create_directory(dir / "out_2.txt");
    EXPECT_TRUE(Fails([&] { exchange.SaveToFile(*scene, file.string()); }, "out_2.txt"));
    auto expected = before;
    expected["out_2.txt"] = "?";
    EXPECT_EQ(Snapshot(dir), expected);
    // The scene's own name is taken by a folder: its write fails after the side files were written.
    fs::remove(dir / "out_2.txt");
    std::ofstream(dir / "out_2.txt") << "old points\n";
    fs::remove(file);
    fs::create_directory(file);
    expected = Snapshot(dir);
    EXPECT_TRUE(Fails([&] { exchange.SaveToFile(*scene, file.string()); }, "out.orngl"));
    EXPECT_EQ(Snapshot(dir), expected);
    // The file system refuses a file half-way through, as a full disk would: an error, not SIGXFSZ.
    fs::remove(file);
    std::ofstream(file) << "old scene";
    expected = Snapshot(dir);
    EXPECT_EQ(InChild([&] {
                  std::signal(SIGXFSZ, SIG_DFL);
                  rlimit small{};
                  ::getrlimit(RLIMIT_FSIZE, &small);
                  small.rlim_cur = 4096;
                  ::setrlimit(RLIMIT_FSIZE, &small);
                  exchange.SaveToFile(*scene, file.string());
              }),
              1)
        << "0: no failure, 2: another failure, above 128: killed";
    EXPECT_EQ(Snapshot(dir), expected);
}

TEST_F(SceneSave, TargetsThatAreNoRegularFilesOrHaveLongNames) {
    // A symbolic link stays a link; the file it points to gets the scene and keeps its mode.
    std::ofstream(dir / "real.orngl") << "old";
    ::chmod((dir / "real.orngl").c_str(), 0640);
    fs::create_symlink("real.orngl", dir / "link.orngl");
    exchange.SaveToFile(*scene, (dir / "link.orngl").string());
    EXPECT_TRUE(fs::is_symlink(dir / "link.orngl"));
    EXPECT_NE(ReadAll(dir / "real.orngl").find("<ORNGL"), std::string::npos);
    EXPECT_EQ(fs::status(dir / "real.orngl").permissions(), fs::perms{0640});
    // A dangling link is refused, not replaced by a file.
    fs::create_symlink("missing/x.orngl", dir / "dangling.orngl");
    EXPECT_THROW(exchange.SaveToFile(*scene, (dir / "dangling.orngl").string()), EOrnError);
    EXPECT_TRUE(fs::is_symlink(dir / "dangling.orngl"));
    // With side files, names too long for them are refused before anything is written.
    const auto files = Snapshot(dir);
    EXPECT_THROW(exchange.SaveToFile(*scene, (dir / (std::string(250, 'x') + ".orngl")).string()), EOrnError);
    EXPECT_EQ(Snapshot(dir), files);
    scene->Remove(texture);
    scene->Remove(points);
    // A name that a suffixed temporary name would not fit is still saved, twice.
    fs::remove_all(dir);
    fs::create_directories(dir);
    const std::string stem(240, 's');
    exchange.SaveToFile(*scene, (dir / (stem + ".orngl")).string());
    exchange.SaveToFile(*scene, (dir / (stem + ".orngl")).string());
    EXPECT_EQ(Snapshot(dir).size(), 1u);
    // A character device is written to, never replaced; a FIFO gets the text through it.
    exchange.SaveToFile(*scene, "/dev/null");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    const fs::path fifo = dir / "pipe.orngl";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] { received = ReadAll(fifo); });
    exchange.SaveToFile(*scene, fifo.string());
    reader.join();
    EXPECT_NE(received.find("<ORNGL"), std::string::npos);
    EXPECT_TRUE(fs::is_fifo(fs::symlink_status(fifo)));
}

TEST_F(SceneSave, ReferencedFilesLoadFromTheFolderOrAreWarnedAbout) {
    exchange.SaveToFile(*scene, file.string());
    const std::string text = ReadAll(file);
    const fs::path outside = dir.string() + "_outside.bmp";
    fs::copy_file(dir / "out_1.bmp", outside, fs::copy_options::overwrite_existing);
    fs::create_directories(dir / "textures");
    fs::copy_file(dir / "out_1.bmp", dir / "textures" / "wood.bmp");
    fs::create_symlink(outside, dir / "textures" / "link.bmp");
    ::mkfifo((dir / "fifo.bmp").c_str(), 0600);
    struct Case {
        std::string name;
        int width;
        const char* says;
    } cases[] = {{"out_1.bmp", 8, ""},
                 {"textures/wood.bmp", 8, ""},
                 {"missing.bmp", 0, "No such file"},
                 {"fifo.bmp", 0, "not a regular file"}, // never blocks on it
                 {"textures/link.bmp", 0, "outside"},
                 {"../" + outside.filename().string(), 0, "outside"},
                 {outside.string(), 0, "absolute"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string changed = text;
        changed.replace(changed.find("out_1.bmp"), 9, c.name);
        std::ofstream(file) << changed;
        EXPECT_EQ(LoadedBitmapWidth(file), c.width);
        const std::vector<std::string>& said = exchange.Warnings();
        EXPECT_EQ(said.size(), *c.says ? 1u : 0u);
        EXPECT_TRUE(said.empty() || (said[0].find("'" + c.name + "'") != std::string::npos &&
                                     said[0].find(c.says) != std::string::npos))
            << ::testing::PrintToString(said);
    }
    fs::remove(outside);
}

TEST_F(SceneSave, StringsWriteTheSideFilesInFileNamesFolderAndFilesOverTheLimitAreRefusedUnread) {
    // Side files that nobody would write.
    EXPECT_TRUE(Fails([&] { exchange.SaveToString(*scene); },
                      "'scene_1.bmp' the scene refers to: FileName is empty"));
    EXPECT_TRUE(Snapshot(dir).empty());
    exchange.SetFileName(file.string());
    EXPECT_NE(exchange.SaveToString(*scene).find("Bitmap=\"out_1.bmp\""), std::string::npos);
    EXPECT_EQ(Snapshot(dir).size(), 2u);
    EXPECT_EQ(Snapshot(dir).count("out_2.txt"), 1u);
    // Loading: a file over the limit, or without a single '<' in its first chunk, is refused unread.
    TOrnNode node(nullptr);
    std::ofstream(file) << "<ORNGL version=\"1\"><Objects class=\"TOrnNode\"/></ORNGL>"
                        << std::string(200, ' ');
    exchange.SetMaxFileBytes(100);
    EXPECT_TRUE(Fails([&] { exchange.LoadFromFile(node, file.string()); }, "more than the 100 allowed"));
    exchange.SetMaxFileBytes(1000);
    EXPECT_EQ(test::ErrorText([&] { exchange.LoadFromFile(node, file.string()); }), "");
    std::ofstream(file) << std::string(300000, 'x');
    exchange.SetMaxFileBytes(1 << 20);
    EXPECT_TRUE(Fails([&] { exchange.LoadFromFile(node, file.string()); },
                      "not a scene file (no element found in 65536 bytes)"));
}
