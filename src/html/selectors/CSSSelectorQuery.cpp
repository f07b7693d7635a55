#include "CSSSelectorQuery.h"

#include "HTMLWorkCounters.h"

#include <vector>

namespace zv::html {

namespace {

using Kind = SimpleSelectorKind;

// Calls enter(element) on each element under `root` in document order, and
// leave(element) once its subtree is done, until enter returns false.
template <class Enter, class Leave>
void walkElements(const HTMLNode& root, Enter enter, Leave leave) {
    const HTMLNode* n = root.firstChild();
    while (n) {
        if (n->isElement()) {
            const auto& element = *static_cast<const HTMLElement*>(n);
            if (!enter(element)) return;
            if (n->firstChild()) {
                n = n->firstChild();
                continue;
            }
            leave(element);
        }
        while (!n->nextSibling()) {
            n = n->parentNode();
            if (!n || n == &root) return;
            leave(*static_cast<const HTMLElement*>(n));
        }
        n = n->nextSibling();
    }
}

// The masks of one complex selector at one element of the current path.
struct Masks {
    uint64_t self = 0;       // the element's own
    uint64_t above = 0;      // the union of its own and its ancestors'
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
};

constexpr size_t kMaxTypes = 32;
constexpr size_t kMaxTracked = 8;

// A :has() whose arguments look only downwards (`:has(img)`, `:has(> p b)`,
// `:has(.a, td > img)`): one pass over the subtree, bottom up, answers it for
// every element. Not worth it when every argument only looks at children
// (`:has(> img)`): each element is some parent's child only once.
bool isDownwardHas(const SimpleSelector& simple) {
    if (simple.kind != Kind::Has) return false;
    bool reachesBelowChildren = false;
    for (const ComplexSelector& argument : simple.list->selectors) {
        reachesBelowChildren |= argument.relativeScope == RelativeScope::Descendants;
        if (argument.compounds.size() > 64) return false;
        for (size_t k = 0; k + 1 < argument.compounds.size(); ++k) {
            Combinator c = argument.compounds[k].toLeft;
            if (c != Combinator::Child && c != Combinator::Descendant) return false;
        }
    }
    return reachesBelowChildren;
}

// What the walk works out ahead for the element it is at: the pseudo-classes
// in the list's compounds and in their :is() and :not(), which are matched on
// that element (not those inside :has() or inside an S, matched on others).
struct Tracked {
    bool types = false;  // past kMaxTypes kinds of children under one parent, the matcher counts
    std::vector<const SimpleSelector*> nthOf;
    std::vector<const SimpleSelector*> has;

    void collect(const CompiledSelectorList& list) {
        for (const ComplexSelector& complex : list.selectors)
            for (const CompoundSelector& compound : complex.compounds)
                for (const SimpleSelector& simple : compound.simples) collect(simple);
    }

    void collect(const SimpleSelector& simple) {
        switch (simple.kind) {
        case Kind::NthOfType:
        case Kind::NthLastOfType: types = true; break;
        case Kind::NthChild:
        case Kind::NthLastChild:
            if (simple.list && nthOf.size() < kMaxTracked) nthOf.push_back(&simple);
            break;
        case Kind::Has:
            if (isDownwardHas(simple) && has.size() < kMaxTracked) has.push_back(&simple);
            break;
        case Kind::Not:
        case Kind::Is: collect(*simple.list); break;
        default: break;
        }
    }
};

class SubtreeQuery {
public:
    SubtreeQuery(const CompiledSelectorList& list, const HTMLNode& root)
        : list_(list), context_(selectorMatchContextFor(root)), width_(list.selectors.size()) {
        for (const ComplexSelector& complex : list.selectors) matchesAnything_ |= !complex.neverMatches;
        tracked_.collect(list);
        amongMatches_.resize(tracked_.nthOf.size());
        knownHas_.resize(tracked_.has.size());
        context_.walked = &walked_;
        // Level 0 is what holds the topmost element: a document, a fragment or nothing.
        grow(32);
    }

    void run(const HTMLNode& root, const std::function<bool(HTMLElement&)>& found) {
        if (!matchesAnything_) return;
        answerHas(root);
        enterAncestorsOf(root);
        size_t order = 0;
        walkElements(
            root,
            [&](const HTMLElement& element) {
                enter(element, &order);
                auto& result = const_cast<HTMLElement&>(element);
                return !matchesCurrent(element) || found(result);
            },
            [&](const HTMLElement&) { --depth_; });
    }

private:
    Masks& masks(size_t level, size_t j) { return masks_[level * width_ + j]; }

