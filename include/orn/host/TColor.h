#pragma once

#include <cstdint>

namespace orn {

/// A 32-bit host colour: red in the low byte, then green, then blue. Negative values name system
/// colours; the library never translates them and uses their low bytes as they are.
using TColor = std::int32_t;

inline constexpr TColor clBlack = 0x000000;
inline constexpr TColor clMaroon = 0x000080;
inline constexpr TColor clGreen = 0x008000;
inline constexpr TColor clOlive = 0x008080;
inline constexpr TColor clNavy = 0x800000;
inline constexpr TColor clPurple = 0x800080;
inline constexpr TColor clTeal = 0x808000;
inline constexpr TColor clGray = 0x808080;
inline constexpr TColor clSilver = 0xC0C0C0;
inline constexpr TColor clRed = 0x0000FF;
inline constexpr TColor clLime = 0x00FF00;
inline constexpr TColor clYellow = 0x00FFFF;
inline constexpr TColor clBlue = 0xFF0000;
inline constexpr TColor clFuchsia = 0xFF00FF;
inline constexpr TColor clAqua = 0xFFFF00;
inline constexpr TColor clWhite = 0xFFFFFF;
inline constexpr TColor clNone = 0x1FFFFFFF;
inline constexpr TColor clDefault = 0x20000000;
// System colours: negative, their low byte is the palette entry.
inline constexpr TColor clBtnFace = static_cast<TColor>(0x8000000F);
inline constexpr TColor clWindow = static_cast<TColor>(0x80000005);
inline constexpr TColor clWindowText = static_cast<TColor>(0x80000008);

constexpr std::uint8_t GetRValue(TColor c) { return static_cast<std::uint8_t>(c & 0xFF); }
constexpr std::uint8_t GetGValue(TColor c) { return static_cast<std::uint8_t>((c >> 8) & 0xFF); }
constexpr std::uint8_t GetBValue(TColor c) { return static_cast<std::uint8_t>((c >> 16) & 0xFF); }
constexpr TColor RGB(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    return static_cast<TColor>(r | (g << 8) | (b << 16));
}

} // namespace orn
