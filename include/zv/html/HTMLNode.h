// The node of the HTML document tree.
//
// Children form a doubly linked list owned by their parent (each child holds
// one reference from it). Every walk over a subtree here is iterative, so
// documents nested tens of thousands deep neither overflow the stack when
// serialised nor when they are freed.
#pragma once

#include <zv/Export.h>

#include <zv/html/Ref.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zv::html {

class HTMLElement;
class HTMLDocument;
class CSSSelector;

enum class HTMLNodeType : uint8_t {
    Element = 1,
    Text = 3,
    Comment = 8,
    Document = 9,
    DocumentType = 10,
    DocumentFragment = 11,
};

class ZV_EXPORT HTMLNode : public RefCounted {
public:
    virtual ~HTMLNode();

    // Nodes come from pooled free lists rather than the general heap.
    static void* operator new(size_t size);
    static void operator delete(void* memory, size_t size) noexcept;

    HTMLNodeType nodeType() const noexcept { return type_; }
    bool isElement() const noexcept { return type_ == HTMLNodeType::Element; }
    bool isText() const noexcept { return type_ == HTMLNodeType::Text; }
    // "#text", "#comment", "#document", the element's tag name, …
    std::string nodeName() const;

    HTMLNode* parentNode() const noexcept { return parent_; }
    HTMLElement* parentElement() const noexcept;
    HTMLNode* firstChild() const noexcept { return firstChild_; }
    HTMLNode* lastChild() const noexcept { return lastChild_; }
    HTMLNode* previousSibling() const noexcept { return prev_; }
    HTMLNode* nextSibling() const noexcept { return next_; }
    HTMLElement* firstElementChild() const noexcept;
    // The topmost ancestor (the node itself when detached).
    HTMLNode* rootNode() const noexcept;
    // The document this node is attached to, if any.
    HTMLDocument* ownerDocument() const noexcept;

    bool hasChildNodes() const noexcept { return firstChild_ != nullptr; }
    // A snapshot of the children; mutating the tree does not change it.
    std::vector<HTMLNode*> childNodes() const;
    size_t childNodesCount() const noexcept;
    HTMLNode* childNodeAtIndex(size_t index) const noexcept;
    size_t indexOfChildNode(const HTMLNode* child) const noexcept;  // npos-like SIZE_MAX when absent
    // Calls `fn` on each direct child; it may return false to stop.
    void enumerateChildNodes(const std::function<bool(HTMLNode&)>& fn) const;

    // True when `node` is this node or inside its subtree.
    bool containsNode(const HTMLNode* node) const noexcept;

    // Tree mutation. A node being inserted is first removed from its old place;
    // inserting a fragment moves the fragment's children. Inserting a node into
    // its own subtree, or a node that cannot have that parent, does nothing and
    // returns null. An absent reference child appends.
    HTMLNode* appendNode(Ref<HTMLNode> node);
    HTMLNode* insertNode(Ref<HTMLNode> node, HTMLNode* beforeChildNode);
    HTMLNode* prependNode(Ref<HTMLNode> node);
    HTMLNode* replaceChildNode(HTMLNode* child, Ref<HTMLNode> replacement);
    void removeChildNode(HTMLNode* child);
    void removeFromParentNode();
    void removeAllChildNodes();
    // Moves every child of this node to the end of `newParent`.
    void reparentChildNodesIntoNode(HTMLNode* newParent);

    // A copy of the node; with `deep`, of its whole subtree too. The copy is detached.
    Ref<HTMLNode> cloneNodeDeep(bool deep) const;

    // The concatenated text of all descendant text nodes (the data of a text
    // or comment node itself).
    std::string textContent() const;
    // Replaces all children with one text node (none for an empty string).
    void setTextContent(std::string_view text);

    // The HTML serialization of the node and of its children.
    std::string outerHTML() const;
    std::string innerHTML() const;

    // Selector queries (see CSSSelector.h). They look at the descendants of
    // this node, not the node itself, in document order; a selector that does
    // not parse finds nothing. Template contents are not descendants.
    HTMLElement* querySelector(std::string_view selector) const;
    std::vector<HTMLElement*> querySelectorAll(std::string_view selector) const;
    HTMLElement* firstElementMatchingSelector(const CSSSelector& selector) const;
    std::vector<HTMLElement*> elementsMatchingSelector(const CSSSelector& selector) const;

    // Type tests and checked casts.
    template <class T>
    T* as() noexcept { return T::isKind(*this) ? static_cast<T*>(this) : nullptr; }
    template <class T>
    const T* as() const noexcept { return T::isKind(*this) ? static_cast<const T*>(this) : nullptr; }

protected:
    explicit HTMLNode(HTMLNodeType type) noexcept : type_(type) {}
    // The shallow copy that cloneNodeDeep builds on.
    virtual Ref<HTMLNode> cloneShallow() const = 0;
    friend class HTMLDocument;

private:
    friend void destroyNode(const RefCounted*) noexcept;
    friend class HTMLTreeBuilder;
    // The parser's insertion: it never builds a cycle or an impossible parent,
    // so the walk up to the root that canAdopt does is skipped. Moving nodes
    // deep in misnested markup would otherwise cost the depth every time.
    void insertParsedNode(Ref<HTMLNode> node, HTMLNode* before) noexcept;
    bool canHaveChildren() const noexcept;
    bool canAdopt(const HTMLNode& child) const noexcept;
    void link(HTMLNode* node, HTMLNode* before) noexcept;
    void unlink(HTMLNode* child) noexcept;

    HTMLNodeType type_;
    HTMLNode* parent_ = nullptr;
    HTMLNode* firstChild_ = nullptr;
    HTMLNode* lastChild_ = nullptr;
    HTMLNode* prev_ = nullptr;
    HTMLNode* next_ = nullptr;
};

}  // namespace zv::html
