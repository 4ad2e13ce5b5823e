#include "io/detail/DxfTokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace orn::detail::dxf {

namespace {

constexpr char kSentinel[] = "AutoCAD Binary DXF\r\n\x1a"; // followed by a zero byte
constexpr std::size_t kSentinelSize = sizeof(kSentinel);   // 22 bytes with the zero

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

template <class T> T ReadLE(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof(T)); // DXF binary is little-endian, as every machine we build for
    return v;
}

} // namespace

ValueType TypeOfCode(int code) {
    if (code < 0) return ValueType::Unknown;
    if (code <= 9) return ValueType::String;
    if (code <= 59) return ValueType::Double;
    if (code <= 79) return ValueType::Int16;
    if (code >= 90 && code <= 99) return ValueType::Int32;
    if (code == 100 || code == 102 || code == 105) return ValueType::String;
    if (code >= 110 && code <= 149) return ValueType::Double;
    if (code >= 160 && code <= 169) return ValueType::Int64;
    if (code >= 170 && code <= 179) return ValueType::Int16;
    if (code >= 210 && code <= 239) return ValueType::Double;
    if (code >= 270 && code <= 289) return ValueType::Int16;
    if (code >= 290 && code <= 299) return ValueType::Bool;
    if (code >= 310 && code <= 319) return ValueType::Chunk;
    if (code >= 300 && code <= 369) return ValueType::String;
    if (code >= 370 && code <= 389) return ValueType::Int16;
    if (code >= 390 && code <= 399) return ValueType::String;
    if (code >= 400 && code <= 409) return ValueType::Int16;
    if (code >= 410 && code <= 419) return ValueType::String;
    if (code >= 420 && code <= 429) return ValueType::Int32;
    if (code >= 430 && code <= 439) return ValueType::String;
    if (code >= 440 && code <= 459) return ValueType::Int32;
    if (code >= 460 && code <= 469) return ValueType::Double;
    if (code >= 470 && code <= 481) return ValueType::String;
    if (code == 999) return ValueType::String;
    if (code == 1004) return ValueType::Chunk;
    if (code >= 1000 && code <= 1009) return ValueType::String;
    if (code >= 1010 && code <= 1059) return ValueType::Double;
    if (code >= 1060 && code <= 1070) return ValueType::Int16;
    if (code == 1071) return ValueType::Int32;
    return ValueType::Unknown;
}

