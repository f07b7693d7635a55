#include <zv/html/HTMLEntities.h>

#include "CharacterReferences.h"

#include <algorithm>

namespace zv::html {

namespace {

// Decodes the numeric reference whose digits start at `i` (just after "&#");
// returns the offset after it, or 0 when there are no digits.
size_t decodeNumericReference(std::string_view text, size_t i, std::string& out) {
    bool hex = i < text.size() && (text[i] == 'x' || text[i] == 'X');
    if (hex) ++i;
    size_t digitsStart = i;
    uint32_t code = 0;
    for (; i < text.size(); ++i) {
        int digit = hex ? hexDigitValue(uint8_t(text[i])) : isASCIIDigit(text[i]) ? text[i] - '0' : -1;
        if (digit < 0) break;
        code = std::min<uint32_t>(code * (hex ? 16 : 10) + uint32_t(digit), 0x110000);
    }
    if (i == digitsStart) return 0;
    if (i < text.size() && text[i] == ';') ++i;
    appendUTF8(out, resolveNumericCharacterReference(code).codePoint);
    return i;
}

// A named reference the standard leaves alone in an attribute value: a
// legacy name, without ";", that runs on into a letter, digit or "=".
bool isKeptInAttribute(std::string_view text, size_t end) {
    if (text[end - 1] == ';' || end >= text.size()) return false;
    return isASCIIAlphanumeric(text[end]) || text[end] == '=';
}

std::string decodeHTMLEntities(std::string_view text, bool inAttribute) {
    std::string out;
    out.reserve(text.size());
    size_t i = 0;
    for (size_t amp; (amp = text.find('&', i)) != std::string_view::npos;) {
        out.append(text.substr(i, amp - i));
        i = amp + 1;
        if (i < text.size() && text[i] == '#') {
            if (size_t end = decodeNumericReference(text, i + 1, out)) {
                i = end;
                continue;
            }
        } else if (auto match = matchNamedCharacterReference(text.substr(i, kLongestNamedCharacterReference));
                   match.length && !(inAttribute && isKeptInAttribute(text, i + match.length))) {
            out.append(match.value);
            i += match.length;
            continue;
        }
        out += '&';
    }
    out.append(text.substr(i));
    return out;
}

}  // namespace

std::string stringByDecodingHTMLEntities(std::string_view text) { return decodeHTMLEntities(text, false); }

std::string stringByDecodingHTMLEntitiesInAttribute(std::string_view text) { return decodeHTMLEntities(text, true); }

std::string stringByEncodingHTMLEntities(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out += c;
        }
    }
    return out;
}

}  // namespace zv::html
