// The last two kinds are recognised by asking the parser itself: the markup
// a tree would be written as is parsed again, alone, and compared.
#include "ReparseChanges.h"

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <functional>
#include <string>
#include <vector>

namespace zv::fuzz {

using namespace zv::html;

namespace {

// An element and those around it, the root element first. Template
// contents count as inside their template.
using Ancestry = std::vector<const HTMLElement*>;

// Calls `visit(ancestry)` for every element in document order until it
// returns true. Iterative: fuzzed documents nest deeper than a stack allows.
bool anyElement(const HTMLNode& root, const std::function<bool(const Ancestry&)>& visit) {
    struct Pending {
        const HTMLNode* node;
        size_t depth;  // of the parent's ancestry
    };
    std::vector<Pending> pending;
    Ancestry ancestry;
    auto pushChildren = [&](const HTMLNode& parent) {
        for (const HTMLNode* child = parent.lastChild(); child; child = child->previousSibling())
            pending.push_back({child, ancestry.size()});
    };
    pushChildren(root);
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        const auto* element = node->as<HTMLElement>();
        if (!element)
            continue;
        ancestry.resize(depth);
        ancestry.push_back(element);
        if (visit(ancestry))
            return true;
        const HTMLDocumentFragment* content = element->templateContent();
        pushChildren(content ? static_cast<const HTMLNode&>(*content) : *element);
    }
    return false;
}

bool sameElementKind(const HTMLElement& a, const HTMLElement& b) {
    return a.localName() == b.localName() && a.htmlNamespace() == b.htmlNamespace();
}

bool sameAncestry(const Ancestry& a, const Ancestry& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (!sameElementKind(*a[i], *b[i]))
            return false;
    }
    return true;
}

// The element's start tag as the serializer writes it.
std::string startTag(const HTMLElement& element) {
    Ref<HTMLNode> shallow = element.cloneNodeDeep(false);
    std::string html = serializeNode(*shallow);
    return html.substr(0, html.find('>') + 1);  // the serializer escapes ">" in attribute values
}

// Whether the start tags of the element and of those around it, parsed in
// the document's mode, put it back where it is.
bool markupRebuildsNesting(const Ancestry& ancestry, const std::string& doctype) {
    std::string markup = doctype;
    for (const HTMLElement* element : ancestry)
        markup += startTag(*element);
    Ref<HTMLDocument> rebuilt = HTMLDocument::documentWithString(markup);
    // The element's own start tag came last; implied elements (a <body>
    // after <html>) may follow it, but under other names.
    Ancestry counterpart;
    anyElement(*rebuilt, [&](const Ancestry& candidate) {
        if (sameElementKind(*candidate.back(), *ancestry.back()))
            counterpart = candidate;
        return false;
    });
    return sameAncestry(ancestry, counterpart);
}

bool startsWithNewline(const HTMLElement& element) {
    if (!element.is(Tag::pre) && !element.is(Tag::textarea) && !element.is(Tag::listing))
        return false;
    const auto* text = element.firstChild() ? element.firstChild()->as<HTMLText>() : nullptr;
    return text && text->data().starts_with('\n');
}

bool holdsRawText(const HTMLElement& element) {
    for (Tag tag : {Tag::script, Tag::style, Tag::xmp, Tag::iframe, Tag::noembed, Tag::noframes}) {
        if (element.is(tag))
            return true;
    }
    return false;
}

bool endTagEndsText(const HTMLElement& element) {
    const std::string name(element.localName());
    const std::string text = element.textContent();
    Ref<HTMLDocument> rebuilt = HTMLDocument::documentWithString("<body><" + name + ">" + text + "</" + name + ">");
    const HTMLElement* counterpart = rebuilt->body() ? rebuilt->body()->firstElementChild() : nullptr;
    return counterpart && counterpart->textContent() == text;
}

}  // namespace

bool reparseMayChange(const HTMLDocument& tree, const HTMLDocument& reparsed) {
    if (tree.quirksMode() != reparsed.quirksMode())
        return true;
    const std::string doctype = tree.documentType() ? serializeNode(*tree.documentType()) : "";
    return anyElement(tree, [&](const Ancestry& ancestry) {
        const HTMLElement& element = *ancestry.back();
        return element.is(Tag::plaintext) || startsWithNewline(element)
               || (holdsRawText(element) && !endTagEndsText(element))
               || !markupRebuildsNesting(ancestry, doctype);
    });
}

}  // namespace zv::fuzz
