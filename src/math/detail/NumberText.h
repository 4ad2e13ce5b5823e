#pragma once

// Numbers in the text of the scene file, the same whatever locale the program runs under.

#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// Appends the shortest text that reads back as exactly value (a '.' always, never a ',').
inline void AppendNumber(std::string& out, double value) {
    char buf[32];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    out.append(buf, ec == std::errc() ? static_cast<std::size_t>(end - buf) : 0);
}

/// Reads groups of groupSize finite numbers: the numbers of a group separated by ',', the groups
/// by ';'. False, with values untouched, when any part is not such a number.
inline bool ParseNumberGroups(std::string_view text, std::size_t groupSize, std::vector<double>& values) {
    std::vector<double> read;
    const char* p = text.data();
    const char* const end = p + text.size();
    while (p < end) {
        for (std::size_t k = 0; k < groupSize; ++k) {
            double v = 0;
            const auto [next, ec] = std::from_chars(p, end, v);
            if (ec != std::errc() || !std::isfinite(v)) return false;
            read.push_back(v);
            p = next;
            const char want = k + 1 < groupSize ? ',' : ';';
            if (p < end && *p == want)
                ++p;
            else if (!(k + 1 == groupSize && p == end))
                return false;
        }
    }
    values = std::move(read);
    return true;
}

} // namespace orn::detail
