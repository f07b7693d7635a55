#include <zv/foundation/Regex.h>

#include <unicode/regex.h>
#include <unicode/utypes.h>

#include <algorithm>

namespace zv {

namespace {

uint32_t icuFlags(RegexOptions options) {
    struct Flag {
        RegexOptions option;
        uint32_t flag;
    };
    static constexpr Flag kFlags[] = {
        {RegexOptions::CaseInsensitive, UREGEX_CASE_INSENSITIVE},
        {RegexOptions::AllowCommentsAndWhitespace, UREGEX_COMMENTS},
        {RegexOptions::IgnoreMetacharacters, UREGEX_LITERAL},
        {RegexOptions::DotMatchesLineSeparators, UREGEX_DOTALL},
        {RegexOptions::AnchorsMatchLines, UREGEX_MULTILINE},
        {RegexOptions::UseUnixLineSeparators, UREGEX_UNIX_LINES},
        {RegexOptions::UseUnicodeWordBoundaries, UREGEX_UWORD},
    };
    uint32_t flags = 0;
    for (const Flag& f : kFlags)
        if (uint32_t(options) & uint32_t(f.option)) flags |= f.flag;
    return flags;
}

bool has(RegexMatchingOptions options, RegexMatchingOptions option) {
    return uint32_t(options) & uint32_t(option);
}

icu::UnicodeString utf16(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), int32_t(s.size())));
}

std::string utf8(const icu::UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

// A matcher over `input` limited to `range`, or null if ICU refuses one.
std::unique_ptr<icu::RegexMatcher> matcherFor(const icu::RegexPattern& pattern, const icu::UnicodeString& input,
                                              RegexMatchingOptions options, std::optional<RegexRange> range) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(input, status));
    if (U_FAILURE(status)) return nullptr;
    if (range) {
        const size_t length = size_t(input.length());
        const size_t start = std::min(range->location, length);
        const size_t limit = start + std::min(range->length, length - start);
        matcher->region(int64_t(start), int64_t(limit), status);
        if (U_FAILURE(status)) return nullptr;
    }
    matcher->useAnchoringBounds(!has(options, RegexMatchingOptions::WithoutAnchoringBounds));
    matcher->useTransparentBounds(has(options, RegexMatchingOptions::WithTransparentBounds));
    return matcher;
}

}  // namespace

std::optional<Regex> Regex::compile(std::string_view pattern, RegexOptions options, RegexError* error) {
    UParseError where{};
    UErrorCode status = U_ZERO_ERROR;
    std::shared_ptr<const icu::RegexPattern> compiled(
        icu::RegexPattern::compile(utf16(pattern), icuFlags(options), where, status));
    if (U_SUCCESS(status) && compiled) return Regex(std::move(compiled), std::string(pattern), options);
    if (error) {
        error->name = u_errorName(status);
        error->offset = where.offset;
        error->localizedDescription = "The pattern \"" + std::string(pattern) + "\" is invalid: " + error->name;
        if (where.offset >= 0) error->localizedDescription += " at offset " + std::to_string(where.offset);
    }
    return std::nullopt;
}

icu::UnicodeString Regex::replaceMatchesUTF16(const icu::UnicodeString& input,
                                              const icu::UnicodeString& replacementTemplate,
                                              RegexMatchingOptions options, std::optional<RegexRange> range) const {
    auto matcher = matcherFor(*compiled_, input, options, range);
    if (!matcher) return input;
    // appendReplacement copies the text before each match and appendTail the
    // rest, so what lies outside the range comes through untouched.
    icu::UnicodeString result;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status)) {
        matcher->appendReplacement(result, replacementTemplate, status);
        // A template naming a group the pattern lacks: keep the input whole
        // rather than hand back a half-replaced text.
        if (U_FAILURE(status)) return input;
    }
    if (U_FAILURE(status)) return input;
    matcher->appendTail(result);
    return result;
}

std::string Regex::replaceMatches(std::string_view input, std::string_view replacementTemplate,
                                  RegexMatchingOptions options, std::optional<RegexRange> range) const {
    return utf8(replaceMatchesUTF16(utf16(input), utf16(replacementTemplate), options, range));
}

size_t Regex::numberOfMatches(std::string_view input, RegexMatchingOptions options,
                              std::optional<RegexRange> range) const {
    const icu::UnicodeString text = utf16(input);
    auto matcher = matcherFor(*compiled_, text, options, range);
    if (!matcher) return 0;
    size_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status)) ++count;
    return count;
}

}  // namespace zv
