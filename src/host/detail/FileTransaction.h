#pragma once

#include <csignal>
#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// Files written as one: each goes to a temporary name in its own folder, and only Commit puts
/// them in place. Destroyed uncommitted (a write failed, an exception passed), it removes every
/// temporary file, so the files it stands for keep their old content.
///
/// While it lives, the calling thread is not killed by SIGXFSZ: a write beyond the file-size
/// limit fails with EFBIG like any other write, and the signal it raised is taken back.
///
/// A target that is a symbolic link has the file it points to replaced (the link stays); a
/// character device or a FIFO is written through at Commit; any other kind of file is refused.
/// A regular file that is replaced keeps its permission bits.
class FileTransaction {
public:
    FileTransaction();
    ~FileTransaction();
    FileTransaction(const FileTransaction&) = delete;
    FileTransaction& operator=(const FileTransaction&) = delete;

    /// A new, empty temporary file that stands for fileName until Commit; the caller writes it
    /// itself. Throws EOrnError naming fileName when it cannot be written as a regular file.
    std::string Stage(const std::string& fileName);
    /// Writes bytes for fileName: to a temporary file, or kept for Commit when fileName is a
    /// device or a FIFO.
    void Write(const std::string& fileName, std::string_view bytes);
    /// Puts every file in place, in the order they were staged or written, devices and FIFOs
    /// last. When one cannot be put in place, those put before it get their old content back
    /// (or are removed where there was none) and EOrnError names the file and the reason.
    void Commit();

private:
    struct Entry {
        std::string name;      // as the caller gave it, for messages
        std::string target;    // where the content goes (a link resolved)
        std::string temp;      // empty once put in place
        std::string bytes;     // what is written through
        bool streamed = false; // a device or a FIFO: written through at Commit
    };
    Entry& Add(const std::string& fileName, bool allowStream);

    std::vector<Entry> fEntries;
    sigset_t fOldMask;
    bool fWasPending = false;
};

} // namespace orn::detail
