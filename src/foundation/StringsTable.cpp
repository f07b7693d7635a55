#include <zv/foundation/StringsTable.h>

#include <glib.h>

#include <algorithm>
#include <memory>

namespace zv {

namespace {

bool isUnquotedChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_$+/:.-").find(c) != std::string_view::npos;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void appendUTF8(std::string& out, char32_t c) {
    char buffer[6];
    out.append(buffer, g_unichar_to_utf8(c, buffer));
}

// UTF-16 files are rare but legal; a UTF-8 mark is just dropped.
std::string utf8Text(std::string_view text) {
    auto convertFrom = [&](const char* encoding) {
        gsize written = 0;
        std::unique_ptr<char, decltype(&g_free)> converted(
            g_convert(text.data() + 2, gssize(text.size() - 2), "UTF-8", encoding, nullptr, &written, nullptr),
            g_free);
        return converted ? std::string(converted.get(), written) : std::string();
    };
    if (text.starts_with("\xEF\xBB\xBF")) return std::string(text.substr(3));
    if (text.starts_with("\xFF\xFE")) return convertFrom("UTF-16LE");
    if (text.starts_with("\xFE\xFF")) return convertFrom("UTF-16BE");
    return std::string(text);
}

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    StringsTable parse(std::string* error) {
        StringsTable table;
        while (skipSpaceAndComments()) {
            if (!entry(table)) {
                if (error) *error = "line " + std::to_string(lineAt(failedAt_)) + ": " + failure_;
                return table;
            }
        }
        if (!failure_.empty() && error) *error = "line " + std::to_string(lineAt(failedAt_)) + ": " + failure_;
        return table;
    }

private:
    bool atEnd() const { return at_ >= text_.size(); }
    char peek() const { return text_[at_]; }

    bool fail(std::string what) {
        if (failure_.empty()) {
            failure_ = std::move(what);
            failedAt_ = at_;
        }
        return false;
    }

    size_t lineAt(size_t position) const {
        return 1 + size_t(std::count(text_.begin(), text_.begin() + std::min(position, text_.size()), '\n'));
    }

    // False at the end of the text (or inside an unclosed comment).
    bool skipSpaceAndComments() {
        while (!atEnd()) {
            char c = peek();
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
                ++at_;
            } else if (text_.substr(at_).starts_with("//")) {
                size_t end = text_.find('\n', at_);
                at_ = end == std::string_view::npos ? text_.size() : end + 1;
            } else if (text_.substr(at_).starts_with("/*")) {
                size_t end = text_.find("*/", at_ + 2);
                if (end == std::string_view::npos) return fail("unterminated comment");
                at_ = end + 2;
            } else {
                return true;
            }
        }
        return false;
    }

    // `"key" = "value";` or `"key";`.
    bool entry(StringsTable& table) {
        std::string key;
        if (!token(key)) return false;
        if (!skipSpaceAndComments()) return fail("expected \"=\" or \";\" after the key");
        std::string value = key;
        if (peek() == '=') {
            ++at_;
            if (!skipSpaceAndComments()) return fail("expected a value after \"=\"");
            if (!token(value)) return false;
            // The last entry of a file may go without its semicolon.
            if (!skipSpaceAndComments()) {
                table.insert_or_assign(std::move(key), std::move(value));
                return failure_.empty();
            }
        }
        if (peek() != ';') return fail("expected \";\"");
        ++at_;
        table.insert_or_assign(std::move(key), std::move(value));
        return true;
    }

    bool token(std::string& out) {
        if (peek() == '"') return quoted(out);
        size_t start = at_;
        while (!atEnd() && isUnquotedChar(peek())) ++at_;
        if (at_ == start) return fail(std::string("unexpected \"") + peek() + "\"");
        out.assign(text_.substr(start, at_ - start));
        return true;
    }

    bool quoted(std::string& out) {
        size_t open = at_++;
        out.clear();
        while (!atEnd()) {
            char c = text_[at_++];
            if (c == '"') return true;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (atEnd()) break;
            if (!escape(out)) return false;
        }
        at_ = open;
        return fail("unterminated string");
    }

    // The character after a backslash, which is consumed.
    bool escape(std::string& out) {
        char c = text_[at_++];
        switch (c) {
        case 'n': out += '\n'; return true;
        case 't': out += '\t'; return true;
        case 'r': out += '\r'; return true;
        case '0': out += '\0'; return true;
        case 'U':
        case 'u': return unicodeEscape(out);
        default: out += c; return true;  // \" \\ \' and unknown ones: the character itself
        }
    }

    std::optional<char16_t> hex4() {
        if (at_ + 4 > text_.size()) return std::nullopt;
        char16_t unit = 0;
        for (size_t i = 0; i < 4; ++i) {
            int digit = hexValue(text_[at_ + i]);
            if (digit < 0) return std::nullopt;
            unit = char16_t(unit * 16 + digit);
        }
        at_ += 4;
        return unit;
    }

    bool unicodeEscape(std::string& out) {
        auto unit = hex4();
        if (!unit) return fail("expected four hex digits after \\U");
        char32_t c = *unit;
        if (c >= 0xD800 && c <= 0xDBFF && text_.substr(at_).size() >= 2 && text_[at_] == '\\' &&
            (text_[at_ + 1] == 'U' || text_[at_ + 1] == 'u')) {
            size_t save = at_;
            at_ += 2;
            auto low = hex4();
            if (low && *low >= 0xDC00 && *low <= 0xDFFF)
                c = 0x10000 + ((c - 0xD800) << 10) + (*low - 0xDC00);
            else
                at_ = save;
        }
        appendUTF8(out, c >= 0xD800 && c <= 0xDFFF ? 0xFFFD : c);
        return true;
    }

    std::string_view text_;
    size_t at_ = 0;
    std::string failure_;
    size_t failedAt_ = 0;
};

}  // namespace

StringsTable parseStringsTable(std::string_view text, std::string* error) {
    std::string utf8 = utf8Text(text);
    return Parser(utf8).parse(error);
}

}  // namespace zv
