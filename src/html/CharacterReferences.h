// Character references as the HTML standard resolves them, shared by the
// tokenizer and by stringByDecodingHTMLEntities.
#pragma once

#include "ASCIIText.h"
#include "UTF8.h"

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

}  // namespace zv::html
