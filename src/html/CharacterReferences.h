// Character references as the HTML standard resolves them, shared by the
// tokenizer and by stringByDecodingHTMLEntities.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zv::html {

// The longest name in the table ("CounterClockwiseContourIntegral;").
inline constexpr size_t kLongestNamedCharacterReference = 32;

struct NamedCharacterReferenceMatch {
    size_t length = 0;       // bytes of `text` the name covers; 0 when nothing matched
    std::string_view value;  // the expansion, UTF-8
};

// The longest name in the table that `text` (what follows the '&') starts
// with, legacy names without ';' included: "notit;" matches "not".
NamedCharacterReferenceMatch matchNamedCharacterReference(std::string_view text) noexcept;

struct NumericCharacterReference {
    char32_t codePoint;
    const char* error;  // the parse error the number causes, or null
};

// What the number of "&#...;" stands for: U+FFFD for zero, surrogates and
// numbers past U+10FFFF, the windows-1252 reading of 0x80-0x9F, else itself.
// `code` saturates: callers clamp anything above 0x10FFFF to 0x110000.
NumericCharacterReference resolveNumericCharacterReference(uint32_t code) noexcept;

// Writes the UTF-8 form of a code point (at most 4 bytes); returns its length.
size_t encodeUTF8(char32_t codePoint, char* out) noexcept;
inline void appendUTF8(std::string& out, char32_t codePoint) {
    char bytes[4];
    out.append(bytes, encodeUTF8(codePoint, bytes));
}

inline bool isASCIIAlpha(int c) noexcept { return unsigned((c | 0x20) - 'a') < 26; }
inline bool isASCIIDigit(int c) noexcept { return unsigned(c - '0') < 10; }
inline bool isASCIIAlphanumeric(int c) noexcept { return isASCIIAlpha(c) || isASCIIDigit(c); }
inline int hexDigitValue(int c) noexcept {
    if (isASCIIDigit(c)) return c - '0';
    unsigned lower = unsigned((c | 0x20) - 'a');
    return lower < 6 ? int(lower) + 10 : -1;
}

}  // namespace zv::html
