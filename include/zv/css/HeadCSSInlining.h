// Copying a message's head CSS onto its elements as inline styles.
//
// The rules come from extractCSSBySelectors (CSSRuleExtraction.h), read from
// the head style sheets that `attFilters` chooses. Each selector in order of
// first appearance, unless an exclusion matches it, is queried on the body
// (its descendants, as HTMLNode::querySelectorAll has it), and every element
// found gets " " and the selector's declaration text appended to its raw
// "style" attribute. Nothing is parsed, merged or weighed:
//
// - a head rule lands after the element's own declarations and so wins over
//   them, the reverse of the cascade, on purpose;
// - an element that several selectors find gets several appends, in the
//   selectors' order, whatever their specificity;
// - no ";" is added: "color: blue" becomes "color: blue color: red;";
// - an element without a style attribute gets one starting with a space;
// - applying twice appends twice.
// A selector the engine cannot parse ("@media screen", "") finds nothing.
//
// Exclusions are ICU patterns compiled case-insensitive with "^" and "$"
// matching at line ends; each is tried on single selectors, over their first
// N UTF-16 code units (N their count of user-perceived characters), so "^body"
// drops "body" and "BODY > p" but not "div body". A pattern that does not
// compile is skipped after one line on standard output (not zv::log: hosts
// read it there) "Ignoring exclusion: ", the pattern, " – " (en dash) and the
// engine's description of the error. A caller whose standard output carries
// data of its own should compile its patterns first (zv::Regex, the options
// above) and pass only those that compile.
//
// With `purgeCSS`, every <style> element within the head is removed
// afterwards: scopes, "required" included, and `attFilters` are ignored here,
// unlike purgeHeadCSSWithFilters. A document without a body is left whole.
#pragma once

#include <zv/html/HTMLDocument.h>

#include <string>
#include <vector>

namespace zv {

void applyHeadCSSToContentAndPurge(html::HTMLDocument& document, bool purgeCSS,
                                   const std::vector<std::string>& exclusions,
                                   const std::vector<std::string>& attFilters);

}  // namespace zv
