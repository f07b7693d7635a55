// String helpers of the base library.
#pragma once

#include <string>
#include <string_view>

namespace zv {

// `s` without leading and trailing white space and line breaks: the Unicode
// White_Space characters (spaces of every width, tab, LF, VT, FF, CR, NEL,
// line and paragraph separators). Invalid UTF-8 counts as non-space.
std::string zvTrim(std::string_view s);

}  // namespace zv
