// The body elements a selector matches, found as style sheet engines find
// them: the body's elements are indexed once by id, class and tag name, and a
// selector is tried only on the elements that carry the id, class or tag its
// subject (last compound) requires. The answer is the one querySelectorAll on
// the body gives, in document order, at the time of the call: an inliner
// running one query per selector over a large body pays a walk of the whole
// tree per selector, this pays a look at the few candidates.
//
// The key is read from the selector text only when the text is plainly
// simple: ASCII names, ".", "#", "*", attribute brackets and combinators.
// Escapes, pseudo-classes (":scope" among them), namespaces and the like make
// the query fall back to a walk. Names are indexed ASCII lower-cased, which
// finds a superset of the candidates whatever the document's quirks mode;
// CSSSelector::matches then decides. A selector with a compound left of its
// subject whose id, class or tag no element of the document has matches
// nothing. A selector with `~`, or with combinators whose candidates sit so
// deep that climbing from each would cost more than a walk of the body, takes
// the walk instead, so no selector costs more than a few passes over the body.
//
// The index holds element pointers: the body's tree must not change while it
// is used, but attributes other than id and class may (the inliner writes
// "style").
#pragma once

#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace zv::css {

class BodySelectorIndex {
public:
    explicit BodySelectorIndex(html::HTMLElement& body);
    ~BodySelectorIndex();
    BodySelectorIndex(const BodySelectorIndex&) = delete;
    BodySelectorIndex& operator=(const BodySelectorIndex&) = delete;

    // The descendants of the body that `selector` matches, in document order;
    // none when it does not parse.
    std::vector<html::HTMLElement*> elementsMatching(std::string_view selector);

    // The elements the queries so far have looked at: the candidates of a
    // keyed query and the ancestors its combinators climb, the whole body for
    // each walk. A caller running sheets it does not trust bounds its work by this.
    size_t elementsVisited() const { return visited_; }

private:
    struct Buckets;

    // The elements of class `name`.
    std::vector<html::HTMLElement*> loneClassMatches(std::string_view name) const;
    std::vector<html::HTMLElement*> walk(const html::CSSSelector& selector);

    html::HTMLElement& body_;
    html::HTMLQuirksMode quirksMode_;  // learned once: a deep body makes it a long walk
    std::unique_ptr<Buckets> buckets_;  // built on the first keyed query
    std::optional<size_t> elementCount_;  // counted on the first walk
    size_t visited_ = 0;
};

}  // namespace zv::css
