// Regular expressions with ICU syntax and semantics.
//
// A thin layer over ICU's RegexPattern/RegexMatcher taking and giving UTF-8.
// ICU is the engine the mail code's patterns were written for, so character
// classes, case folding, `$1` templates and the anchoring-bounds rule behave
// exactly as those patterns expect. Positions and ranges are counted in UTF-16
// code units, as ICU counts them.
//
// A compiled Regex is immutable and may be shared between threads: every
// operation makes its own matcher. Compile a fixed pattern once (a function
// static) and reuse it.
#pragma once

#include <zv/Export.h>

#include <unicode/uversion.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

U_NAMESPACE_BEGIN
class RegexPattern;
class RegexMatcher;
U_NAMESPACE_END

namespace zv {

// Compile options; the bit values are those of NSRegularExpressionOptions, so
// a combined value written as a number elsewhere (17 = case-insensitive and
// anchors match lines) means the same here.
enum class RegexOptions : uint32_t {
    None = 0,
    CaseInsensitive = 1 << 0,             // UREGEX_CASE_INSENSITIVE
    AllowCommentsAndWhitespace = 1 << 1,  // UREGEX_COMMENTS
    IgnoreMetacharacters = 1 << 2,        // UREGEX_LITERAL
    DotMatchesLineSeparators = 1 << 3,    // UREGEX_DOTALL
    AnchorsMatchLines = 1 << 4,           // UREGEX_MULTILINE
    UseUnixLineSeparators = 1 << 5,       // UREGEX_UNIX_LINES
    UseUnicodeWordBoundaries = 1 << 6,    // UREGEX_UWORD
};

// Matching options, with the bit values of NSMatchingOptions.
enum class RegexMatchingOptions : uint32_t {
    None = 0,
    // Lookaround may see the text outside the search range.
    WithTransparentBounds = 1 << 3,
    // `^` and `$` do not match at the ends of the search range merely because
    // the range ends there.
    WithoutAnchoringBounds = 1 << 4,
};

constexpr RegexOptions operator|(RegexOptions a, RegexOptions b) {
    return RegexOptions(uint32_t(a) | uint32_t(b));
}
constexpr RegexMatchingOptions operator|(RegexMatchingOptions a, RegexMatchingOptions b) {
    return RegexMatchingOptions(uint32_t(a) | uint32_t(b));
}

// Why a pattern did not compile.
struct ZV_EXPORT RegexError {
    std::string name;                  // ICU's error code name, "U_REGEX_MISMATCHED_PAREN"
    int32_t offset = -1;               // where in the pattern (UTF-16 units), -1 when unknown
    std::string localizedDescription;  // one line for a log, naming the pattern
};

// A range of UTF-16 code units in the searched text.
struct ZV_EXPORT RegexRange {
    size_t location = 0;
    size_t length = 0;
};

class ZV_EXPORT Regex {
public:
    // Nothing, with `error` filled in when given, if the pattern does not compile.
    static std::optional<Regex> compile(std::string_view pattern, RegexOptions options = RegexOptions::None,
                                        RegexError* error = nullptr);

    // `input` with every match in `range` (default: all of it) replaced by the
    // expanded `replacementTemplate`: `$n` inserts group n and `\` quotes the
    // next character, as ICU's replacement syntax has it. Text outside the
    // range is kept as it is; a range that reaches past the input is clipped.
    // A template naming a group the pattern does not have changes nothing.
    // Invalid UTF-8 in `input` reads as U+FFFD.
    std::string replaceMatches(std::string_view input, std::string_view replacementTemplate,
                               RegexMatchingOptions options = RegexMatchingOptions::None,
                               std::optional<RegexRange> range = std::nullopt) const;

    // How many matches `input` has in `range` (default: all of it).
    size_t numberOfMatches(std::string_view input, RegexMatchingOptions options = RegexMatchingOptions::None,
                           std::optional<RegexRange> range = std::nullopt) const;

    const std::string& pattern() const noexcept { return pattern_; }
    RegexOptions options() const noexcept { return options_; }

private:
    Regex(std::shared_ptr<const icu::RegexPattern> compiled, std::string pattern, RegexOptions options);

    size_t nextCandidate(std::string_view text, size_t from) const;
    bool prefixMayStartAt(std::string_view text, size_t at) const;
    // Calls onMatch(start, end) for each match in the whole of `input` (valid
    // UTF-8), trying the engine only where the prefix stands; false if ICU
    // fails on the way.
    template <class OnMatch>
    bool forEachPrefixedMatch(std::string_view input, icu::RegexMatcher& matcher, OnMatch&& onMatch) const;

    std::shared_ptr<const icu::RegexPattern> compiled_;
    std::string pattern_;
    RegexOptions options_;
    // The literal text every match begins with, when the pattern shows it
    // plainly ("</div>" of "</div>([\n]?)"); empty when it does not. Searches
    // over a whole text only try the engine where it stands, which is what
    // makes a pattern like that cheap on markup full of other tags.
    std::string prefix_;
};

}  // namespace zv
