#include "CSSSelectorQuery.h"

#include <vector>

namespace zv::html {

namespace {

// The masks of one complex selector at one element of the current path.
struct Masks {
    uint64_t self = 0;      // the element's own
    uint64_t above = 0;     // the union of its own and its ancestors'
    uint64_t lastChild = 0;  // the element child the walk visited last
    uint64_t children = 0;   // the union over the element children visited so far
};

// The element children of one type seen so far under one parent.
struct TypeTally {
    const HTMLElement* exemplar;
    int64_t seen;
    int64_t count;  // all of them, -1 until counted
};

struct LevelInfo {
    int64_t childrenSeen = 0;
    int64_t childCount = -1;  // element children, counted when first needed
    // Only when the list counts by type. Past kMaxTypes kinds of children
    // the lookup would cost more than counting; the matcher counts then.
    std::vector<TypeTally> types;
    // For each tracked `of S`: the children matching S so far, and all of them.
    std::vector<int64_t> matchesSeen;
    std::vector<int64_t> matchCounts;

    // Vectors keep their capacity for the next element at this depth.
    void reset(size_t trackedOf) {
        childrenSeen = 0;
        childCount = -1;
        types.clear();
        matchesSeen.assign(trackedOf, 0);
        matchCounts.assign(trackedOf, -1);
    }
};

constexpr size_t kMaxTypes = 32;
constexpr size_t kMaxTrackedOf = 8;

// The :nth-child(… of S) and :nth-last-child(… of S) that are matched on the
// element the walk is at: those in the list's compounds and in their :is()
// and :not(), but not those inside :has() or inside another S.
void collectNthOfSelectors(const CompiledSelectorList& list, std::vector<const SimpleSelector*>& out) {
    for (const ComplexSelector& complex : list.selectors)
        for (const CompoundSelector& compound : complex.compounds)
            for (const SimpleSelector& simple : compound.simples) {
                bool nth = simple.kind == SimpleSelectorKind::NthChild || simple.kind == SimpleSelectorKind::NthLastChild;
                if (nth && simple.list && out.size() < kMaxTrackedOf) out.push_back(&simple);
                if (simple.kind == SimpleSelectorKind::Not || simple.kind == SimpleSelectorKind::Is)
                    collectNthOfSelectors(*simple.list, out);
            }
}
bool countsByType(const CompiledSelectorList& list) {
    for (const ComplexSelector& complex : list.selectors)
        for (const CompoundSelector& compound : complex.compounds)
            for (const SimpleSelector& simple : compound.simples) {
                if (simple.kind == SimpleSelectorKind::NthOfType || simple.kind == SimpleSelectorKind::NthLastOfType)
                    return true;
                if (simple.list && countsByType(*simple.list)) return true;
            }
    return false;
}

class SubtreeQuery {
public:
    SubtreeQuery(const CompiledSelectorList& list, const HTMLNode& root)
        : list_(list), context_(selectorMatchContextFor(root)), width_(list.selectors.size()) {
        for (const ComplexSelector& complex : list.selectors) matchesAnything_ |= !complex.neverMatches;
        tracksTypes_ = countsByType(list);
        collectNthOfSelectors(list, trackedOf_);
        amongMatches_.resize(trackedOf_.size());
        context_.position = &position_;
        // Level 0 is what holds the topmost element: a document, a fragment or nothing.
        masks_.resize(width_ * 16);
        levels_.resize(16);
        levels_[0].reset(trackedOf_.size());
    }

    void run(const HTMLNode& root, const std::function<bool(HTMLElement&)>& found) {
        if (!matchesAnything_) return;
        enterAncestorsOf(root);
        const HTMLNode* n = root.firstChild();
        while (n) {
            if (n->isElement()) {
                auto& element = *const_cast<HTMLElement*>(static_cast<const HTMLElement*>(n));
                enter(element);
                if (matchesCurrent(element) && !found(element)) return;
                if (n->firstChild()) {
                    n = n->firstChild();
                    continue;
                }
                --depth_;
            }
            while (!n->nextSibling()) {
                n = n->parentNode();
                if (!n || n == &root) return;
                --depth_;
            }
            n = n->nextSibling();
        }
    }

private:
    Masks& masks(size_t level, size_t j) { return masks_[level * width_ + j]; }

