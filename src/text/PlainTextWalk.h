// The element plainText from one walk over the tree (PlainTextWalk.cpp).
#pragma once

#include <zv/html/HTMLElement.h>

#include <optional>
#include <string>

namespace zv {

// The same text as plainTextByRewriting from walking `element`'s tree,
// without serializing or parsing anything; nothing when the tree holds markup
// whose reparse the walk does not model, where plainTextByRewriting has the
// answer.
std::optional<std::string> plainTextByWalking(const html::HTMLElement& element);

}  // namespace zv
