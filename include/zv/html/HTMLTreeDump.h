// The tree in the indented text form of the html5lib tree-construction tests,
// used by the conformance runner and `zvwk parse`.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

#include <string>

namespace zv::html {

// One line per node, "| " and two spaces per level; the root itself is not
// printed (pass a document or a fragment).
ZV_EXPORT std::string dumpTree(const HTMLNode& root);

}  // namespace zv::html
