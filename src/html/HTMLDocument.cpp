#include <zv/html/HTMLDocument.h>

#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include "ASCIIText.h"

namespace zv::html {

HTMLDocumentType* HTMLDocument::documentType() const noexcept {
    for (HTMLNode* c = firstChild(); c; c = c->nextSibling())
        if (auto* doctype = c->as<HTMLDocumentType>()) return doctype;
    return nullptr;
}

HTMLElement* HTMLDocument::documentElement() const noexcept {
    return firstElementChild();
}

static HTMLElement* childOfRoot(const HTMLDocument& document, Tag a, Tag b) {
    HTMLElement* root = document.documentElement();
    if (!root || !root->is(Tag::html)) return nullptr;
    for (HTMLNode* c = root->firstChild(); c; c = c->nextSibling()) {
        auto* element = c->as<HTMLElement>();
        if (element && (element->is(a) || element->is(b))) return element;
    }
    return nullptr;
}

HTMLElement* HTMLDocument::head() const noexcept {
    return childOfRoot(*this, Tag::head, Tag::head);
}

// As the DOM has it, a <frameset> is the body of a frameset document.
HTMLElement* HTMLDocument::body() const noexcept {
    return childOfRoot(*this, Tag::body, Tag::frameset);
}

std::string HTMLDocument::title() const {
    const HTMLElement* titleElement = nullptr;
    for (HTMLNode* n = firstChild(); n && !titleElement; n = nextNodeInSubtree(n, this)) {
        auto* element = n->as<HTMLElement>();
        if (element && element->is(Tag::title)) titleElement = element;
    }
    if (!titleElement) return {};
    std::string collapsed;
    bool pendingSpace = false;
    for (char c : titleElement->textContent()) {
        if (isASCIIWhitespace(c)) {
            pendingSpace = !collapsed.empty();
            continue;
        }
        if (pendingSpace) collapsed += ' ';
        pendingSpace = false;
        collapsed += c;
    }
    return collapsed;
}

Ref<HTMLNode> HTMLDocument::cloneShallow() const {
    Ref<HTMLDocument> copy = create();
    copy->setQuirksMode(quirksMode_);
    return copy;
}

}  // namespace zv::html
