// Walks a subtree in document order (pre-order), the root first.
//
// The iterator remembers only the node it will return next: change the tree
// behind it freely, but not at or ahead of that node.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

namespace zv::html {

// The node after `node` in document order within `root`'s subtree, or null.
ZV_EXPORT HTMLNode* nextNodeInSubtree(const HTMLNode* node, const HTMLNode* root) noexcept;
// Like nextNodeInSubtree, but skips `node`'s own descendants.
ZV_EXPORT HTMLNode* nextNodeSkippingChildren(const HTMLNode* node, const HTMLNode* root) noexcept;

class ZV_EXPORT HTMLNodeIterator {
public:
    explicit HTMLNodeIterator(HTMLNode* root) noexcept : root_(root), next_(root) {}
    HTMLNode* nextNode() noexcept {
        HTMLNode* n = next_;
        if (n) next_ = nextNodeInSubtree(n, root_);
        return n;
    }

private:
    HTMLNode* root_;
    HTMLNode* next_;
};

}  // namespace zv::html
