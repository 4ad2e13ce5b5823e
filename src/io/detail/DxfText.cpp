#include "DxfText.h"

#include <array>
#include <cctype>
#include <cstdint>

namespace orn::detail::dxf {
namespace {

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Bytes 0x80..0x9F of Windows-1252; the rest of it is Latin-1. Unassigned bytes keep their value.
constexpr std::array<char16_t, 32> kCp1252{0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                           0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                           0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                           0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

// Bytes 0x80..0xBF of Windows-1251; 0xC0..0xFF are А..я in order.
constexpr std::array<char16_t, 64> kCp1251{
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
    0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x98,   0x2122,
    0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
    0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
    0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457};

enum class Page { Utf8, Latin1, Cp1252, Cp1251 };

bool ValidUtf8(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        const auto c = static_cast<unsigned char>(s[i]);
        const std::size_t n = c < 0x80             ? 1
                              : (c & 0xE0) == 0xC0 ? 2
                              : (c & 0xF0) == 0xE0 ? 3
                              : (c & 0xF8) == 0xF0 ? 4
                                                   : 0;
        if (n == 0 || (n == 2 && c < 0xC2) || i + n > s.size()) return false;
        for (std::size_t k = 1; k < n; ++k)
            if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
        i += n;
    }
    return true;
}

char32_t FromPage(unsigned char b, Page page) {
    if (page == Page::Cp1252 && b >= 0x80 && b < 0xA0) return kCp1252[b - 0x80];
    if (page == Page::Cp1251 && b >= 0x80) return b < 0xC0 ? kCp1251[b - 0x80] : 0x0410 + (b - 0xC0);
    return b;
}

int Hex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

} // namespace

std::string DecodeText(std::string_view raw, std::string_view codepage, bool unicode) {
    Page page = Page::Utf8;
    std::string cp;
    for (char c : codepage)
        cp += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (!unicode) {
        if (cp == "ANSI_1252")
            page = Page::Cp1252;
        else if (cp == "ANSI_1251")
            page = Page::Cp1251;
    }
    if (page == Page::Utf8 && !ValidUtf8(raw)) page = Page::Latin1;
    std::string out;
    out.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\\' && i + 6 < raw.size() && (raw[i + 1] == 'U' || raw[i + 1] == 'u') &&
            raw[i + 2] == '+') {
            int v = 0;
            bool ok = true;
            for (std::size_t k = 3; k < 7 && ok; ++k) {
                const int h = Hex(raw[i + k]);
                ok = h >= 0;
                v = v * 16 + h;
            }
            if (ok && (v < 0xD800 || v > 0xDFFF)) {
                AppendUtf8(out, static_cast<char32_t>(v));
                i += 6;
                continue;
            }
        }
        const auto b = static_cast<unsigned char>(raw[i]);
        if (page == Page::Utf8 || b < 0x80)
            out += raw[i];
        else
            AppendUtf8(out, FromPage(b, page));
    }
    return out;
}

std::string PlainText(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%' || i + 2 >= text.size() || text[i + 1] != '%') {
            out += text[i];
            continue;
        }
        const char code = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 2])));
        if (code == 'c')
            out += "\u00D8";
        else if (code == 'd')
            out += "\u00B0";
        else if (code == 'p')
            out += "\u00B1";
        else if (code == '%')
            out += '%';
        i += 2; // %%u, %%o and unknown codes switch styles that a caption does not have
    }
    return out;
}

std::string PlainMText(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '{' || c == '}') continue;
        if (c != '\\' || i + 1 >= text.size()) {
            out += c;
            continue;
        }
        const char code = text[++i];
        switch (code) {
        case 'P':
            out += '\n';
            break;
        case '~':
            out += "\u00A0";
            break;
        case '\\':
        case '{':
        case '}':
            out += code;
            break;
        case 'S': { // stacked fraction up to ';': its separators ^ and # read as /
            for (++i; i < text.size() && text[i] != ';'; ++i)
                out += text[i] == '^' || text[i] == '#' ? '/' : text[i];
            break;
        }
        case 'L':
        case 'l':
        case 'O':
        case 'o':
        case 'K':
        case 'k':
        case 'N':
            break;
        default: // a switch with a value up to ';': \f \F \H \C \c \T \Q \W \A \p
            while (i < text.size() && text[i] != ';')
                ++i;
        }
    }
    return out;
}

} // namespace orn::detail::dxf
