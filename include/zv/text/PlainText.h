// Mail HTML to plain text: the text/plain part of a message being sent.
//
// Tuned to what the compose editor writes: `p` or `div` lines, `br` breaks,
// quoted replies as <blockquote type="cite">, a reply separator element with
// the id "zv-reply-separator", and `div` elements carrying `zv-note` as the
// mark of a note-style body. `plainText` is a fixed pipeline over a deep copy
// of its argument, whose tree is never changed:
//
//   1. each <blockquote type="cite"> (outer ones first) prefixes its
//      paragraphs with "> " or, where the text already starts with ">", with
//      ">" (preprocessBlockquoteCitations);
//   2. a `br` and the text "----" go right after the reply separator;
//   3. `head`, `script` and `style` elements are removed;
//   4. trailing breaks of paragraphs are dropped and their text trimmed, then
//      the markup is rewritten by regular expressions so that line ends become
//      line feeds, and parsed again (finalPreprocess);
//   5. its text content, without tabs, through squireCleanup, trimmed.
//
// Quirks kept on purpose, since mail already sent was written with them:
// - the trimming in step 4 also trims the quote marker of step 1, so a quoted
//   paragraph "a" reads ">a", and one two levels deep ">>a";
// - a note-style body gets no line feed for a `br`, so "----" follows the
//   separator's text directly unless a closing `div` comes between;
// - the rewrites look for the markup "<br>", so a `br` with attributes
//   (<br clear="all">) starts no line;
// - the blocks of a fragment run together with no separator.
//
// Queries look at descendants only: the element `plainText` is called on is
// not itself treated as a citation, a separator or a hidden element, so a
// fragment's top-level <style> or <script> gives its text.
//
// Cost: the element plainText gets this text in one walk over the tree,
// without the copy, the serialization and the second parse, wherever it can
// tell what the reparse would give; it copies only a tree with a citation or
// a separator, and takes the literal pipeline for the markup whose reparse it
// does not model (templates, raw text holding its own end tag, content a
// table would move, CR, NUL, malformed UTF-8, ...). The text is the same.
//
// All functions are pure apart from the ones documented as changing their
// argument; they may run on any thread, each on its own tree.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLElement.h>

#include <string>

namespace zv {

// The plain text of `element`; `element` is not changed.
ZV_EXPORT std::string plainText(const html::HTMLElement& element);
// The plain texts of the fragment's top-level nodes, concatenated: an element
// gives its plainText (even when empty), a text node its text through
// squireCleanup and zvTrim when that is not empty, other nodes nothing.
ZV_EXPORT std::string plainText(const html::HTMLDocumentFragment& fragment);

// The passes, public so that a host can run a part of the pipeline. Each one
// changes the subtree of its argument in place.

// Prefixes each `p` descendant of the citation with a text node "> " (">"
// when its text already starts with ">"), and each empty-break `div`
// descendant likewise, after its `br`.
ZV_EXPORT void preprocessBlockquoteCitations(html::HTMLElement& citation);
// Drops the trailing `br` children of a `p` or `div` and trims its text nodes
// up to the first child element that is not a `br`; a `br` that is the very
// last child goes in any case.
ZV_EXPORT void cleanBreaks(html::HTMLElement& block);
// cleanBreaks on every `p` / every `div` descendant, in document order.
ZV_EXPORT void preprocessBreaksInPs(html::HTMLElement& element);
ZV_EXPORT void preprocessBreaksInDIVs(html::HTMLElement& element);

// True when the element has exactly one child node and exactly one `br`
// descendant: <div><br></div>, <div><span><br></span></div>.
ZV_EXPORT bool isEmptyBreakDIV(const html::HTMLElement& element);

// preprocessBreaksInPs on `element` (which it changes), then plainTextForDivs
// when a div[zv-note] is among its descendants, else plainTextForParagraphs.
ZV_EXPORT html::Ref<html::HTMLElement> finalPreprocess(html::HTMLElement& element);
// A new `div` holding `element`'s markup rewritten for a note-style body:
// empty `div` lines (nothing or only no-break spaces) get a `br`, and every
// closing `div` tag one line feed after it. `element` is not changed.
ZV_EXPORT html::Ref<html::HTMLElement> plainTextForDivs(const html::HTMLElement& element);
// A new `div` holding `element`'s markup rewritten for a paragraph body: a
// `br` right before a paragraph's end goes, every closing `p` and `div` tag is
// followed by one line feed and every `br` preceded by one. `element` is not
// changed.
ZV_EXPORT html::Ref<html::HTMLElement> plainTextForParagraphs(const html::HTMLElement& element);

}  // namespace zv
