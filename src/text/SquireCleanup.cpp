#include <zv/text/SquireCleanup.h>

namespace zv {

// One pass over the bytes: no replacement can form another one's target, so
// this equals replacing the four characters one after the other.
std::string squireCleanup(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const size_t next = text.find_first_of("\xC2\xE2\xEF", i);
        if (next == std::string_view::npos) break;
        out.append(text, i, next - i);
        const std::string_view rest = text.substr(next);
        if (rest.starts_with("\xC2\xA0")) {  // U+00A0
            out += ' ';
            i = next + 2;
        } else if (rest.starts_with("\xE2\x80\x8C") || rest.starts_with("\xE2\x80\x8B") ||  // U+200C, U+200B
                   rest.starts_with("\xEF\xBF\xBC")) {                                       // U+FFFC
            i = next + 3;
        } else {
            out += text[next];
            i = next + 1;
        }
    }
    out.append(text, i);
    return out;
}

}  // namespace zv
