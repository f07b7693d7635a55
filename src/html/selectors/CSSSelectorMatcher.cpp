#include "CSSSelectorMatcher.h"

#include "ASCIIText.h"
#include "../HTMLElementStates.h"

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLNodeIterator.h>

namespace zv::html {

namespace {

using Kind = SimpleSelectorKind;

enum class MatchResult {
    Matches,
    FailsLocally,      // another element in the same position may match
    FailsAllSiblings,  // no sibling will: they share the failing parent
    FailsCompletely,   // no ancestor will either
};

const HTMLElement* previousElementSibling(const HTMLElement& e) {
    for (HTMLNode* n = e.previousSibling(); n; n = n->previousSibling())
        if (n->isElement()) return static_cast<const HTMLElement*>(n);
    return nullptr;
}

const HTMLElement* nextElementSibling(const HTMLElement& e) {
    for (HTMLNode* n = e.nextSibling(); n; n = n->nextSibling())
        if (n->isElement()) return static_cast<const HTMLElement*>(n);
    return nullptr;
}

bool isRoot(const HTMLElement& e) {
    HTMLNode* parent = e.parentNode();
    return parent && parent->nodeType() == HTMLNodeType::Document;
}

bool equalsWithCase(std::string_view a, std::string_view b, bool insensitive) {
    return insensitive ? equalsIgnoringASCIICase(a, b) : a == b;
}

bool containsWithCase(std::string_view haystack, std::string_view needle, bool insensitive) {
    if (!insensitive) return haystack.find(needle) != std::string_view::npos;
    for (size_t i = 0; i + needle.size() <= haystack.size(); ++i)
        if (equalsIgnoringASCIICase(haystack.substr(i, needle.size()), needle)) return true;
    return false;
}

// True when `word` is one of the white-space separated words of `list`.
bool containsWord(std::string_view list, std::string_view word, bool insensitive) {
    size_t i = 0;
    while (i < list.size()) {
        while (i < list.size() && isASCIIWhitespace(list[i])) ++i;
        size_t start = i;
        while (i < list.size() && !isASCIIWhitespace(list[i])) ++i;
        if (i > start && equalsWithCase(list.substr(start, i - start), word, insensitive)) return true;
    }
    return false;
}

bool hasWhitespace(std::string_view s) {
    for (char c : s)
        if (isASCIIWhitespace(c)) return true;
    return false;
}

bool matchesType(const SimpleSelector& s, const HTMLElement& e) {
    Tag tag = e.tag();
    if (e.htmlNamespace() == Namespace::HTML) {
        // Every known name but foreignObject is lower case, so equal tags
        // mean equal names up to case.
        if (tag != Tag::Unknown && tag != Tag::foreignObject) return tag == s.lowerTag;
        return equalsIgnoringASCIICase(e.localName(), s.lowerName);
    }
    if (tag != Tag::Unknown) return tag == s.tag;
    return e.localName() == s.name;
}

bool attributeValueMatches(const SimpleSelector& s, std::string_view v, bool insensitive) {
    std::string_view want = s.value;
    switch (s.op) {
    case AttributeOperator::Exists: return true;
    case AttributeOperator::Equals: return equalsWithCase(v, want, insensitive);
    case AttributeOperator::Includes:
        return !want.empty() && !hasWhitespace(want) && containsWord(v, want, insensitive);
    case AttributeOperator::DashMatch:
        if (v.size() == want.size()) return equalsWithCase(v, want, insensitive);
        return v.size() > want.size() && v[want.size()] == '-' &&
               equalsWithCase(v.substr(0, want.size()), want, insensitive);
    case AttributeOperator::Prefix:
        return !want.empty() && v.size() >= want.size() && equalsWithCase(v.substr(0, want.size()), want, insensitive);
    case AttributeOperator::Suffix:
        return !want.empty() && v.size() >= want.size() &&
               equalsWithCase(v.substr(v.size() - want.size()), want, insensitive);
    case AttributeOperator::Substring: return !want.empty() && containsWithCase(v, want, insensitive);
    }
    return false;
}

bool matchesAttribute(const SimpleSelector& s, const HTMLElement& e) {
    bool html = e.htmlNamespace() == Namespace::HTML;
    bool insensitive = s.valueCase == AttributeValueCase::Insensitive ||
                       (s.valueCase == AttributeValueCase::Default && html && s.legacyCaseInsensitive);
    for (const HTMLAttribute& a : e.attributes()) {
        if (a.ns != AttributeNamespace::None && !s.anyNamespace) continue;
        bool named = html ? equalsIgnoringASCIICase(a.name, s.lowerName) : a.name == s.name;
        if (named && attributeValueMatches(s, a.value, insensitive)) return true;
    }
    return false;
}

bool isEmpty(const HTMLElement& e) {
    for (HTMLNode* n = e.firstChild(); n; n = n->nextSibling()) {
        if (n->isElement()) return false;
        if (n->isText() && !static_cast<const HTMLText*>(n)->data().empty()) return false;
    }
    return true;
}

class Matcher {
public:
    explicit Matcher(const SelectorMatchContext& context) : context_(context) {}

