// The tree in the indented text form of the html5lib tree-construction tests,
// used by the conformance runner and `zvwk parse`.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

#include <ostream>
#include <string>

namespace zv::html {

// One line per node, "| " and two spaces per level; the root itself is not
// printed (pass a document or a fragment).
ZV_EXPORT std::string dumpTree(const HTMLNode& root);
// The same written to `out` as it is produced, for trees whose dump would not
// fit in memory (each line is as long as the node is deep).
ZV_EXPORT void dumpTree(const HTMLNode& root, std::ostream& out);

}  // namespace zv::html
