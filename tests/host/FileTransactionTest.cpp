// Files saved together are put in place together: a rename that fails halfway gives the files
// put before it their old content back and leaves nothing else behind.
#include "host/detail/FileTransaction.h"

#include <orn/host/EOrnError.h>

#include "support/ErrorText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& p) {
    std::stringstream s;
    s << std::ifstream(p).rdbuf();
    return s.str();
}

TEST(FileTransaction, ARenameThatFailsPutsTheFilesBeforeItBack) {
    const fs::path dir = fs::temp_directory_path() / ("orn-commit-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::ofstream(dir / "scene.orngl") << "old scene";
    {
        orn::detail::FileTransaction t;
        t.Write((dir / "scene.orngl").string(), "new scene");
        t.Write((dir / "new.txt").string(), "side file");
        t.Write((dir / "blocked.bmp").string(), "bitmap");
        // Once staged, the last target turns into a folder with something in it: renaming a file
        // over it fails.
        fs::create_directories(dir / "blocked.bmp" / "inside");
        const std::string what = orn::test::ErrorText([&] { t.Commit(); });
        EXPECT_NE(what.find("blocked.bmp"), std::string::npos) << what;
    }
    EXPECT_EQ(ReadAll(dir / "scene.orngl"), "old scene");
    EXPECT_FALSE(fs::exists(dir / "new.txt"));
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(dir))
        left.push_back(entry.path().filename().string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"blocked.bmp", "scene.orngl"}));
    fs::remove_all(dir);
}

} // namespace
