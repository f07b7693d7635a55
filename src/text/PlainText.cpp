#include <zv/text/PlainText.h>

#include "PlainTextPipeline.h"

#include <zv/foundation/Log.h>
#include <zv/foundation/Regex.h>
#include <zv/foundation/Strings.h>
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/text/SquireCleanup.h>

#include <algorithm>
#include <vector>

namespace zv {

using html::CSSSelector;
using html::HTMLElement;
using html::HTMLNode;
using html::HTMLText;
using html::Ref;

namespace {

// Compiled on first use (not at static initialisation, which could run
// before the selector engine's own tables exist) and shared between threads.
struct Selectors {
    CSSSelector citation = CSSSelector::parse("blockquote[type=cite]");
    CSSSelector paragraph = CSSSelector::parse("p");
    CSSSelector div = CSSSelector::parse("div");
    CSSSelector lineBreak = CSSSelector::parse("br");
    CSSSelector noteMarker = CSSSelector::parse("div[zv-note]");
    CSSSelector replySeparator = CSSSelector::idSelector("zv-reply-separator");
    // Removed before the text is taken. Removing every head, then every
    // script, then every style leaves the tree that removing all three kinds
    // at once does, and one walk finds them all.
    CSSSelector hidden = CSSSelector::parse("head, script, style");
};

const Selectors& selectors() {
    static const Selectors instance;
    return instance;
}

bool isBreak(const HTMLNode& node) {
    const HTMLElement* element = node.as<HTMLElement>();
    if (!element) return false;
    const std::string_view name = element->tagName();
    return name.size() == 2 && (name[0] | 0x20) == 'b' && (name[1] | 0x20) == 'r';
}

// The same as textContent().starts_with(">") without building the text: the
// first non-empty text node in document order decides.
bool textStartsWithGreaterThan(const HTMLNode& root) {
    const HTMLNode* node = root.firstChild();
    while (node) {
        if (const HTMLText* text = node->as<HTMLText>(); text && !text->data().empty())
            return text->data().front() == '>';
        if (node->firstChild()) {
            node = node->firstChild();
            continue;
        }
        while (node != &root && !node->nextSibling()) node = node->parentNode();
        node = node == &root ? nullptr : node->nextSibling();
    }
    return false;
}

// The marker a quoted line starts with: the first level brings "> ", each
// further level one more ">" before it.
Ref<HTMLText> quoteMarker(const HTMLNode& line) {
    return HTMLText::create(textStartsWithGreaterThan(line) ? ">" : "> ");
}

void insertReplySeparatorLine(HTMLElement& separator) {
    HTMLNode* parent = separator.parentNode();
    if (!parent) return;
    Ref<HTMLElement> lineBreak = HTMLElement::create("br");
    Ref<HTMLText> dashes = HTMLText::create("----");
    if (HTMLNode* next = separator.nextSibling()) {
        parent->insertNode(dashes, next);
        parent->insertNode(lineBreak, separator.nextSibling());
    } else {
        parent->appendNode(lineBreak);
        parent->appendNode(dashes);
    }
}

void removeHiddenElements(HTMLElement& root) {
    // Held, since a match may sit inside another that goes first (a script
    // in the head) and would be freed with it.
    std::vector<Ref<HTMLElement>> matches;
    for (HTMLElement* element : root.elementsMatchingSelector(selectors().hidden)) matches.emplace_back(element);
    for (const Ref<HTMLElement>& element : matches) element->removeFromParentNode();
}

// One regular-expression rewrite of the serialized markup.
struct Rewrite {
    std::optional<Regex> regex;  // none when the pattern did not compile
    std::string replacement;
};

Rewrite rewrite(std::string_view pattern, std::string replacement) {
    RegexError error;
    std::optional<Regex> regex = Regex::compile(pattern, RegexOptions::CaseInsensitive, &error);
    if (!regex) log("There was an error making regEx: " + error.localizedDescription);
    return Rewrite{std::move(regex), std::move(replacement)};
}

std::string rewritten(std::string markup, const std::vector<Rewrite>& rewrites) {
    for (const Rewrite& r : rewrites)
        if (r.regex) markup = r.regex->replaceMatches(markup, r.replacement);
    return markup;
}

const std::vector<Rewrite>& noteBodyRewrites() {
    static const std::vector<Rewrite> kRewrites = [] {
        std::vector<Rewrite> r;
        // An empty line: a div holding nothing or only no-break spaces.
        r.push_back(rewrite("<div([^>]*)>(&nbsp;)*</div", "<div$1><br></div"));
        r.push_back(rewrite("</div>([\\n]?)", "</div>\n"));
        return r;
    }();
    return kRewrites;
}

const std::vector<Rewrite>& paragraphBodyRewrites() {
    static const std::vector<Rewrite> kRewrites = [] {
        std::vector<Rewrite> r;
        r.push_back(rewrite("<br>([\\s]*)</p>", "</p>"));
        r.push_back(rewrite("</p>([\\n]?)", "</p>\n"));
        r.push_back(rewrite("</div>([\\n]?)", "</div>\n"));
        r.push_back(rewrite("<br>", "\n<br>"));
        return r;
    }();
    return kRewrites;
}

// `element`'s markup through `rewrites`, parsed into a new div.
Ref<HTMLElement> rewrittenCopy(const HTMLElement& element, const std::vector<Rewrite>& rewrites) {
    Ref<HTMLElement> div = HTMLElement::create("div");
    div->setInnerHTML(rewritten(element.outerHTML(), rewrites));
    return div;
}

std::string withoutTabs(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\t'), text.end());
    return text;
}

}  // namespace

void preprocessBlockquoteCitations(HTMLElement& citation) {
    for (HTMLElement* paragraph : citation.elementsMatchingSelector(selectors().paragraph))
        paragraph->insertNode(quoteMarker(*paragraph), paragraph->firstChild());
    for (HTMLElement* div : citation.elementsMatchingSelector(selectors().div)) {
        if (!isEmptyBreakDIV(*div)) continue;
        HTMLElement* lineBreak = div->firstElementMatchingSelector(selectors().lineBreak);
        lineBreak->parentNode()->appendNode(quoteMarker(*div));
    }
}

bool isEmptyBreakDIV(const HTMLElement& element) {
    return element.childNodesCount() == 1 && element.elementsMatchingSelector(selectors().lineBreak).size() == 1;
}

void cleanBreaks(HTMLElement& block) {
    std::vector<HTMLNode*> breaks;
    for (HTMLNode* child = block.firstChild(); child; child = child->nextSibling()) {
        if (child->isElement()) {
            // Past the first other element, breaks stay and text keeps its spaces.
            if (!isBreak(*child)) {
                breaks.clear();
                break;
            }
            breaks.push_back(child);
        } else if (HTMLText* text = child->as<HTMLText>()) {
            std::string trimmed = zvTrim(text->data());
            if (trimmed.empty()) continue;
            text->setData(std::move(trimmed));
            breaks.clear();
        }
    }
    HTMLNode* last = block.lastChild();
    if (last && isBreak(*last) && std::find(breaks.begin(), breaks.end(), last) == breaks.end())
        breaks.push_back(last);
    for (HTMLNode* lineBreak : breaks) lineBreak->removeFromParentNode();
}

void preprocessBreaksInPs(HTMLElement& element) {
    for (HTMLElement* paragraph : element.elementsMatchingSelector(selectors().paragraph)) cleanBreaks(*paragraph);
}

void preprocessBreaksInDIVs(HTMLElement& element) {
    for (HTMLElement* div : element.elementsMatchingSelector(selectors().div)) cleanBreaks(*div);
}

Ref<HTMLElement> finalPreprocess(HTMLElement& element) {
    preprocessBreaksInPs(element);
    if (element.firstElementMatchingSelector(selectors().noteMarker)) return plainTextForDivs(element);
    return plainTextForParagraphs(element);
}

Ref<HTMLElement> plainTextForDivs(const HTMLElement& element) { return rewrittenCopy(element, noteBodyRewrites()); }

Ref<HTMLElement> plainTextForParagraphs(const HTMLElement& element) {
    return rewrittenCopy(element, paragraphBodyRewrites());
}

std::string rewriteMarkup(std::string markup, bool noteBody) {
    return rewritten(std::move(markup), noteBody ? noteBodyRewrites() : paragraphBodyRewrites());
}

void markCitationsAndSeparator(HTMLElement& copy) {
    // Outer citations come first in document order, so a nested paragraph
    // collects one marker per level, the innermost nearest to its text.
    for (HTMLElement* citation : copy.elementsMatchingSelector(selectors().citation))
        preprocessBlockquoteCitations(*citation);
    if (HTMLElement* separator = copy.firstElementMatchingSelector(selectors().replySeparator))
        insertReplySeparatorLine(*separator);
}

std::string plainTextByRewriting(const HTMLElement& element) {
    Ref<HTMLElement> copy(element.cloneNodeDeep(true)->as<HTMLElement>());
    markCitationsAndSeparator(*copy);
    removeHiddenElements(*copy);
    Ref<HTMLElement> lines = finalPreprocess(*copy);
    return zvTrim(squireCleanup(withoutTabs(lines->textContent())));
}

std::string plainText(const HTMLElement& element) {
    if (std::optional<std::string> text = plainTextByWalking(element)) return std::move(*text);
    return plainTextByRewriting(element);
}

std::string plainText(const html::HTMLDocumentFragment& fragment) {
    std::string result;
    for (HTMLNode* node = fragment.firstChild(); node; node = node->nextSibling()) {
        if (const HTMLElement* element = node->as<HTMLElement>()) {
            result += plainText(*element);
        } else if (const HTMLText* text = node->as<HTMLText>()) {
            result += zvTrim(squireCleanup(text->data()));
        }
    }
    return result;
}

}  // namespace zv
