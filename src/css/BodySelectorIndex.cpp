#include "BodySelectorIndex.h"

#include "ASCIIText.h"
#include "ElementNameTable.h"

#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>

#include <algorithm>

#include <optional>
#include <string>
#include <unordered_set>

namespace zv::css {

namespace {

enum class KeyKind { Id, Class, Tag };

struct SubjectKey {
    KeyKind kind;
    std::string name;  // ASCII lower case
};

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

bool isCombinatorOrSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '>' || c == '+' || c == '~';
}

// The index just past the "]" closing the bracket at `open`, quoted values
// skipped; npos when it is not closed.
size_t skipBracket(std::string_view s, size_t open) {
    for (size_t i = open + 1; i < s.size(); ++i) {
        if (s[i] == ']') return i + 1;
        if (s[i] != '"' && s[i] != '\'') continue;
        i = s.find(s[i], i + 1);
        if (i == std::string_view::npos) return i;
    }
    return std::string_view::npos;
}

// The compounds of a plainly simple selector, left to right; nothing for any
// other text.
std::optional<std::vector<std::string_view>> compoundsOf(std::string_view s) {
    if (s.find('\\') != std::string_view::npos) return std::nullopt;
    std::vector<std::string_view> compounds;
    size_t start = std::string_view::npos;
    for (size_t i = 0; i < s.size();) {
        const char c = s[i];
        if (isCombinatorOrSpace(c)) {
            if (start != std::string_view::npos) compounds.push_back(s.substr(start, i - start));
            start = std::string_view::npos;
            ++i;
            continue;
        }
        if (start == std::string_view::npos) start = i;
        if (c == '[') {
            i = skipBracket(s, i);
            if (i == std::string_view::npos) return std::nullopt;
        } else if (isNameCharacter(c) || c == '.' || c == '#' || c == '*') {
            ++i;
        } else {
            return std::nullopt;
        }
    }
    if (start != std::string_view::npos) compounds.push_back(s.substr(start));
    if (compounds.empty()) return std::nullopt;
    return compounds;
}

std::string_view nameAt(std::string_view s, size_t at) {
    size_t end = at;
    while (end < s.size() && isNameCharacter(s[end])) ++end;
    return s.substr(at, end - at);
}

// The id, else the first class, else the tag name the compound requires.
std::optional<SubjectKey> keyOf(std::string_view compound) {
    std::optional<SubjectKey> firstClass;
    for (size_t i = 0; i < compound.size();) {
        const char c = compound[i];
        if (c == '[') {
            i = skipBracket(compound, i);
            continue;
        }
        if (c == '#' || c == '.') {
            std::string_view name = nameAt(compound, i + 1);
            if (name.empty()) return std::nullopt;
            if (c == '#') return SubjectKey{KeyKind::Id, toASCIILower(name)};
            if (!firstClass) firstClass = SubjectKey{KeyKind::Class, toASCIILower(name)};
            i += 1 + name.size();
            continue;
        }
        ++i;
    }
    if (firstClass) return firstClass;
    std::string_view tag = nameAt(compound, 0);
    if (tag.empty()) return std::nullopt;
    return SubjectKey{KeyKind::Tag, toASCIILower(tag)};
}

// Calls fn(element, depth) on each element under `root`, in document order;
// the root's children are at depth 1.
template <class Fn>
void forEachDescendantElement(html::HTMLNode& root, Fn fn) {
    html::HTMLNode* n = root.firstChild();
    size_t depth = 1;
    while (n) {
        if (html::HTMLElement* element = n->as<html::HTMLElement>()) fn(*element, depth);
        if (n->firstChild()) {
            n = n->firstChild();
            ++depth;
            continue;
        }
        while (n && n != &root && !n->nextSibling()) {
            n = n->parentNode();
            --depth;
        }
        if (!n || n == &root) return;
        n = n->nextSibling();
    }
}

// `.name` and nothing else.
bool isLoneClass(std::string_view compound, const SubjectKey& key) {
    return key.kind == KeyKind::Class && compound.size() == key.name.size() + 1;
}

}  // namespace

struct BodySelectorIndex::Buckets {
    ElementNameTable byKind[3];  // by ASCII lower-cased name
    // By class as written: the answer to a lone `.name` in a no-quirks
    // document, without testing each candidate's class list again.
    ElementNameTable exactClasses;
    // The keys of the elements outside the body (the body itself, its
    // ancestors and the head), which compounds left of the subject may match.
    std::unordered_set<std::string> outside[3];
    size_t elementCount = 0;

    explicit Buckets(html::HTMLElement& body) {
        std::string lowered;
        forEachDescendantElement(body, [&](html::HTMLElement& element, size_t depth) {
            ++elementCount;
            forEachKey(element, [&](KeyKind kind, std::string_view name) {
                byKind[int(kind)].add(lowerInto(name, lowered), element, depth);
                if (kind == KeyKind::Class) exactClasses.add(name, element, depth);
            });
        });
        auto addOutside = [&](html::HTMLElement& element) {
            forEachKey(element, [&](KeyKind kind, std::string_view name) { outside[int(kind)].insert(toASCIILower(name)); });
        };
        addOutside(body);
        for (html::HTMLNode* inner = &body; html::HTMLNode* parent = inner->parentNode(); inner = parent) {
            if (html::HTMLElement* element = parent->as<html::HTMLElement>()) addOutside(*element);
            for (html::HTMLNode* child = parent->firstChild(); child; child = child->nextSibling()) {
                if (child == inner) continue;
                if (html::HTMLElement* element = child->as<html::HTMLElement>()) addOutside(*element);
                forEachDescendantElement(*child, [&](html::HTMLElement& element, size_t) { addOutside(element); });
            }
        }
    }