    bool matchesList(const CompiledSelectorList& list, const HTMLElement& e) const {
        for (const ComplexSelector& complex : list.selectors)
            if (matchesComplex(complex, e)) return true;
        return false;
    }

    bool matchesComplex(const ComplexSelector& complex, const HTMLElement& e) const {
        return !complex.neverMatches && matchComplex(complex, 0, e) == MatchResult::Matches;
    }

    bool matchesCompound(const CompoundSelector& compound, const HTMLElement& e) const {
        for (const SimpleSelector& s : compound.simples)
            if (!matchesSimple(s, e)) return false;
        return true;
    }

    bool matchesLeftOfCompound(const ComplexSelector& complex, size_t index, const HTMLElement& e) const {
        return index + 1 == complex.compounds.size() || matchLeftOf(complex, index, e) == MatchResult::Matches;
    }

private:
    MatchResult matchComplex(const ComplexSelector& complex, size_t index, const HTMLElement& e) const {
        const CompoundSelector& compound = complex.compounds[index];
        if (!matchesCompound(compound, e)) return MatchResult::FailsLocally;
        if (index + 1 == complex.compounds.size()) return MatchResult::Matches;
        return matchLeftOf(complex, index, e);
    }

    // The compounds left of `index`, reached from `e` standing for it.
    MatchResult matchLeftOf(const ComplexSelector& complex, size_t index, const HTMLElement& e) const {
        const CompoundSelector& compound = complex.compounds[index];
        size_t next = index + 1;
        switch (compound.toLeft) {
        case Combinator::Descendant:
            for (const HTMLElement* p = e.parentElement(); p; p = p->parentElement()) {
                MatchResult r = matchComplex(complex, next, *p);
                if (r == MatchResult::Matches || r == MatchResult::FailsCompletely) return r;
            }
            return MatchResult::FailsCompletely;
        case Combinator::Child: {
            const HTMLElement* p = e.parentElement();
            if (!p) return MatchResult::FailsCompletely;
            MatchResult r = matchComplex(complex, next, *p);
            if (r == MatchResult::Matches || r == MatchResult::FailsCompletely) return r;
            return MatchResult::FailsAllSiblings;
        }
        case Combinator::NextSibling: {
            const HTMLElement* s = previousElementSibling(e);
            if (!s) return MatchResult::FailsAllSiblings;
            return matchComplex(complex, next, *s);
        }
        case Combinator::SubsequentSibling:
            for (const HTMLElement* s = previousElementSibling(e); s; s = previousElementSibling(*s)) {
                MatchResult r = matchComplex(complex, next, *s);
                if (r != MatchResult::FailsLocally) return r;
            }
            return MatchResult::FailsAllSiblings;
        }
        return MatchResult::FailsCompletely;
    }

