// The HTML standard's "prescan a byte stream to determine its encoding",
// with "extracting a character encoding from a meta element".
//
// The prescan reads bytes, not characters: it runs before any decoding, on
// whatever ASCII-compatible bytes the document starts with. Running out of
// bytes anywhere ends it without a result, so a <meta> cut off by the
// 1024-byte window never counts.
#include <zv/html/HTMLEncoding.h>

#include "ASCIIText.h"

#include <algorithm>
#include <vector>

namespace zv::html {

namespace {

constexpr size_t kPrescanLength = 1024;

bool startsWithIgnoringASCIICase(std::string_view s, std::string_view lowerPrefix) {
    if (s.size() < lowerPrefix.size())
        return false;
    for (size_t i = 0; i < lowerPrefix.size(); ++i) {
        if (toASCIILower(s[i]) != lowerPrefix[i])
            return false;
    }
    return true;
}

// The two substitutions a <meta> is subject to: bytes readable as ASCII
// cannot be UTF-16, and x-user-defined is only for XMLHttpRequest.
std::string encodingDeclaredByMeta(std::string encoding) {
    if (encoding == "UTF-16BE" || encoding == "UTF-16LE")
        return "UTF-8";
    if (encoding == "x-user-defined")
        return "windows-1252";
    return encoding;
}

// "Extracting a character encoding from a meta element", on the value of a
// content attribute such as "text/html; charset=koi8-r".
std::optional<std::string> encodingFromContentAttribute(std::string_view s) {
    size_t position = 0;
    for (;;) {
        size_t found = std::string_view::npos;
        for (size_t i = position; i + 7 <= s.size(); ++i) {
            if (startsWithIgnoringASCIICase(s.substr(i), "charset")) {
                found = i;
                break;
            }
        }
        if (found == std::string_view::npos)
            return std::nullopt;
        position = found + 7;
        while (position < s.size() && isASCIIWhitespace(s[position]))
            ++position;
        if (position >= s.size() || s[position] != '=')
            continue;
        ++position;
        while (position < s.size() && isASCIIWhitespace(s[position]))
            ++position;
        if (position >= s.size())
            return std::nullopt;
        char quote = s[position];
        if (quote == '"' || quote == '\'') {
            size_t close = s.find(quote, position + 1);
            if (close == std::string_view::npos)
                return std::nullopt;
            return encodingForLabel(s.substr(position + 1, close - position - 1));
        }
        size_t end = s.find_first_of("\t\n\f\r ;", position);
        return encodingForLabel(s.substr(position, end == std::string_view::npos ? end : end - position));
    }
}

// "<" or "</" and an ASCII letter: a start or end tag whose attributes are skipped.
bool startsTag(std::string_view s) {
    if (s.size() > 1 && s[0] == '<' && isASCIIAlpha(s[1]))
        return true;
    return s.size() > 2 && s[0] == '<' && s[1] == '/' && isASCIIAlpha(s[2]);
}

struct Attribute {
    std::string name;
    std::string value;
};

enum class AttributeResult { Found, NoMore, OutOfBytes };

class Prescanner {
public:
    explicit Prescanner(std::string_view bytes) : bytes_(bytes.substr(0, kPrescanLength)) {}

    std::optional<std::string> run();

private:
    enum class MetaResult { Declared, NotDeclared, OutOfBytes };

    bool atEnd() const { return position_ >= bytes_.size(); }
    char current() const { return bytes_[position_]; }
    std::string_view rest() const { return bytes_.substr(position_); }

    bool skipToByteAfter(std::string_view terminator, size_t from);
    MetaResult scanMeta(std::string& declared);
    AttributeResult getAttribute(Attribute& attribute);
    bool skipAttributes();
    void skipWhitespace() {
        while (!atEnd() && isASCIIWhitespace(current()))
            ++position_;
    }

