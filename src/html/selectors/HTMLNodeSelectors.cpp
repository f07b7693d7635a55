// The selector queries of HTMLNode.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLElement.h>

#include "CSSSelectorQuery.h"

namespace zv::html {

HTMLElement* HTMLNode::firstElementMatchingSelector(const CSSSelector& selector) const {
    HTMLElement* first = nullptr;
    if (const CompiledSelectorList* list = selector.compiled()) {
        forEachElementMatching(*list, *this, [&](HTMLElement& e) {
            first = &e;
            return false;
        });
    }
    return first;
}

std::vector<HTMLElement*> HTMLNode::elementsMatchingSelector(const CSSSelector& selector) const {
    std::vector<HTMLElement*> all;
    if (const CompiledSelectorList* list = selector.compiled()) {
        forEachElementMatching(*list, *this, [&](HTMLElement& e) {
            all.push_back(&e);
            return true;
        });
    }
    return all;
}

HTMLElement* HTMLNode::querySelector(std::string_view selector) const {
    return firstElementMatchingSelector(CSSSelector::parse(selector));
}

std::vector<HTMLElement*> HTMLNode::querySelectorAll(std::string_view selector) const {
    return elementsMatchingSelector(CSSSelector::parse(selector));
}

}  // namespace zv::html
