#include <zv/html/HTMLElement.h>

#include <zv/html/HTMLDocumentFragment.h>

namespace zv::html {

std::string HTMLAttribute::qualifiedName() const {
    switch (ns) {
    case AttributeNamespace::None: return name;
    case AttributeNamespace::XLink: return "xlink:" + name;
    case AttributeNamespace::XML: return "xml:" + name;
    case AttributeNamespace::XMLNS: return name == "xmlns" ? name : "xmlns:" + name;
    }
    return name;
}

HTMLElement::HTMLElement(std::string_view localName, Namespace ns)
    : HTMLNode(HTMLNodeType::Element), tag_(tagFromName(localName)), ns_(ns) {
    if (tag_ == Tag::Unknown) customName_ = localName;
}

HTMLElement::HTMLElement(Tag tag, Namespace ns) : HTMLNode(HTMLNodeType::Element), tag_(tag), ns_(ns) {}

HTMLElement::~HTMLElement() = default;

static bool hasQualifiedName(const HTMLAttribute& a, std::string_view name) {
    if (a.ns == AttributeNamespace::None) return a.name == name;
    return a.qualifiedName() == name;
}

const std::string* HTMLElement::attribute(std::string_view name) const noexcept {
    for (const auto& a : attributes_)
        if (hasQualifiedName(a, name)) return &a.value;
    return nullptr;
}

void HTMLElement::setAttribute(std::string_view name, std::string_view value) {
    for (auto& a : attributes_) {
        if (hasQualifiedName(a, name)) {
            a.value = value;
            return;
        }
    }
    attributes_.push_back({std::string(name), std::string(value)});
}

void HTMLElement::appendToAttribute(std::string_view name, std::string_view text) {
    for (auto& a : attributes_) {
        if (hasQualifiedName(a, name)) {
            a.value += text;
            return;
        }
    }
    attributes_.push_back({std::string(name), std::string(text)});
}

void HTMLElement::removeAttribute(std::string_view name) {
    std::erase_if(attributes_, [&](const HTMLAttribute& a) { return hasQualifiedName(a, name); });
}

std::string_view HTMLElement::elementId() const noexcept {
    const std::string* v = attribute("id");
    return v ? std::string_view(*v) : std::string_view();
}

std::string_view HTMLElement::className() const noexcept {
    const std::string* v = attribute("class");
    return v ? std::string_view(*v) : std::string_view();
}

HTMLDocumentFragment* HTMLElement::templateContent() {
    if (!is(Tag::template_)) return nullptr;
    if (!templateContent_) templateContent_ = HTMLDocumentFragment::create();
    return templateContent_.get();
}

Ref<HTMLNode> HTMLElement::cloneShallow() const {
    Ref<HTMLElement> copy = tag_ == Tag::Unknown ? make<HTMLElement>(customName_, ns_) : make<HTMLElement>(tag_, ns_);
    copy->attributes_ = attributes_;
    return copy;
}

}  // namespace zv::html
