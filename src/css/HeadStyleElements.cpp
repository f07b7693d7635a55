#include "HeadStyleElements.h"

#include <zv/html/CSSSelector.h>

namespace zv::css {

std::vector<html::Ref<html::HTMLElement>> headStyleElements(const html::HTMLElement& head) {
    static const html::CSSSelector kStyle = html::CSSSelector::parse("style");
    std::vector<html::HTMLElement*> found = head.elementsMatchingSelector(kStyle);
    return std::vector<html::Ref<html::HTMLElement>>(found.begin(), found.end());
}

void removeFromParentElement(html::HTMLElement& element) {
    if (html::HTMLElement* parent = element.parentElement()) parent->removeChildNode(&element);
}

}  // namespace zv::css
