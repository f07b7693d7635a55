#include <zv/foundation/Strings.h>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace zv {

namespace {

bool isSpace(UChar32 c) { return c >= 0 && u_isUWhiteSpace(c); }

}  // namespace

std::string zvTrim(std::string_view s) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    const auto length = static_cast<int32_t>(s.size());
    int32_t begin = 0;
    while (begin < length) {
        int32_t next = begin;
        UChar32 c;
        U8_NEXT(bytes, next, length, c);
        if (!isSpace(c)) break;
        begin = next;
    }
    int32_t end = length;
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, begin, previous, c);
        if (!isSpace(c)) break;
        end = previous;
    }
    return std::string(s.substr(begin, end - begin));
}

}  // namespace zv
