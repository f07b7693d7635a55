// Which rendering mode a DOCTYPE puts a document in, by the HTML standard's
// lists of legacy public and system identifiers.
#pragma once

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLToken.h>

namespace zv::html {

HTMLQuirksMode quirksModeForDoctype(const HTMLDOCTYPEToken& doctype);

}  // namespace zv::html
