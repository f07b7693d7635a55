#include <zv/foundation/Regex.h>

#include <unicode/regex.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <unicode/utypes.h>

#include <algorithm>
#include <cstring>
#include <vector>

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

bool has(RegexOptions options, RegexOptions option) { return uint32_t(options) & uint32_t(option); }
bool has(RegexMatchingOptions options, RegexMatchingOptions option) { return uint32_t(options) & uint32_t(option); }

icu::UnicodeString utf16(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), int32_t(s.size())));
}

std::string utf8(const icu::UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

bool isValidUTF8(std::string_view s) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    const int32_t length = int32_t(s.size());
    for (int32_t i = 0; i < length;) {
        // Markup is mostly ASCII: step over it eight bytes at a time.
        uint64_t word;
        if (i + 8 <= length && (std::memcpy(&word, bytes + i, 8), (word & 0x8080808080808080ull) == 0)) {
            i += 8;
            continue;
        }
        if (bytes[i] < 0x80) {
            ++i;
            continue;
        }
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) return false;
    }
    return true;
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

// Replacement by ICU's own loop: any template, any range.
icu::UnicodeString replaceWithICU(const icu::RegexPattern& pattern, const icu::UnicodeString& input,
                                  const icu::UnicodeString& replacementTemplate, RegexMatchingOptions options,
                                  std::optional<RegexRange> range) {
    auto matcher = matcherFor(pattern, input, options, range);
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

bool isAsciiLetter(char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }

// The literal characters that every match of `pattern` starts with, read from
// the pattern's plain leading run: ASCII characters that are not syntax, less
// one that a quantifier makes optional. A case-insensitive pattern must start
// with a caseless character, which a search can look for as it is. A pattern
// with an alternation anywhere, or with \G (which depends on where the
// previous match ended), or read in comments or literal mode, gives none.
std::string requiredPrefix(std::string_view pattern, RegexOptions options) {
    if (has(options, RegexOptions::AllowCommentsAndWhitespace) || has(options, RegexOptions::IgnoreMetacharacters))
        return {};
    if (pattern.find('|') != std::string_view::npos || pattern.find("\\G") != std::string_view::npos) return {};
    static constexpr std::string_view kSyntax = "\\^$.|?*+()[]{}";
    std::string prefix;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if ((unsigned char)c >= 0x80 || kSyntax.find(c) != std::string_view::npos) break;
        if (prefix.empty() && has(options, RegexOptions::CaseInsensitive) && isAsciiLetter(c)) break;
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (next == '*' || next == '?' || next == '{') break;
        prefix += c;
        if (next == '+') break;
    }
    return prefix;
}

// A replacement template of literal text and single-digit group references
// only ("</div>\n", "<div$1><br></div"), which this file expands itself so
// that a prefix search can drive the matcher. Any other template (escapes,
// "${name}", several digits) is left to ICU.
class SimpleTemplate {
public:
    static std::optional<SimpleTemplate> parse(std::string_view templ, int32_t groupCount) {
        SimpleTemplate simple;
        size_t literal = 0;
        for (size_t i = 0; i < templ.size(); ++i) {
            if (templ[i] == '\\') return std::nullopt;
            if (templ[i] != '$') continue;
            if (i + 1 >= templ.size() || templ[i + 1] < '0' || templ[i + 1] > '9') return std::nullopt;
            const int32_t group = templ[i + 1] - '0';
            // A digit (of any script) after it would make ICU read a longer number.
            if (group > groupCount || (i + 2 < templ.size() && (unsigned char)templ[i + 2] >= 0x80) ||
                (i + 2 < templ.size() && templ[i + 2] >= '0' && templ[i + 2] <= '9'))
                return std::nullopt;
            if (i > literal) simple.pieces_.push_back({-1, templ.substr(literal, i - literal)});
            simple.pieces_.push_back({group, {}});
            literal = i + 2;
            ++i;
        }
        if (literal < templ.size()) simple.pieces_.push_back({-1, templ.substr(literal)});
        return simple;
    }

    void expand(const icu::RegexMatcher& match, std::string_view input, std::string& out) const {
        UErrorCode status = U_ZERO_ERROR;
        for (const Piece& piece : pieces_) {
            if (piece.group < 0) {
                out += piece.literal;
                continue;
            }
            const int64_t start = match.start64(piece.group, status), end = match.end64(piece.group, status);
            if (U_SUCCESS(status) && start >= 0) out.append(input, size_t(start), size_t(end - start));
        }
    }

private:
    struct Piece {
        int32_t group;  // -1 for literal text
        std::string_view literal;
    };
    std::vector<Piece> pieces_;
};

