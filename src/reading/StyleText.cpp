#include "StyleText.h"

#include "ASCIIText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace zv::reading {

namespace {

bool isHex(char c) { return hexDigitValue(c) >= 0; }

// Walks CSS text a byte at a time, knowing whether it stands inside a
// string, parentheses or a comment.
struct CSSScanner {
    std::string_view text;
    std::size_t i = 0;
    char quote = 0;
    int depth = 0;
    bool comment = false;

    // Steps over one byte; true when that byte stands at the top level.
    bool step() {
        char c = text[i++];
        if (comment) {
            if (c == '*' && i < text.size() && text[i] == '/') ++i, comment = false;
            return false;
        }
        if (quote) {
            if (c == '\\' && i < text.size()) ++i;
            else if (c == quote) quote = 0;
            return false;
        }
        if (c == '/' && i < text.size() && text[i] == '*') return ++i, comment = true, false;
        if (c == '"' || c == '\'') return quote = c, false;
        if (c == '(') return ++depth, false;
        if (c == ')' && depth > 0) return --depth, false;
        return depth == 0;
    }
};

std::optional<double> number(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// hsl(h s l [/ a]) with the hue in degrees (or a bare number) and
// percentages for saturation and lightness.
std::optional<Color> hslColor(std::string_view arguments) {
    std::vector<std::string_view> parts;
    for (std::string_view part : cssComponents(arguments))
        if (part != "/") parts.push_back(part);
    if (parts.size() != 3 && parts.size() != 4) return std::nullopt;
    std::string_view hueText = parts[0];
    if (hueText.ends_with("deg")) hueText.remove_suffix(3);
    auto hue = number(hueText);
    if (!hue || !parts[1].ends_with('%') || !parts[2].ends_with('%')) return std::nullopt;
    auto saturation = number(parts[1].substr(0, parts[1].size() - 1));
    auto lightness = number(parts[2].substr(0, parts[2].size() - 1));
    if (!saturation || !lightness) return std::nullopt;
    double alpha = 1;
    if (parts.size() == 4) {
        bool percent = parts[3].ends_with('%');
        auto a = number(percent ? parts[3].substr(0, parts[3].size() - 1) : parts[3]);
        if (!a) return std::nullopt;
        alpha = std::clamp(percent ? *a / 100 : *a, 0.0, 1.0);
    }
    double h = std::fmod(std::fmod(*hue, 360) + 360, 360) / 30;
    double s = std::clamp(*saturation / 100, 0.0, 1.0), l = std::clamp(*lightness / 100, 0.0, 1.0);
    double chroma = s * std::min(l, 1 - l);
    auto channel = [&](double n) {
        double k = std::fmod(n + h, 12);
        return l - chroma * std::max(-1.0, std::min({k - 3, 9 - k, 1.0}));
    };
    return Color{channel(0), channel(8), channel(4), alpha};
}

std::optional<Color> namedColor(const std::string& name) {
    if (name == "transparent") return Color{0, 0, 0, 0};
    if (name == "darkgoldenrod") return Color{184 / 255.0, 134 / 255.0, 11 / 255.0, 1};
    if (name == "rebeccapurple") return Color{102 / 255.0, 51 / 255.0, 153 / 255.0, 1};
    if (auto color = colorWithHTMLName(name)) return color;
    // The keywords spelled with "grey" mean what their "gray" forms do.
    if (auto grey = name.find("grey"); grey != std::string::npos)
        return colorWithHTMLName(std::string(name).replace(grey, 4, "gray"));
    return std::nullopt;
}

}  // namespace

std::vector<Declaration> styleDeclarations(std::string_view style) {
    std::vector<Declaration> declarations;
    CSSScanner scanner{style};
    std::size_t start = 0;
    auto finish = [&](std::size_t end) {
        std::string_view piece = style.substr(start, end - start);
        std::size_t colon = piece.find(':');
        if (colon == std::string_view::npos) return;
        Declaration declaration{toASCIILower(trimASCIIWhitespace(piece.substr(0, colon))), trimASCIIWhitespace(piece.substr(colon + 1))};
        std::size_t bang = declaration.value.rfind('!');
        if (bang != std::string_view::npos && toASCIILower(trimASCIIWhitespace(declaration.value.substr(bang + 1))) == "important") {
            declaration.important = true;
            declaration.value = trimASCIIWhitespace(declaration.value.substr(0, bang));
        }
        if (!declaration.name.empty()) declarations.push_back(std::move(declaration));
    };
    while (scanner.i < style.size()) {
        std::size_t at = scanner.i;
        if (scanner.step() && style[at] == ';') {
            finish(at);
            start = scanner.i;
        }
    }
    finish(style.size());
    return declarations;
}

namespace {

bool asksForDark(std::string_view mediaPrelude) {
    std::string lower = toASCIILower(mediaPrelude);
    if (!lower.starts_with("@media") || lower.find("not") != std::string::npos) return false;
    std::size_t feature = lower.find("prefers-color-scheme");
    return feature != std::string::npos && lower.find("dark", feature) != std::string::npos;
}

}  // namespace

std::vector<StyleRule> styleSheetRules(std::string_view css, bool darkMediaRules) {
    std::vector<StyleRule> rules;
    CSSScanner scanner{css};
    std::size_t start = 0, open = 0;
    int braces = 0;
    while (scanner.i < css.size()) {
        std::size_t at = scanner.i;
        if (!scanner.step()) continue;
        char c = css[at];
        if (c == '{') {
            if (braces++ == 0) open = at;
        } else if (c == '}' && braces > 0 && --braces == 0) {
            std::string_view prelude = trimASCIIWhitespace(css.substr(start, open - start));
            if (!prelude.empty() && prelude.front() != '@') {
                StyleRule rule{{}, css.substr(open + 1, at - open - 1)};
                CSSScanner selectors{prelude};
                std::size_t from = 0;
                while (selectors.i < prelude.size()) {
                    std::size_t comma = selectors.i;
                    if (selectors.step() && prelude[comma] == ',') {
                        rule.selectors.push_back(trimASCIIWhitespace(prelude.substr(from, comma - from)));
                        from = selectors.i;
                    }
                }
                rule.selectors.push_back(trimASCIIWhitespace(prelude.substr(from)));
                rules.push_back(std::move(rule));
            } else if (darkMediaRules && asksForDark(prelude)) {
                for (StyleRule& rule : styleSheetRules(css.substr(open + 1, at - open - 1)))
                    rules.push_back(std::move(rule));
            }
            start = at + 1;
        } else if (c == ';' && braces == 0) {
            start = at + 1;  // "@import …;" and stray declarations
        }
    }
    return rules;
}

std::string declarationBoundary(std::string_view style) {
    CSSScanner scanner{style};
    while (scanner.i < style.size()) scanner.step();
    std::string boundary;
    if (scanner.comment) boundary += "*/";
    if (scanner.quote) boundary += scanner.quote;
    boundary.append(std::size_t(scanner.depth), ')');
    std::string_view rest = trimASCIIWhitespace(style);
    if (!boundary.empty() || (!rest.empty() && rest.back() != ';')) boundary += ';';
    return boundary;
}

std::vector<std::string_view> cssComponents(std::string_view value) {
    std::vector<std::string_view> components;
    CSSScanner scanner{value};
    std::size_t start = 0;
    auto finish = [&](std::size_t end) {
        if (end > start) components.push_back(value.substr(start, end - start));
    };
    while (scanner.i < value.size()) {
        std::size_t at = scanner.i;
        char c = value[at];
        if (scanner.step() && (isASCIIWhitespace(c) || c == ',')) {
            finish(at);
            start = scanner.i;
        }
    }
    finish(value.size());
    return components;
}

bool isCSSImage(std::string_view component) {
    std::string lower = toASCIILower(component.substr(0, std::min<std::size_t>(component.size(), 32)));
    return lower.starts_with("url(") || lower.find("gradient(") != std::string::npos ||
           lower.find("image-set(") != std::string::npos || lower.starts_with("image(");
}

std::optional<Color> cssColor(std::string_view value, bool quirks) {
    std::string lower = toASCIILower(trimASCIIWhitespace(value));
    std::string_view text = lower;
    if (text.empty()) return std::nullopt;
    if (text.front() == '#' || text.starts_with("rgb(") || text.starts_with("rgba("))
        return colorFromStringRepresentation(text);
    for (std::string_view function : {"hsla(", "hsl("})
        if (text.starts_with(function) && text.back() == ')')
            return hslColor(text.substr(function.size(), text.size() - function.size() - 1));
    if (auto named = namedColor(lower)) return named;
    if (quirks && (text.size() == 3 || text.size() == 6) && std::all_of(text.begin(), text.end(), isHex))
        return colorFromStringRepresentation(text);
    return std::nullopt;
}

std::optional<Color> legacyColor(std::string_view value) {
    std::string_view text = trimASCIIWhitespace(value);
    std::string lower = toASCIILower(text);
    if (text.empty() || lower == "transparent") return std::nullopt;
    if (auto named = namedColor(lower)) return named;
    if (text.size() == 4 && text[0] == '#' && std::all_of(text.begin() + 1, text.end(), isHex))
        return colorFromStringRepresentation(text);
    std::string digits;
    for (std::size_t i = 0; i < text.size() && digits.size() < 128; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (i == 0 && c == '#') continue;
        if (c >= 0xF0) {  // a character beyond the BMP counts as two digits
            digits += "00";
            while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) ++i;
        } else if (c >= 0x80) {
            digits += '0';
            while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) ++i;
        } else {
            digits += isHex(char(c)) ? char(c) : '0';
        }
    }
    if (digits.size() > 128) digits.resize(128);
    while (digits.empty() || digits.size() % 3) digits += '0';
    std::size_t length = digits.size() / 3;
    std::string parts[3] = {digits.substr(0, length), digits.substr(length, length), digits.substr(2 * length)};
    if (length > 8)
        for (auto& part : parts) part = part.substr(length - 8);
    while (parts[0].size() > 2 && parts[0][0] == '0' && parts[1][0] == '0' && parts[2][0] == '0')
        for (auto& part : parts) part.erase(0, 1);
    double channels[3];
    for (int k = 0; k < 3; ++k) {
        std::string part = parts[k].substr(0, 2);
        int v = 0;
        for (char c : part) v = v * 16 + hexDigitValue(c);
        channels[k] = v / 255.0;
    }
    return Color{channels[0], channels[1], channels[2], 1};
}

}  // namespace zv::reading
