// Writing code points as UTF-8.
#pragma once

#include <cstddef>
#include <string>

namespace zv::html {

// Writes the UTF-8 form of a code point (at most 4 bytes); returns its length.
inline size_t encodeUTF8(char32_t c, char* out) noexcept {
    if (c < 0x80) {
        out[0] = char(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = char(0xC0 | (c >> 6));
        out[1] = char(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = char(0xE0 | (c >> 12));
        out[1] = char(0x80 | ((c >> 6) & 0x3F));
        out[2] = char(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = char(0xF0 | (c >> 18));
    out[1] = char(0x80 | ((c >> 12) & 0x3F));
    out[2] = char(0x80 | ((c >> 6) & 0x3F));
    out[3] = char(0x80 | (c & 0x3F));
    return 4;
}

inline void appendUTF8(std::string& out, char32_t c) {
    char bytes[4];
    out.append(bytes, encodeUTF8(c, bytes));
}

}  // namespace zv::html
