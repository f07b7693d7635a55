#include "PlainTextPasses.h"

#include <zv/foundation/Log.h>
#include <zv/foundation/Regex.h>
#include <zv/foundation/Strings.h>
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLNodeIterator.h>
#include <zv/text/SquireCleanup.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
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

// What the empty-break divs of a citation ask of their subtrees, found in one
// pass: asked by walking each div's subtree, a chain of nested divs around
// one line break costs its depth squared. The only change made meanwhile is
// a quote marker appended to a break's parent, which the answers allow for.
class CitationSubtree {
public:
    explicit CitationSubtree(const HTMLElement& citation) {
        size_t order = 0;
        const HTMLNode* n = &citation;
        while (true) {
            facts_[n].order = order++;
            if (n->firstChild()) {
                n = n->firstChild();
                continue;
            }
            while (true) {
                finish(*n, order);
                if (n == &citation) return;
                if (n->nextSibling()) break;
                n = n->parentNode();
            }
            n = n->nextSibling();
        }
    }

    // `br` descendants, counted up to 2.
    int breaksBelow(const HTMLNode& node) const { return facts_.at(&node).breaks; }
    HTMLElement* firstBreakBelow(const HTMLNode& node) const { return facts_.at(&node).firstBreak; }

    // As the literal test on the div's text, knowing that markers, all
    // starting with ">", can only have been appended to `breakParent`, the
    // parent of the div's one break.
    bool textStartsWithGreaterThan(const HTMLNode& div, const HTMLNode& breakParent) const {
        const HTMLText* first = facts_.at(&div).firstText;
        if (marked_.count(&breakParent) && (!first || facts_.at(first).order > facts_.at(&breakParent).last))
            return true;
        return first && first->data().front() == '>';
    }

    void markerAppendedTo(const HTMLNode& parent) { marked_.insert(&parent); }

private:
    struct Facts {
        size_t order = 0;  // in document order
        size_t last = 0;   // the order of the subtree's last node
        int breaks = 0;
        HTMLElement* firstBreak = nullptr;
        const HTMLText* firstText = nullptr;  // the first that is not empty
    };

    // The node's subtree is done: its facts are complete and go to its parent.
    void finish(const HTMLNode& node, size_t order) {
        Facts& mine = facts_[&node];
        mine.last = order - 1;
        if (const HTMLText* text = node.as<HTMLText>(); text && !text->data().empty()) mine.firstText = text;
        HTMLNode* parentNode = node.parentNode();
        if (!parentNode || !facts_.count(parentNode)) return;
        Facts& parent = facts_[parentNode];
        const HTMLElement* element = node.as<HTMLElement>();
        bool isBreak = element && selectors().lineBreak.matches(*element, html::HTMLQuirksMode::NoQuirks);
        parent.breaks = std::min(2, parent.breaks + mine.breaks + int(isBreak));
        if (!parent.firstBreak) parent.firstBreak = isBreak ? const_cast<HTMLElement*>(element) : mine.firstBreak;
        if (!parent.firstText) parent.firstText = mine.firstText;
    }

    std::unordered_map<const HTMLNode*, Facts> facts_;
    std::unordered_set<const HTMLNode*> marked_;
};

// The paragraphs and the divs below a citation, in document order, found in
// one walk. A citation nested six deep has its subtree walked once for each
// level; two selector queries a level were most of such a mail's plain-text time.
// Markers go only into paragraphs and never add elements, so the divs found
// before they are inserted are the divs after.
struct CitationBlocks {
    explicit CitationBlocks(HTMLElement& citation) {
        for (HTMLNode* node = html::nextNodeInSubtree(&citation, &citation); node;
             node = html::nextNodeInSubtree(node, &citation)) {
            HTMLElement* element = node->as<HTMLElement>();
            if (!element) continue;
            if (selectors().paragraph.matches(*element, html::HTMLQuirksMode::NoQuirks))
                paragraphs.push_back(element);
            else if (selectors().div.matches(*element, html::HTMLQuirksMode::NoQuirks))
                divs.push_back(element);
        }
    }
    std::vector<HTMLElement*> paragraphs;
    std::vector<HTMLElement*> divs;
};

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
    const CitationBlocks blocks(citation);
    for (HTMLElement* paragraph : blocks.paragraphs)
        paragraph->insertNode(quoteMarker(*paragraph), paragraph->firstChild());
    const std::vector<HTMLElement*>& divs = blocks.divs;
    if (divs.empty()) return;
    CitationSubtree subtree(citation);
    for (HTMLElement* div : divs) {
        const HTMLNode* only = div->firstChild();
        if (!only || only != div->lastChild() || subtree.breaksBelow(*div) != 1) continue;
        HTMLNode* parent = subtree.firstBreakBelow(*div)->parentNode();
        parent->appendNode(HTMLText::create(subtree.textStartsWithGreaterThan(*div, *parent) ? ">" : "> "));
        subtree.markerAppendedTo(*parent);
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

}  // namespace zv
