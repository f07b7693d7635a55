// ASCII case folding and white space, as CSS and the HTML standard define
// them: only A-Z fold, so non-ASCII text compares exactly.
#pragma once

#include <string>
#include <string_view>

namespace zv::html {

constexpr char toASCIILowerChar(char c) noexcept { return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c; }

inline std::string toASCIILower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = toASCIILowerChar(c);
    return out;
}

inline bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (toASCIILowerChar(a[i]) != toASCIILowerChar(b[i])) return false;
    return true;
}

inline bool startsWithIgnoringASCIICase(std::string_view s, std::string_view prefix) noexcept {
    return s.size() >= prefix.size() && equalsIgnoringASCIICase(s.substr(0, prefix.size()), prefix);
}

// Tab, LF, FF, CR and space: the HTML standard's ASCII white space.
constexpr bool isASCIIWhitespace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

}  // namespace zv::html
