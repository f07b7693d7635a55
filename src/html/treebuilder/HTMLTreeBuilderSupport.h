// Small helpers the tree builder's insertion modes share.
#pragma once

#include "ASCIIText.h"
#include "HTMLTreeBuilder.h"

#include <string_view>

namespace zv::html::treebuilder {

using Type = HTMLTokenType;
using namespace category;
constexpr size_t npos = size_t(-1);

inline std::string_view& textOf(HTMLToken& token) { return static_cast<HTMLCharacterToken&>(token).characters; }
inline HTMLTagToken& tagOf(HTMLToken& token) { return static_cast<HTMLTagToken&>(token); }

inline size_t leadingWhitespace(std::string_view text) {
    size_t n = 0;
    while (n < text.size() && isASCIIWhitespace(text[n])) ++n;
    return n;
}

inline bool isAllWhitespace(std::string_view text) { return leadingWhitespace(text) == text.size(); }

// An HTML element of the token's name; unknown names compare as strings.
inline bool hasTokenName(const HTMLElementStack::Entry& entry, const HTMLTagToken& token) {
    if (!entry.isHTML() || entry.tag != token.tag) return false;
    return token.tag != Tag::Unknown || entry.element->localName() == token.tagName;
}

inline bool isHiddenInput(const HTMLTagToken& token) {
    const std::string* type = token.attribute("type");
    return type && equalsIgnoringASCIICase(*type, "hidden");
}

// A new element with the same name, namespace and attributes: "create an
// element for the token for which the element was created".
inline Ref<HTMLElement> shallowCopy(const HTMLElement& element) {
    Ref<HTMLElement> copy = element.tag() != Tag::Unknown
                                ? make<HTMLElement>(element.tag(), element.htmlNamespace())
                                : make<HTMLElement>(element.localName(), element.htmlNamespace());
    copy->reserveAttributes(element.attributes().size());
    for (const auto& attribute : element.attributes()) copy->appendAttribute(attribute);
    return copy;
}

inline HTMLNode* nextInSubtree(HTMLNode* node, const HTMLNode* root) {
    if (HTMLNode* child = node->firstChild()) return child;
    for (; node && node != root; node = node->parentNode())
        if (HTMLNode* next = node->nextSibling()) return next;
    return nullptr;
}

}  // namespace zv::html::treebuilder
