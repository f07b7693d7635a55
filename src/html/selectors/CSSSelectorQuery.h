// One selector list matched against every element of a subtree.
//
// Matching each element right to left costs, for a descendant combinator
// whose left side fails (`.missing div`), a walk up to the root, and for `~`
// a walk over all earlier siblings: quadratic on a document nested 100,000
// deep or a table of 100,000 rows. The walk here carries state forward
// instead. For each complex selector, every element keeps a bit mask: bit k
// set when the compounds from k leftwards match with the element standing
// for compound k. An element's mask follows from four masks already known
// when the walk reaches it, one per combinator: its parent's, the union over
// its ancestors, its previous sibling's, and the union over its previous
// siblings. Each element so costs one compound test per compound whose left
// side has matched. The walk also knows each element's position among its
// siblings, among the siblings of its type, and among those matching the S of
// an :nth-child(An+B of S), so the nth- pseudo-classes need not count; and a
// first pass, bottom up, answers for every element each :has() whose
// arguments look only downwards (`:has(img)`, `:has(> p b)`).
//
// A query rooted at an element also enters the root's ancestors, so the
// compounds left of a combinator can match there, but not their earlier
// siblings: on an ancestor, a `+` or `~` is matched right to left in place.
//
// What stays proportional to the neighbourhood is what lies inside a compound
// and looks elsewhere: :has() with sibling combinators scans its candidates,
// :is()/:not() of complex selectors match right to left, and on the root's
// ancestors `~` scans earlier siblings, :nth-child() counts them and :has()
// scans subtrees.
#pragma once

#include "CSSSelectorMatcher.h"

#include <functional>

namespace zv::html {

// Calls `found` on each element under `root` (not `root` itself) that matches
// `list`, in document order, until it returns false.
void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found);

}  // namespace zv::html
