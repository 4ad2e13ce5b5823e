#include "FileBytes.h"
#include "FileTransaction.h"

#include <orn/host/EOrnError.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace orn::detail {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void IoFail(const char* verb, const std::string& fileName, int err) {
    throw EOrnError(std::string("Cannot ") + verb + " file \"" + fileName + "\": " + std::strerror(err));
}

// Opening a FIFO for reading waits for a writer, possibly forever; opened without waiting, the
// file's type is known before anything blocks, and reading it blocks as usual afterwards.
FilePtr OpenForReading(const std::string& fileName, struct stat& st) {
    const int fd = ::open(fileName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) IoFail("open", fileName, errno);
    if (::fstat(fd, &st) != 0 || ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
        const int err = errno;
        ::close(fd);
        IoFail("read", fileName, err);
    }
    FilePtr f(::fdopen(fd, "rb"));
    if (!f) {
        const int err = errno;
        ::close(fd);
        IoFail("open", fileName, err);
    }
    return f;
}

[[noreturn]] void TooLarge(const std::string& fileName, std::uint64_t size, std::uint64_t maxSize,
                           std::string_view what) {
    throw EOrnError("Cannot read file \"" + fileName + "\": its " + std::to_string(size) +
                    " bytes are more than the " + std::to_string(maxSize) + " " + std::string(what));
}

} // namespace

std::vector<std::uint8_t> ReadFileBytes(const std::string& fileName, std::string_view magic,
                                        std::uint64_t maxSize) {
    struct stat st;
    FilePtr f = OpenForReading(fileName, st);
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
        TooLarge(fileName, static_cast<std::uint64_t>(st.st_size), maxSize, "an image of it may have");
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

std::string ReadFileText(const std::string& fileName, std::uint64_t maxSize, const HeadCheck& checkHead) {
    struct stat st;
    FilePtr f = OpenForReading(fileName, st);
    if (S_ISREG(st.st_mode) && static_cast<std::uint64_t>(st.st_size) > maxSize)
        TooLarge(fileName, static_cast<std::uint64_t>(st.st_size), maxSize, "allowed");
    std::string text;
    char chunk[65536];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) {
        if (text.size() + got > maxSize) TooLarge(fileName, text.size() + got, maxSize, "allowed");
        const bool first = text.empty();
        text.append(chunk, got);
        if (first && checkHead) checkHead(text);
    }
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
