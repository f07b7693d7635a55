// CSS selectors: parsed once, matched against elements many times.
//
// Covers Selectors Level 3 and the static parts of Level 4:
// - type (`p`, `*`, `*|p`, `|p`), `#id`, `.class`, attribute selectors with
//   every operator (`[a]`, `=`, `~=`, `|=`, `^=`, `$=`, `*=`) and the `i`/`s`
//   flags, and the four combinators (descendant, `>`, `+`, `~`);
// - structural pseudo-classes (`:root`, `:empty`, `:first-child`, …,
//   `:nth-child(An+B [of S])`, `:nth-last-child`, `:nth-of-type`, …);
// - `:not()`, `:is()`, `:where()`, `:has()` with relative selectors, `:scope`;
// - the states a static tree has: `:checked`, `:disabled`, `:enabled`,
//   `:link`, `:any-link`, `:lang()`.
// User-action and time pseudo-classes (`:hover`, `:focus`, `:visited`,
// `:target`, …) and pseudo-elements (`::before`, `:first-line`, …) parse but
// match nothing: a static tree has no pointer, focus or history, and no
// pseudo-element is an element.
//
// Case follows the HTML standard for HTML documents: type and attribute names
// are ASCII case-insensitive on HTML elements and exact on SVG and MathML ones;
// ids and classes are case-sensitive except in quirks-mode documents; attribute
// values are case-sensitive except for the standard's list of legacy
// attributes (`type`, `align`, `bgcolor`, …) on HTML elements, unless an `i` or
// `s` flag says otherwise. A tree attached to no document counts as no-quirks.
//
// A namespace prefix other than `*` (or none, `|p`) needs a namespace
// declaration, which a selector string cannot carry: `svg|rect` does not parse;
// nor does an unknown or vendor-prefixed pseudo-class or pseudo-element
// (`::-moz-selection`), as in a browser. `:scope` is the element a query
// runs on, the element itself for matches(), and the root element for a
// query on a document or fragment.
//
// Cost: the queries in HTMLNode walk the subtree once and carry forward what
// the combinators, the nth- pseudo-classes and :has() need, so a query costs
// about elements x compounds however deep or wide the tree. A query from an
// element adds its chain of ancestors, never the document before it; a `+`,
// `~` or nth- pseudo-class that must look beside an ancestor looks there in
// place, once that ancestor has matched the compound on its right. Still matched in
// place: :has() with `+` or `~` in its argument scans its candidates, and
// :is()/:not() of complex selectors look at ancestors and siblings.
// matches() on a single element looks at its neighbourhood.
// Matching nests at most 32 functional pseudo-classes and 256 compounds per
// complex selector; deeper text does not parse.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace zv::html {

class HTMLElement;
struct CompiledSelectorList;
enum class HTMLQuirksMode : uint8_t;

class CSSSelector {
public:
    // Never throws. Text that does not parse (empty, an at-rule prelude such
    // as "@media screen", an unknown pseudo-class, a stray comma, …) gives a
    // selector that matches nothing and reports !isValid().
    static CSSSelector parse(std::string_view text);

    // Selectors built from a name as it is, without CSS parsing or escaping:
    // `typeSelector("my:tag")` matches elements with exactly that local name
    // (ASCII case-insensitively for HTML elements). An empty name matches
    // nothing.
    static CSSSelector typeSelector(std::string_view name);
    static CSSSelector hasAttributeSelector(std::string_view name);
    static CSSSelector idSelector(std::string_view id);

    // The invalid selector, which matches nothing.
    CSSSelector() = default;

    bool isValid() const noexcept { return compiled_ != nullptr; }
    // True when `element` matches any selector of the list. Reads the quirks
    // mode of the element's document on every call, a walk to the root; the
    // queries in HTMLNode read it once for the whole walk.
    bool matches(const HTMLElement& element) const;
    // The same in a document of quirks mode `mode`, which the caller knows:
    // for matching many elements of a deep tree one by one.
    bool matches(const HTMLElement& element, HTMLQuirksMode mode) const;

    // The compiled form, for the queries in HTMLNode; null when invalid.
    const CompiledSelectorList* compiled() const noexcept { return compiled_.get(); }

private:
    explicit CSSSelector(std::shared_ptr<const CompiledSelectorList> compiled) noexcept
        : compiled_(std::move(compiled)) {}

    // Shared and immutable: copies are cheap and can be used from any thread.
    std::shared_ptr<const CompiledSelectorList> compiled_;
};

}  // namespace zv::html
