// The two ways the element plainText is computed, shared by PlainText.cpp,
// PlainTextWalk.cpp and the tests that hold one to the other.
#pragma once

#include <zv/html/HTMLElement.h>

#include <optional>
#include <string>

namespace zv {

// The pipeline done literally on a deep copy: citation markers, the reply
// separator line, hidden elements removed, breaks cleaned, the markup
// serialized, rewritten by regular expressions and parsed into a new div,
// whose text is then cleaned and trimmed. Slow, and the reference.
std::string plainTextByRewriting(const html::HTMLElement& element);

// The same text from walking `element`'s tree, without serializing or parsing
// anything; nothing when the tree holds markup whose reparse the walk does not
// model, where plainTextByRewriting has the answer.
std::optional<std::string> plainTextByWalking(const html::HTMLElement& element);

// The regular-expression rewrites of the pipeline, of a note body or of a
// paragraph body, applied to `markup`.
std::string rewriteMarkup(std::string markup, bool noteBody);

// The first passes of the pipeline, which add nodes: a marker before every
// quoted line and the "----" line after the reply separator. The walk runs
// them on a copy when the tree has a citation or a separator.
void markCitationsAndSeparator(html::HTMLElement& copy);

}  // namespace zv
