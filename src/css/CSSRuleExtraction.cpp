#include <zv/css/CSSRuleExtraction.h>

#include <zv/css/StyleScope.h>
#include <zv/foundation/Regex.h>

#include "HeadStyleElements.h"
#include "OrderedCSSRules.h"
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

// Printable ASCII, spaces, tabs and line feeds: what nearly every sheet is
// made of. On such text each character is one UTF-16 unit and one
// user-perceived character, so the patterns search all of it, "\s" is a space,
// tab or line feed, and "." anything but a line feed; the two functions below
// replace exactly what the patterns would, without ICU's copies to UTF-16 and
// back, which cost more than the rest of inlining a small mail.
bool isPlainASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return (c >= 0x20 && c < 0x7f) || c == '\t' || c == '\n'; });
}

// "(/\*.*\*/)": from a "/*" to the last "*/" before the line ends.
std::string withoutPlainComments(std::string_view text) {
    std::string out;
    size_t copied = 0;
    for (size_t i = 0; i + 1 < text.size();) {
        if (text[i] != '/' || text[i + 1] != '*') {
            ++i;
            continue;
        }
        size_t lineEnd = text.find('\n', i);
        if (lineEnd == std::string_view::npos) lineEnd = text.size();
        // The first "*/" from the end that leaves the "/*" whole, or none on
        // this line, for this "/*" and for any later one on it.
        size_t close = text.substr(0, lineEnd).rfind("*/");
        if (close == std::string_view::npos || close < i + 2) {
            i = lineEnd;
            continue;
        }
        out.append(text.substr(copied, i - copied)).push_back(' ');
        copied = i = close + 2;
    }
    return out.append(text.substr(copied));
}

// "([\s]{2,})": every run of two or more.
std::string withPlainSpaceRunsCollapsed(std::string_view text) {
    auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n'; };
    std::string out;
    size_t copied = 0;
    for (size_t i = 0; i < text.size();) {
        if (!isSpace(text[i])) {
            ++i;
            continue;
        }
        size_t end = i;
        while (end < text.size() && isSpace(text[end])) ++end;
        if (end - i >= 2) {
            out.append(text.substr(copied, i - copied)).push_back(' ');
            copied = end;
        }
        i = end;
    }
    return out.append(text.substr(copied));
}

// The pieces of `text` between separators, without the ones that are exactly
// one space, each trimmed.
std::vector<std::string_view> trimmedPieces(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::string_view piece : css::splitAtCharacter(text, separator))
        if (piece != " ") pieces.push_back(css::trimSpacesAndTabs(piece));
    return pieces;
}

void addRule(std::string_view block, css::OrderedCSSRules& rules) {
    std::vector<std::string_view> parts = trimmedPieces(block, '{');
    if (parts.size() < 2) return;
    const std::string_view declarations = parts[1];
    for (std::string_view piece : css::splitAtCharacter(parts[0], ',')) {
        auto [entry, isNew] = rules.bySelector.declarations.try_emplace(std::string(css::trimSpacesAndTabs(piece)));
        entry->second += declarations;
        if (!isNew) continue;
        rules.bySelector.selectors.push_back(entry->first);
        rules.inOrder.push_back(&*entry);
    }
}

void addSheet(std::string_view text, css::OrderedCSSRules& rules) {
    const SheetPatterns& patterns = sheetPatterns();
    if (!patterns.whiteSpaceRun || !patterns.comment) return;
    // Comments first: white space collapsed first would bring the "*/" of a
    // later line onto the line of a "/*".
    const bool plain = isPlainASCII(text);
    const std::string withoutComments =
        plain ? withoutPlainComments(text) : replaceWithSpace(*patterns.comment, text);
    const std::string sheet =
        plain ? withPlainSpaceRunsCollapsed(withoutComments) : replaceWithSpace(*patterns.whiteSpaceRun, withoutComments);
    for (std::string_view block : trimmedPieces(sheet, '}')) addRule(block, rules);
}

}  // namespace

css::OrderedCSSRules css::extractOrderedCSSRules(const html::HTMLDocument& document,
                                                const std::vector<std::string>& attFilters) {
    OrderedCSSRules rules;
    const html::HTMLElement* head = document.head();
    if (!head) return rules;
    for (const html::Ref<html::HTMLElement>& style : headStyleElements(*head)) {
        if (!isSelected(*style, attFilters)) continue;
        const std::string text = style->textContent();
        if (!text.empty()) addSheet(text, rules);
    }
    return rules;
}

CSSRulesBySelector extractCSSBySelectors(const html::HTMLDocument& document,
                                         const std::vector<std::string>& attFilters) {
    return css::extractOrderedCSSRules(document, attFilters).bySelector;
}

}  // namespace zv
