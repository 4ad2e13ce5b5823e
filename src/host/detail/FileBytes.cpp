#include "FileBytes.h"
#include "FileTransaction.h"

#include <orn/host/EOrnError.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sys/stat.h>

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

std::vector<std::uint8_t> ReadFileBytes(const std::string& fileName, std::string_view magic,
                                        std::uint64_t maxSize, const char* what) {
    // Checked before opening too: opening a FIFO waits for a writer that may never come.
    struct stat before;
    if (::stat(fileName.c_str(), &before) == 0 && !S_ISREG(before.st_mode))
        throw EOrnError("Cannot read file \"" + fileName +
                        "\": " + (S_ISDIR(before.st_mode) ? "it is a folder" : "it is not a regular file"));
    FilePtr f(std::fopen(fileName.c_str(), "rb"));
    if (!f) IoFail("open", fileName, errno);
    struct stat st;
    if (::fstat(::fileno(f.get()), &st) != 0) IoFail("read", fileName, errno);
    if (!S_ISREG(st.st_mode))
        throw EOrnError("Cannot read file \"" + fileName + "\": it is not a regular file");
    if (!magic.empty()) {
        std::string start(magic.size(), '\0');
        if (std::fread(start.data(), 1, start.size(), f.get()) != start.size() || start != magic)
            throw EOrnError("Cannot read file \"" + fileName + "\": it does not start as a " +
                            LowerExtension(fileName).substr(1) + " file does");
        std::rewind(f.get());
    }
    if (static_cast<std::uint64_t>(st.st_size) > maxSize)
        throw EOrnError("Cannot read file \"" + fileName + "\": its " + std::to_string(st.st_size) +
                        " bytes are more than the " + std::to_string(maxSize) + " " + what + " may have");
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(st.st_size));
    std::uint8_t chunk[65536];
    for (;;) {
        const std::size_t n = std::fread(chunk, 1, sizeof chunk, f.get());
        bytes.insert(bytes.end(), chunk, chunk + n);
        if (n < sizeof chunk) break;
    }
    if (std::ferror(f.get())) IoFail("read", fileName, errno ? errno : EIO);
    return bytes;
}

std::string ReadFileText(const std::string& fileName) {
    FilePtr f(std::fopen(fileName.c_str(), "rb"));
    if (!f) IoFail("open", fileName, errno);
    std::string text;
    char chunk[65536];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0)
        text.append(chunk, got);
    if (std::ferror(f.get())) IoFail("read", fileName, errno ? errno : EIO);
    return text;
}

void WriteFileBytes(const std::string& fileName, const std::vector<std::uint8_t>& bytes) {
    FileTransaction transaction;
    transaction.Write(fileName, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    transaction.Commit();
}

std::string LowerExtension(const std::string& fileName) {
    std::string ext = std::filesystem::path(fileName).extension().string();
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

} // namespace orn::detail
