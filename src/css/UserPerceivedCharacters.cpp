#include "UserPerceivedCharacters.h"
#include "TextBreaks.h"

#include <zv/foundation/Strings.h>

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <memory>

namespace zv::css {

namespace {

// Plain ASCII without carriage returns is one character per byte, and no
// ASCII separator there can be joined to its neighbours: no ICU needed.
bool isSimpleText(std::string_view text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\r') return false;
    return true;
}

// Calls onBoundary(byteOffset) for every character boundary of `text`, its
// start and end included; false when ICU cannot read the text.
template <class OnBoundary>
bool forEachCharacterBoundary(std::string_view text, OnBoundary&& onBoundary) {
    icu::BreakIterator* iterator = characterBreakIterator();
    if (!iterator) return false;
    UErrorCode status = U_ZERO_ERROR;
    // A UTF-8 UText makes the iterator's positions byte offsets.
    UText* utext = utext_openUTF8(nullptr, text.data(), int64_t(text.size()), &status);
    if (U_SUCCESS(status)) iterator->setText(utext, status);
    if (U_FAILURE(status)) {
        utext_close(utext);
        return false;
    }
    for (int32_t at = iterator->first(); at != icu::BreakIterator::DONE; at = iterator->next()) onBoundary(size_t(at));
    // The iterator keeps a reference to the text: point it at nothing before closing.
    iterator->setText(icu::UnicodeString());
    utext_close(utext);
    return true;
}

bool isSpaceOrTab(char32_t c) { return u_isblank(UChar32(c)); }

}  // namespace

size_t characterCount(std::string_view text) {
    if (isSimpleText(text)) return text.size();
    size_t boundaries = 0;
    if (!forEachCharacterBoundary(text, [&](size_t) { ++boundaries; })) return text.size();
    return boundaries ? boundaries - 1 : 0;
}

std::vector<std::string_view> splitAtCharacter(std::string_view text, char separator) {
    std::vector<bool> boundary;
    if (!isSimpleText(text)) {
        boundary.assign(text.size() + 1, false);
        if (!forEachCharacterBoundary(text, [&](size_t at) { boundary[at] = true; })) boundary.clear();
    }
    std::vector<std::string_view> pieces;
    size_t start = 0;
    for (size_t at = text.find(separator); at != std::string_view::npos; at = text.find(separator, at + 1)) {
        if (!boundary.empty() && !(boundary[at] && boundary[at + 1])) continue;
        if (at > start) pieces.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    if (start < text.size()) pieces.push_back(text.substr(start));
    return pieces;
}

std::string_view trimSpacesAndTabs(std::string_view text) { return trimCodePoints(text, isSpaceOrTab); }

}  // namespace zv::css
