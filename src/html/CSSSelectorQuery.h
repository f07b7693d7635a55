// One selector list matched against every element of a subtree.
//
// Matching each element right to left costs, for a descendant combinator
// whose left side fails (`.missing div`), a walk up to the root: quadratic on
// a document nested 100,000 deep. The walk here carries state down instead.
// For each complex selector made only of descendant and child combinators,
// every element on the current path keeps a bit mask: bit k set when the
// compounds from k leftwards match with the element standing for compound k.
// An element's mask follows from its parent's, so each element costs one
// compound test per compound whose left side has already matched above it.
// Selectors with sibling combinators are matched right to left as usual.
#pragma once

#include "CSSSelectorMatcher.h"

#include <functional>

namespace zv::html {

// Calls `found` on each element under `root` (not `root` itself) that matches
// `list`, in document order, until it returns false.
void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found);

}  // namespace zv::html
