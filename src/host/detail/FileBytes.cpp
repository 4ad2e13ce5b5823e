#include "FileBytes.h"

#include <orn/host/EOrnError.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace orn::detail {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void IoFail(const char* verb, const std::string& fileName, int err) {
    throw EOrnError(std::string("Cannot ") + verb + " file \"" + fileName + "\": " + std::strerror(err));
}

} // namespace

std::vector<std::uint8_t> ReadFileBytes(const std::string& fileName) {
    FilePtr f(std::fopen(fileName.c_str(), "rb"));
    if (!f) IoFail("open", fileName, errno);
    std::vector<std::uint8_t> bytes;
    std::uint8_t chunk[65536];
    for (;;) {
        const std::size_t n = std::fread(chunk, 1, sizeof chunk, f.get());
        bytes.insert(bytes.end(), chunk, chunk + n);
        if (n < sizeof chunk) break;
    }
    if (std::ferror(f.get())) IoFail("read", fileName, errno ? errno : EIO);
    return bytes;
}

void WriteFileBytes(const std::string& fileName, const std::vector<std::uint8_t>& bytes) {
    FilePtr f(std::fopen(fileName.c_str(), "wb"));
    if (!f) IoFail("create", fileName, errno);
    if (std::fwrite(bytes.data(), 1, bytes.size(), f.get()) != bytes.size()) IoFail("write", fileName, errno);
    if (std::fclose(f.release()) != 0) IoFail("write", fileName, errno);
}

std::string LowerExtension(const std::string& fileName) {
    std::string ext = std::filesystem::path(fileName).extension().string();
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

} // namespace orn::detail
