#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <orn/math/OrnMath.h>

namespace orn::detail {

/// Appends value with every character that the scene reader cannot carry inside a quoted key
/// (quote, angle brackets, slash, ampersand, tab and line breaks) written as a decimal character
/// reference. What no XML document can hold at all (other control characters, bytes that are not
/// UTF-8, U+FFFE and U+FFFF) becomes U+FFFD, the replacement character.
void AppendEscaped(std::string& out, std::string_view value);
/// The length of the UTF-8 character at the start of text that an XML document may hold; 0 when
/// text starts with something else (a stray byte, an overlong form, a surrogate, U+FFFE/U+FFFF).
std::size_t Utf8Length(std::string_view text);
/// Whether text holds a character reference to decode.
inline bool NeedsDecoding(std::string_view text) {
    return text.find('&') != std::string_view::npos;
}
/// Decodes decimal and hexadecimal character references (as UTF-8) and the five predefined
/// entities; anything else that starts with '&' stays as it is.
void AppendDecoded(std::string& out, std::string_view text);

/// The shortest text that reads back as exactly value.
void AppendReal(std::string& out, double value);
void AppendInt(std::string& out, std::int64_t value);
void AppendVector(std::string& out, const TOrnMathVector& value);

/// Exact forms: the whole text must be the value, with no white space around it.
bool ParseInt(std::string_view text, std::int64_t& value);
/// A finite real within single precision's range (larger ones would overflow the many
/// single-precision properties they are stored in).
bool ParseReal(std::string_view text, double& value);
bool ParseBool(std::string_view text, bool& value);
/// Three reals separated by commas (spaces after a comma allowed).
bool ParseVector(std::string_view text, TOrnMathVector& value);

/// Whether name can stand as an element or key name in the file (an XML name of ASCII letters,
/// digits, '_', '-', '.' and ':' that does not start with a digit, '-' or '.').
bool IsName(std::string_view name);

} // namespace orn::detail
