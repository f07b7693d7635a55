// For the commands that change a message's document and print it.
#pragma once

#include <zv/html/HTMLDocument.h>

#include <functional>
#include <string>

namespace zvwk {

// A result for printForEachInput: the HTML parsed as a document, changed by
// `rewrite` and serialized.
std::function<std::string(const std::string& html)> rewritten(std::function<void(zv::html::HTMLDocument&)> rewrite);

}  // namespace zvwk
