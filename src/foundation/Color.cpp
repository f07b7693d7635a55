#include <zv/foundation/Color.h>

#include "ASCIIText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace zv {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// "rgb", "rgba", "rrggbb" or "rrggbbaa" in lower case.
std::optional<Color> fromHex(std::string_view hex) {
    if (hex.size() != 3 && hex.size() != 4 && hex.size() != 6 && hex.size() != 8) return std::nullopt;
    int digits[8];
    for (size_t i = 0; i < hex.size(); ++i)
        if ((digits[i] = hexDigit(hex[i])) < 0) return std::nullopt;
    bool shortForm = hex.size() <= 4;
    size_t count = shortForm ? hex.size() : hex.size() / 2;
    double channels[4] = {0, 0, 0, 255};
    for (size_t i = 0; i < count; ++i)
        channels[i] = shortForm ? digits[i] * 17 : digits[2 * i] * 16 + digits[2 * i + 1];
    return Color{channels[0] / 255, channels[1] / 255, channels[2] / 255, channels[3] / 255};
}

// One component of rgb(): a number or a percentage; `scale` is what 100%
// stands for. Answers the value divided by `scale`, clamped to 0...1.
std::optional<double> component(std::string_view text, double scale) {
    bool percent = !text.empty() && text.back() == '%';
    if (percent) text.remove_suffix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty()) return std::nullopt;
    double value = 0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    double fraction = percent ? value / 100 : value / scale;
    return std::clamp(fraction, 0.0, 1.0);
}

// The arguments of "rgb(...)"/"rgba(...)": three or four components split at
// commas, spaces or a "/" before the alpha.
std::optional<Color> fromFunction(std::string_view arguments) {
    std::vector<std::string_view> parts;
    size_t i = 0;
    while (i < arguments.size()) {
        char c = arguments[i];
        if (isASCIIWhitespace(c) || c == ',' || c == '/') {
            ++i;
            continue;
        }
        size_t start = i;
        while (i < arguments.size() && !isASCIIWhitespace(arguments[i]) && arguments[i] != ',' && arguments[i] != '/') ++i;
        parts.push_back(arguments.substr(start, i - start));
    }
    if (parts.size() != 3 && parts.size() != 4) return std::nullopt;
    Color color;
    double* channels[4] = {&color.r, &color.g, &color.b, &color.a};
    for (size_t k = 0; k < parts.size(); ++k) {
        auto value = component(parts[k], k == 3 ? 1 : 255);
        if (!value) return std::nullopt;
        *channels[k] = *value;
    }
    return color;
}

int byte(double component) { return int(std::lround(std::clamp(component, 0.0, 1.0) * 255)); }

std::string hexByte(int value) {
    static constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[value >> 4], kDigits[value & 15]};
}

std::string shortest(double value) {
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

}  // namespace

std::optional<Color> colorFromStringRepresentation(std::string_view text) {
    std::string lower = toASCIILower(trimASCIIWhitespace(text));
    std::string_view s = lower;
    if (s.empty()) return std::nullopt;
    if (s.front() == '#') return fromHex(s.substr(1));
    for (std::string_view function : {"rgba(", "rgb("}) {
        if (s.starts_with(function)) {
            if (s.back() != ')') return std::nullopt;
            return fromFunction(s.substr(function.size(), s.size() - function.size() - 1));
        }
    }
    if (auto named = colorWithHTMLName(s)) return named;
    return fromHex(s);
}

std::string stringRepresentation(const Color& color) {
    if (byte(color.a) == 255) return hashLabelCSSStringRepresentation(color);
    return "rgba(" + std::to_string(byte(color.r)) + ", " + std::to_string(byte(color.g)) + ", " +
           std::to_string(byte(color.b)) + ", " + shortest(std::clamp(color.a, 0.0, 1.0)) + ")";
}

std::string hashLabelCSSStringRepresentation(const Color& color) {
    std::string text = "#" + hexByte(byte(color.r)) + hexByte(byte(color.g)) + hexByte(byte(color.b));
    if (byte(color.a) != 255) text += hexByte(byte(color.a));
    return text;
}

}  // namespace zv
