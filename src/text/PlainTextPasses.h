// The literal plain-text pipeline and its passes (PlainTextPasses.cpp), which
// plainText (PlainText.cpp) and the walk (PlainTextWalk.cpp) both use, and
// the tests that hold the walk to it.
#pragma once

#include <zv/html/HTMLElement.h>

#include <string>

namespace zv {

// The pipeline done literally on a deep copy: citation markers, the reply
// separator line, hidden elements removed, breaks cleaned, the markup
// serialized, rewritten by regular expressions and parsed into a new div,
// whose text is then cleaned and trimmed. Slow, and the reference.
std::string plainTextByRewriting(const html::HTMLElement& element);

// The regular-expression rewrites of the pipeline, of a note body or of a
// paragraph body, applied to `markup`.
std::string rewriteMarkup(std::string markup, bool noteBody);

// The first passes of the pipeline, which add nodes: a marker before every
// quoted line and the "----" line after the reply separator. The walk runs
// them on a copy when the tree has a citation or a separator.
void markCitationsAndSeparator(html::HTMLElement& copy);

// The passes of the literal pipeline, which the tests also run one at a
// time. Each one changes the subtree of its argument in place.

// Prefixes each `p` descendant of the citation with a text node "> " (">"
// when its text already starts with ">"), and each empty-break `div`
// descendant likewise, after its `br`.
void preprocessBlockquoteCitations(html::HTMLElement& citation);
// Drops the trailing `br` children of a `p` or `div` and trims its text nodes
// up to the first child element that is not a `br`; a `br` that is the very
// last child goes in any case.
void cleanBreaks(html::HTMLElement& block);
// cleanBreaks on every `p` / every `div` descendant, in document order.
void preprocessBreaksInPs(html::HTMLElement& element);
void preprocessBreaksInDIVs(html::HTMLElement& element);

// True when the element has exactly one child node and exactly one `br`
// descendant: <div><br></div>, <div><span><br></span></div>.
bool isEmptyBreakDIV(const html::HTMLElement& element);

// preprocessBreaksInPs on `element` (which it changes), then plainTextForDivs
// when a div[zv-note] is among its descendants, else plainTextForParagraphs.
html::Ref<html::HTMLElement> finalPreprocess(html::HTMLElement& element);
// A new `div` holding `element`'s markup rewritten for a note-style body:
// empty `div` lines (nothing or only no-break spaces) get a `br`, and every
// closing `div` tag one line feed after it. `element` is not changed.
html::Ref<html::HTMLElement> plainTextForDivs(const html::HTMLElement& element);
// A new `div` holding `element`'s markup rewritten for a paragraph body: a
// `br` right before a paragraph's end goes, every closing `p` and `div` tag is
// followed by one line feed and every `br` preceded by one. `element` is not
// changed.
html::Ref<html::HTMLElement> plainTextForParagraphs(const html::HTMLElement& element);

}  // namespace zv