namespace {

/// Plain decimals of at most 15 digits ("-123.456000"), the bulk of every drawing, exactly: both the
/// digits and the power of ten are exact doubles, so their quotient is rounded once, correctly.
/// False for anything else (exponents, long mantissas), which from_chars then reads.
bool ShortDecimal(const char* b, const char* e, double& out) {
    static constexpr double kPow10[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = b != e && *b == '-';
    if (negative) ++b;
    std::uint64_t digits = 0;
    int count = 0, fraction = -1;
    for (; b != e; ++b) {
        if (*b == '.' && fraction < 0) {
            fraction = 0;
            continue;
        }
        const unsigned d = static_cast<unsigned>(*b - '0');
        if (d > 9 || ++count > 15) return false;
        digits = digits * 10 + d;
        if (fraction >= 0) ++fraction;
    }
    if (count == 0) return false;
    const double v = static_cast<double>(digits) / kPow10[std::max(fraction, 0)];
    out = negative ? -v : v;
    return true;
}

} // namespace

bool ToDouble(const Group& g, double& out) {
    if (g.binaryNumber) {
        out = g.number;
        return std::isfinite(out);
    }
    const char* b = g.text.data();
    const char* e = b + g.text.size();
    if (b != e && *b == '+') ++b; // from_chars refuses a leading plus that some writers emit
    if (ShortDecimal(b, e, out)) return true;
    double v = 0;
    auto [p, ec] = std::from_chars(b, e, v);
    if (ec != std::errc() || p != e || !std::isfinite(v)) return false;
    out = v;
    return true;
}

bool ToInt(const Group& g, std::int64_t& out) {
    if (!g.binaryNumber) {
        const char* b = g.text.data();
        const char* e = b + g.text.size();
        if (b != e && *b == '+') ++b;
        std::int64_t v = 0;
        auto [p, ec] = std::from_chars(b, e, v);
        if (ec == std::errc() && p == e) {
            out = v;
            return true;
        }
    }
    double d = 0;
    if (!ToDouble(g, d) || d != std::floor(d) || std::fabs(d) > 9e15) return false;
    out = static_cast<std::int64_t>(d);
    return true;
}

Tokenizer::Tokenizer(const char* data, std::size_t size) : fData(data), fSize(size) {
    if (size >= kSentinelSize && std::memcmp(data, kSentinel, kSentinelSize) == 0) {
        fBinary = true;
        fPos = kSentinelSize;
        // The first group is (0, "SECTION"): a second zero byte means codes of two bytes.
        fWideCodes = fPos + 1 < size && data[fPos] == 0 && data[fPos + 1] == 0;
    } else if (size >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0) {
        fPos = 3;
    }
}

std::string Tokenizer::Where(const Group& g) const {
    return (fBinary ? "offset " : "line ") + std::to_string(g.where);
}

std::string Tokenizer::TakeProblem() {
    std::string p;
    p.swap(fProblem);
    return p;
}

bool Tokenizer::Next(Group& g) {
    return fBinary ? NextBinary(g) : NextAscii(g);
}

bool Tokenizer::Line(std::string_view& out) {
    if (fPos >= fSize) return false;
    const char* start = fData + fPos;
    const void* nl = std::memchr(start, '\n', fSize - fPos);
    const std::size_t len =
        nl ? static_cast<std::size_t>(static_cast<const char*>(nl) - start) : fSize - fPos;
    fPos += len + (nl ? 1 : 0);
    ++fLine;
    out = Trim(std::string_view(start, len));
    return true;
}

bool Tokenizer::NextAscii(Group& g) {
    std::string_view codeText, value;
    for (;;) {
        if (!Line(codeText)) return false;
        const std::int64_t codeLine = fLine;
        int code = 0;
        auto [p, ec] = std::from_chars(codeText.data(), codeText.data() + codeText.size(), code);
        if (ec != std::errc() || p != codeText.data() + codeText.size()) {
            if (codeText.empty() && fPos >= fSize) return false; // a trailing blank line
            if (fProblem.empty())
                fProblem = "line " + std::to_string(codeLine) + ": group code '" +
                           std::string(codeText.substr(0, 40)) + "' is not a number";
            // A garbled code most often sits in a whole pair: skip its value too and read on.
            if (!Line(value)) return false;
            continue;
        }
        if (!Line(value)) {
            fProblem = "line " + std::to_string(codeLine) + ": group code " + std::to_string(code) +
                       " has no value (truncated file)";
            return false;
        }
        g.code = code;
        g.where = fLine;
        g.text = value;
        g.binaryNumber = false;
        return true;
    }
}

bool Tokenizer::NextBinary(Group& g) {
    const std::size_t start = fPos;
    auto need = [&](std::size_t n) {
        if (fPos + n <= fSize) return true;
        fProblem = "offset " + std::to_string(start) + ": truncated group";
        fPos = fSize;
        return false;
    };
    if (fPos >= fSize) return false;
    int code;
    if (fWideCodes) {
        if (!need(2)) return false;
        code = ReadLE<std::int16_t>(fData + fPos);
        fPos += 2;
    } else {
        code = static_cast<unsigned char>(fData[fPos++]);
        if (code == 255) {
            if (!need(2)) return false;
            code = ReadLE<std::int16_t>(fData + fPos);
            fPos += 2;
        }
    }
    g.code = code;
    g.where = static_cast<std::int64_t>(start);
    g.text = {};
    g.binaryNumber = true;
    g.number = 0;
    switch (TypeOfCode(code)) {
    case ValueType::String: {
        const void* end = std::memchr(fData + fPos, 0, fSize - fPos);
        if (!end) return need(fSize - fPos + 1);
        const std::size_t len = static_cast<std::size_t>(static_cast<const char*>(end) - (fData + fPos));
        g.text = std::string_view(fData + fPos, len);
        g.binaryNumber = false;
        fPos += len + 1;
        return true;
    }
    case ValueType::Double:
        if (!need(8)) return false;
        g.number = ReadLE<double>(fData + fPos);
        fPos += 8;
        return true;
    case ValueType::Int16:
        if (!need(2)) return false;
        g.number = ReadLE<std::int16_t>(fData + fPos);
        fPos += 2;
        return true;
    case ValueType::Int32:
        if (!need(4)) return false;
        g.number = ReadLE<std::int32_t>(fData + fPos);
        fPos += 4;
        return true;
    case ValueType::Int64:
        if (!need(8)) return false;
        g.number = static_cast<double>(ReadLE<std::int64_t>(fData + fPos));
        fPos += 8;
        return true;
    case ValueType::Bool:
        if (!need(1)) return false;
        g.number = static_cast<unsigned char>(fData[fPos++]);
        return true;
    case ValueType::Chunk: {
        if (!need(1)) return false;
        const std::size_t len = static_cast<unsigned char>(fData[fPos++]);
        if (!need(len)) return false;
        g.text = std::string_view(fData + fPos, len);
        g.binaryNumber = false;
        fPos += len;
        return true;
    }
    case ValueType::Unknown:
        break;
    }
    fProblem = "offset " + std::to_string(start) + ": group code " + std::to_string(code) +
               " of unknown type; the rest of the file is skipped";
    fPos = fSize;
    return false;
}

} // namespace orn::detail::dxf
