#include <zv/foundation/Strings.h>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace zv {

namespace {

bool isSpace(char32_t c) { return u_isUWhiteSpace(UChar32(c)); }

}  // namespace

std::string_view trimCodePoints(std::string_view s, bool (*trims)(char32_t)) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    const auto length = static_cast<int32_t>(s.size());
    int32_t begin = 0;
    while (begin < length) {
        int32_t next = begin;
        UChar32 c;
        U8_NEXT(bytes, next, length, c);
        if (c < 0 || !trims(char32_t(c))) break;
        begin = next;
    }
    int32_t end = length;
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, begin, previous, c);
        if (c < 0 || !trims(char32_t(c))) break;
        end = previous;
    }
    return s.substr(begin, end - begin);
}

std::string zvTrim(std::string_view s) {
    return std::string(trimCodePoints(s, isSpace));
}

}  // namespace zv
