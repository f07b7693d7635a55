// Matches of a search in a message whose view is not loaded, counted as the
// page's search script counts them once it is: the same expression (the
// text anywhere, at a word start, as a whole word, or as a regular
// expression; case ignored on request; words are runs of letters, digits
// and "_"), run over the body's text nodes joined in document order,
// without the text of scripts and style sheets, so a match may run across
// elements. Counting stops at the first empty match, as the page's does.
// A regular expression is compiled by ICU here and by JavaScript in the
// page: the common syntax agrees, engine-specific constructs may not.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zvwk::viewer {

// The text the page searches, from the document the view would load.
std::string searchableText(const std::string& html);

// `options`: one style (1 contains, 2 starts with, 4 exactly, 8 regular
// expression) plus 256 to ignore case. An empty search, or an expression
// that does not compile, counts 0.
std::int64_t countMatches(std::string_view text, std::string_view search, std::int64_t options);

}  // namespace zvwk::viewer