// ICU reading UTF-8 in place: indexes are byte offsets.
class UTF8Text {
public:
    explicit UTF8Text(std::string_view s) { utext_openUTF8(&text_, s.data(), int64_t(s.size()), &status_); }
    ~UTF8Text() { utext_close(&text_); }
    UTF8Text(const UTF8Text&) = delete;
    UTF8Text& operator=(const UTF8Text&) = delete;

    UText* get() { return U_SUCCESS(status_) ? &text_ : nullptr; }

private:
    UText text_ = UTEXT_INITIALIZER;
    UErrorCode status_ = U_ZERO_ERROR;
};

}  // namespace

Regex::Regex(std::shared_ptr<const icu::RegexPattern> compiled, std::string pattern, RegexOptions options)
    : compiled_(std::move(compiled)),
      pattern_(std::move(pattern)),
      options_(options),
      prefix_(requiredPrefix(pattern_, options)) {}

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

bool Regex::prefixMayStartAt(std::string_view text, size_t at) const {
    const bool foldsCase = has(options_, RegexOptions::CaseInsensitive);
    for (size_t k = 1; k < prefix_.size(); ++k) {
        if (at + k >= text.size()) return false;
        const char c = text[at + k], p = prefix_[k];
        // Beyond ASCII, case folding can map one character onto several:
        // leave such a place to the engine.
        if ((unsigned char)c >= 0x80) return foldsCase;
        if (c == p || (foldsCase && isAsciiLetter(p) && (c | 0x20) == (p | 0x20))) continue;
        return false;
    }
    return true;
}

size_t Regex::nextCandidate(std::string_view text, size_t from) const {
    for (size_t at = text.find(prefix_[0], from); at != std::string_view::npos; at = text.find(prefix_[0], at + 1))
        if (prefixMayStartAt(text, at)) return at;
    return std::string_view::npos;
}

template <class OnMatch>
bool Regex::forEachPrefixedMatch(std::string_view input, icu::RegexMatcher& matcher, OnMatch&& onMatch) const {
    UTF8Text text(input);
    if (!text.get()) return false;
    UErrorCode status = U_ZERO_ERROR;
    matcher.reset(text.get());
    // An attempt where the prefix stands, with the whole text as region, is
    // the attempt find() would make there; nowhere else can a match start.
    for (size_t at = nextCandidate(input, 0); at != std::string_view::npos;) {
        const bool found = matcher.lookingAt(int64_t(at), status);
        if (U_FAILURE(status)) return false;
        if (!found) {
            at = nextCandidate(input, at + 1);
            continue;
        }
        const int64_t end = matcher.end64(status);
        onMatch(at, size_t(end));
        at = nextCandidate(input, std::max(size_t(end), at + 1));
    }
    return true;
}

std::string Regex::replaceMatches(std::string_view input, std::string_view replacementTemplate,
                                  RegexMatchingOptions options, std::optional<RegexRange> range) const {
    if (!range && !prefix_.empty() && isValidUTF8(input)) {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(status));
        std::optional<SimpleTemplate> simple;
        if (U_SUCCESS(status)) simple = SimpleTemplate::parse(replacementTemplate, matcher->groupCount());
        std::string result;
        result.reserve(input.size() + input.size() / 16);
        size_t copied = 0;
        if (simple && forEachPrefixedMatch(input, *matcher, [&](size_t start, size_t end) {
                result.append(input, copied, start - copied);
                simple->expand(*matcher, input, result);
                copied = end;
            })) {
            result.append(input, copied);
            return result;
        }
    }
    return utf8(replaceWithICU(*compiled_, utf16(input), utf16(replacementTemplate), options, range));
}

size_t Regex::numberOfMatches(std::string_view input, RegexMatchingOptions options,
                              std::optional<RegexRange> range) const {
    if (!range && !prefix_.empty() && isValidUTF8(input)) {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(compiled_->matcher(status));
        size_t count = 0;
        if (U_SUCCESS(status) && forEachPrefixedMatch(input, *matcher, [&](size_t, size_t) { ++count; }))
            return count;
    }
    const icu::UnicodeString text = utf16(input);
    auto matcher = matcherFor(*compiled_, text, options, range);
    if (!matcher) return 0;
    size_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status)) ++count;
    return count;
}

}  // namespace zv
