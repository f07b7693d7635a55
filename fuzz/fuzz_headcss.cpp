// libFuzzer over head CSS: the rules read from a document's head style sheets
// and copied onto its elements, style sheets and markup in one input.
//
// The first byte picks the settings (purge or not, a scope filter, an
// exclusion), the rest is the document. Checked besides the absence of
// faults: every selector read is distinct and has its declarations, and a
// purge leaves no style sheet in the head of a document with a body.
#include <zv/css/CSSRuleExtraction.h>
#include <zv/css/HeadCSSInlining.h>
#include <zv/css/HeadCSSPurge.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

using namespace zv::html;

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void checkRules(const zv::CSSRulesBySelector& rules) {
    const std::set<std::string> distinct(rules.selectors.begin(), rules.selectors.end());
    if (distinct.size() != rules.selectors.size()) fail("a selector is listed twice");
    if (rules.declarations.size() != rules.selectors.size()) fail("declarations and selectors differ in number");
    for (const std::string& selector : rules.selectors)
        if (!rules.declarations.contains(selector)) fail("a selector has no declarations");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool purge = data[0] & 1;
    std::vector<std::string> filters;
    if (data[0] & 2) filters.push_back("required");
    std::vector<std::string> exclusions;
    if (data[0] & 4) exclusions.push_back("^body");
    if (data[0] & 8) exclusions.push_back("^\\*");
    auto parser = HTMLParser::parserForBytes(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
    Ref<HTMLDocument> document = parser->parseDocument();

    checkRules(zv::extractCSSBySelectors(*document, filters));
    if (data[0] & 16) {
        zv::purgeHeadCSSWithFilters(*document, filters);
    } else {
        zv::applyHeadCSSToContentAndPurge(*document, purge, exclusions, filters);
        if (purge && document->body() && document->head() && document->head()->querySelector("style"))
            fail("a style sheet is left in the head after the purge");
    }
    serializeNode(*document);
    return 0;
}
