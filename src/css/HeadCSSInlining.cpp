#include <zv/css/HeadCSSInlining.h>

#include <zv/css/CSSRuleExtraction.h>
#include <zv/foundation/Regex.h>

#include "BodySelectorIndex.h"
#include "HeadStyleElements.h"
#include "OrderedCSSRules.h"
#include "UserPerceivedCharacters.h"

#include <algorithm>
#include <cstdio>

namespace zv {

namespace {

std::vector<Regex> compileExclusions(const std::vector<std::string>& patterns) {
    std::vector<Regex> exclusions;
    for (const std::string& pattern : patterns) {
        RegexError error;
        std::optional<Regex> regex =
            Regex::compile(pattern, RegexOptions::CaseInsensitive | RegexOptions::AnchorsMatchLines, &error);
        if (regex) {
            exclusions.push_back(std::move(*regex));
            continue;
        }
        // A console line on standard output, not a log record: hosts read it there.
        const std::string line = "Ignoring exclusion: " + pattern + " \u2013 " + error.localizedDescription + "\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fflush(stdout);
    }
    return exclusions;
}

bool isExcluded(const std::string& selector, const std::vector<Regex>& exclusions) {
    if (exclusions.empty()) return false;
    const RegexRange range{0, css::characterCount(selector)};
    return std::any_of(exclusions.begin(), exclusions.end(), [&](const Regex& exclusion) {
        return exclusion.numberOfMatches(selector, RegexMatchingOptions::None, range) > 0;
    });
}

void prefetchElement(const html::HTMLElement* element) {
    for (size_t offset = 0; offset < sizeof(html::HTMLElement); offset += 64)
        __builtin_prefetch(reinterpret_cast<const char*>(element) + offset);
}

// The matches lie all over a large body and each append waits on memory
// twice, for the element and then for its attribute list: both are asked
// for a few elements ahead, the element first.
void appendToInlineStyles(css::BodySelectorIndex& body, const std::string& selector,
                          const std::string& declarations) {
    constexpr size_t kAhead = 8;
    const std::string appended = ' ' + declarations;
    const std::vector<html::HTMLElement*> elements = body.elementsMatching(selector);
    for (size_t i = 0; i < elements.size(); ++i) {
        if (i + 2 * kAhead < elements.size()) prefetchElement(elements[i + 2 * kAhead]);
        if (i + kAhead < elements.size()) __builtin_prefetch(elements[i + kAhead]->attributes().data());
        elements[i]->appendToAttribute("style", appended);
    }
}

}  // namespace

void applyHeadCSSToContentAndPurge(html::HTMLDocument& document, bool purgeCSS,
                                   const std::vector<std::string>& exclusions,
                                   const std::vector<std::string>& attFilters) {
    html::HTMLElement* body = document.body();
    if (!body) return;
    const css::OrderedCSSRules rules = css::extractOrderedCSSRules(document, attFilters);
    const std::vector<Regex> compiled = compileExclusions(exclusions);
    css::BodySelectorIndex index(*body);
    for (const auto* rule : rules.inOrder)
        if (!isExcluded(rule->first, compiled)) appendToInlineStyles(index, rule->first, rule->second);
    if (!purgeCSS) return;
    if (const html::HTMLElement* head = document.head())
        for (const html::Ref<html::HTMLElement>& style : css::headStyleElements(*head))
            css::removeFromParentElement(*style);
}

}  // namespace zv
