#include "CharacterReferences.h"

#include <algorithm>
#include <array>

namespace zv::html {

namespace {

struct NamedReference {
    std::string_view name;
    std::string_view value;
};

constexpr NamedReference kNamedReferences[] = {
#include "NamedCharacterReferences.inc"
};
constexpr size_t kCount = std::size(kNamedReferences);

static_assert(std::ranges::is_sorted(kNamedReferences, {}, &NamedReference::name));
static_assert(std::ranges::max(kNamedReferences, {}, [](const NamedReference& r) { return r.name.size(); })
                  .name.size() == kLongestNamedCharacterReference);

// [first, last) of the entries starting with each byte, so that a match
// starts from a few dozen entries instead of the whole table.
struct Range {
    uint16_t first = 0, last = 0;
};
constexpr auto kByFirstByte = [] {
    std::array<Range, 128> ranges{};
    for (size_t i = 0; i < kCount; ++i) {
        auto& r = ranges[uint8_t(kNamedReferences[i].name[0])];
        if (r.first == r.last) r.first = uint16_t(i);
        r.last = uint16_t(i + 1);
    }
    return ranges;
}();

// The byte at `depth` of an entry, or -1 past its end, so that a name sorts
// before its own extensions.
int byteAt(const NamedReference& r, size_t depth) noexcept {
    return depth < r.name.size() ? uint8_t(r.name[depth]) : -1;
}

// The entry for a name written in full, with its ';': no name holds a ';'
// before its end, so no longer entry can match. Most references are written
// so ("&nbsp;"), and one search settles them.
const NamedReference* findTerminatedName(std::string_view text, const NamedReference* first,
                                         const NamedReference* last) noexcept {
    size_t end = 0;
    while (end < text.size() && isASCIIAlphanumeric(text[end])) ++end;
    if (end == text.size() || text[end] != ';') return nullptr;
    std::string_view name = text.substr(0, end + 1);
    const NamedReference* found =
        std::lower_bound(first, last, name, [](const NamedReference& r, std::string_view n) { return r.name < n; });
    return found != last && found->name == name ? found : nullptr;
}

}  // namespace

NamedCharacterReferenceMatch matchNamedCharacterReference(std::string_view text) noexcept {
    NamedCharacterReferenceMatch match;
    if (text.empty() || uint8_t(text[0]) >= 128) return match;
    const auto range = kByFirstByte[uint8_t(text[0])];
    const NamedReference* first = kNamedReferences + range.first;
    const NamedReference* last = kNamedReferences + range.last;
    if (const NamedReference* full = findTerminatedName(text, first, last)) return {full->name.size(), full->value};
    // Every entry in [first, last) starts with text[0, depth); narrow on the
    // next byte. The entry equal to the prefix, if any, sorts first.
    for (size_t depth = 0; first != last; ++depth) {
        if (first->name.size() == depth) {
            match = {depth, first->value};
            ++first;
        }
        if (depth == text.size()) break;
        int c = uint8_t(text[depth]);
        first = std::partition_point(first, last, [&](const NamedReference& r) { return byteAt(r, depth) < c; });
        last = std::partition_point(first, last, [&](const NamedReference& r) { return byteAt(r, depth) == c; });
    }
    return match;
}

NumericCharacterReference resolveNumericCharacterReference(uint32_t code) noexcept {
    if (code == 0) return {0xFFFD, "null-character-reference"};
    if (code > 0x10FFFF) return {0xFFFD, "character-reference-outside-unicode-range"};
    if (code >= 0xD800 && code <= 0xDFFF) return {0xFFFD, "surrogate-character-reference"};
    if ((code >= 0xFDD0 && code <= 0xFDEF) || (code & 0xFFFE) == 0xFFFE)
        return {code, "noncharacter-character-reference"};
    bool control = code < 0x20 || (code >= 0x7F && code <= 0x9F);
    bool whitespace = code == '\t' || code == '\n' || code == '\f' || code == ' ';
    if (code == '\r' || (control && !whitespace)) {
        // The C1 range is read as windows-1252, where most of it is printable.
        static constexpr char16_t kWindows1252[32] = {
            0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
            0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
            0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
        };
        char32_t replaced = (code >= 0x80 && code <= 0x9F) ? kWindows1252[code - 0x80] : code;
        return {replaced, "control-character-reference"};
    }
    return {code, nullptr};
}

}  // namespace zv::html
