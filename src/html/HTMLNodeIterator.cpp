#include <zv/html/HTMLNodeIterator.h>

namespace zv::html {

HTMLNode* nextNodeSkippingChildren(const HTMLNode* node, const HTMLNode* root) noexcept {
    for (; node && node != root; node = node->parentNode())
        if (HTMLNode* next = node->nextSibling()) return next;
    return nullptr;
}

HTMLNode* nextNodeInSubtree(const HTMLNode* node, const HTMLNode* root) noexcept {
    if (HTMLNode* child = node->firstChild()) return child;
    return nextNodeSkippingChildren(node, root);
}

}  // namespace zv::html
