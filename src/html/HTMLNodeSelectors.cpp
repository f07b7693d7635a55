// The selector queries of HTMLNode.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include "CSSSelectorMatcher.h"

namespace zv::html {

namespace {

// Calls `found` on each matching descendant of `root` in document order
// until it returns false.
template <class Found>
void forEachMatch(const HTMLNode& root, const CSSSelector& selector, Found found) {
    const CompiledSelectorList* list = selector.compiled();
    if (!list) return;
    SelectorMatchContext context = selectorMatchContextFor(root);
    for (const HTMLNode* n = root.firstChild(); n; n = nextNodeInSubtree(n, &root)) {
        if (!n->isElement()) continue;
        auto* element = const_cast<HTMLElement*>(static_cast<const HTMLElement*>(n));
        if (matchesSelectorList(*list, *element, context) && !found(element)) return;
    }
}

}  // namespace

HTMLElement* HTMLNode::firstElementMatchingSelector(const CSSSelector& selector) const {
    HTMLElement* first = nullptr;
    forEachMatch(*this, selector, [&](HTMLElement* e) {
        first = e;
        return false;
    });
    return first;
}

std::vector<HTMLElement*> HTMLNode::elementsMatchingSelector(const CSSSelector& selector) const {
    std::vector<HTMLElement*> all;
    forEachMatch(*this, selector, [&](HTMLElement* e) {
        all.push_back(e);
        return true;
    });
    return all;
}

HTMLElement* HTMLNode::querySelector(std::string_view selector) const {
    return firstElementMatchingSelector(CSSSelector::parse(selector));
}

std::vector<HTMLElement*> HTMLNode::querySelectorAll(std::string_view selector) const {
    return elementsMatchingSelector(CSSSelector::parse(selector));
}

}  // namespace zv::html
