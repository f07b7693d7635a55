// libFuzzer over plainText: the walk that computes it against the literal
// pipeline it stands for.
//
// The bytes after the first are parsed, as a document or (first byte's bit 3)
// as a fragment in a body; the first byte also picks what is added through
// the DOM: blockquotes made citations (bit 0), a reply separator on one
// element (bit 1, the element picked by the high nibble), a note-body marker
// on the first div (bit 2). Wherever the walk answers, from the document
// element, the body or each top-level element of the fragment, its text must
// be the literal pipeline's.
#include "PlainTextPasses.h"
#include "PlainTextWalk.h"

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLParser.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace zv::html;

namespace {

[[noreturn]] void reportMismatch(const std::string& walked, const std::string& reference) {
    std::fprintf(stderr, "the walk and the literal pipeline differ\n--- walked\n%s\n--- reference\n%s\n",
                 walked.c_str(), reference.c_str());
    std::abort();
}

void compare(const HTMLElement& element) {
    std::optional<std::string> walked = zv::plainTextByWalking(element);
    if (!walked) return;
    const std::string reference = zv::plainTextByRewriting(element);
    if (*walked != reference) reportMismatch(*walked, reference);
}

void addPassTargets(HTMLNode& root, uint8_t choice) {
    std::vector<HTMLElement*> elements = root.querySelectorAll("*");
    if (elements.empty()) return;
    if (choice & 1) {
        for (HTMLElement* e : elements)
            if (e->is(Tag::blockquote)) e->setAttribute("type", "cite");
    }
    if (choice & 2) elements[(choice >> 4) * elements.size() / 16]->setAttribute("id", "zv-reply-separator");
    if (choice & 4) {
        for (HTMLElement* e : elements) {
            if (e->is(Tag::div)) {
                e->setAttribute("zv-note", "");
                break;
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t choice = data[0];
    const std::string_view html(reinterpret_cast<const char*>(data + 1), size - 1);
    if (choice & 8) {
        Ref<HTMLElement> context = HTMLElement::create("body");
        Ref<HTMLDocumentFragment> fragment = HTMLParser(html).parseFragment(*context);
        addPassTargets(*fragment, choice);
        for (HTMLNode* node = fragment->firstChild(); node; node = node->nextSibling())
            if (const HTMLElement* element = node->as<HTMLElement>()) compare(*element);
        return 0;
    }
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(html);
    addPassTargets(*document, choice);
    if (const HTMLElement* root = document->documentElement()) compare(*root);
    if (const HTMLElement* body = document->body()) compare(*body);
    return 0;
}
