// A scene and the files it refers to are saved as one: every way a save can fail here leaves the
// previous files as they were and nothing else behind; a load says what it could not read.
#include <orn/host/EOrnError.h>
#include <orn/io/TOrnExchange.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnTexture.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteAll(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

struct SceneSave : ::testing::Test {
    TComponent form{nullptr};
    TOrnNode* scene = new TOrnNode(&form);
    TOrnTexture* texture = new TOrnTexture(scene);
    TOrnPointSet* points = new TOrnPointSet(scene);
    TOrnExchange exchange{nullptr};
    fs::path dir;
    fs::path file;

    void SetUp() override {
        dir = fs::temp_directory_path() / ("orn_save_" + std::to_string(::getpid()) + "_" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
        file = dir / "out.orngl";
        texture->Bitmap()->SetSize(8, 8);
        scene->Add(texture);
        points->ReadFromText("1 2 3\n4 5 6\n", "inline");
        scene->Add(points);
    }
    void TearDown() override { fs::remove_all(dir); }

    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& e : fs::directory_iterator(dir))
            names.insert(e.path().filename().string());
        return names;
    }
    /// The folder's files with their contents.
    std::map<std::string, std::string> Snapshot() const {
        std::map<std::string, std::string> m;
        for (const auto& e : fs::directory_iterator(dir))
            if (e.is_regular_file()) m[e.path().filename().string()] = ReadAll(e.path());
        return m;
    }
    /// A first save, then a bigger scene whose save is to fail.
    std::map<std::string, std::string> SaveFirstAndGrow() {
        exchange.SaveToFile(*scene, file.string());
        EXPECT_EQ(Files(), (std::set<std::string>{"out.orngl", "out_1.bmp", "out_2.txt"}));
        const auto before = Snapshot();
        texture->Bitmap()->SetSize(300, 300);
        std::string rows;
        for (int r = 0; r < 500; ++r)
            rows += "7 8 9\n";
        points->ReadFromText(rows, "inline");
        return before;
    }
};

} // namespace

TEST_F(SceneSave, AFailureOfTheSceneFileLeavesTheSideFilesAsTheyWere) {
    const auto before = SaveFirstAndGrow();
    // The scene's own name is taken by a folder: its write fails after the side files were written.
    const fs::path other = dir / "other";
    fs::create_directory(other);
    fs::copy(dir / "out_1.bmp", other / "other_1.bmp");
    WriteAll(other / "other_2.txt", "old points\n");
    fs::create_directory(other / "other.orngl");
    EXPECT_THROW(exchange.SaveToFile(*scene, (other / "other.orngl").string()), EOrnError);
    EXPECT_EQ(ReadAll(other / "other_2.txt"), "old points\n");
    EXPECT_EQ(ReadAll(other / "other_1.bmp"), before.at("out_1.bmp"));
    std::set<std::string> left;
    for (const auto& e : fs::directory_iterator(other))
        left.insert(e.path().filename().string());
    EXPECT_EQ(left, (std::set<std::string>{"other.orngl", "other_1.bmp", "other_2.txt"}));
}

TEST_F(SceneSave, AFailureOfASideFileLeavesEveryFileAsItWas) {
    const auto before = SaveFirstAndGrow();
    // The point data cannot be put in place: the texture, written before it, must not be either.
    fs::remove(dir / "out_2.txt");
    fs::create_directory(dir / "out_2.txt");
    try {
        exchange.SaveToFile(*scene, file.string());
        FAIL() << "the save succeeded";
    } catch (const EOrnError& e) {
        EXPECT_NE(std::string(e.what()).find("out_2.txt"), std::string::npos) << e.what();
    }
    auto after = Snapshot();
    EXPECT_EQ(after.at("out.orngl"), before.at("out.orngl"));
    EXPECT_EQ(after.at("out_1.bmp"), before.at("out_1.bmp"));
    EXPECT_EQ(Files(), (std::set<std::string>{"out.orngl", "out_1.bmp", "out_2.txt"}));
}

TEST_F(SceneSave, AFileSizeLimitFailsTheSaveInsteadOfKillingTheProcess) {
    const auto before = SaveFirstAndGrow();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // SIGXFSZ keeps its default action: were it raised and not taken back, it would kill us.
        std::signal(SIGXFSZ, SIG_DFL);
        rlimit small{};
        ::getrlimit(RLIMIT_FSIZE, &small);
        small.rlim_cur = 4096;
        ::setrlimit(RLIMIT_FSIZE, &small);
        int status = 3;
        try {
            exchange.SaveToFile(*scene, file.string());
            status = 2;
        } catch (const EOrnError& e) {
            status = std::strstr(e.what(), std::strerror(EFBIG)) ? 0 : 1;
        }
        ::_exit(status);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: another failure, 2: no failure";
    EXPECT_EQ(Snapshot(), before);
}

TEST_F(SceneSave, ALongNameNeedsNoLongerTemporaryName) {
    scene->Remove(texture);
    scene->Remove(points);
    const std::string stem(240, 's');
    const fs::path longFile = dir / (stem + ".orngl"); // 246 characters: a suffixed name would not fit
    exchange.SaveToFile(*scene, longFile.string());
    exchange.SaveToFile(*scene, longFile.string());
    EXPECT_EQ(Files(), (std::set<std::string>{longFile.filename().string()}));

    // With side files the names themselves are too long: refused before anything is written.
    scene->Add(texture);
    const fs::path longest = dir / (std::string(250, 'x') + ".orngl");
    EXPECT_THROW(exchange.SaveToFile(*scene, longest.string()), EOrnError);
    EXPECT_EQ(Files(), (std::set<std::string>{longFile.filename().string()}));
}

