// libFuzzer over the parser.
//
// Documents: bytes → HTMLParser::parserForBytes (sniffing and decoding) →
// parseDocument → serializeNode. That serialization, parsed and serialized
// again, must come back unchanged unless the tree is one markup cannot
// express (ReparseChanges.h). Fragments: the bytes after the first, as
// the innerHTML of a context element the first byte picks, must not crash.
#include "ReparseChanges.h"

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>

using namespace zv::html;

namespace {

struct Context {
    const char* name;
    Namespace ns;
};

// Contexts whose fragment parsing differs: each insertion mode the reset
// picks, each tokenizer state a context sets, and foreign content.
constexpr Context kContexts[] = {
    {"body", Namespace::HTML},     {"div", Namespace::HTML},      {"html", Namespace::HTML},
    {"head", Namespace::HTML},     {"table", Namespace::HTML},    {"tbody", Namespace::HTML},
    {"tr", Namespace::HTML},       {"td", Namespace::HTML},       {"caption", Namespace::HTML},
    {"colgroup", Namespace::HTML}, {"select", Namespace::HTML},   {"option", Namespace::HTML},
    {"textarea", Namespace::HTML}, {"title", Namespace::HTML},    {"style", Namespace::HTML},
    {"script", Namespace::HTML},   {"xmp", Namespace::HTML},      {"iframe", Namespace::HTML},
    {"noscript", Namespace::HTML}, {"plaintext", Namespace::HTML}, {"pre", Namespace::HTML},
    {"template", Namespace::HTML}, {"frameset", Namespace::HTML}, {"p", Namespace::HTML},
    {"a", Namespace::HTML},        {"form", Namespace::HTML},     {"svg", Namespace::SVG},
    {"foreignObject", Namespace::SVG}, {"desc", Namespace::SVG},  {"path", Namespace::SVG},
    {"math", Namespace::MathML},   {"mi", Namespace::MathML},     {"annotation-xml", Namespace::MathML},
};

[[noreturn]] void reportMismatch(const std::string& first, const std::string& second) {
    std::fprintf(stderr, "serialization changed on reparse\n--- first\n%s\n--- second\n%s\n", first.c_str(),
                 second.c_str());
    std::abort();
}

// Each round serializes and reparses; a round may change the serialization
// only for an explained reason. Repairs can cascade (the adoption agency
// nests <a> in <a> again on the next round), hence more than one round.
void fuzzDocument(std::string_view bytes) {
    constexpr int kRounds = 8;
    auto parser = HTMLParser::parserForBytes(bytes);
    Ref<HTMLDocument> tree = parser->parseDocument();
    std::string serialized = serializeNode(*tree);
    for (int round = 0; round < kRounds; ++round) {
        Ref<HTMLDocument> reparsed = HTMLDocument::documentWithString(serialized);
        std::string reserialized = serializeNode(*reparsed);
        if (reserialized == serialized)
            return;
        if (!zv::fuzz::reparseMayChange(*tree, *reparsed))
            reportMismatch(serialized, reserialized);
        tree = std::move(reparsed);
        serialized = std::move(reserialized);
    }
}

void fuzzFragment(std::string_view bytes) {
    if (bytes.empty())
        return;
    const Context& context = kContexts[static_cast<uint8_t>(bytes[0]) % std::size(kContexts)];
    Ref<HTMLElement> element = HTMLElement::create(context.name, context.ns);
    element->setInnerHTML(bytes.substr(1));
    const std::string html = serializeChildren(*element);
    element->setInnerHTML(html);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    fuzzDocument(bytes);
    fuzzFragment(bytes);
    return 0;
}
