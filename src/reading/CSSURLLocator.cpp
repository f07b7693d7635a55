#include "CSSURLLocator.h"

#include "ASCIIText.h"

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
        if (c == '\\') {
            i_ += 2;  // an escaped character is part of a name, never a delimiter
            return;
        }
        if (isNameChar(c)) return name();
        ++i_;
        if (c == '(') ++depth_;
        if (c == ')' && depth_ > 0 && --depth_ < imageSetDepth_) imageSetDepth_ = kNone;
        if (c == ';' || c == '{' || c == '}') importPending_ = false;
    }

    bool urlStringExpected() const { return importPending_ || (imageSetDepth_ != kNone && depth_ == imageSetDepth_); }

    void skipComment() {
        std::size_t end = css_.find("*/", i_ + 2);
        i_ = end == std::string_view::npos ? css_.size() : end + 2;
    }

    // A quoted string from the quote at i_; records its content when it names a URL.
    void string(bool isURL) {
        char quote = css_[i_++];
        std::size_t start = i_;
        while (i_ < css_.size() && css_[i_] != quote && css_[i_] != '\n') i_ += css_[i_] == '\\' ? 2 : 1;
        std::size_t end = std::min(i_, css_.size());
        if (isURL) ranges_.push_back({start, end - start});
        importPending_ = false;
        if (i_ < css_.size()) ++i_;
    }

    void name() {
        std::size_t start = i_;
        while (i_ < css_.size() && isNameChar(css_[i_])) ++i_;
        std::string_view word = css_.substr(start, i_ - start);
        if (equalsIgnoringASCIICase(word, "@import")) {
            importPending_ = true;
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
            while (i_ < css_.size() && css_[i_] != ')' && !isASCIIWhitespace(css_[i_])) i_ += css_[i_] == '\\' ? 2 : 1;
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
    std::vector<TextRange> ranges_;
};

}  // namespace

std::vector<TextRange> cssURLRanges(std::string_view css) { return Scanner(css).run(); }

}  // namespace zv::reading
