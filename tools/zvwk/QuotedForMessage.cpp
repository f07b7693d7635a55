// Arguments echoed in error messages, made safe for a terminal.
#include "Commands.h"

#include <cstdio>

namespace zvwk {

std::string quotedForMessage(std::string_view text, size_t limit) {
    std::string quoted = "\"";
    for (size_t i = 0; i < text.size() && i < limit; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += char(c);
        } else if (c < 0x20 || c == 0x7F) {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02X", c);
            quoted += escape;
        } else {
            // Bytes from 0x80 up pass: UTF-8 names stay readable, and a
            // terminal does not act on them.
            quoted += char(c);
        }
    }
    quoted += '"';
    if (text.size() > limit) quoted += "... (" + std::to_string(text.size()) + " bytes)";
    return quoted;
}

}  // namespace zvwk
