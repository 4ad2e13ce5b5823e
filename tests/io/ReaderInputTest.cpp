// Readers decide from a file's type, size and first bytes whether to read it, before it can block
// them or fill the memory.
#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>
#include <orn/io/TOrnExchange.h>
#include <orn/scene/TOrnNode.h>

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;

namespace {

std::string ErrorOf(const std::function<void()>& load) {
    try {
        load();
    } catch (const EOrnError& e) {
        return e.what();
    }
    return "no error";
}

struct ReaderInput : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orn-reader-" + std::to_string(::getpid()));
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }
};

} // namespace

TEST_F(ReaderInput, BitmapNamedOnAFifoIsRefusedWithoutWaitingForAWriter) {
    const fs::path fifo = dir / "wood.bmp";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // Should the load wait for a writer after all, this one comes after a while and closes at
    // once, and the load fails for another reason than the one asserted.
    std::thread writer([&fifo] {
        std::this_thread::sleep_for(std::chrono::seconds(3));
        const int fd = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) ::close(fd);
    });
    TBitmap bitmap;
    const std::string error = ErrorOf([&] { bitmap.LoadFromFile(fifo.string()); });
    writer.join();
    EXPECT_NE(error.find("not a regular file"), std::string::npos) << error;
}

TEST_F(ReaderInput, SceneFileOverTheLimitOrWithoutMarkupIsRefusedBeforeItIsRead) {
    TOrnNode node(nullptr);
    TOrnExchange exchange(nullptr);
    const fs::path scene = dir / "big.orngl";
    std::ofstream(scene) << "<ORNGL version=\"1\"><Objects class=\"TOrnNode\"/></ORNGL>"
                         << std::string(200, ' ');
    exchange.SetMaxFileBytes(100);
    std::string error = ErrorOf([&] { exchange.LoadFromFile(node, scene.string()); });
    EXPECT_NE(error.find("more than the 100 allowed"), std::string::npos) << error;
    exchange.SetMaxFileBytes(1000);
    EXPECT_EQ(ErrorOf([&] { exchange.LoadFromFile(node, scene.string()); }), "no error");

    // Only the first chunk of a file without a single '<' is looked at.
    const fs::path junk = dir / "junk.orngl";
    std::ofstream(junk) << std::string(300000, 'x');
    exchange.SetMaxFileBytes(1 << 20);
    error = ErrorOf([&] { exchange.LoadFromFile(node, junk.string()); });
    EXPECT_NE(error.find("not a scene file (no element found in 65536 bytes)"), std::string::npos) << error;
}
