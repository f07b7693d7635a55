// The compiled form of a selector list, shared by the parser that builds it
// and the matcher that reads it.
//
// A complex selector is stored right to left: compounds[0] is the subject,
// and each compound names the combinator that links it to the compound on its
// left. Within a compound the cheapest, most selective tests come first, so
// most elements are rejected by one integer comparison.
#pragma once

#include <zv/html/HTMLTagNames.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zv::html {

struct CompiledSelectorList;

enum class SimpleSelectorKind : uint8_t {
    Type,         // `p`, `*|p`; matches by tag id, or by name for unknown tags
    NoNamespace,  // `|p`, `|*`: every element here has a namespace
    Id,
    Class,
    Attribute,
    Root,
    Empty,
    FirstChild,
    LastChild,
    OnlyChild,
    FirstOfType,
    LastOfType,
    OnlyOfType,
    NthChild,  // with an optional `of S` list
    NthLastChild,
    NthOfType,
    NthLastOfType,
    Checked,
    Disabled,
    Enabled,
    AnyLink,  // :link too: nothing here is ever visited
    Lang,
    Scope,
    Not,
    Is,  // :is() and :where(); they differ only in specificity
    Has,
    HasAnchor,  // the element a :has() argument is relative to
    Never,      // :hover, :visited, …: states a static tree never has
};

enum class AttributeOperator : uint8_t {
    Exists,     // [a]
    Equals,     // [a=v]
    Includes,   // [a~=v]
    DashMatch,  // [a|=v]
    Prefix,     // [a^=v]
    Suffix,     // [a$=v]
    Substring,  // [a*=v]
};

enum class AttributeValueCase : uint8_t {
    Default,      // sensitive, but insensitive for the legacy HTML attributes
    Insensitive,  // the `i` flag
    Sensitive,    // the `s` flag
};

// Matches the 1-based positions a*n+b for some n >= 0.
struct AnPlusB {
    int a = 0;
    int b = 0;
    bool matches(int64_t position) const noexcept {
        if (a == 0) return position == b;
        int64_t delta = position - b;
        return delta % a == 0 && delta / a >= 0;
    }
};

struct SimpleSelector {
    explicit SimpleSelector(SimpleSelectorKind k) noexcept : kind(k) {}

    SimpleSelectorKind kind;
    // Type: the name as written; Id, Class: the value; Attribute: the local name.
    std::string name;
    // Type and Attribute: the name in ASCII lower case, for HTML elements.
    std::string lowerName;
    // Type: the tag of `name` (for foreign elements) and of `lowerName`.
    Tag tag = Tag::Unknown;
    Tag lowerTag = Tag::Unknown;
    // Attribute.
    AttributeOperator op = AttributeOperator::Exists;
    AttributeValueCase valueCase = AttributeValueCase::Default;
    bool anyNamespace = false;           // [*|a]
    bool legacyCaseInsensitive = false;  // the name is on the HTML standard's list
    std::string value;
    // The nth- pseudo-classes.
    AnPlusB nth;
    // Lang: the language ranges.
    std::vector<std::string> ranges;
    // Not, Is, Has, and the `of S` of NthChild and NthLastChild.
    std::unique_ptr<CompiledSelectorList> list;
};

enum class Combinator : uint8_t {
    Descendant,
    Child,
    NextSibling,
    SubsequentSibling,
};

struct CompoundSelector {
    std::vector<SimpleSelector> simples;  // empty for `*`
    Combinator toLeft = Combinator::Descendant;
};

// Where the candidates for a :has() argument lie, relative to its anchor.
enum class RelativeScope : uint8_t {
    Children,                  // `> a`
    Descendants,               // `a`, `> a b`
    NextSibling,               // `+ a`
    FollowingSiblings,         // `~ a`, `+ a ~ b`
    FollowingSiblingSubtrees,  // `+ a b`
};

struct ComplexSelector {
    std::vector<CompoundSelector> compounds;  // right to left
    // Has a pseudo-element: valid, but no element is ever its subject.
    bool neverMatches = false;
    // Can match and has at most 64 compounds: queries match it top down
    // (see CSSSelectorQuery.h).
    bool topDown = false;
    // For a :has() argument, whose leftmost compound is the HasAnchor.
    RelativeScope relativeScope = RelativeScope::Descendants;
};

struct CompiledSelectorList {
    std::vector<ComplexSelector> selectors;
};

}  // namespace zv::html
