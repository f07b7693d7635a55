#include <zv/text/DOMConstruction.h>

namespace zv {

namespace {

html::Ref<html::HTMLElement> makeElement(std::string_view tag, std::string_view className, std::string_view elementId) {
    html::Ref<html::HTMLElement> element = html::HTMLElement::create(tag);
    element->setAttribute("class", className);
    if (!elementId.empty()) element->setAttribute("id", elementId);
    return element;
}

html::HTMLElement* attach(html::HTMLNode& parent, html::Ref<html::HTMLElement> element, const ElementSetup& setup) {
    html::HTMLElement* attached = element.get();
    if (!parent.appendNode(std::move(element))) return nullptr;
    if (setup) setup(*attached);
    return attached;
}

}  // namespace

html::HTMLElement* addElement(html::HTMLNode& parent, std::string_view tag, std::string_view className,
                              std::string_view elementId, const ElementSetup& setup) {
    return attach(parent, makeElement(tag, className, elementId), setup);
}

html::HTMLElement* addElement(html::HTMLNode& parent, std::string_view tag, const ElementSetup& setup) {
    return attach(parent, html::HTMLElement::create(tag), setup);
}

html::Ref<html::HTMLElement> newWithTag(std::string_view tag, std::string_view className, std::string_view elementId,
                                        const ElementSetup& setup) {
    html::Ref<html::HTMLElement> element = makeElement(tag, className, elementId);
    if (setup) setup(*element);
    return element;
}

html::Ref<html::HTMLElement> newWithTag(std::string_view tag, const ElementSetup& setup) {
    html::Ref<html::HTMLElement> element = html::HTMLElement::create(tag);
    if (setup) setup(*element);
    return element;
}

const std::string* src(const html::HTMLElement& element) { return element.attribute("src"); }

void setSrc(html::HTMLElement& element, std::string_view source) { element.setAttribute("src", source); }

}  // namespace zv
