// The rules of a document's head style sheets, indexed by selector.
//
// Deliberately not a CSS parser: the text is cut at braces and commas, and its
// odd results on CSS that is more than flat rules are the behaviour mail code
// relies on. For each head <style> element, in document order:
//
// - With `attFilters` non-empty, only elements whose "zv-scope" equals one of
//   them are read; unscoped ones are skipped ("required" means nothing here).
// - Comments go first, then runs of white space: the ICU pattern
//   "(/\*.*\*/)" and then "([\s]{2,})", each match replaced by one space. A
//   comment is thus everything from a line's first "/*" to its last "*/"
//   (rules between two comments on one line go with them), and a comment
//   spanning lines stays, its braces taking part in the cutting.
// - Each replacement searches only the first N UTF-16 code units of its
//   input, N being the input's count of user-perceived characters, so past a
//   character outside the Basic Multilingual Plane or a combining sequence the
//   tail of a sheet keeps its comments and white space. Kept on purpose.
// - The text is cut at every "}" into blocks and each block at every "{";
//   empty pieces and pieces that are exactly " " are dropped, the rest trimmed
//   of spaces and tabs (not line breaks). A block with fewer than two pieces
//   is skipped; otherwise the first piece is the selector group and the
//   second the declaration text, later pieces ignored. The group is cut at
//   every "," (empty pieces dropped) and each piece trimmed, so "a, , b"
//   gives the selectors "a", "" and "b".
// - Each selector's declaration text is appended to what it already has, with
//   nothing in between ("color: red" and "margin: 0" make
//   "color: redmargin: 0").
//
// So "@media screen { p { color: red; } }" gives the selector "@media screen"
// with the declaration text "p", and "@import url(a.css); p { … }" the
// selector "@import url(a.css); p". Separators are matched as whole
// user-perceived characters: a "}" that a combining mark follows does not cut.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLDocument.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace zv {

struct ZV_EXPORT CSSRulesBySelector {
    // Distinct selectors, in order of first appearance over all sheets read.
    std::vector<std::string> selectors;
    // Every selector's declaration texts run together, in order of appearance;
    // exactly the selectors of the list are keys.
    std::unordered_map<std::string, std::string> declarations;
};

// Reads the document; changes nothing. A document without a head, or
// without style sheets, gives empty results.
ZV_EXPORT CSSRulesBySelector extractCSSBySelectors(const html::HTMLDocument& document,
                                         const std::vector<std::string>& attFilters);

}  // namespace zv
