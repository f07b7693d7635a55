// String helpers of the base library.
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>

namespace zv {

// `s` without leading and trailing white space and line breaks: the Unicode
// White_Space characters (spaces of every width, tab, LF, VT, FF, CR, NEL,
// line and paragraph separators). Invalid UTF-8 counts as non-space.
ZV_EXPORT std::string zvTrim(std::string_view s);

// `s` without the leading and trailing code points for which `trims` holds;
// invalid UTF-8 is never trimmed.
ZV_EXPORT std::string_view trimCodePoints(std::string_view s, bool (*trims)(char32_t));

}  // namespace zv
