// libFuzzer over dark adaptation: a message's markup, its style attributes,
// colour attributes and style sheets, adapted as the viewer adapts them.
//
// The first byte says whether head CSS is inlined and purged first (as for a
// message without dark styles of its own), the rest is the markup. Checked
// besides the absence of faults: nothing the sender wrote is lost. The
// adapted tree is the tree before it node for node, every attribute kept,
// except that a style attribute may be added or have declarations appended,
// so that its old value is where it starts. Sheets of a hostile size are
// bounded by the adaptation's own budget; an endless loop is caught by
// libFuzzer's -timeout.
#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/DarkAdaptation.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace zv::html;

namespace {

[[noreturn]] void fail(const char* what, std::string_view detail = {}) {
    std::fprintf(stderr, "%s %.*s\n", what, int(detail.size()), detail.data());
    std::abort();
}

const HTMLAttribute* findAttribute(const HTMLElement& element, const HTMLAttribute& like) {
    for (const HTMLAttribute& a : element.attributes())
        if (a.ns == like.ns && a.name == like.name) return &a;
    return nullptr;
}

void checkElement(const HTMLElement& before, const HTMLElement& after) {
    if (before.localName() != after.localName() || before.htmlNamespace() != after.htmlNamespace())
        fail("an element changed its name:", after.localName());
    for (const HTMLAttribute& old : before.attributes()) {
        const HTMLAttribute* now = findAttribute(after, old);
        if (!now) fail("an attribute was removed:", old.name);
        const bool style = old.ns == AttributeNamespace::None && old.name == "style";
        if (style ? !now->value.starts_with(old.value) : now->value != old.value)
            fail("an attribute's value was rewritten:", old.name);
    }
    for (const HTMLAttribute& added : after.attributes())
        if (!findAttribute(before, added) && (added.ns != AttributeNamespace::None || added.name != "style"))
            fail("an attribute other than style was added:", added.name);
}

void checkKept(HTMLDocument& before, HTMLDocument& after) {
    HTMLNodeIterator old(&before), now(&after);
    for (;;) {
        const HTMLNode* a = old.nextNode();
        const HTMLNode* b = now.nextNode();
        if (!a || !b) {
            if (a || b) fail("the adapted tree has a different number of nodes");
            return;
        }
        if (a->nodeType() != b->nodeType()) fail("a node changed its type");
        if (const auto* element = a->as<HTMLElement>()) {
            checkElement(*element, *b->as<HTMLElement>());
        } else if (const auto* data = a->as<HTMLCharacterData>()) {
            if (data->data() != b->as<HTMLCharacterData>()->data()) fail("text or a comment changed:", data->data());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool inlineHeadCSS = data[0] & 1;
    const std::string_view markup(reinterpret_cast<const char*>(data + 1), size - 1);

    Ref<HTMLDocument> document = HTMLParser(markup).parseDocument();
    if (inlineHeadCSS) zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
    Ref<HTMLNode> before = document->cloneNodeDeep(true);
    zv::adaptDocumentForDarkAppearance(*document);
    checkKept(*before->as<HTMLDocument>(), *document);
    return 0;
}
