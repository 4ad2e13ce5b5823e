#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// The whole content of a regular file that starts with magic and holds at most maxSize bytes
/// (both checked before anything is read); throws EOrnError with the file's name and the reason.
std::vector<std::uint8_t> ReadFileBytes(const std::string& fileName, std::string_view magic = {},
                                        std::uint64_t maxSize = UINT64_MAX);
/// Looks at the first bytes read (up to 64 KiB) and throws when they cannot start the file.
using HeadCheck = std::function<void(std::string_view head)>;
/// The whole content of fileName as text; unlike ReadFileBytes it also reads a FIFO or a device
/// to its end. A regular file over maxSize is refused before it is read, a stream once it passes
/// it, and a file whose head checkHead refuses after its first chunk. Throws EOrnError
/// "Cannot open file "NAME": REASON" (or "Cannot read ...").
std::string ReadFileText(const std::string& fileName, std::uint64_t maxSize = UINT64_MAX,
                         const HeadCheck& checkHead = {});
/// Writes bytes as fileName, which is replaced only once they are all written (FileTransaction);
/// throws EOrnError with the file's name and the reason.
void WriteFileBytes(const std::string& fileName, const std::vector<std::uint8_t>& bytes);

/// The lower-case extension of a file name with its dot (".bmp"), or "" when it has none.
std::string LowerExtension(const std::string& fileName);

} // namespace orn::detail