    // Computes the element's masks from its parent's level and its earlier
    // siblings', records it as the parent's latest child, and makes it the
    // top of the path.
    void enter(const HTMLElement& element) {
        size_t parent = depth_;
        size_t mine = ++depth_;
        if (mine >= levels_.size()) {
            levels_.resize(2 * levels_.size());
            masks_.resize(width_ * levels_.size());
        }
        LevelInfo& parentInfo = levels_[parent];
        position_ = ChildPosition{};
        position_.element = &element;
        position_.index = ++parentInfo.childrenSeen;
        position_.siblingCount = &parentInfo.childCount;
        if (tracksTypes_) tallyType(parentInfo, element);
        if (!trackedOf_.empty()) placeAmongMatches(parentInfo, element);
        levels_[mine].reset(trackedOf_.size());
        for (size_t j = 0; j < width_; ++j) {
            const ComplexSelector& complex = list_.selectors[j];
            if (!complex.topDown) continue;
            Masks& p = masks(parent, j);
            uint64_t self = compoundsMatching(complex, element, p);
            p.lastChild = self;
            p.children |= self;
            masks(mine, j) = Masks{self, p.above | self, 0, 0};
        }
    }

    void tallyType(LevelInfo& parent, const HTMLElement& element) {
        for (TypeTally& tally : parent.types) {
            if (hasSameElementType(*tally.exemplar, element)) {
                position_.typeIndex = ++tally.seen;
                position_.typeCount = &tally.count;
                return;
            }
        }
        if (parent.types.size() == kMaxTypes) return;
        parent.types.push_back({&element, 1, -1});
        position_.typeIndex = 1;
        position_.typeCount = &parent.types.back().count;
    }

    void placeAmongMatches(LevelInfo& parent, const HTMLElement& element) {
        for (size_t t = 0; t < trackedOf_.size(); ++t) {
            bool matches = matchesSelectorList(*trackedOf_[t]->list, element, context_);
            amongMatches_[t] = {trackedOf_[t], matches ? ++parent.matchesSeen[t] : 0, &parent.matchCounts[t]};
        }
        position_.amongMatches = amongMatches_;
    }

    // Bit k: compounds k..last match with `element` as compound k.
    uint64_t compoundsMatching(const ComplexSelector& complex, const HTMLElement& element, const Masks& parent) const {
        size_t last = complex.compounds.size() - 1;
        uint64_t self = 0;
        for (size_t k = 0; k <= last; ++k) {
            const CompoundSelector& compound = complex.compounds[k];
            if (k < last && !(leftSide(compound.toLeft, parent) >> (k + 1) & 1)) continue;
            if (matchesCompoundSelector(compound, element, context_)) self |= uint64_t(1) << k;
        }
        return self;
    }

    // The mask that says what the compounds left of `combinator` matched.
    static uint64_t leftSide(Combinator combinator, const Masks& parent) {
        switch (combinator) {
        case Combinator::Child: return parent.self;
        case Combinator::Descendant: return parent.above;
        case Combinator::NextSibling: return parent.lastChild;
        case Combinator::SubsequentSibling: return parent.children;
        }
        return 0;
    }

    // The element last entered.
    bool matchesCurrent(const HTMLElement& element) {
        for (size_t j = 0; j < width_; ++j) {
            const ComplexSelector& complex = list_.selectors[j];
            bool matches = complex.topDown ? masks(depth_, j).self & 1
                                           : matchesComplexSelector(complex, element, context_);
            if (matches) return true;
        }
        return false;
    }

    // Brings `root` and its ancestors onto the path, each after its earlier
    // siblings, since the selector may reach above and beside where the
    // query starts.
    void enterAncestorsOf(const HTMLNode& root) {
        if (!root.isElement()) return;
        std::vector<const HTMLElement*> path;
        for (const HTMLNode* n = &root; n && n->isElement(); n = n->parentNode())
            path.push_back(static_cast<const HTMLElement*>(n));
        for (size_t i = path.size(); i-- > 0;) {
            const HTMLElement& ancestor = *path[i];
            if (const HTMLNode* parent = ancestor.parentNode()) {
                for (const HTMLNode* s = parent->firstChild(); s != &ancestor; s = s->nextSibling()) {
                    if (!s->isElement()) continue;
                    enter(*static_cast<const HTMLElement*>(s));
                    --depth_;
                }
            }
            enter(ancestor);
        }
    }

    const CompiledSelectorList& list_;
    SelectorMatchContext context_;
    ChildPosition position_;
    size_t width_;  // complex selectors in the list
    bool matchesAnything_ = false;
    bool tracksTypes_ = false;
    std::vector<const SimpleSelector*> trackedOf_;
    std::vector<PositionAmongMatches> amongMatches_;  // the current element's, one per trackedOf_
    std::vector<Masks> masks_;        // width_ per level
    std::vector<LevelInfo> levels_;  // one per element on the current path, after level 0
    size_t depth_ = 0;
};

}  // namespace

void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found) {
    SubtreeQuery query(list, root);
    query.run(root, found);
}

}  // namespace zv::html
