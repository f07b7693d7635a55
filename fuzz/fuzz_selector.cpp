// libFuzzer over CSS selectors.
//
// The input's first line is a selector list, the rest the markup of a small
// document. The selector must parse without fault, and the query over the
// document must find exactly the elements that matches() accepts one by one:
// two paths through the matcher that share only the compiled selector.
// :scope means the root element for a query on a document but the element
// itself for matches(), so lists that may name it (also through escapes) are
// only queried.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>
#include <zv/html/HTMLParser.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_set>

using namespace zv::html;

namespace {

bool mayNameScope(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower.find("scope") != std::string::npos || lower.find('\\') != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t newline = input.find('\n');
    const std::string_view text = input.substr(0, newline);
    const std::string_view markup = newline == std::string_view::npos ? std::string_view() : input.substr(newline + 1);

    const CSSSelector selector = CSSSelector::parse(text);
    HTMLParser parser(markup);
    Ref<HTMLDocument> document = parser.parseDocument();
    const std::vector<HTMLElement*> found = document->querySelectorAll(text);
    if (!selector.isValid()) {
        if (!found.empty()) {
            std::fprintf(stderr, "an invalid selector found %zu elements\n", found.size());
            std::abort();
        }
        return 0;
    }
    if (mayNameScope(text)) return 0;

    const std::unordered_set<HTMLElement*> queried(found.begin(), found.end());
    HTMLNodeIterator walk(document.get());
    for (HTMLNode* node = walk.nextNode(); node; node = walk.nextNode()) {
        if (!node->isElement()) continue;
        auto* element = static_cast<HTMLElement*>(node);
        if (selector.matches(*element) == queried.contains(element)) continue;
        std::fprintf(stderr, "query and matches() disagree on <%s>\n", std::string(element->localName()).c_str());
        std::abort();
    }
    return 0;
}
