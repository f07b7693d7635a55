// Matching compiled selectors against elements, right to left.
//
// The walk over ancestors and siblings reports how far a failure reaches
// (this element, all its siblings, all its ancestors), so a descendant
// combinator that cannot match anywhere above stops at once instead of
// retrying every ancestor: `a b c d` costs the depth, not its power. Nothing
// here allocates.
#pragma once

#include "CompiledSelector.h"

#include <zv/html/HTMLElement.h>

#include <span>

namespace zv::html {

// For one :nth-child(An+B of S) or :nth-last-child(An+B of S): the element's
// position among its siblings matching S, 0 when it does not match S.
struct PositionAmongMatches {
    const SimpleSelector* selector;
    int64_t index;
    int64_t* count;  // the siblings matching S, -1 until someone counts
};

// For one :has(): whether the element has it, as a pass over the subtree found.
struct KnownHas {
    const SimpleSelector* selector;
    bool matches;
};

// What a walk over a whole subtree knows about the element it is at, so
// that matching it need not count siblings or scan descendants.
struct WalkedElement {
    const HTMLElement* element = nullptr;
    int64_t index = 0;                // among its element siblings, from 1
    int64_t* siblingCount = nullptr;  // all of them, -1 until someone counts
    int64_t typeIndex = 0;            // among those of its type, from 1; 0 when the walk did not track it
    int64_t* typeCount = nullptr;     // those of its type, -1 until someone counts
    std::span<const PositionAmongMatches> amongMatches;
    std::span<const KnownHas> knownHas;
};

struct SelectorMatchContext {
    // Ids and classes are ASCII case-insensitive in quirks-mode documents.
    bool quirks = false;
    // What :scope matches; null means the root element, as for a whole document.
    const HTMLElement* scope = nullptr;
    // The element a :has() argument is relative to while it is matched.
    const HTMLElement* anchor = nullptr;
    const WalkedElement* walked = nullptr;
};

// The context for matching the elements under `root`: its document's quirks
// mode (no-quirks when it has none), and `root` as :scope when an element.
SelectorMatchContext selectorMatchContextFor(const HTMLNode& root);

bool matchesSelectorList(const CompiledSelectorList& list, const HTMLElement& element,
                         const SelectorMatchContext& context);
bool matchesComplexSelector(const ComplexSelector& complex, const HTMLElement& element,
                            const SelectorMatchContext& context);
// Same namespace and local name: what the -of-type pseudo-classes compare.
bool hasSameElementType(const HTMLElement& a, const HTMLElement& b);

// The element alone, whatever its neighbours.
bool matchesCompoundSelector(const CompoundSelector& compound, const HTMLElement& element,
                             const SelectorMatchContext& context);
// Whether the compounds left of compound `index` match, right to left, from
// `element` standing for compound `index` (which is not tested).
bool matchesLeftOfCompound(const ComplexSelector& complex, size_t index, const HTMLElement& element,
                           const SelectorMatchContext& context);

}  // namespace zv::html
