#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orn::detail {

/// The markup of an XML document rewritten in the one form the scene reader takes: start tags as
/// `<name key="value" key="value">` (attributes separated by single spaces, double quotes, no
/// space around '='; a self-closing tag opened and closed), end tags as `</name>`, and nothing
/// else: character data, comments, processing instructions, CDATA sections and the document type
/// are left out. Characters the reader cannot carry in a value become character references;
/// white space written literally in a value becomes a space, as XML reads it.
///
/// Whatever cannot be read that way (the file ends inside a tag or with elements still open, a
/// malformed tag) is told in problems, with its line; the rest is still rewritten. A zero byte
/// ends the input.
std::string SceneMarkup(std::string_view text, std::vector<std::string>& problems);

} // namespace orn::detail
