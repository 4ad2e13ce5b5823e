#include "objects/detail/PointSetText.h"

#include <orn/host/EOrnError.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace orn::detail {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

class Parser {
public:
    Parser(std::string_view text, TOrnPointSetFormat format, int columns, std::int64_t maxPoints,
           const std::string& name)
        : fText(text), fFormat(format), fColumns(columns), fMaxPoints(maxPoints), fName(name) {}

    PointSetGrid Run() {
        if (fFormat == pfXYZ && fColumns < 1) Fail(0, "the number of grid columns is not set");
        const std::size_t stride = fFormat == pfXYZ ? 3 : 1;
        // One value per 2 bytes at most: reserving from the size keeps appends from reallocating often.
        fGrid.values.reserve(std::min<std::size_t>(fText.size() / 2 + 1, 1u << 20));
        std::int64_t line = 0, lastDataLine = 0;
        // Editors may start the file with a byte-order mark.
        std::size_t pos = fText.starts_with("\xEF\xBB\xBF") ? 3 : 0;
        while (pos < fText.size()) {
            ++line;
            const char* start = fText.data() + pos;
            // Lines end in LF, CR LF or a lone CR.
            const std::size_t stop = fText.find_first_of("\r\n", pos);
            const std::size_t len = (stop == std::string_view::npos ? fText.size() : stop) - pos;
            pos += len;
            if (pos < fText.size()) pos += fText.compare(pos, 2, "\r\n") == 0 ? 2 : 1;
            const std::size_t before = fGrid.values.size();
            if (!ParseLine(start, start + len, line, stride)) continue;
            lastDataLine = line;
            const std::size_t found = fGrid.values.size() - before;
            if (fFormat == pfMatrix) {
                if (fGrid.rows == 0)
                    fGrid.columns = static_cast<int>(found);
                else if (found != static_cast<std::size_t>(fGrid.columns))
                    Fail(line, "the row has " + std::to_string(found) + " values, the first row " +
                                   std::to_string(fGrid.columns));
                ++fGrid.rows;
            } else if (found != 3) {
                Fail(line, "a point needs 3 values (x y z), the line has " + std::to_string(found));
            }
        }
        const std::size_t points = fGrid.values.size() / stride;
        if (points == 0) Fail(0, "the file holds no points");
        if (fFormat == pfXYZ) {
            if (points % static_cast<std::size_t>(fColumns) != 0)
                Fail(lastDataLine, std::to_string(points) + " points do not fill whole rows of " +
                                       std::to_string(fColumns) + " columns");
            fGrid.columns = fColumns;
            fGrid.rows = static_cast<int>(points / static_cast<std::size_t>(fColumns));
        }
        return std::move(fGrid);
    }

private:
    /// Appends the values of one line; false for a line without data.
    bool ParseLine(const char* p, const char* end, std::int64_t line, std::size_t stride) {
        while (p < end && isBlank(*p))
            ++p;
        if (p == end || *p == '#') return false;
        const std::size_t limit = static_cast<std::size_t>(fMaxPoints) * stride;
        for (;;) {
            const char* tokenStart = p;
            if (*p == '+' && p + 1 < end && *(p + 1) != '-') ++p; // from_chars takes no plus sign
            double v = 0;
            auto [next, ec] = std::from_chars(p, end, v, std::chars_format::general);
            const bool endsWell = next == end || isBlank(*next) || *next == ',' || *next == '#';
            if (ec == std::errc::result_out_of_range && endsWell && Underflows(p, next)) {
                // Too small for a double: as near to it as a double comes.
                v = *p == '-' ? -0.0 : 0.0;
                ec = std::errc();
            }
            if (ec == std::errc::result_out_of_range && endsWell)
                Fail(line, "'" + Token(tokenStart, end) + "' is out of range");
            if (ec != std::errc() || !endsWell)
                Fail(line, "'" + Token(tokenStart, end) + "' is not a number");
            if (!std::isfinite(v)) Fail(line, "'" + Token(tokenStart, end) + "' is not a finite number");
            if (fGrid.values.size() >= limit)
                Fail(line, "the file holds more than " + std::to_string(fMaxPoints) + " points");
            fGrid.values.push_back(v);
            p = next;
            while (p < end && isBlank(*p))
                ++p;
            if (p < end && *p == ',') {
                ++p;
                while (p < end && isBlank(*p))
                    ++p;
                if (p == end || *p == ',' || *p == '#') Fail(line, "a value is missing between commas");
            }
            if (p == end || *p == '#') return true;
        }
    }

    /// Whether the number in [p, end) is out of range for being too small (its exponent is negative).
    static bool Underflows(const char* p, const char* end) {
        const std::string_view t(p, static_cast<std::size_t>(end - p));
        const std::size_t e = t.find_first_of("eE");
        return e != std::string_view::npos && e + 1 < t.size() && t[e + 1] == '-';
    }

    static std::string Token(const char* p, const char* end) {
        const char* q = p;
        while (q < end && !isBlank(*q) && *q != ',' && q - p < 24)
            ++q;
        std::string t(p, q);
        for (char& c : t)
            if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7f) c = '?';
        return t;
    }

    [[noreturn]] void Fail(std::int64_t line, const std::string& reason) const {
        std::string msg = "Point set file \"" + fName + "\"";
        if (line > 0) msg += ", line " + std::to_string(line);
        throw EOrnError(msg + ": " + reason + ".");
    }

    std::string_view fText;
    TOrnPointSetFormat fFormat;
    int fColumns;
    std::int64_t fMaxPoints;
    const std::string& fName;
    PointSetGrid fGrid;
};

} // namespace

PointSetGrid ParsePointSet(std::string_view text, TOrnPointSetFormat format, int columns,
                           std::int64_t maxPoints, const std::string& sourceName) {
    return Parser(text, format, columns, maxPoints, sourceName).Run();
}

std::string FormatPointSet(const PointSetGrid& grid, TOrnPointSetFormat format) {
    std::string out;
    const std::size_t perLine = format == pfXYZ ? 3 : static_cast<std::size_t>(grid.columns);
    out.reserve(grid.values.size() * 12);
    char buf[32];
    for (std::size_t k = 0; k < grid.values.size(); ++k) {
        const auto r = std::to_chars(buf, buf + sizeof buf, grid.values[k]);
        out.append(buf, r.ptr);
        out += (k + 1) % perLine == 0 ? '\n' : ' ';
    }
    return out;
}

} // namespace orn::detail