TEST_F(SceneSave, TargetsThatAreNoRegularFilesAreWrittenThroughOrRefused) {
    // A symbolic link stays a link; the file it points to gets the scene and keeps its mode.
    WriteAll(dir / "real.orngl", "old");
    ::chmod((dir / "real.orngl").c_str(), 0640);
    fs::create_symlink("real.orngl", dir / "link.orngl");
    exchange.SaveToFile(*scene, (dir / "link.orngl").string());
    EXPECT_TRUE(fs::is_symlink(dir / "link.orngl"));
    EXPECT_NE(ReadAll(dir / "real.orngl").find("<ORNGL"), std::string::npos);
    struct stat st;
    ASSERT_EQ(::stat((dir / "real.orngl").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);

    // A character device is written to, never replaced.
    scene->Remove(texture);
    scene->Remove(points);
    exchange.SaveToFile(*scene, "/dev/null");
    ASSERT_EQ(::stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));

    // A FIFO gets the text through it.
    const fs::path fifo = dir / "pipe.orngl";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        TOrnExchange writer(nullptr);
        try {
            writer.SaveToFile(*scene, fifo.string());
        } catch (...) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    received = ReadAll(fifo);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_NE(received.find("<ORNGL"), std::string::npos);
    ASSERT_EQ(::lstat(fifo.c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));

    // A dangling link is refused, not replaced by a file.
    fs::create_symlink("missing/x.orngl", dir / "dangling.orngl");
    EXPECT_THROW(exchange.SaveToFile(*scene, (dir / "dangling.orngl").string()), EOrnError);
    EXPECT_TRUE(fs::is_symlink(dir / "dangling.orngl"));
}

TEST_F(SceneSave, FilesTheSceneCanNotReadAreWarnedAbout) {
    exchange.SaveToFile(*scene, file.string());
    const fs::path outside = dir.parent_path() / (dir.filename().string() + "_secret.txt");
    WriteAll(outside, "9 9 9\n");
    struct Case {
        const char* what;
        std::function<void()> prepare;
        const char* says;
    } cases[] = {
        {"missing", [&] { fs::remove(dir / "out_1.bmp"); }, "No such file"},
        {"a FIFO",
         [&] {
             fs::remove(dir / "out_2.txt");
             ::mkfifo((dir / "out_2.txt").c_str(), 0600);
         },
         "not a regular file"},
        {"a link outside",
         [&] {
             fs::remove(dir / "out_2.txt");
             fs::create_symlink(outside, dir / "out_2.txt");
         },
         "outside"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        exchange.SaveToFile(*scene, file.string());
        c.prepare();
        TComponent owner(nullptr);
        auto* node = new TOrnNode(&owner);
        exchange.LoadFromFile(*node, file.string()); // never blocks on the FIFO
        ASSERT_FALSE(exchange.Warnings().empty());
        EXPECT_NE(exchange.Warnings()[0].find(c.says), std::string::npos) << exchange.Warnings()[0];
        fs::remove(dir / "out_2.txt");
    }
    fs::remove(outside);
    exchange.SaveToFile(*scene, file.string());
    TComponent owner(nullptr);
    exchange.LoadFromFile(*new TOrnNode(&owner), file.string());
    EXPECT_TRUE(exchange.Warnings().empty());
}

TEST_F(SceneSave, BitmapsLoadFromSubfoldersButNotFromOutsideTheFolder) {
    exchange.SaveToFile(*scene, file.string());
    const std::string text = ReadAll(file);
    const std::string saved = "Bitmap=\"out_1.bmp\"";
    ASSERT_NE(text.find(saved), std::string::npos);
    fs::create_directories(dir / "textures");
    fs::copy_file(dir / "out_1.bmp", dir / "textures" / "wood.bmp");
    const fs::path outside = dir.parent_path() / (dir.filename().string() + "_outside.bmp");
    fs::copy_file(dir / "out_1.bmp", outside, fs::copy_options::overwrite_existing);
    fs::create_symlink(outside, dir / "textures" / "link.bmp");

    auto load = [&](const std::string& name) {
        std::string changed = text;
        changed.replace(changed.find(saved), saved.size(), "Bitmap=\"" + name + "\"");
        WriteAll(file, changed);
        TComponent owner(nullptr);
        auto* node = new TOrnNode(&owner);
        exchange.LoadFromFile(*node, file.string());
        for (int i = 0; i < node->Count(); ++i)
            if (auto* t = dynamic_cast<TOrnTexture*>(node->Items(i))) return t->Bitmap()->Width();
        return -1;
    };
    EXPECT_EQ(load("textures/wood.bmp"), 8);
    EXPECT_TRUE(exchange.Warnings().empty());
    const std::string parent = "../" + outside.filename().string();
    for (const std::string& name : {parent, outside.string(), std::string("textures/link.bmp")}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(load(name), 0);
        ASSERT_EQ(exchange.Warnings().size(), 1u);
        EXPECT_NE(exchange.Warnings()[0].find("'" + name + "'"), std::string::npos) << exchange.Warnings()[0];
    }
    fs::remove(outside);
}

TEST_F(SceneSave, SavingToAStringWritesTheSideFilesInFileNamesFolderOrThrows) {
    try {
        exchange.SaveToString(*scene);
        FAIL() << "a scene naming files nobody writes";
    } catch (const EOrnError& e) {
        EXPECT_NE(std::string(e.what()).find("'scene_1.bmp'"), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("FileName is empty"), std::string::npos) << e.what();
    }
    EXPECT_TRUE(Files().empty());

    exchange.SetFileName(file.string());
    const std::string text = exchange.SaveToString(*scene);
    EXPECT_NE(text.find("Bitmap=\"out_1.bmp\""), std::string::npos);
    EXPECT_EQ(Files(), (std::set<std::string>{"out_1.bmp", "out_2.txt"}));
}