    // Computes the element's masks from its parent's level and its earlier
    // siblings', records it as the parent's latest child, and makes it the
    // top of the path. `order` counts the elements under the root, for which
    // the :has() answers are known; null for the root's ancestors.
    // With `placed` false the element's place among its siblings is not
    // known: the matcher works it out when a compound needs it.
    void enter(const HTMLElement& element, size_t* order = nullptr, bool placed = true) {
        countWork(&HTMLWorkCounters::elementsEnteredByQueries);
        size_t parent = depth_;
        size_t mine = ++depth_;
        if (mine >= levels_.size()) grow(2 * levels_.size());
        LevelInfo& parentInfo = levels_[parent];
        walked_ = WalkedElement{};
        if (placed) {
            walked_.element = &element;
            walked_.index = ++parentInfo.childrenSeen;
            walked_.siblingCount = &parentInfo.childCount;
            if (tracked_.types) tallyType(parent, element);
            if (!tracked_.nthOf.empty()) placeAmongMatches(parent, element);
        }
        if (order && !tracked_.has.empty()) recallHas((*order)++);
        startLevel(mine);
        for (size_t j = 0; j < width_; ++j) {
            const ComplexSelector& complex = list_.selectors[j];
            if (!complex.topDown) continue;
            Masks& p = masks(parent, j);
            uint64_t self = compoundsMatching(complex, element, p, placed);
            p.lastChild = self;
            p.children |= self;
            masks(mine, j) = Masks{self, p.above | self, 0, 0};
        }
    }

    void grow(size_t levels) {
        levels_.resize(levels);
        masks_.resize(width_ * levels);
        if (tracked_.types) typeTallies_.resize(levels);
        nthOfCounts_.resize(2 * tracked_.nthOf.size() * levels);
        if (depth_ == 0) startLevel(0);
    }

    // A new element on the path has seen no children yet.
    void startLevel(size_t level) {
        levels_[level] = LevelInfo{};
        if (tracked_.types) typeTallies_[level].clear();  // keeps its capacity for the next element here
        size_t n = tracked_.nthOf.size();
        for (size_t t = 0; t < n; ++t) {
            nthOfCounts_[2 * (level * n + t)] = 0;       // children matching S so far
            nthOfCounts_[2 * (level * n + t) + 1] = -1;  // all of them, when counted
        }
    }

    void tallyType(size_t parent, const HTMLElement& element) {
        std::vector<TypeTally>& tallies = typeTallies_[parent];
        for (TypeTally& tally : tallies) {
            if (hasSameElementType(*tally.exemplar, element)) {
                walked_.typeIndex = ++tally.seen;
                walked_.typeCount = &tally.count;
                return;
            }
        }
        if (tallies.size() == kMaxTypes) return;
        tallies.push_back({&element, 1, -1});
        walked_.typeIndex = 1;
        walked_.typeCount = &tallies.back().count;
    }

    void placeAmongMatches(size_t parent, const HTMLElement& element) {
        size_t n = tracked_.nthOf.size();
        for (size_t t = 0; t < n; ++t) {
            const SimpleSelector* nth = tracked_.nthOf[t];
            int64_t* counts = &nthOfCounts_[2 * (parent * n + t)];
            bool matches = matchesSelectorList(*nth->list, element, context_);
            amongMatches_[t] = {nth, matches ? ++counts[0] : 0, &counts[1]};
        }
        walked_.amongMatches = amongMatches_;
    }

    // Bit t of hasAnswers_[i]: the i-th element under `root` in document
    // order has what tracked_.has[t] asks for. Each argument is matched bottom
    // up: when an element's subtree is done, its children's and descendants'
    // bits are complete, so it knows which of the argument's compounds it
    // can stand for (bit k: compounds k..0 match downwards from it), and
    // passes that on to its parent.
    void answerHas(const HTMLNode& root) {
        if (tracked_.has.empty()) return;
        struct Argument {
            const ComplexSelector* complex;
            uint8_t bit;
        };
        std::vector<Argument> arguments;
        for (size_t t = 0; t < tracked_.has.size(); ++t)
            for (const ComplexSelector& complex : tracked_.has[t]->list->selectors)
                arguments.push_back({&complex, uint8_t(1u << t)});
        // Per open element (and the root first): for each argument, the bits
        // of its element children, then those of all its descendants.
        size_t width = 2 * arguments.size();
        std::vector<uint64_t> open(width, 0);
        std::vector<size_t> openOrder;
        walkElements(
            root,
            [&](const HTMLElement&) {
                open.resize(open.size() + width, 0);
                openOrder.push_back(hasAnswers_.size());
                hasAnswers_.push_back(0);
                return true;
            },
            [&](const HTMLElement& element) {
                size_t mine = open.size() - width;
                size_t parent = mine - width;
                uint8_t answer = 0;
                for (size_t a = 0; a < arguments.size(); ++a) {
                    const ComplexSelector& argument = *arguments[a].complex;
                    uint64_t children = open[mine + 2 * a];
                    uint64_t descendants = open[mine + 2 * a + 1];
                    size_t leftmost = argument.compounds.size() - 2;  // the last is the anchor
                    bool childOnly = argument.compounds[leftmost].toLeft == Combinator::Child;
                    if ((childOnly ? children : descendants) >> leftmost & 1) answer |= arguments[a].bit;
                    uint64_t self = downwardMatches(argument, element, children, descendants);
                    open[parent + 2 * a] |= self;
                    open[parent + 2 * a + 1] |= self | descendants;
                }
                hasAnswers_[openOrder.back()] = answer;
                openOrder.pop_back();
                open.resize(mine);
            });
    }

