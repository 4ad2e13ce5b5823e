#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orn::detail {

/// The whole content of a file; throws EOrnError with the file's name and the system's reason.
std::vector<std::uint8_t> ReadFileBytes(const std::string& fileName);
/// Writes bytes to a file, replacing it; throws EOrnError with the file's name and the reason.
void WriteFileBytes(const std::string& fileName, const std::vector<std::uint8_t>& bytes);

/// The lower-case extension of a file name with its dot (".bmp"), or "" when it has none.
std::string LowerExtension(const std::string& fileName);

} // namespace orn::detail
