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
//      ">";
//   2. a `br` and the text "----" go right after the reply separator;
//   3. `head`, `script` and `style` elements are removed;
//   4. trailing breaks of paragraphs are dropped and their text trimmed, then
//      the markup is rewritten by regular expressions so that line ends become
//      line feeds, and parsed again;
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

}  // namespace zv
