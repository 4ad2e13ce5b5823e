// Runs a fuzz entry point over every file below the folders it is given, for builds without
// libFuzzer. A crash, a sanitizer report or an abort ends the run and fails the test; a folder
// that is missing (a clone without the shared corpora) is skipped, and exit status 77 says when
// none was there.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::size_t runs = 0, folders = 0;
    for (int i = 1; i < argc; ++i) {
        std::error_code ec;
        if (!fs::is_directory(argv[i], ec)) {
            std::printf("skipped %s: not there\n", argv[i]);
            continue;
        }
        ++folders;
        for (const auto& entry : fs::recursive_directory_iterator(argv[i], ec)) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++runs;
        }
    }
    std::printf("replayed %zu inputs from %zu folders\n", runs, folders);
    return folders == 0 ? 77 : 0;
}
