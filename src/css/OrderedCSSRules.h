// The head rules as extractCSSBySelectors reads them, with each selector's
// entry also kept in order of first appearance, so an inliner goes through
// them without looking every selector up again in a table as large as the
// sheets.
#pragma once

#include <zv/css/CSSRuleExtraction.h>

#include <string>
#include <utility>
#include <vector>

namespace zv::css {

struct OrderedCSSRules {
    CSSRulesBySelector bySelector;
    // Entries of bySelector.declarations, whose nodes stay where they are.
    std::vector<const std::pair<const std::string, std::string>*> inOrder;
};

OrderedCSSRules extractOrderedCSSRules(const html::HTMLDocument& document, const std::vector<std::string>& attFilters);

}  // namespace zv::css
