// Counting matches in a message the host has not loaded into a web view.
//
// A host's ZVWKConversationMessageItem::findCountForStrings must count as the
// page's search script does, or the bar's total changes when the message is
// loaded. countMatchesInText does that on the text the page searches
// (searchableTextOfHTML: the body's text nodes joined in document order,
// without scripts and style sheets, so a match may run across elements) with
// the same options (FindOptions.h: one style plus 256 for
// ignore case): contains; starts with (the text at the start of a word);
// exactly (as a whole word), words being runs of letters, digits and "_";
// or a regular expression, here with ICU's syntax, which agrees with the
// page's for the common forms. An invalid expression or an empty text counts
// 0, and so does everything after an expression's first empty match. The
// counts for several strings are added.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// The text the page's search script searches, from the document the view
// would load.
ZV_EXPORT std::string searchableTextOfHTML(const std::string& html);

ZV_EXPORT int64_t countMatchesInText(std::string_view text, const std::vector<std::string>& strings, int64_t options);

}  // namespace zv
