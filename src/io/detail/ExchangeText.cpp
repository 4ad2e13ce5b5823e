#include "io/detail/ExchangeText.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <strings.h>

namespace orn::detail {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

bool mustEscape(unsigned char c) {
    return c < 0x20 || c == 0x7F || c == '"' || c == '<' || c == '>' || c == '/' || c == '&';
}

void appendUtf8(std::string& out, std::uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

/// The length of the reference at the start of text (0 when there is none) and what it stands for.
std::size_t decodeReference(std::string_view text, std::string& out) {
    const std::size_t semi = text.find(';');
    if (semi == std::string_view::npos || semi > 10) return 0;
    const std::string_view body = text.substr(1, semi - 1);
    if (!body.empty() && body[0] == '#') {
        const bool hex = body.size() > 1 && (body[1] == 'x' || body[1] == 'X');
        const std::string_view digits = body.substr(hex ? 2 : 1);
        std::uint32_t cp = 0;
        auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), cp, hex ? 16 : 10);
        if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size()) return 0;
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
        appendUtf8(out, cp);
        return semi + 1;
    }
    static constexpr struct {
        std::string_view name;
        char c;
    } kEntities[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& e : kEntities)
        if (body == e.name) {
            out += e.c;
            return semi + 1;
        }
    return 0;
}

std::string_view trimSpaces(std::string_view s) {
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return s;
}

} // namespace

void AppendEscaped(std::string& out, std::string_view value) {
    std::size_t run = 0;
    for (std::size_t i = 0; i < value.size();) {
        const auto c = static_cast<unsigned char>(value[i]);
        if (c >= 0x80) {
            const std::size_t n = Utf8Length(value.substr(i));
            if (n > 0) {
                i += n;
                continue;
            }
            // Not UTF-8, or a character no XML document may hold.
            out.append(value.data() + run, i - run);
            out += kReplacement;
            run = ++i;
            continue;
        }
        if (!mustEscape(c)) {
            ++i;
            continue;
        }
        out.append(value.data() + run, i - run);
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
            out += kReplacement;
        } else {
            out += "&#";
            AppendInt(out, c);
            out += ';';
        }
        run = ++i;
    }
    out.append(value.data() + run, value.size() - run);
}

std::size_t Utf8Length(std::string_view text) {
    if (text.empty()) return 0;
    const auto b0 = static_cast<unsigned char>(text[0]);
    std::size_t n;
    std::uint32_t cp;
    if (b0 < 0x80) return 1;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        n = 2;
        cp = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        n = 3;
        cp = b0 & 0x0F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        n = 4;
        cp = b0 & 0x07;
    } else {
        return 0;
    }
    if (text.size() < n) return 0;
    for (std::size_t k = 1; k < n; ++k) {
        const auto b = static_cast<unsigned char>(text[k]);
        if ((b & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (b & 0x3F);
    }
    static constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kLeast[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF) || cp == 0xFFFE || cp == 0xFFFF)
        return 0;
    return n;
}

void AppendDecoded(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const std::size_t amp = text.find('&');
        if (amp == std::string_view::npos) {
            out.append(text);
            return;
        }
        out.append(text.substr(0, amp));
        text.remove_prefix(amp);
        const std::size_t used = decodeReference(text, out);
        if (used == 0) {
            out += '&';
            text.remove_prefix(1);
        } else {
            text.remove_prefix(used);
        }
    }
}

void AppendReal(std::string& out, double value) {
    char buf[32];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    out.append(buf, ec == std::errc() ? static_cast<std::size_t>(end - buf) : 0);
}

void AppendInt(std::string& out, std::int64_t value) {
    char buf[24];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    out.append(buf, ec == std::errc() ? static_cast<std::size_t>(end - buf) : 0);
}

void AppendVector(std::string& out, const TOrnMathVector& value) {
    AppendReal(out, value.x);
    out += ',';
    AppendReal(out, value.y);
    out += ',';
    AppendReal(out, value.z);
}

bool ParseInt(std::string_view text, std::int64_t& value) {
    std::int64_t v = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return false;
    value = v;
    return true;
}

bool ParseReal(std::string_view text, double& value) {
    double v = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return false;
    if (!std::isfinite(v) || std::fabs(v) > std::numeric_limits<float>::max()) return false;
    value = v;
    return true;
}

bool ParseBool(std::string_view text, bool& value) {
    static constexpr struct {
        std::string_view text;
        bool value;
    } kForms[] = {{"true", true}, {"false", false}, {"1", true}, {"0", false}, {"yes", true}, {"no", false}};
    for (const auto& f : kForms)
        if (text.size() == f.text.size() && strncasecmp(text.data(), f.text.data(), text.size()) == 0) {
            value = f.value;
            return true;
        }
    return false;
}

bool ParseVector(std::string_view text, TOrnMathVector& value) {
    double parts[3];
    for (int i = 0; i < 3; ++i) {
        const std::size_t comma = text.find(',');
        if ((i < 2) != (comma != std::string_view::npos)) return false;
        if (!ParseReal(trimSpaces(text.substr(0, comma)), parts[i])) return false;
        if (i < 2) text.remove_prefix(comma + 1);
    }
    value = {parts[0], parts[1], parts[2]};
    return true;
}

bool IsName(std::string_view name) {
    if (name.empty()) return false;
    auto letter = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':';
    };
    if (!letter(name[0])) return false;
    for (char c : name)
        if (!letter(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.') return false;
    return true;
}

} // namespace orn::detail