    bool matchesSimple(const SimpleSelector& s, const HTMLElement& e) const {
        switch (s.kind) {
        case Kind::Type: return matchesType(s, e);
        case Kind::NoNamespace:
        case Kind::Never: return false;
        case Kind::Id: {
            const std::string* id = e.attribute("id");
            return id && equalsWithCase(*id, s.name, context_.quirks);
        }
        case Kind::Class: {
            const std::string* classes = e.attribute("class");
            return classes && containsWord(*classes, s.name, context_.quirks);
        }
        case Kind::Attribute: return matchesAttribute(s, e);
        case Kind::Root: return isRoot(e);
        case Kind::Scope: return context_.scope ? &e == context_.scope : isRoot(e);
        case Kind::HasAnchor: return &e == context_.anchor;
        case Kind::Empty: return isEmpty(e);
        case Kind::FirstChild: return !previousElementSibling(e);
        case Kind::LastChild: return !nextElementSibling(e);
        case Kind::OnlyChild: return !previousElementSibling(e) && !nextElementSibling(e);
        case Kind::FirstOfType: return countSameTypeBefore(e, 1) == 0;
        case Kind::LastOfType: return countSameTypeAfter(e, 1) == 0;
        case Kind::OnlyOfType: return countSameTypeBefore(e, 1) == 0 && countSameTypeAfter(e, 1) == 0;
        case Kind::NthChild: return matchesNthChild(s, e, false);
        case Kind::NthLastChild: return matchesNthChild(s, e, true);
        case Kind::NthOfType: return s.nth.matches(positionAmongType(e, false));
        case Kind::NthLastOfType: return s.nth.matches(positionAmongType(e, true));
        case Kind::Checked: return isCheckedByMarkup(e);
        case Kind::Disabled: return isActuallyDisabled(e);
        case Kind::Enabled: return isEnabledFormElement(e);
        case Kind::AnyLink: return isHyperlink(e);
        case Kind::Lang: return matchesLanguageRanges(e, s.ranges);
        case Kind::Not: return !matchesList(*s.list, e);
        case Kind::Is: return matchesList(*s.list, e);
        case Kind::Has: return matchesHas(s, e);
        }
        return false;
    }

    // Siblings of the same type before `e`, counting no further than `limit`.
    static int64_t countSameTypeBefore(const HTMLElement& e, int64_t limit) {
        int64_t count = 0;
        for (const HTMLElement* s = previousElementSibling(e); s && count < limit; s = previousElementSibling(*s))
            count += hasSameElementType(*s, e);
        return count;
    }
    static int64_t countSameTypeAfter(const HTMLElement& e, int64_t limit) {
        int64_t count = 0;
        for (const HTMLElement* s = nextElementSibling(e); s && count < limit; s = nextElementSibling(*s))
            count += hasSameElementType(*s, e);
        return count;
    }

    int64_t positionAmongType(const HTMLElement& e, bool fromEnd) const {
        const WalkedElement* known = context_.walked;
        if (!known || known->element != &e || known->typeIndex == 0)
            return (fromEnd ? countSameTypeAfter(e, INT64_MAX) : countSameTypeBefore(e, INT64_MAX)) + 1;
        if (!fromEnd) return known->typeIndex;
        if (*known->typeCount < 0)
            *known->typeCount = countSameTypeBefore(e, INT64_MAX) + 1 + countSameTypeAfter(e, INT64_MAX);
        return *known->typeCount - known->typeIndex + 1;
    }

    // :nth-child(An+B of S) counts only the siblings matching S, and the
    // element itself must match S.
    bool matchesNthChild(const SimpleSelector& s, const HTMLElement& e, bool fromEnd) const {
        const WalkedElement* known = context_.walked;
        if (known && known->element == &e) {
            if (!s.list) {
                if (!fromEnd) return s.nth.matches(known->index);
                if (*known->siblingCount < 0) *known->siblingCount = countSiblingsMatching(e, nullptr);
                return s.nth.matches(*known->siblingCount - known->index + 1);
            }
            for (const PositionAmongMatches& among : known->amongMatches) {
                if (among.selector != &s) continue;
                if (among.index == 0) return false;
                if (!fromEnd) return s.nth.matches(among.index);
                if (*among.count < 0) *among.count = countSiblingsMatching(e, s.list.get());
                return s.nth.matches(*among.count - among.index + 1);
            }
        }
        if (s.list && !matchesList(*s.list, e)) return false;
        int64_t position = 1;
        auto step = fromEnd ? nextElementSibling : previousElementSibling;
        for (const HTMLElement* sibling = step(e); sibling; sibling = step(*sibling))
            if (!s.list || matchesList(*s.list, *sibling)) ++position;
        return s.nth.matches(position);
    }

