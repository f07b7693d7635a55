#include "HTMLElementStates.h"

#include "ASCIIText.h"

namespace zv::html {

namespace {

HTMLElement* firstLegendChild(const HTMLElement& fieldset) {
    for (HTMLNode* c = fieldset.firstChild(); c; c = c->nextSibling()) {
        auto* e = c->as<HTMLElement>();
        if (e && e->is(Tag::legend)) return e;
    }
    return nullptr;
}

// Inside a <fieldset disabled>, outside that fieldset's first <legend>.
bool isInDisabledFieldset(const HTMLElement& element) {
    const HTMLElement* child = &element;
    for (const HTMLElement* p = element.parentElement(); p; child = p, p = p->parentElement()) {
        if (p->is(Tag::fieldset) && p->hasAttribute("disabled") && child != firstLegendChild(*p)) return true;
    }
    return false;
}

const std::string* languageAttribute(const HTMLElement& element) {
    for (const HTMLAttribute& a : element.attributes())
        if (a.ns == AttributeNamespace::XML && a.name == "lang") return &a.value;
    if (element.htmlNamespace() == Namespace::MathML) return nullptr;
    for (const HTMLAttribute& a : element.attributes())
        if (a.ns == AttributeNamespace::None && a.name == "lang") return &a.value;
    return nullptr;
}

}  // namespace

bool isCheckedByMarkup(const HTMLElement& element) {
    if (element.is(Tag::option)) return element.hasAttribute("selected");
    if (!element.is(Tag::input) || !element.hasAttribute("checked")) return false;
    const std::string* type = element.attribute("type");
    return type && (equalsIgnoringASCIICase(*type, "checkbox") || equalsIgnoringASCIICase(*type, "radio"));
}

namespace {

// The elements that have an enabled or disabled state at all.
bool canBeDisabled(const HTMLElement& element) {
    if (element.htmlNamespace() != Namespace::HTML) return false;
    switch (element.tag()) {
    case Tag::button: case Tag::input: case Tag::select: case Tag::textarea:
    case Tag::fieldset: case Tag::optgroup: case Tag::option:
        return true;
    default:
        return false;
    }
}

}  // namespace

bool isActuallyDisabled(const HTMLElement& element) {
    if (!canBeDisabled(element)) return false;
    if (element.hasAttribute("disabled")) return true;
    switch (element.tag()) {
    case Tag::optgroup: return false;
    case Tag::option: {
        HTMLElement* parent = element.parentElement();
        return parent && parent->is(Tag::optgroup) && parent->hasAttribute("disabled");
    }
    default: return isInDisabledFieldset(element);
    }
}

bool isEnabledFormElement(const HTMLElement& element) {
    return canBeDisabled(element) && !isActuallyDisabled(element);
}

bool isHyperlink(const HTMLElement& element) {
    return (element.is(Tag::a) || element.is(Tag::area)) && element.hasAttribute("href");
}

bool matchesLanguageRanges(const HTMLElement& element, const std::vector<std::string>& ranges) {
    const std::string* language = nullptr;
    for (const HTMLElement* e = &element; e && !language; e = e->parentElement()) language = languageAttribute(*e);
    if (!language || language->empty()) return false;
    for (const std::string& range : ranges) {
        if (range.empty() || !startsWithIgnoringASCIICase(*language, range)) continue;
        if (language->size() == range.size() || (*language)[range.size()] == '-') return true;
    }
    return false;
}

}  // namespace zv::html
