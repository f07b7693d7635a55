// The CSS tokenizer (CSS Syntax Level 3), as far as selectors need it.
//
// Comments vanish, escapes are resolved (so `\31 0` is the identifier "10"),
// and the whole text becomes one vector of tokens that the selector parser
// walks with lookahead. Urls and unicode ranges are not recognised: neither
// can appear in a valid selector, and they still tokenize into something the
// parser rejects.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zv::html {

enum class CSSTokenType : uint8_t {
    Ident,
    Function,  // `name(`; value is the name
    AtKeyword,
    Hash,
    String,
    BadString,  // a string broken by an unescaped newline
    Delim,
    Number,
    Percentage,
    Dimension,  // value is the unit
    Whitespace,
    CDO,
    CDC,
    Colon,
    Semicolon,
    Comma,
    LeftBracket,
    RightBracket,
    LeftParen,
    RightParen,
    LeftBrace,
    RightBrace,
};

struct CSSToken {
    explicit CSSToken(CSSTokenType t) noexcept : type(t) {}

    CSSTokenType type;
    std::string value;  // identifier, function or at-keyword name, hash, string, unit
    char delim = 0;
    // Numbers, percentages and dimensions: the value when it is an integer,
    // clamped to the range of int, which An+B then stays within.
    int64_t integer = 0;
    bool isInteger = false;
    bool hasSign = false;           // written with a leading + or -
    bool hashIsIdentifier = false;  // `#a1` can be an id selector, `#1a` cannot

    bool isDelim(char c) const noexcept { return type == CSSTokenType::Delim && delim == c; }
};

std::vector<CSSToken> tokenizeCSS(std::string_view text);

}  // namespace zv::html
