#include <zv/find/TextMatchCount.h>

#include <zv/find/FindOptions.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <optional>

namespace zv {

namespace {

constexpr char kWord[] = "[\\p{L}\\p{N}_]";

std::string escaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}/-#&~ ").find(c) != std::string_view::npos) out += '\\';
        out += c;
    }
    return out;
}

std::optional<std::string> patternFor(std::string_view text, int64_t options) {
    switch (options & 15) {
    case SearchStartsWith:
        return std::string("(?<!") + kWord + ")" + escaped(text);
    case SearchExactly:
        return std::string("(?<!") + kWord + ")" + escaped(text) + "(?!" + kWord + ")";
    case SearchRegularExpression:
        return std::string(text);
    default:
        return escaped(text);
    }
}

// Non-overlapping matches up to the first empty one, as the page's highlighter finds them.
int64_t countOne(const icu::UnicodeString& text, std::string_view string, int64_t options) {
    if (string.empty()) return 0;
    std::optional<std::string> pattern = patternFor(string, options);
    UErrorCode status = U_ZERO_ERROR;
    uint32_t flags = (options & SearchIgnoreCase) ? UREGEX_CASE_INSENSITIVE : 0;
    std::unique_ptr<icu::RegexMatcher> matcher(
        new icu::RegexMatcher(icu::UnicodeString::fromUTF8(*pattern), text, flags, status));
    if (U_FAILURE(status)) return 0;
    int64_t count = 0;
    while (matcher->find(status) && U_SUCCESS(status)) {
        if (matcher->end(status) == matcher->start(status)) break;
        ++count;
    }
    return count;
}

void appendText(const html::HTMLNode& node, std::string& out) {
    for (html::HTMLNode* child = node.firstChild(); child; child = child->nextSibling()) {
        if (child->isText()) {
            out += child->textContent();
            continue;
        }
        if (!child->isElement()) continue;
        auto* element = static_cast<html::HTMLElement*>(child);
        if (element->is(html::Tag::script) || element->is(html::Tag::style)) continue;
        appendText(*child, out);
    }
}

}  // namespace

std::string searchableTextOfHTML(const std::string& html) {
    auto document = html::HTMLParser(html).parseDocument();
    std::string text;
    if (html::HTMLElement* body = document->body()) appendText(*body, text);
    return text;
}

int64_t countMatchesInText(std::string_view text, const std::vector<std::string>& strings, int64_t options) {
    const icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    int64_t total = 0;
    for (const std::string& string : strings) total += countOne(unicode, string, options);
    return total;
}

}  // namespace zv
