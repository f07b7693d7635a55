// Text measured and cut as a reader sees it: in user-perceived characters
// (extended grapheme clusters, as ICU's character breaks find them), the
// unit the style sheet splitting and its search ranges count in.
#pragma once

#include <string_view>
#include <vector>

namespace zv::css {

// How many user-perceived characters the UTF-8 `text` holds. Never more than
// its length in UTF-16 code units, and less when it has characters outside
// the Basic Multilingual Plane, combining sequences or CR LF pairs.
size_t characterCount(std::string_view text);

// The pieces of `text` between the places where the ASCII `separator` is a
// character of its own, empty pieces left out. A separator that a following
// combining mark joins ("}" U+0301) is part of a larger character and does
// not split.
std::vector<std::string_view> splitAtCharacter(std::string_view text, char separator);

// `text` without the spaces and tabs (the tab and the Unicode space
// separators) at its ends; line breaks stay.
std::string_view trimSpacesAndTabs(std::string_view text);

}  // namespace zv::css
