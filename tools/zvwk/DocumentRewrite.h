// What the commands that change a message's document share: the inputs read
// as zvwk text reads them (.eml messages, folders walked, unreadable inputs
// reported and skipped), each parsed, rewritten and printed serialized.
#pragma once

#include <zv/html/HTMLDocument.h>

#include <functional>
#include <string>
#include <vector>

namespace zvwk {

// Prints each rewritten document followed by a line feed, or with `json` one
// {"file": …, "html": …} object per line. Returns the exit status: 1 when an
// input could not be read, else 0.
int rewriteDocuments(const std::vector<std::string>& operands, bool json,
                     const std::function<void(zv::html::HTMLDocument&)>& rewrite);

}  // namespace zvwk
