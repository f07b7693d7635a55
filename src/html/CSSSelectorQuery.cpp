#include "CSSSelectorQuery.h"

#include <vector>

namespace zv::html {

namespace {

// Up to 64 compounds fit the masks; longer chains are matched right to left.
bool isAncestorChain(const ComplexSelector& complex) {
    if (complex.neverMatches || complex.compounds.size() > 64) return false;
    for (size_t k = 0; k + 1 < complex.compounds.size(); ++k) {
        Combinator c = complex.compounds[k].toLeft;
        if (c != Combinator::Descendant && c != Combinator::Child) return false;
    }
    return true;
}

class SubtreeQuery {
public:
    SubtreeQuery(const CompiledSelectorList& list, const HTMLNode& root)
        : context_(selectorMatchContextFor(root)) {
        for (const ComplexSelector& complex : list.selectors) {
            if (complex.neverMatches) continue;
            (isAncestorChain(complex) ? chains_ : others_).push_back(&complex);
        }
        // Level 0 stands for the nothing above the topmost ancestor.
        levels_.assign(2 * chains_.size(), 0);
    }

    void run(const HTMLNode& root, const std::function<bool(HTMLElement&)>& found) {
        if (chains_.empty() && others_.empty()) return;
        enterAncestorsOf(root);
        const HTMLNode* n = root.firstChild();
        while (n) {
            if (n->isElement()) {
                auto& element = *const_cast<HTMLElement*>(static_cast<const HTMLElement*>(n));
                size_t level = pushLevel(element);
                if (matchesTop(element, level) && !found(element)) return;
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
    size_t chainCount() const { return chains_.size(); }

    // The element's masks go on top: for each chain its own mask, then the
    // union of the masks of everything above it and its own.
    size_t pushLevel(const HTMLElement& element) {
        size_t n = chainCount();
        if (n == 0) return 0;
        size_t parent = levels_.size() - 2 * n;
        levels_.resize(levels_.size() + 2 * n);
        size_t mine = parent + 2 * n;
        for (size_t j = 0; j < n; ++j) {
            uint64_t parentSelf = levels_[parent + 2 * j];
            uint64_t above = levels_[parent + 2 * j + 1];
            uint64_t self = chainMask(*chains_[j], element, parentSelf, above);
            levels_[mine + 2 * j] = self;
            levels_[mine + 2 * j + 1] = above | self;
        }
        return mine;
    }

    void popLevel() {
        if (size_t n = chainCount()) levels_.resize(levels_.size() - 2 * n);
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

    bool matchesTop(const HTMLElement& element, size_t level) const {
        for (size_t j = 0; j < chainCount(); ++j)
            if (levels_[level + 2 * j] & 1) return true;
        for (const ComplexSelector* complex : others_)
            if (matchesComplexSelector(*complex, element, context_)) return true;
        return false;
    }

    // The masks of `root` and of its ancestors, topmost first, since the
    // selector may reach above where the query starts.
    void enterAncestorsOf(const HTMLNode& root) {
        if (chains_.empty()) return;
        std::vector<const HTMLElement*> path;
        for (const HTMLNode* n = &root; n && n->isElement(); n = n->parentNode())
            path.push_back(static_cast<const HTMLElement*>(n));
        for (size_t i = path.size(); i-- > 0;) pushLevel(*path[i]);
    }

    SelectorMatchContext context_;
    std::vector<const ComplexSelector*> chains_;
    std::vector<const ComplexSelector*> others_;
    std::vector<uint64_t> levels_;  // 2 masks per chain per element on the current path
};

}  // namespace

void forEachElementMatching(const CompiledSelectorList& list, const HTMLNode& root,
                            const std::function<bool(HTMLElement&)>& found) {
    SubtreeQuery query(list, root);
    query.run(root, found);
}

}  // namespace zv::html
