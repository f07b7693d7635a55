#include "CSSSelectorTokenizer.h"

#include "ASCIIText.h"
#include "../UTF8.h"

#include <climits>

namespace zv::html {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

bool isHexDigit(char c) noexcept { return hexDigitValue(c) >= 0; }
bool isWhitespace(char c) noexcept { return c == ' ' || c == '\t' || c == '\n'; }
// Bytes of non-ASCII characters all count, so UTF-8 passes through whole.
bool isNameStart(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || uint8_t(c) >= 0x80;
}
bool isNameChar(char c) noexcept { return isNameStart(c) || isASCIIDigit(c) || c == '-'; }

// CR, CR LF and FF become LF; NUL becomes U+FFFD.
std::string preprocess(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\r') {
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
            out += '\n';
        } else if (c == '\f') {
            out += '\n';
        } else if (c == '\0') {
            out += kReplacementCharacter;
        } else {
            out += c;
        }
    }
    return out;
}

class Tokenizer {
public:
    explicit Tokenizer(std::string text) : s_(std::move(text)) {}

    std::vector<CSSToken> run() {
        std::vector<CSSToken> tokens;
        while (skipComments(), i_ < s_.size()) tokens.push_back(next());
        return tokens;
    }

private:
    char at(size_t i) const noexcept { return i < s_.size() ? s_[i] : '\0'; }
    bool atEnd(size_t i) const noexcept { return i >= s_.size(); }

    void skipComments() {
        while (at(i_) == '/' && at(i_ + 1) == '*') {
            size_t end = s_.find("*/", i_ + 2);
            i_ = end == std::string::npos ? s_.size() : end + 2;
        }
    }

    // A backslash not followed by a newline; at the end it escapes to U+FFFD.
    bool isValidEscape(size_t i) const noexcept { return at(i) == '\\' && at(i + 1) != '\n'; }

    bool startsIdentifier(size_t i) const noexcept {
        char c = at(i);
        if (c == '-') return isNameStart(at(i + 1)) || at(i + 1) == '-' || isValidEscape(i + 1);
        return isNameStart(c) || isValidEscape(i);
    }

    bool startsNumber(size_t i) const noexcept {
        char c = at(i);
        if (c == '+' || c == '-') {
            if (isASCIIDigit(at(i + 1))) return true;
            return at(i + 1) == '.' && isASCIIDigit(at(i + 2));
        }
        if (c == '.') return isASCIIDigit(at(i + 1));
        return isASCIIDigit(c);
    }

