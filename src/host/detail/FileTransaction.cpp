#include "host/detail/FileTransaction.h"

#include <orn/host/EOrnError.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orn::detail {

namespace {

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
    throw EOrnError("Can not save " + name + ": " + reason);
}

[[noreturn]] void failErrno(const std::string& name, int err) {
    fail(name, std::strerror(err));
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// The extension of name with its dot when it is short and plain (writers choose the format by
/// it); "" otherwise.
std::string extensionOf(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || name.size() - dot > 8) return {};
    for (std::size_t i = dot + 1; i < name.size(); ++i)
        if (!std::isalnum(static_cast<unsigned char>(name[i]))) return {};
    return name.substr(dot);
}

void writeAll(int fd, std::string_view bytes, const std::string& name) {
    const char* p = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) failErrno(name, n < 0 ? errno : EIO);
        p += n;
        left -= static_cast<std::size_t>(n);
    }
}

std::atomic<unsigned> gSequence{0};

} // namespace

FileTransaction::FileTransaction() {
    sigset_t xfsz;
    sigemptyset(&xfsz);
    sigaddset(&xfsz, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &xfsz, &fOldMask);
    sigset_t pending;
    sigpending(&pending);
    fWasPending = sigismember(&pending, SIGXFSZ) == 1;
}

FileTransaction::~FileTransaction() {
    for (const Entry& e : fEntries)
        if (!e.temp.empty()) ::unlink(e.temp.c_str());
    sigset_t pending;
    sigpending(&pending);
    if (!fWasPending && sigismember(&pending, SIGXFSZ) == 1) {
        // The write that raised it has failed with EFBIG and was reported as such.
        sigset_t xfsz;
        sigemptyset(&xfsz);
        sigaddset(&xfsz, SIGXFSZ);
        const timespec now{0, 0};
        sigtimedwait(&xfsz, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &fOldMask, nullptr);
}

FileTransaction::Entry& FileTransaction::Add(const std::string& fileName, bool allowStream) {
    if (fileName.empty()) fail("\"\"", "no file name");
    Entry e{fileName, fileName, {}, {}};
    struct stat st;
    bool exists = ::lstat(fileName.c_str(), &st) == 0;
    if (!exists && errno != ENOENT) failErrno(fileName, errno);
    if (exists && S_ISLNK(st.st_mode)) {
        char* real = ::realpath(fileName.c_str(), nullptr);
        if (!real) fail(fileName, "it is a symbolic link to a file that can not be reached");
        e.target = real;
        std::free(real);
        exists = ::stat(e.target.c_str(), &st) == 0;
        if (!exists) failErrno(fileName, errno);
    }
    if (exists && !S_ISREG(st.st_mode)) {
        if (allowStream && (S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode))) {
            e.streamed = true;
            fEntries.push_back(std::move(e));
            return fEntries.back();
        }
        fail(fileName, S_ISDIR(st.st_mode) ? "it is a folder" : "it is not a regular file");
    }
    const std::string folder = folderOf(e.target);
    const long nameMax = ::pathconf(folder.c_str(), _PC_NAME_MAX);
    if (baseOf(e.target).size() > static_cast<std::size_t>(nameMax > 0 ? nameMax : NAME_MAX))
        failErrno(fileName, ENAMETOOLONG);
    // A short name of its own: a long target name must not make the temporary one too long.
    const std::string ext = extensionOf(baseOf(e.target));
    int fd = -1;
    for (int attempt = 0; fd < 0; ++attempt) {
        e.temp = (folder == "/" ? std::string() : folder) + "/.orn-" + std::to_string(::getpid()) + "-" +
                 std::to_string(gSequence++) + ".tmp" + ext;
        fd = ::open(e.temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && (errno != EEXIST || attempt >= 100)) {
            e.temp.clear();
            failErrno(fileName, errno);
        }
    }
    fEntries.push_back(std::move(e));
    if (exists) ::fchmod(fd, st.st_mode & 07777);
    ::close(fd);
    return fEntries.back();
}

std::string FileTransaction::Stage(const std::string& fileName) {
    return Add(fileName, false).temp;
}

void FileTransaction::Write(const std::string& fileName, std::string_view bytes) {
    Entry& e = Add(fileName, true);
    if (e.streamed) {
        e.bytes.assign(bytes);
        return;
    }
    const int fd = ::open(e.temp.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) failErrno(fileName, errno);
    try {
        writeAll(fd, bytes, fileName);
        if (::fsync(fd) != 0 && errno != EINVAL) failErrno(fileName, errno);
    } catch (...) {
        ::close(fd);
        throw;
    }
    if (::close(fd) != 0) failErrno(fileName, errno);
}

void FileTransaction::Commit() {
    // Each file that is replaced keeps its old content under a second name (a hard link) until
    // every rename has succeeded; a rename that fails puts the ones before it back.
    struct Placed {
        const Entry* entry;
        std::string backup; // empty: no old content kept
        bool existed;
    };
    std::vector<Placed> placed;
    placed.reserve(fEntries.size());
    auto rollBack = [&placed] {
        for (auto p = placed.rbegin(); p != placed.rend(); ++p) {
            if (!p->backup.empty())
                ::rename(p->backup.c_str(), p->entry->target.c_str());
            else if (!p->existed)
                ::unlink(p->entry->target.c_str());
        }
    };
    for (Entry& e : fEntries) {
        if (e.temp.empty()) continue;
        std::string backup = e.temp + ".old";
        bool existed = true;
        if (::link(e.target.c_str(), backup.c_str()) != 0) {
            existed = errno != ENOENT;
            backup.clear();
        }
        if (::rename(e.temp.c_str(), e.target.c_str()) != 0) {
            const int err = errno;
            if (!backup.empty()) ::unlink(backup.c_str());
            rollBack();
            failErrno(e.name, err);
        }
        e.temp.clear();
        placed.push_back({&e, std::move(backup), existed});
    }
    for (const Placed& p : placed)
        if (!p.backup.empty()) ::unlink(p.backup.c_str());
    // Devices and FIFOs last: what went through them cannot be taken back.
    for (Entry& e : fEntries) {
        if (!e.streamed) continue;
        const int fd = ::open(e.target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
        if (fd < 0) failErrno(e.name, errno);
        try {
            writeAll(fd, e.bytes, e.name);
        } catch (...) {
            ::close(fd);
            throw;
        }
        ::close(fd);
    }
}

} // namespace orn::detail
