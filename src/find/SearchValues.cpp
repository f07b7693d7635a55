#include <zv/find/SearchValues.h>

#include <optional>

namespace zv {

namespace {

bool isSkipped(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }
bool isQuote(char c) { return c == '\'' || c == '"'; }

// A scanner that skips blanks and line breaks before every scan.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool atEnd() {
        skip();
        return position_ == text_.size();
    }

    std::optional<std::string> scanQuotes() {
        skip();
        size_t start = position_;
        while (position_ < text_.size() && isQuote(text_[position_])) ++position_;
        return taken(start);
    }

    // Up to (not including) `stop`, or to the end; keeps blanks before it.
    std::optional<std::string> scanUpTo(std::string_view stop) {
        skip();
        size_t start = position_;
        size_t found = text_.find(stop, position_);
        position_ = found == std::string_view::npos ? text_.size() : found;
        return taken(start);
    }

    std::optional<std::string> scanUpToQuote() {
        skip();
        size_t start = position_;
        while (position_ < text_.size() && !isQuote(text_[position_])) ++position_;
        return taken(start);
    }

private:
    void skip() {
        while (position_ < text_.size() && isSkipped(text_[position_])) ++position_;
    }
    std::optional<std::string> taken(size_t start) const {
        if (position_ == start) return std::nullopt;
        return std::string(text_.substr(start, position_ - start));
    }

    std::string_view text_;
    size_t position_ = 0;
};

}  // namespace

std::vector<std::string> parseStringForValues(std::string_view text) {
    std::vector<std::string> phrases;
    std::string plain;
    Scanner scanner(text);
    while (!scanner.atEnd()) {
        if (std::optional<std::string> open = scanner.scanQuotes()) {
            if (std::optional<std::string> quoted = scanner.scanUpTo(*open)) {
                if (scanner.atEnd()) {
                    plain += *open + *quoted;
                } else {
                    scanner.scanQuotes();
                    phrases.push_back(*quoted);
                }
            }
        }
        if (std::optional<std::string> rest = scanner.scanUpToQuote()) plain += *rest;
    }
    size_t start = 0;
    while (start <= plain.size()) {
        size_t blank = plain.find(' ', start);
        if (blank == std::string::npos) blank = plain.size();
        if (blank > start) phrases.push_back(plain.substr(start, blank - start));
        start = blank + 1;
    }
    if (phrases.empty()) phrases.emplace_back(text);
    return phrases;
}

}  // namespace zv
