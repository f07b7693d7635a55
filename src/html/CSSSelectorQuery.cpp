#include "CSSSelectorQuery.h"

#include <vector>

namespace zv::html {

namespace {

class SubtreeQuery {
public:
    SubtreeQuery(const CompiledSelectorList& list, const HTMLNode& root)
        : list_(list), context_(selectorMatchContextFor(root)), width_(2 * list.selectors.size()) {
        for (const ComplexSelector& complex : list.selectors) {
            hasChains_ = hasChains_ || complex.ancestorChain;
            hasOthers_ = hasOthers_ || (!complex.ancestorChain && !complex.neverMatches);
        }
        // Level 0 stands for the nothing above the topmost ancestor.
        if (hasChains_) levels_.assign(width_ * 16, 0);
    }

    void run(const HTMLNode& root, const std::function<bool(HTMLElement&)>& found) {
        if (!hasChains_ && !hasOthers_) return;
        enterAncestorsOf(root);
        const HTMLNode* n = root.firstChild();
        while (n) {
            if (n->isElement()) {
                auto& element = *const_cast<HTMLElement*>(static_cast<const HTMLElement*>(n));
                pushLevel(element);
                if (matchesTop(element) && !found(element)) return;
                if (n->firstChild()) {
                    n = n->firstChild();
                    continue;
                }
                popLevel();
            }
            while (!n->nextSibling()) {
                n = n->parentNode();
                if (!n || n == &root) return;
                popLevel();
            }
            n = n->nextSibling();
        }
    }

private:
    // The element's masks go on top: for each chain of the list its own mask,
    // then the union of the masks of everything above it and its own.
    void pushLevel(const HTMLElement& element) {
        if (!hasChains_) return;
        size_t parent = top_;
        top_ += width_;
        if (top_ + width_ > levels_.size()) levels_.resize(2 * levels_.size());
        for (size_t j = 0; j < list_.selectors.size(); ++j) {
            const ComplexSelector& complex = list_.selectors[j];
            if (!complex.ancestorChain) continue;
            uint64_t above = levels_[parent + 2 * j + 1];
            uint64_t self = chainMask(complex, element, levels_[parent + 2 * j], above);
            levels_[top_ + 2 * j] = self;
            levels_[top_ + 2 * j + 1] = above | self;
        }
    }

    void popLevel() {
        if (hasChains_) top_ -= width_;
    }

    // Bit k: compounds k..last match with `element` as compound k.
    // `parentSelf` is the parent's mask, `above` the union over all ancestors.
    uint64_t chainMask(const ComplexSelector& complex, const HTMLElement& element, uint64_t parentSelf,
                       uint64_t above) const {
        size_t last = complex.compounds.size() - 1;
        uint64_t self = 0;
        for (size_t k = 0; k <= last; ++k) {
            const CompoundSelector& compound = complex.compounds[k];
            if (k < last) {
                uint64_t needed = compound.toLeft == Combinator::Child ? parentSelf : above;
                if (!(needed >> (k + 1) & 1)) continue;
            }
            if (matchesCompoundSelector(compound, element, context_)) self |= uint64_t(1) << k;
        }
        return self;
    }

    bool matchesTop(const HTMLElement& element) const {
        for (size_t j = 0; j < list_.selectors.size(); ++j) {
            const ComplexSelector& complex = list_.selectors[j];
            bool matches = complex.ancestorChain ? levels_[top_ + 2 * j] & 1
                                                 : matchesComplexSelector(complex, element, context_);
            if (matches) return true;
        }
        return false;
    }

    // The masks of `root` and of its ancestors, topmost first, since the
    // selector may reach above where the query starts.
    void enterAncestorsOf(const HTMLNode& root) {
        if (!hasChains_ || !root.isElement()) return;
        std::vector<const HTMLElement*> path;
        for (const HTMLNode* n = &root; n && n->isElement(); n = n->parentNode())
            path.push_back(static_cast<const HTMLElement*>(n));
        for (size_t i = path.size(); i-- > 0;) pushLevel(*path[i]);
    }

    const CompiledSelectorList& list_;
    SelectorMatchContext context_;
    size_t width_;  // two masks per complex selector of the list
    bool hasChains_ = false;
    bool hasOthers_ = false;
    std::vector<uint64_t> levels_;  // the masks of each element on the current path
    size_t top_ = 0;                // where the current element's masks start
};

}  // namespace

void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found) {
    SubtreeQuery query(list, root);
    query.run(root, found);
}

}  // namespace zv::html
