#include <zv/html/HTMLNode.h>

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>
#include <zv/html/HTMLSerializer.h>
#include "HTMLWorkCounters.h"

#include "NodeAllocator.h"

#include <cstdint>
#include <vector>

namespace zv::html {

HTMLNode::~HTMLNode() = default;

void* HTMLNode::operator new(size_t size) { return allocatePooledMemory(size); }
void HTMLNode::operator delete(void* memory, size_t size) noexcept { freePooledMemory(memory, size); }

// Frees a subtree without recursion, each node as soon as its children are
// gone, so it is touched once while still in the caches. The walk goes
// backwards through the document: the allocator hands freed memory out
// last-freed first, so the next tree is laid out forwards again. The parent
// link of a node being freed leads back up; children that are still
// referenced elsewhere are only detached.
void destroyNode(const RefCounted* counted) noexcept {
    auto* const root = static_cast<HTMLNode*>(const_cast<RefCounted*>(counted));
    HTMLNode* node = root;
    for (;;) {
        HTMLNode* released = nullptr;
        while (HTMLNode* child = node->lastChild_) {
            node->lastChild_ = child->prev_;
            child->prev_ = child->next_ = nullptr;
            if (child->releaseRef()) {
                released = child;
                break;
            }
            child->parent_ = nullptr;
        }
        if (!released) {
            node->firstChild_ = nullptr;
            if (auto* element = node->as<HTMLElement>()) {
                HTMLNode* content = element->templateContent_.leak();
                if (content && content->releaseRef()) {
                    content->parent_ = node;
                    released = content;
                }
            }
        }
        if (released) {
            node = released;
            continue;
        }
        HTMLNode* parent = node == root ? nullptr : node->parent_;
        // Text nodes alternate with elements through a document; freeing them
        // by a direct call (the class is final) leaves the virtual destructor
        // one target it mostly goes to, which the processor predicts.
        if (node->isText())
            delete static_cast<HTMLText*>(node);
        else
            delete node;
        if (!parent) return;
        node = parent;
    }
}

std::string HTMLNode::nodeName() const {
    switch (type_) {
    case HTMLNodeType::Element: return std::string(static_cast<const HTMLElement*>(this)->tagName());
    case HTMLNodeType::Text: return "#text";
    case HTMLNodeType::Comment: return "#comment";
    case HTMLNodeType::Document: return "#document";
    case HTMLNodeType::DocumentType: return static_cast<const HTMLDocumentType*>(this)->name();
    case HTMLNodeType::DocumentFragment: return "#document-fragment";
    }
    return {};
}

HTMLElement* HTMLNode::parentElement() const noexcept {
    return parent_ ? parent_->as<HTMLElement>() : nullptr;
}

HTMLElement* HTMLNode::firstElementChild() const noexcept {
    for (HTMLNode* c = firstChild_; c; c = c->next_)
        if (c->isElement()) return static_cast<HTMLElement*>(c);
    return nullptr;
}

HTMLNode* HTMLNode::rootNode() const noexcept {
    auto* n = const_cast<HTMLNode*>(this);
    uint64_t steps = 0;
    for (; n->parent_; ++steps) n = n->parent_;
    countWork(&HTMLWorkCounters::stepsTowardsDocument, steps);
    return n;
}

HTMLDocument* HTMLNode::ownerDocument() const noexcept {
    return rootNode()->as<HTMLDocument>();
}

std::vector<HTMLNode*> HTMLNode::childNodes() const {
    std::vector<HTMLNode*> nodes;
    for (HTMLNode* c = firstChild_; c; c = c->next_) nodes.push_back(c);
    return nodes;
}

size_t HTMLNode::childNodesCount() const noexcept {
    size_t n = 0;
    for (HTMLNode* c = firstChild_; c; c = c->next_) ++n;
    return n;
}

HTMLNode* HTMLNode::childNodeAtIndex(size_t index) const noexcept {
    HTMLNode* c = firstChild_;
    while (c && index--) c = c->next_;
    return c;
}

size_t HTMLNode::indexOfChildNode(const HTMLNode* child) const noexcept {
    size_t i = 0;
    for (HTMLNode* c = firstChild_; c; c = c->next_, ++i)
        if (c == child) return i;
    return SIZE_MAX;
}

void HTMLNode::enumerateChildNodes(const std::function<bool(HTMLNode&)>& fn) const {
    // Take the next sibling first so the callback may remove the child it gets.
    for (HTMLNode* c = firstChild_; c;) {
        HTMLNode* next = c->next_;
        if (!fn(*c)) return;
        c = next;
    }
}

bool HTMLNode::containsNode(const HTMLNode* node) const noexcept {
    for (; node; node = node->parent_)
        if (node == this) return true;
    return false;
}

bool HTMLNode::canHaveChildren() const noexcept {
    return type_ != HTMLNodeType::Text && type_ != HTMLNodeType::Comment && type_ != HTMLNodeType::DocumentType;
}

bool HTMLNode::canAdopt(const HTMLNode& child) const noexcept {
    if (!canHaveChildren()) return false;
    switch (child.type_) {
    case HTMLNodeType::Document:
    case HTMLNodeType::DocumentFragment:
        return false;
    case HTMLNodeType::DocumentType:
        if (type_ != HTMLNodeType::Document) return false;
        break;
    default:
        break;
    }
    // A childless node can only contain itself; testing that first keeps
    // appending fresh nodes deep in a tree from walking up to the root.
    if (&child == this) return false;
    return !child.firstChild_ || !child.containsNode(this);
}

void HTMLNode::link(HTMLNode* node, HTMLNode* before) noexcept {
    node->retain();
    node->parent_ = this;
    node->next_ = before;
    node->prev_ = before ? before->prev_ : lastChild_;
    (node->prev_ ? node->prev_->next_ : firstChild_) = node;
    (before ? before->prev_ : lastChild_) = node;
}

void HTMLNode::unlink(HTMLNode* child) noexcept {
    (child->prev_ ? child->prev_->next_ : firstChild_) = child->next_;
    (child->next_ ? child->next_->prev_ : lastChild_) = child->prev_;
    child->parent_ = child->prev_ = child->next_ = nullptr;
    if (child->releaseRef()) destroyNode(child);
}

HTMLNode* HTMLNode::insertNode(Ref<HTMLNode> node, HTMLNode* beforeChildNode) {
    if (!node) return nullptr;
    if (beforeChildNode && beforeChildNode->parent_ != this) return nullptr;
    if (node->type_ == HTMLNodeType::DocumentFragment) {
        if (containsNode(node.get())) return nullptr;
        while (HTMLNode* c = node->firstChild_) insertNode(c, beforeChildNode);
        return node.get();
    }
    if (!canAdopt(*node)) return nullptr;
    if (node.get() == beforeChildNode) return node.get();
    if (node->parent_) node->parent_->unlink(node.get());  // `node` keeps it alive
    link(node.get(), beforeChildNode);
    return node.get();
}

void HTMLNode::insertParsedNode(Ref<HTMLNode> node, HTMLNode* before) noexcept {
    if (node->parent_) node->parent_->unlink(node.get());
    link(node.get(), before);
}

HTMLNode* HTMLNode::appendNode(Ref<HTMLNode> node) {
    return insertNode(std::move(node), nullptr);
}

HTMLNode* HTMLNode::prependNode(Ref<HTMLNode> node) {
    return insertNode(std::move(node), firstChild_);
}

HTMLNode* HTMLNode::replaceChildNode(HTMLNode* child, Ref<HTMLNode> replacement) {
    if (!child || child->parent_ != this) return nullptr;
    Ref<HTMLNode> keep(child);
    HTMLNode* inserted = insertNode(std::move(replacement), child);
    if (inserted) removeChildNode(child);
    return inserted;
}

void HTMLNode::removeChildNode(HTMLNode* child) {
    if (child && child->parent_ == this) unlink(child);
}

void HTMLNode::removeFromParentNode() {
    if (parent_) parent_->unlink(this);
}

void HTMLNode::removeAllChildNodes() {
    while (lastChild_) unlink(lastChild_);
}

void HTMLNode::reparentChildNodesIntoNode(HTMLNode* newParent) {
    // One ancestor check covers every child: none of them can contain
    // `newParent` unless this node does.
    if (!newParent || containsNode(newParent) || !newParent->canHaveChildren()) return;
    if (type_ == HTMLNodeType::Document && newParent->type_ != HTMLNodeType::Document) {
        // A doctype cannot leave a document; insertNode refuses it and it stays.
        for (HTMLNode* c = firstChild_; c;) {
            HTMLNode* next = c->next_;
            newParent->insertNode(c, nullptr);
            c = next;
        }
        return;
    }
    while (HTMLNode* c = firstChild_) newParent->insertParsedNode(c, nullptr);
}

Ref<HTMLNode> HTMLNode::cloneNodeDeep(bool deep) const {
    Ref<HTMLNode> copy = cloneShallow();
    if (!deep) return copy;
    // Pairs of (original container, its copy) whose children still need copying.
    std::vector<std::pair<const HTMLNode*, HTMLNode*>> pending{{this, copy.get()}};
    while (!pending.empty()) {
        auto [from, to] = pending.back();
        pending.pop_back();
        if (auto* element = from->as<HTMLElement>(); element && element->templateContent())
            pending.emplace_back(element->templateContent(), static_cast<HTMLElement*>(to)->templateContent());
        for (const HTMLNode* c = from->firstChild_; c; c = c->next_) {
            Ref<HTMLNode> childCopy = c->cloneShallow();
            to->link(childCopy.get(), nullptr);
            if (c->firstChild_ || (c->isElement() && static_cast<const HTMLElement*>(c)->templateContent()))
                pending.emplace_back(c, childCopy.get());
        }
    }
    return copy;
}

std::string HTMLNode::textContent() const {
    if (auto* data = as<HTMLCharacterData>()) return data->data();
    std::string text;
    for (const HTMLNode* n = firstChild_; n; n = nextNodeInSubtree(n, this))
        if (n->isText()) text += static_cast<const HTMLText*>(n)->data();
    return text;
}

void HTMLNode::setTextContent(std::string_view text) {
    if (auto* data = as<HTMLCharacterData>()) {
        data->setData(std::string(text));
        return;
    }
    if (type_ == HTMLNodeType::DocumentType) return;
    removeAllChildNodes();
    if (!text.empty() && type_ != HTMLNodeType::Document) appendNode(HTMLText::create(std::string(text)));
}

std::string HTMLNode::outerHTML() const {
    return serializeNode(*this);
}

std::string HTMLNode::innerHTML() const {
    return serializeChildren(*this);
}

}  // namespace zv::html
