#include <zv/css/HeadCSSPurge.h>

#include "HeadStyleElements.h"

#include <algorithm>

namespace zv {

namespace {

std::string_view scopeOf(const html::HTMLElement& style) {
    const std::string* scope = style.attribute(kStyleScopeAttribute);
    return scope ? std::string_view(*scope) : kUnscopedStyleScope;
}

bool isPurged(std::string_view scope, const std::vector<std::string>& filters) {
    if (scope == kRequiredStyleScope) return false;
    return filters.empty() || std::find(filters.begin(), filters.end(), scope) != filters.end();
}

}  // namespace

void purgeHeadCSSWithFilters(html::HTMLDocument& document, const std::vector<std::string>& filters) {
    if (!document.body()) return;
    const html::HTMLElement* head = document.head();
    if (!head) return;
    for (const html::Ref<html::HTMLElement>& style : css::headStyleElements(*head))
        if (isPurged(scopeOf(*style), filters)) css::removeFromParentElement(*style);
}

void purgeHeadCSSForPlainContent(html::HTMLDocument& document) { purgeHeadCSSWithFilters(document, {}); }

}  // namespace zv
