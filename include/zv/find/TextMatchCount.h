// Counting matches in a message the host has not loaded into a web view.
//
// A host's ZVWKConversationMessageItem::findCountForStrings must count as the
// page's search script does, or the bar's total changes when the message is
// loaded. countMatchesInText does that on the text the page searches
// (searchableTextOfHTML: the body's text nodes joined in document order,
// without scripts and style sheets, so a match may run across elements) with
// the same options (FindOptions.h: one style plus 256 for ignore case), by
// running the page's own search script (SearchWebView.js, its
// WKWebView_CountMatchesInText) in a JavaScriptCore context of the calling
// thread. So the two share every rule: the styles' expressions, words (runs
// of Unicode letters, digits and "_" for starts with and exactly), the
// regular expressions' syntax (JavaScript's: \w, \d and \b are ASCII), and
// case folding (JavaScript's: "ß" never matches "ss"). Each string is taken
// as the web view hands it to the page, between backquotes without escaping:
// a template literal, so "\\d" searches "\d" and "\d" searches "d"; a string
// with a backquote or "${" counts 0 (the page's call fails, or would run the
// text as code, which the host does not). An invalid expression
// or an empty text counts 0, and so does everything after an expression's
// first empty match. The counts for several strings are added. Without the
// script (a broken installation) everything counts 0, with a warning.
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
