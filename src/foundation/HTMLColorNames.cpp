#include <zv/foundation/Color.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <charconv>
#include <string>

namespace zv {

namespace {

struct NamedColor {
    std::string_view name;
    std::string_view components;  // "r,g,b", each 0-255
};

constexpr NamedColor kNamedColors[] = {
#include "HTMLColorNames.inc"
};

static_assert(std::size(kNamedColors) == 139);

// Unicode lower-casing, as the keyword's spelling in a message may be anything:
// a KELVIN SIGN lower-cases to an ASCII "k".
std::string lowerCased(std::string_view name) {
    if (std::all_of(name.begin(), name.end(), [](char c) { return (unsigned char)c < 0x80; })) {
        std::string lower(name);
        for (char& c : lower)
            if (c >= 'A' && c <= 'Z') c = char(c + ('a' - 'A'));
        return lower;
    }
    std::string lower;
    icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), int32_t(name.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(lower);
    return lower;
}

std::optional<int> component(std::string_view digits) {
    int value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

}  // namespace

std::optional<Color> colorWithHTMLName(std::string_view name) {
    const std::string key = lowerCased(name);
    const auto* entry = std::lower_bound(std::begin(kNamedColors), std::end(kNamedColors), key,
                                         [](const NamedColor& c, std::string_view k) { return c.name < k; });
    if (entry == std::end(kNamedColors) || entry->name != key) return std::nullopt;

    const std::string_view value = entry->components;
    const size_t first = value.find(',');
    const size_t second = value.find(',', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) return std::nullopt;
    const auto r = component(value.substr(0, first));
    const auto g = component(value.substr(first + 1, second - first - 1));
    const auto b = component(value.substr(second + 1));
    if (!r || !g || !b) return std::nullopt;
    return Color{*r / 255.0, *g / 255.0, *b / 255.0, 1.0};
}

}  // namespace zv