    std::string_view bytes_;
    size_t position_ = 0;
};

std::optional<std::string> Prescanner::run() {
    while (!atEnd()) {
        std::string_view here = rest();
        if (here.starts_with("<!--")) {
            // The "--" of "-->" may be the one that opened the comment: "<!-->" is a whole comment.
            if (!skipToByteAfter("-->", position_ + 2))
                return std::nullopt;
            continue;
        }
        if (startsWithIgnoringASCIICase(here, "<meta") && here.size() > 5
            && (isASCIIWhitespace(here[5]) || here[5] == '/')) {
            position_ += 5;
            std::string declared;
            switch (scanMeta(declared)) {
            case MetaResult::Declared:
                return declared;
            case MetaResult::OutOfBytes:
                return std::nullopt;
            case MetaResult::NotDeclared:
                ++position_;
                continue;
            }
        }
        if (startsTag(here)) {
            if (!skipAttributes())
                return std::nullopt;
            continue;
        }
        if (here.starts_with("<!") || here.starts_with("</") || here.starts_with("<?")) {
            if (!skipToByteAfter(">", position_ + 1))
                return std::nullopt;
            continue;
        }
        ++position_;
    }
    return std::nullopt;
}

bool Prescanner::skipToByteAfter(std::string_view terminator, size_t from) {
    size_t found = bytes_.find(terminator, from);
    if (found == std::string_view::npos)
        return false;
    position_ = found + terminator.size();
    return true;
}

// Another tag: its name up to white space or ">", then its attributes, read
// through so that a "<meta" inside a quoted value is not taken for a tag.
bool Prescanner::skipAttributes() {
    size_t end = bytes_.find_first_of("\t\n\f\r >", position_);
    if (end == std::string_view::npos)
        return false;
    position_ = end;
    Attribute attribute;
    for (;;) {
        switch (getAttribute(attribute)) {
        case AttributeResult::Found:
            continue;
        case AttributeResult::NoMore:
            ++position_;
            return true;
        case AttributeResult::OutOfBytes:
            return false;
        }
    }
}

Prescanner::MetaResult Prescanner::scanMeta(std::string& declared) {
    std::vector<std::string> seenNames;
    bool gotPragma = false;
    enum class NeedPragma { Unset, Yes, No } needPragma = NeedPragma::Unset;
    // A charset attribute that names no encoding still blocks a later content attribute.
    enum class Charset { Unset, Failure, Found } charset = Charset::Unset;

    Attribute attribute;
    for (;;) {
        AttributeResult result = getAttribute(attribute);
        if (result == AttributeResult::OutOfBytes)
            return MetaResult::OutOfBytes;
        if (result == AttributeResult::NoMore)
            break;
        if (std::find(seenNames.begin(), seenNames.end(), attribute.name) != seenNames.end())
            continue;
        seenNames.push_back(attribute.name);
        if (attribute.name == "http-equiv") {
            if (attribute.value == "content-type")
                gotPragma = true;
        } else if (attribute.name == "content") {
            if (charset != Charset::Unset)
                continue;
            if (auto encoding = encodingFromContentAttribute(attribute.value)) {
                declared = std::move(*encoding);
                charset = Charset::Found;
                needPragma = NeedPragma::Yes;
            }
        } else if (attribute.name == "charset") {
            auto encoding = encodingForLabel(attribute.value);
            charset = encoding ? Charset::Found : Charset::Failure;
            declared = encoding.value_or("");
            needPragma = NeedPragma::No;
        }
    }

    if (needPragma == NeedPragma::Unset || charset != Charset::Found)
        return MetaResult::NotDeclared;
    if (needPragma == NeedPragma::Yes && !gotPragma)
        return MetaResult::NotDeclared;
    declared = encodingDeclaredByMeta(std::move(declared));
    return MetaResult::Declared;
}

// The standard's "get an attribute": names and values are lower-cased, and
// the position is left on the byte that ended the attribute.
AttributeResult Prescanner::getAttribute(Attribute& attribute) {
    while (!atEnd() && (isASCIIWhitespace(current()) || current() == '/'))
        ++position_;
    if (atEnd())
        return AttributeResult::OutOfBytes;
    if (current() == '>')
        return AttributeResult::NoMore;

    attribute.name.clear();
    attribute.value.clear();

    // Attribute name.
    for (;; ++position_) {
        if (atEnd())
            return AttributeResult::OutOfBytes;
        char c = current();
        if (c == '=' && !attribute.name.empty())
            break;
        if (isASCIIWhitespace(c)) {
            skipWhitespace();
            if (atEnd())
                return AttributeResult::OutOfBytes;
            if (current() != '=')
                return AttributeResult::Found;
            break;
        }
        if (c == '/' || c == '>')
            return AttributeResult::Found;
        attribute.name += toASCIILower(c);
    }
    ++position_;  // past "="

    // Attribute value.
    skipWhitespace();
    if (atEnd())
        return AttributeResult::OutOfBytes;
    char quote = current();
    if (quote == '"' || quote == '\'') {
        for (++position_; !atEnd(); ++position_) {
            if (current() == quote) {
                ++position_;
                return AttributeResult::Found;
            }
            attribute.value += toASCIILower(current());
        }
        return AttributeResult::OutOfBytes;
    }
    if (quote == '>')
        return AttributeResult::Found;
    for (; !atEnd(); ++position_) {
        char c = current();
        if (isASCIIWhitespace(c) || c == '>')
            return AttributeResult::Found;
        attribute.value += toASCIILower(c);
    }
    return AttributeResult::OutOfBytes;
}

}  // namespace

std::optional<std::string> prescanForEncoding(std::string_view bytes) {
    return Prescanner(bytes).run();
}

}  // namespace zv::html
