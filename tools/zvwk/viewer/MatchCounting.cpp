#include "MatchCounting.h"

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <vector>

namespace zvwk::viewer {

namespace {

using zv::html::HTMLNode;

// Word characters as the page script has them: [\p{L}\p{N}_].
constexpr char16_t kWord[] = u"[\\p{L}\\p{N}_]";

icu::UnicodeString quoted(std::string_view text) {
    icu::UnicodeString literal = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
    // \Q...\E quotes all but "\E" itself, which is split so it stays literal.
    literal.findAndReplace(u"\\E", u"\\E\\\\E\\Q");
    return icu::UnicodeString(u"\\Q") + literal + u"\\E";
}

std::unique_ptr<icu::RegexPattern> expressionFor(std::string_view search, std::int64_t options) {
    icu::UnicodeString source;
    icu::UnicodeString word(kWord);
    switch (options & 15) {
    case 2: source = u"(?<!" + word + u")" + quoted(search); break;
    case 4: source = u"(?<!" + word + u")" + quoted(search) + u"(?!" + word + u")"; break;
    case 8: source = icu::UnicodeString::fromUTF8(icu::StringPiece(search.data(), int32_t(search.size()))); break;
    default: source = quoted(search);
    }
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    uint32_t flags = (options & 256) ? UREGEX_CASE_INSENSITIVE : 0;
    std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(source, flags, parseError, status));
    return U_SUCCESS(status) ? std::move(pattern) : nullptr;
}

void appendText(const HTMLNode& node, std::string& out) {
    for (HTMLNode* child = node.firstChild(); child; child = child->nextSibling()) {
        if (child->isText()) {
            out += child->textContent();
            continue;
        }
        if (!child->isElement()) continue;
        auto* element = static_cast<zv::html::HTMLElement*>(child);
        if (element->is(zv::html::Tag::script) || element->is(zv::html::Tag::style)) continue;
        appendText(*child, out);
    }
}

}  // namespace

std::string searchableText(const std::string& html) {
    auto document = zv::html::HTMLParser(html).parseDocument();
    std::string text;
    if (zv::html::HTMLElement* body = document->body()) appendText(*body, text);
    return text;
}

std::int64_t countMatches(std::string_view text, std::string_view search, std::int64_t options) {
    if (search.empty()) return 0;
    std::unique_ptr<icu::RegexPattern> pattern = expressionFor(search, options);
    if (!pattern) return 0;
    icu::UnicodeString input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(input, status));
    if (U_FAILURE(status)) return 0;
    std::int64_t count = 0;
    while (matcher->find(status) && U_SUCCESS(status)) {
        if (matcher->start(status) == matcher->end(status)) break;
        ++count;
    }
    return count;
}

}  // namespace zvwk::viewer