    // Bit k: `element` matches compound k of the :has() argument, and the
    // compounds right of it match below it.
    uint64_t downwardMatches(const ComplexSelector& argument, const HTMLElement& element, uint64_t children,
                             uint64_t descendants) const {
        uint64_t self = 0;
        for (size_t k = 0; k + 1 < argument.compounds.size(); ++k) {
            if (k > 0) {
                bool childOnly = argument.compounds[k - 1].toLeft == Combinator::Child;
                if (!((childOnly ? children : descendants) >> (k - 1) & 1)) continue;
            }
            if (matchesCompoundSelector(argument.compounds[k], element, context_)) self |= uint64_t(1) << k;
        }
        return self;
    }

    void recallHas(size_t order) {
        for (size_t t = 0; t < tracked_.has.size(); ++t)
            knownHas_[t] = {tracked_.has[t], bool(hasAnswers_[order] >> t & 1)};
        walked_.knownHas = knownHas_;
    }

    // Bit k: compounds k..last match with `element` as compound k. An
    // element entered without its earlier siblings (`placed` false: a root's
    // ancestor) has no sibling masks: a `+` or `~` on its left is matched
    // right to left among its siblings, and only once compound k matches it.
    uint64_t compoundsMatching(const ComplexSelector& complex, const HTMLElement& element, const Masks& parent,
                               bool placed = true) const {
        size_t last = complex.compounds.size() - 1;
        uint64_t self = 0;
        for (size_t k = 0; k <= last; ++k) {
            const CompoundSelector& compound = complex.compounds[k];
            bool bySiblings = !placed && k < last && isSiblingCombinator(compound.toLeft);
            if (k < last && !bySiblings && !(leftSide(compound.toLeft, parent) >> (k + 1) & 1)) continue;
            if (!matchesCompoundSelector(compound, element, context_)) continue;
            if (bySiblings && !matchesLeftOfCompound(complex, k, element, context_)) continue;
            self |= uint64_t(1) << k;
        }
        return self;
    }

    static bool isSiblingCombinator(Combinator c) {
        return c == Combinator::NextSibling || c == Combinator::SubsequentSibling;
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

    // Brings `root` and its ancestors onto the path, since the selector may
    // reach above and beside where the query starts. Their earlier siblings
    // are not entered: that would make a query deep in a wide tree cost the
    // document before it. What a compound asks of an ancestor's siblings
    // (`+`, `~`, its position) is found in place, and only when it asks.
    // Their :has() is not known ahead either: it is scanned.
    void enterAncestorsOf(const HTMLNode& root) {
        if (!root.isElement()) return;
        std::vector<const HTMLElement*> path;
        for (const HTMLNode* n = &root; n && n->isElement(); n = n->parentNode())
            path.push_back(static_cast<const HTMLElement*>(n));
        for (size_t i = path.size(); i-- > 0;) enter(*path[i], nullptr, false);
    }

    const CompiledSelectorList& list_;
    SelectorMatchContext context_;
    WalkedElement walked_;
    size_t width_;  // complex selectors in the list
    bool matchesAnything_ = false;
    Tracked tracked_;
    std::vector<PositionAmongMatches> amongMatches_;  // the current element's, one per tracked_.nthOf
    std::vector<KnownHas> knownHas_;                  // the current element's, one per tracked_.has
    std::vector<uint8_t> hasAnswers_;                 // per element under the root, in document order
    std::vector<Masks> masks_;                        // width_ per level
    std::vector<LevelInfo> levels_;                   // one per element on the current path, after level 0
    std::vector<std::vector<TypeTally>> typeTallies_;  // per level, when the list counts by type
    std::vector<int64_t> nthOfCounts_;                // per level, per tracked `of S`: seen so far, all
    size_t depth_ = 0;
};

}  // namespace

void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found) {
    SubtreeQuery query(list, root);
    query.run(root, found);
}

}  // namespace zv::html
