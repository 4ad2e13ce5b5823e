#pragma once

// Strings of a drawing into UTF-8: the code page of old files, \U+XXXX escapes, and the
// formatting codes of TEXT and MTEXT.

#include <string>
#include <string_view>

namespace orn::detail::dxf {

/// raw as UTF-8. unicode: the file is AC1021 or newer (UTF-8 throughout); otherwise codepage
/// ($DWGCODEPAGE, e.g. "ANSI_1252") decides; an unknown one keeps valid UTF-8 and reads the rest
/// as Latin-1. \U+XXXX escapes are decoded in every case.
std::string DecodeText(std::string_view raw, std::string_view codepage, bool unicode);

/// A TEXT value for display: %%c, %%d and %%p become Ø, ° and ±; other %% codes (underline,
/// overline) are dropped, %%% is a percent sign.
std::string PlainText(std::string_view text);

/// An MTEXT value for display: \P becomes a line break, \~ a non-breaking space, \\ \{ \} the
/// character itself; font, height, colour and other switches and the braces of groups are dropped,
/// the text of a stacked fraction \S1/2; is kept as "1/2".
std::string PlainMText(std::string_view text);

} // namespace orn::detail::dxf
