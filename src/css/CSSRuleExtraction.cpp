#include <zv/css/CSSRuleExtraction.h>

#include <zv/css/StyleScope.h>
#include <zv/foundation/Regex.h>

#include "HeadStyleElements.h"
#include "UserPerceivedCharacters.h"

#include <algorithm>
#include <optional>

namespace zv {

namespace {

struct SheetPatterns {
    std::optional<Regex> whiteSpaceRun = Regex::compile("([\\s]{2,})");
    std::optional<Regex> comment = Regex::compile("(/\\*.*\\*/)");
};

const SheetPatterns& sheetPatterns() {
    static const SheetPatterns kPatterns;
    return kPatterns;
}

bool isSelected(const html::HTMLElement& style, const std::vector<std::string>& attFilters) {
    if (attFilters.empty()) return true;
    const std::string* scope = style.attribute(kStyleScopeAttribute);
    return scope && std::find(attFilters.begin(), attFilters.end(), *scope) != attFilters.end();
}

// Every match within the first characterCount(text) UTF-16 units becomes one
// space. The range is shorter than the text when it has astral characters or
// combining sequences; the tail is then left as it is, which mail code
// relies on.
std::string replaceWithSpace(const Regex& pattern, std::string_view text) {
    return pattern.replaceMatches(text, " ", RegexMatchingOptions::WithoutAnchoringBounds,
                                  RegexRange{0, css::characterCount(text)});
}

// The pieces of `text` between separators, without the ones that are exactly
// one space, each trimmed.
std::vector<std::string_view> trimmedPieces(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::string_view piece : css::splitAtCharacter(text, separator))
        if (piece != " ") pieces.push_back(css::trimSpacesAndTabs(piece));
    return pieces;
}

void addRule(std::string_view block, CSSRulesBySelector& rules) {
    std::vector<std::string_view> parts = trimmedPieces(block, '{');
    if (parts.size() < 2) return;
    const std::string_view declarations = parts[1];
    for (std::string_view piece : css::splitAtCharacter(parts[0], ',')) {
        auto [entry, isNew] = rules.declarations.try_emplace(std::string(css::trimSpacesAndTabs(piece)));
        entry->second += declarations;
        if (isNew) rules.selectors.push_back(entry->first);
    }
}

void addSheet(std::string_view text, CSSRulesBySelector& rules) {
    const SheetPatterns& patterns = sheetPatterns();
    if (!patterns.whiteSpaceRun || !patterns.comment) return;
    // Comments first: white space collapsed first would bring the "*/" of a
    // later line onto the line of a "/*".
    const std::string withoutComments = replaceWithSpace(*patterns.comment, text);
    const std::string sheet = replaceWithSpace(*patterns.whiteSpaceRun, withoutComments);
    for (std::string_view block : trimmedPieces(sheet, '}')) addRule(block, rules);
}

}  // namespace

CSSRulesBySelector extractCSSBySelectors(const html::HTMLDocument& document,
                                         const std::vector<std::string>& attFilters) {
    CSSRulesBySelector rules;
    const html::HTMLElement* head = document.head();
    if (!head) return rules;
    for (const html::Ref<html::HTMLElement>& style : css::headStyleElements(*head)) {
        if (!isSelected(*style, attFilters)) continue;
        const std::string text = style->textContent();
        if (!text.empty()) addSheet(text, rules);
    }
    return rules;
}

}  // namespace zv
