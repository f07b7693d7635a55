#include "CSSURLLocator.h"

#include "ASCIIText.h"
#include "UTF8.h"

#include <algorithm>
#include <cstddef>

namespace zv::reading {

namespace {

bool isNameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '@' || static_cast<unsigned char>(c) >= 0x80;
}

bool endsWithIgnoringASCIICase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && equalsIgnoringASCIICase(text.substr(text.size() - suffix.size()), suffix);
}

// Where the escape whose backslash stands at `i` ends: after up to six hex
// digits and one white space that ends them, else after the one character.
std::size_t escapeEnd(std::string_view css, std::size_t i) {
    std::size_t end = i + 1;
    while (end < css.size() && end < i + 7 && hexDigitValue(css[end]) >= 0) ++end;
    if (end == i + 1) return std::min(i + 2, css.size());
    return end < css.size() && isASCIIWhitespace(css[end]) ? end + 1 : end;
}

bool startsEscape(std::string_view css, std::size_t i) {
    return css[i] == '\\' && i + 1 < css.size() && css[i + 1] != '\n';
}

// What an escape stands for: U+FFFD for zero, a surrogate or past U+10FFFF.
void appendEscapedCodePoint(std::string& out, char32_t c) {
    if (c == 0 || (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) c = 0xFFFD;
    html::appendUTF8(out, c);
}

class Scanner {
public:
    explicit Scanner(std::string_view css) : css_(css) {}

    std::vector<TextRange> run() {
        while (i_ < css_.size()) step();
        return std::move(ranges_);
    }

private:
    void step() {
        char c = css_[i_];
        if (c == '/' && i_ + 1 < css_.size() && css_[i_ + 1] == '*') return skipComment();
        if (c == '"' || c == '\'') return string(urlStringExpected());
        // An escaped character is part of a name, never a delimiter.
        if (isNameChar(c) || startsEscape(css_, i_)) return name();
        ++i_;
        if (c == '(') ++depth_;
        if (c == ')' && depth_ > 0 && --depth_ < imageSetDepth_) imageSetDepth_ = kNone;
        if (c == ';' || c == '{' || c == '}') importPending_ = customValue_ = false;
    }

    bool urlStringExpected() const {
        return importPending_ || customValue_ || (imageSetDepth_ != kNone && depth_ == imageSetDepth_);
    }

    void skipComment() {
        std::size_t end = css_.find("*/", i_ + 2);
        i_ = end == std::string_view::npos ? css_.size() : end + 2;
    }

    // A quoted string from the quote at i_; records its content when it names a URL.
    void string(bool isURL) {
        char quote = css_[i_++];
        std::size_t start = i_;
        while (i_ < css_.size() && css_[i_] != quote && css_[i_] != '\n') i_ = css_[i_] == '\\' ? escapeEnd(css_, i_) : i_ + 1;
        std::size_t end = std::min(i_, css_.size());
        if (isURL) ranges_.push_back({start, end - start});
        importPending_ = false;
        if (i_ < css_.size()) ++i_;
    }

    // A name, its escapes read: "u\72 l(" is "url(".
    void name() {
        std::size_t start = i_;
        while (i_ < css_.size() && (isNameChar(css_[i_]) || startsEscape(css_, i_)))
            i_ = css_[i_] == '\\' ? escapeEnd(css_, i_) : i_ + 1;
        std::string word = cssUnescaped(css_.substr(start, i_ - start));
        if (equalsIgnoringASCIICase(word, "@import")) {
            importPending_ = true;
            return;
        }
        // A custom property's strings may reach an image-set through var().
        if (word.starts_with("--")) {
            std::size_t next = i_;
            while (next < css_.size() && isASCIIWhitespace(css_[next])) ++next;
            if (next < css_.size() && css_[next] == ':') customValue_ = true;
            return;
        }
        if (i_ >= css_.size() || css_[i_] != '(') return;
        if (equalsIgnoringASCIICase(word, "url")) return url();
        if (endsWithIgnoringASCIICase(word, "image-set")) imageSetDepth_ = depth_ + 1;
    }

    // url( at i_: a quoted string, or everything up to ")" or white space.
    void url() {
        ++i_;
        while (i_ < css_.size() && isASCIIWhitespace(css_[i_])) ++i_;
        if (i_ < css_.size() && (css_[i_] == '"' || css_[i_] == '\'')) {
            string(true);
        } else {
            std::size_t start = i_;
            while (i_ < css_.size() && css_[i_] != ')' && !isASCIIWhitespace(css_[i_]))
                i_ = css_[i_] == '\\' ? escapeEnd(css_, i_) : i_ + 1;
            std::size_t end = std::min(i_, css_.size());
            if (end > start) ranges_.push_back({start, end - start});
            importPending_ = false;
        }
        while (i_ < css_.size() && css_[i_] != ')') ++i_;
        if (i_ < css_.size()) ++i_;
    }

    static constexpr int kNone = -1;
    std::string_view css_;
    std::size_t i_ = 0;
    int depth_ = 0;
    int imageSetDepth_ = kNone;
    bool importPending_ = false;
    bool customValue_ = false;
    std::vector<TextRange> ranges_;
};

}  // namespace

std::vector<TextRange> cssURLRanges(std::string_view css) { return Scanner(css).run(); }

std::string cssUnescaped(std::string_view css) {
    std::string out;
    out.reserve(css.size());
    for (std::size_t i = 0; i < css.size();) {
        if (css[i] != '\\') {
            out += css[i++];
            continue;
        }
        std::size_t end = escapeEnd(css, i);
        if (i + 1 < css.size() && hexDigitValue(css[i + 1]) >= 0) {
            char32_t c = 0;
            for (std::size_t k = i + 1; k < end && hexDigitValue(css[k]) >= 0; ++k) c = c * 16 + hexDigitValue(css[k]);
            appendEscapedCodePoint(out, c);
        } else if (i + 1 < css.size() && css[i + 1] != '\n') {
            out += css[i + 1];
        }
        // A backslash before a line break joins two lines of a string.
        i = end;
    }
    return out;
}

std::string cssEscaped(std::string_view url) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (char c : url) {
        auto byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && byte != 0x7F && c != '\\' && c != '"' && c != '\'' && c != '(' && c != ')') {
            out += c;
            continue;
        }
        out += '\\';
        if (byte >= 0x10) out += kHex[byte >> 4];
        out += kHex[byte & 15];
        out += ' ';
    }
    return out;
}

}  // namespace zv::reading
