#include "CSSAnPlusB.h"

#include "ASCIIText.h"

#include <climits>

namespace zv::html {

namespace {

class AnPlusBReader {
public:
    AnPlusBReader(const std::vector<CSSToken>& tokens, size_t& pos, size_t end) : t_(tokens), pos_(pos), end_(end) {}

    std::optional<AnPlusB> read() {
        skipWhitespace();
        if (pos_ == end_) return std::nullopt;
        const CSSToken& token = t_[pos_];
        switch (token.type) {
        case CSSTokenType::Number:
            if (!token.isInteger) return std::nullopt;
            ++pos_;
            return AnPlusB{0, int(token.integer)};
        case CSSTokenType::Dimension:
            if (!token.isInteger) return std::nullopt;
            ++pos_;
            return afterN(int(token.integer), toASCIILower(token.value));
        case CSSTokenType::Ident: {
            std::string name = toASCIILower(token.value);
            ++pos_;
            if (name == "odd") return AnPlusB{2, 1};
            if (name == "even") return AnPlusB{2, 0};
            if (name.starts_with('-')) return afterN(-1, name.substr(1));
            return afterN(1, name);
        }
        case CSSTokenType::Delim: {
            // `+n`: the sign and the identifier must touch.
            if (token.delim != '+' || pos_ + 1 == end_) return std::nullopt;
            const CSSToken& ident = t_[pos_ + 1];
            if (ident.type != CSSTokenType::Ident || ident.value.starts_with('-')) return std::nullopt;
            pos_ += 2;
            return afterN(1, toASCIILower(ident.value));
        }
        default: return std::nullopt;
        }
    }

private:
    void skipWhitespace() {
        while (pos_ < end_ && t_[pos_].type == CSSTokenType::Whitespace) ++pos_;
    }

    const CSSToken* peek() const { return pos_ < end_ ? &t_[pos_] : nullptr; }

    static bool isSignlessInteger(const CSSToken* t) {
        return t && t->type == CSSTokenType::Number && t->isInteger && !t->hasSign;
    }

    // `rest` is what follows A: "n", "n-" or "n-" and digits.
    std::optional<AnPlusB> afterN(int a, std::string_view rest) {
        if (rest == "n") return AnPlusB{a, offsetAfterN()};
        if (rest == "n-") {
            skipWhitespace();
            const CSSToken* b = peek();
            if (!isSignlessInteger(b)) return std::nullopt;
            ++pos_;
            return AnPlusB{a, int(-b->integer)};
        }
        if (!rest.starts_with("n-") || rest.size() == 2) return std::nullopt;
        int64_t b = 0;
        for (char c : rest.substr(2)) {
            if (c < '0' || c > '9') return std::nullopt;
            b = std::min<int64_t>(b * 10 + (c - '0'), INT_MAX);
        }
        return AnPlusB{a, int(-b)};
    }

    // The optional `+B`, `-B`, `+ B` or `- B` after "n"; 0 when absent.
    int offsetAfterN() {
        size_t start = pos_;
        skipWhitespace();
        const CSSToken* t = peek();
        if (t && t->type == CSSTokenType::Number && t->isInteger && t->hasSign) {
            ++pos_;
            return int(t->integer);
        }
        if (t && (t->isDelim('+') || t->isDelim('-'))) {
            int sign = t->delim == '-' ? -1 : 1;
            ++pos_;
            skipWhitespace();
            const CSSToken* b = peek();
            if (isSignlessInteger(b)) {
                ++pos_;
                return sign * int(b->integer);
            }
        }
        pos_ = start;  // the caller rejects whatever is left
        return 0;
    }

    const std::vector<CSSToken>& t_;
    size_t& pos_;
    size_t end_;
};

}  // namespace

std::optional<AnPlusB> parseAnPlusB(const std::vector<CSSToken>& tokens, size_t& pos, size_t end) {
    return AnPlusBReader(tokens, pos, end).read();
}

}  // namespace zv::html