    // `e` and its element siblings that match `list` (all without one).
    int64_t countSiblingsMatching(const HTMLElement& e, const CompiledSelectorList* list) const {
        const HTMLNode* parent = e.parentNode();
        if (!parent) return !list || matchesList(*list, e);
        int64_t count = 0;
        for (const HTMLNode* n = parent->firstChild(); n; n = n->nextSibling()) {
            if (!n->isElement()) continue;
            count += !list || matchesList(*list, *static_cast<const HTMLElement*>(n));
        }
        return count;
    }

    bool matchesHas(const SimpleSelector& s, const HTMLElement& e) const {
        if (const WalkedElement* known = context_.walked; known && known->element == &e) {
            for (const KnownHas& has : known->knownHas)
                if (has.selector == &s) return has.matches;
        }
        const CompiledSelectorList& list = *s.list;
        SelectorMatchContext inner = context_;
        inner.anchor = &e;
        Matcher relative(inner);
        for (const ComplexSelector& complex : list.selectors)
            if (relative.hasRelativeMatch(complex, e)) return true;
        return false;
    }

    // Whether some element where `complex` can land, relative to `anchor`, matches it.
    bool hasRelativeMatch(const ComplexSelector& complex, const HTMLElement& anchor) const {
        auto test = [&](const HTMLNode* n) {
            return n->isElement() &&
                   matchComplex(complex, 0, *static_cast<const HTMLElement*>(n)) == MatchResult::Matches;
        };
        switch (complex.relativeScope) {
        case RelativeScope::Children:
            for (const HTMLNode* n = anchor.firstChild(); n; n = n->nextSibling())
                if (test(n)) return true;
            return false;
        case RelativeScope::Descendants:
            return anySubtreeNode(anchor, anchor.firstChild(), test);
        case RelativeScope::NextSibling: {
            const HTMLElement* s = nextElementSibling(anchor);
            return s && test(s);
        }
        case RelativeScope::FollowingSiblings:
            for (const HTMLElement* s = nextElementSibling(anchor); s; s = nextElementSibling(*s))
                if (test(s)) return true;
            return false;
        case RelativeScope::FollowingSiblingSubtrees:
            for (const HTMLElement* s = nextElementSibling(anchor); s; s = nextElementSibling(*s))
                if (anySubtreeNode(*s, s, test)) return true;
            return false;
        }
        return false;
    }

    // Walks `root`'s subtree from `first` (root itself or its first child)
    // in document order.
    template <class Test>
    static bool anySubtreeNode(const HTMLNode& root, const HTMLNode* first, const Test& test) {
        for (const HTMLNode* n = first; n; n = nextNodeInSubtree(n, &root))
            if (test(n)) return true;
        return false;
    }

    const SelectorMatchContext& context_;
};

}  // namespace

bool hasSameElementType(const HTMLElement& a, const HTMLElement& b) {
    if (a.htmlNamespace() != b.htmlNamespace() || a.tag() != b.tag()) return false;
    return a.tag() != Tag::Unknown || a.localName() == b.localName();
}

SelectorMatchContext selectorMatchContextFor(const HTMLNode& root) {
    SelectorMatchContext context;
    const HTMLDocument* document = root.ownerDocument();
    context.quirks = document && document->quirksMode() == HTMLQuirksMode::Quirks;
    context.scope = root.as<HTMLElement>();
    return context;
}

bool matchesSelectorList(const CompiledSelectorList& list, const HTMLElement& element,
                         const SelectorMatchContext& context) {
    return Matcher(context).matchesList(list, element);
}

bool matchesComplexSelector(const ComplexSelector& complex, const HTMLElement& element,
                            const SelectorMatchContext& context) {
    return Matcher(context).matchesComplex(complex, element);
}

bool matchesCompoundSelector(const CompoundSelector& compound, const HTMLElement& element,
                             const SelectorMatchContext& context) {
    return Matcher(context).matchesCompound(compound, element);
}

bool matchesLeftOfCompound(const ComplexSelector& complex, size_t index, const HTMLElement& element,
                           const SelectorMatchContext& context) {
    return Matcher(context).matchesLeftOfCompound(complex, index, element);
}

}  // namespace zv::html
