// An element: a name in a namespace, ordered attributes, children.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>
#include <zv/html/HTMLTagNames.h>
#include <zv/html/PooledAllocator.h>

#include <string>
#include <string_view>
#include <vector>

namespace zv::html {

class HTMLDocumentFragment;

// Only attributes adjusted by the parser in foreign content carry a namespace;
// their qualified name is the prefix, ":" and `name` ("xlink:href").
enum class AttributeNamespace : uint8_t { None, XLink, XML, XMLNS };

struct ZV_EXPORT HTMLAttribute {
    std::string name;  // the local name
    std::string value;
    AttributeNamespace ns = AttributeNamespace::None;

    std::string qualifiedName() const;
};

// An element's attributes, in order. Pooled like the nodes themselves.
using HTMLAttributeList = std::vector<HTMLAttribute, PooledAllocator<HTMLAttribute>>;

class ZV_EXPORT HTMLElement : public HTMLNode {
public:
    HTMLElement(std::string_view localName, Namespace ns = Namespace::HTML);
    HTMLElement(Tag tag, Namespace ns = Namespace::HTML);
    ~HTMLElement() override;
    static Ref<HTMLElement> create(std::string_view localName, Namespace ns = Namespace::HTML) {
        return make<HTMLElement>(localName, ns);
    }

    std::string_view localName() const noexcept {
        return tag_ == Tag::Unknown ? std::string_view(customName_) : zv::html::tagName(tag_);
    }
    // The element's name as parsed (lower case for HTML elements).
    std::string_view tagName() const noexcept { return localName(); }
    std::string_view name() const noexcept { return localName(); }
    Tag tag() const noexcept { return tag_; }
    Namespace htmlNamespace() const noexcept { return ns_; }
    // An HTML-namespace element with this tag.
    bool is(Tag tag) const noexcept { return tag_ == tag && ns_ == Namespace::HTML; }

    const HTMLAttributeList& attributes() const noexcept { return attributes_; }
    // The value of the attribute with this qualified name, or null.
    const std::string* attribute(std::string_view name) const noexcept;
    bool hasAttribute(std::string_view name) const noexcept { return attribute(name) != nullptr; }
    // Adds the attribute at the end, or replaces the value in place.
    void setAttribute(std::string_view name, std::string_view value);
    // Appends `text` to the value, adding the attribute when absent. The value
    // grows in place, so many appends cost their total length, not its square.
    void appendToAttribute(std::string_view name, std::string_view text);
    void removeAttribute(std::string_view name);
    // Adds without checking for an existing one: for the parser, whose
    // tokens are already free of duplicates.
    void appendAttribute(HTMLAttribute attribute) { attributes_.push_back(std::move(attribute)); }
    // The same, built in place: each string is moved once instead of twice.
    void appendAttribute(std::string&& name, std::string&& value) {
        // Assigned, not constructed from the pair: clang before 16 has no
        // parenthesized aggregate initialisation.
        HTMLAttribute& attribute = attributes_.emplace_back();
        attribute.name = std::move(name);
        attribute.value = std::move(value);
    }
    // Room for `count` attributes, so the parser allocates once per element.
    void reserveAttributes(size_t count) { attributes_.reserve(count); }

    // "id" and "class", empty when absent.
    std::string_view elementId() const noexcept;
    std::string_view className() const noexcept;

    // Parses `html` as a fragment with this element as context and makes the
    // result this element's children (or its template contents).
    void setInnerHTML(std::string_view html);

    // The contents of a <template> element (created on first use); null for others.
    HTMLDocumentFragment* templateContent();
    const HTMLDocumentFragment* templateContent() const noexcept { return templateContent_.get(); }

    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::Element; }

protected:
    Ref<HTMLNode> cloneShallow() const override;

private:
    friend void destroyNode(const RefCounted*) noexcept;

    Tag tag_;
    Namespace ns_;
    std::string customName_;  // only for Tag::Unknown
    HTMLAttributeList attributes_;
    Ref<HTMLDocumentFragment> templateContent_;
};

}  // namespace zv::html
