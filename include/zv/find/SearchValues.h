// Several search values in one find entry.
//
// parseStringForValues splits what the user typed into the phrases a host
// may search for at once: text between matching quotes (' or ", or a run of
// them such as '' or "') is one phrase, the rest splits at blanks into
// words. Quoted phrases come first, in order, then the words:
//   a b "c d"        → c d, a, b
//   x "unterminated  → x, "unterminated   (an unclosed quote stays in the word)
//   (empty)          → the one empty string
// Blanks and line breaks around the parts are dropped; the result is never
// empty (nothing found gives the whole input as the only value).
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>
#include <vector>

namespace zv {

ZV_EXPORT std::vector<std::string> parseStringForValues(std::string_view text);

}  // namespace zv