    // After the backslash.
    void consumeEscape(std::string& out) {
        if (atEnd(i_)) {
            out += kReplacementCharacter;
            return;
        }
        if (!isHexDigit(s_[i_])) {
            out += s_[i_++];  // a UTF-8 lead byte; its continuation bytes follow as name bytes
            return;
        }
        char32_t value = 0;
        for (int n = 0; n < 6 && isHexDigit(at(i_)); ++n) value = value * 16 + hexDigitValue(s_[i_++]);
        if (isWhitespace(at(i_))) ++i_;
        bool invalid = value == 0 || (value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF;
        if (invalid)
            out += kReplacementCharacter;
        else
            appendUTF8(out, value);
    }

    std::string consumeName() {
        std::string name;
        while (!atEnd(i_)) {
            if (isNameChar(s_[i_])) {
                name += s_[i_++];
            } else if (isValidEscape(i_)) {
                ++i_;
                consumeEscape(name);
            } else {
                break;
            }
        }
        return name;
    }

    CSSToken next() {
        char c = s_[i_];
        if (isWhitespace(c)) {
            while (isWhitespace(at(i_))) ++i_;
            return simple(CSSTokenType::Whitespace);
        }
        switch (c) {
        case '"':
        case '\'': return consumeString(c);
        case '#':
            if (isNameChar(at(i_ + 1)) || isValidEscape(i_ + 1)) {
                CSSToken t{CSSTokenType::Hash};
                t.hashIsIdentifier = startsIdentifier(i_ + 1);
                ++i_;
                t.value = consumeName();
                return t;
            }
            return delim();
        case '(': ++i_; return simple(CSSTokenType::LeftParen);
        case ')': ++i_; return simple(CSSTokenType::RightParen);
        case '[': ++i_; return simple(CSSTokenType::LeftBracket);
        case ']': ++i_; return simple(CSSTokenType::RightBracket);
        case '{': ++i_; return simple(CSSTokenType::LeftBrace);
        case '}': ++i_; return simple(CSSTokenType::RightBrace);
        case ',': ++i_; return simple(CSSTokenType::Comma);
        case ':': ++i_; return simple(CSSTokenType::Colon);
        case ';': ++i_; return simple(CSSTokenType::Semicolon);
        case '+':
        case '.':
            return startsNumber(i_) ? consumeNumeric() : delim();
        case '-':
            if (startsNumber(i_)) return consumeNumeric();
            if (at(i_ + 1) == '-' && at(i_ + 2) == '>') {
                i_ += 3;
                return simple(CSSTokenType::CDC);
            }
            return startsIdentifier(i_) ? consumeIdentLike() : delim();
        case '<':
            if (s_.compare(i_, 4, "<!--") == 0) {
                i_ += 4;
                return simple(CSSTokenType::CDO);
            }
            return delim();
        case '@':
            if (startsIdentifier(i_ + 1)) {
                ++i_;
                CSSToken t{CSSTokenType::AtKeyword};
                t.value = consumeName();
                return t;
            }
            return delim();
        case '\\': return isValidEscape(i_) ? consumeIdentLike() : delim();
        default: break;
        }
        if (isASCIIDigit(c)) return consumeNumeric();
        if (isNameStart(c)) return consumeIdentLike();
        return delim();
    }

    CSSToken simple(CSSTokenType type) { return CSSToken{type}; }

    CSSToken delim() {
        CSSToken t{CSSTokenType::Delim};
        t.delim = s_[i_++];
        return t;
    }

    CSSToken consumeIdentLike() {
        CSSToken t{CSSTokenType::Ident};
        t.value = consumeName();
        if (at(i_) == '(') {
            ++i_;
            t.type = CSSTokenType::Function;
        }
        return t;
    }

    CSSToken consumeString(char quote) {
        CSSToken t{CSSTokenType::String};
        ++i_;
        while (!atEnd(i_)) {
            char c = s_[i_];
            if (c == quote) {
                ++i_;
                return t;
            }
            if (c == '\n') {  // left for the next token, as the syntax says
                t.type = CSSTokenType::BadString;
                return t;
            }
            ++i_;
            if (c != '\\') {
                t.value += c;
            } else if (at(i_) == '\n') {
                ++i_;  // an escaped newline continues the string
            } else if (!atEnd(i_)) {
                consumeEscape(t.value);
            }
        }
        return t;
    }

    CSSToken consumeNumeric() {
        CSSToken t{CSSTokenType::Number};
        t.isInteger = true;
        bool negative = false;
        if (s_[i_] == '+' || s_[i_] == '-') {
            t.hasSign = true;
            negative = s_[i_] == '-';
            ++i_;
        }
        int64_t magnitude = 0;
        for (; isASCIIDigit(at(i_)); ++i_) magnitude = std::min<int64_t>(magnitude * 10 + (s_[i_] - '0'), INT_MAX);
        if (at(i_) == '.' && isASCIIDigit(at(i_ + 1))) {
            t.isInteger = false;
            for (++i_; isASCIIDigit(at(i_)); ++i_) {}
        }
        char e = at(i_);
        bool exponent = (e == 'e' || e == 'E') &&
                        (isASCIIDigit(at(i_ + 1)) || ((at(i_ + 1) == '+' || at(i_ + 1) == '-') && isASCIIDigit(at(i_ + 2))));
        if (exponent) {
            t.isInteger = false;
            i_ += isASCIIDigit(at(i_ + 1)) ? 1 : 2;
            while (isASCIIDigit(at(i_))) ++i_;
        }
        t.integer = negative ? -magnitude : magnitude;
        if (startsIdentifier(i_)) {
            t.type = CSSTokenType::Dimension;
            t.value = consumeName();
        } else if (at(i_) == '%') {
            ++i_;
            t.type = CSSTokenType::Percentage;
        }
        return t;
    }

    std::string s_;
    size_t i_ = 0;
};

}  // namespace

std::vector<CSSToken> tokenizeCSS(std::string_view text) { return Tokenizer(preprocess(text)).run(); }

}  // namespace zv::html