    // Most names are in lower case already (the parser lowers HTML tag
    // names) and pass as they are.
    static std::string_view lowerInto(std::string_view name, std::string& lowered) {
        if (!hasASCIIUpper(name)) return name;
        lowered.assign(name);
        for (char& c : lowered) c = toASCIILower(c);
        return lowered;
    }

    template <class Fn>
    static void forEachKey(html::HTMLElement& element, Fn fn) {
        fn(KeyKind::Tag, element.localName());
        if (const std::string* id = element.attribute("id")) fn(KeyKind::Id, *id);
        std::string_view classes = element.className();
        for (size_t i = 0; i < classes.size();) {
            if (isASCIIWhitespace(classes[i])) {
                ++i;
                continue;
            }
            size_t end = i;
            while (end < classes.size() && !isASCIIWhitespace(classes[end])) ++end;
            fn(KeyKind::Class, classes.substr(i, end - i));
            i = end;
        }
    }

    ElementNameTable::Elements find(const SubjectKey& key) const { return byKind[int(key.kind)].find(key.name); }

    // Whether some element of the document may match a compound of key `key`.
    bool anyMayMatch(const SubjectKey& key) const {
        return !find(key).elements.empty() || outside[int(key.kind)].count(key.name);
    }
};

BodySelectorIndex::BodySelectorIndex(html::HTMLElement& body) : body_(body) {
    const html::HTMLDocument* document = body.ownerDocument();
    quirksMode_ = document ? document->quirksMode() : html::HTMLQuirksMode::NoQuirks;
}

BodySelectorIndex::~BodySelectorIndex() = default;

// Matching each candidate would scan its class list once per rule: an element
// with thousands of classes and a rule for each would cost their square.
std::vector<html::HTMLElement*> BodySelectorIndex::loneClassMatches(std::string_view name) const {
    // In quirks mode classes match ASCII case-insensitively, as the index's keys.
    const ElementNameTable::Elements found = quirksMode_ == html::HTMLQuirksMode::Quirks
                                                 ? buckets_->find({KeyKind::Class, toASCIILower(name)})
                                                 : buckets_->exactClasses.find(name);
    return {found.elements.begin(), found.elements.end()};
}

std::vector<html::HTMLElement*> BodySelectorIndex::walk(const html::CSSSelector& selector) {
    if (!elementCount_) {
        elementCount_ = 0;
        forEachDescendantElement(body_, [&](html::HTMLElement&, size_t) { ++*elementCount_; });
    }
    visited_ += *elementCount_;
    return body_.elementsMatchingSelector(selector);
}

std::vector<html::HTMLElement*> BodySelectorIndex::elementsMatching(std::string_view text) {
    const html::CSSSelector selector = html::CSSSelector::parse(text);
    if (!selector.isValid()) return {};
    std::optional<std::vector<std::string_view>> compounds = compoundsOf(text);
    std::optional<SubjectKey> key = compounds ? keyOf(compounds->back()) : std::nullopt;
    if (!key) return walk(selector);
    if (!buckets_) buckets_ = std::make_unique<Buckets>(body_);
    const std::string_view& subject = compounds->back();
    if (compounds->size() == 1 && isLoneClass(subject, *key)) {
        std::vector<html::HTMLElement*> found = loneClassMatches(subject.substr(1));
        visited_ += found.size();
        return found;
    }
    const ElementNameTable::Elements candidates = buckets_->find(*key);
    if (candidates.elements.empty()) return {};
    // A compound left of the subject whose id, class or tag no element has.
    for (size_t i = 0; i + 1 < compounds->size(); ++i) {
        std::optional<SubjectKey> left = keyOf((*compounds)[i]);
        if (left && !buckets_->anyMayMatch(*left)) return {};
    }
    // A combinator sends each candidate up its ancestors, and `~` back over
    // all its earlier siblings: on a deep or wide body that could cost more
    // than the walk, which visits each element once per compound. A step up
    // is a few times cheaper than the walk's visit (about 4x on the 2 MB
    // newsletter of bench/inlinecss_bench), hence the factor.
    bool costly = candidates.depths > 4 * buckets_->elementCount * compounds->size() ||
                  text.find('~') != std::string_view::npos;
    if (compounds->size() > 1 && costly) return walk(selector);
    visited_ += candidates.elements.size() + (compounds->size() > 1 ? candidates.depths : 0);
    // The candidates lie all over a large body and each test waits on memory:
    // asking for those a few places ahead keeps several loads in flight.
    constexpr size_t kAhead = 16;
    std::vector<html::HTMLElement*> found;
    const std::span<html::HTMLElement* const> elements = candidates.elements;
    for (size_t i = 0; i < elements.size(); ++i) {
        if (i + kAhead < elements.size()) __builtin_prefetch(elements[i + kAhead]);
        if (selector.matches(*elements[i], quirksMode_)) found.push_back(elements[i]);
    }
    return found;
}

}  // namespace zv::css
