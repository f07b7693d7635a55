#include "CaseMapping.h"

#include "TextBreaks.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/locid.h>

#include <algorithm>
#include <memory>

namespace zv::textcase {

namespace {

// The root locale: "" for ICU's C-string locale arguments (null would mean
// the process's default locale).
constexpr const char* kRootLocale = "";

template <class MapASCII, class MapICU>
std::string mapped(std::string_view s, MapASCII mapASCII, MapICU mapICU) {
    std::string out;
    if (isASCII(s)) {
        out.resize(s.size());
        std::transform(s.begin(), s.end(), out.begin(), mapASCII);
        return out;
    }
    out.reserve(s.size());
    icu::StringByteSink<std::string> sink(&out);
    UErrorCode status = U_ZERO_ERROR;
    mapICU(icu::StringPiece(s.data(), int32_t(s.size())), sink, status);
    if (U_FAILURE(status)) return std::string(s);
    return out;
}

}  // namespace

bool isASCII(std::string_view s) noexcept {
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string lowercase(std::string_view utf8) {
    return mapped(
        utf8, [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; },
        [](icu::StringPiece s, icu::ByteSink& sink, UErrorCode& status) {
            icu::CaseMap::utf8ToLower(kRootLocale, 0, s, sink, nullptr, status);
        });
}

std::string uppercase(std::string_view utf8) {
    return mapped(
        utf8, [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; },
        [](icu::StringPiece s, icu::ByteSink& sink, UErrorCode& status) {
            icu::CaseMap::utf8ToUpper(kRootLocale, 0, s, sink, nullptr, status);
        });
}

std::string capitalize(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    icu::StringByteSink<std::string> sink(&out);
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToTitle(kRootLocale, 0, wordBreakIterator(), icu::StringPiece(utf8.data(), int32_t(utf8.size())),
                              sink, nullptr, status);
    if (U_FAILURE(status)) return std::string(utf8);
    return out;
}

}  // namespace zv::textcase
