// ASCII character classes and case folding as the HTML standard uses them.
// Markup names, keywords, MIME types and CSS colour syntax are ASCII; these
// never look at other characters.
//
// src/common/ holds the private helpers every library shares: header-only, on
// the include path of zvhtml, zvcore and zvwebkit alike but installed with
// none, so no library reaches up into another's folder for them.
#pragma once

#include <string>
#include <string_view>

namespace zv {

// Tab, LF, FF, CR and space: the standard's "ASCII whitespace".
inline bool isASCIIWhitespace(int c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }
inline bool isASCIIAlpha(int c) noexcept { return unsigned((c | 0x20) - 'a') < 26; }
inline bool isASCIIDigit(int c) noexcept { return unsigned(c - '0') < 10; }
inline bool isASCIIAlphanumeric(int c) noexcept { return isASCIIAlpha(c) || isASCIIDigit(c); }
inline int hexDigitValue(int c) noexcept {
    if (isASCIIDigit(c)) return c - '0';
    unsigned lower = unsigned((c | 0x20) - 'a');
    return lower < 6 ? int(lower) + 10 : -1;
}
inline char toASCIILower(char c) noexcept { return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c; }

inline bool hasASCIIUpper(std::string_view s) noexcept {
    for (char c : s)
        if (c >= 'A' && c <= 'Z') return true;
    return false;
}

inline std::string toASCIILower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = toASCIILower(c);
    return out;
}

inline bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (toASCIILower(a[i]) != toASCIILower(b[i])) return false;
    return true;
}

inline bool startsWithIgnoringASCIICase(std::string_view s, std::string_view prefix) noexcept {
    return s.size() >= prefix.size() && equalsIgnoringASCIICase(s.substr(0, prefix.size()), prefix);
}

inline std::string_view trimASCIIWhitespace(std::string_view s) noexcept {
    while (!s.empty() && isASCIIWhitespace(s.front())) s.remove_prefix(1);
    while (!s.empty() && isASCIIWhitespace(s.back())) s.remove_suffix(1);
    return s;
}

}  // namespace zv
