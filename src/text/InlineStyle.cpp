#include <zv/text/InlineStyle.h>

#include <zv/foundation/Strings.h>

#include "CaseMapping.h"

#include <unicode/uchar.h>

namespace zv {

namespace {

constexpr std::string_view kStyleAttribute = "style";

// Spaces and tabs in the Unicode sense (tab and the Zs class), no line breaks.
bool isHorizontalSpace(char32_t c) { return c == ' ' || c == '\t' || (c >= 0x80 && u_isblank(UChar32(c))); }

std::string_view trimHorizontalSpace(std::string_view s) { return trimCodePoints(s, isHorizontalSpace); }

// Calls fn(rawName, rawValue) for each declaration kept by the reading
// rules, both untrimmed, so that lookups trim only the values they keep.
template <class Fn>
void forEachDeclaration(std::string_view text, Fn fn) {
    while (true) {
        size_t semicolon = text.find(';');
        std::string_view piece = text.substr(0, semicolon);
        size_t colon = piece.find(':');
        if (colon != std::string_view::npos && piece.find(':', colon + 1) == std::string_view::npos)
            fn(piece.substr(0, colon), piece.substr(colon + 1));
        if (semicolon == std::string_view::npos) return;
        text.remove_prefix(semicolon + 1);
    }
}

// Whether the trimmed, lower-cased name is `lowerName`. Lower-casing keeps
// an ASCII prefix as ASCII, so a mismatch there is final and ICU is asked
// only about names with other characters.
bool nameEquals(std::string_view rawName, std::string_view lowerName) {
    rawName = trimHorizontalSpace(rawName);
    for (size_t i = 0; i < rawName.size(); ++i) {
        char c = rawName[i];
        if (static_cast<unsigned char>(c) >= 0x80) return textcase::lowercase(rawName) == lowerName;
        if (i >= lowerName.size() || (c >= 'A' && c <= 'Z' ? char(c + 32) : c) != lowerName[i]) return false;
    }
    return rawName.size() == lowerName.size();
}

}  // namespace

StyleDictionary parseStyleDictionary(std::string_view styleText) {
    StyleDictionary style;
    forEachDeclaration(styleText, [&](std::string_view name, std::string_view value) {
        style.insert_or_assign(textcase::lowercase(trimHorizontalSpace(name)), std::string(trimHorizontalSpace(value)));
    });
    return style;
}

std::string styleTextForDictionary(const StyleDictionary& style) {
    std::string text;
    for (const auto& [name, value] : style) {
        text += textcase::lowercase(name);
        text += ": ";
        text += value;
        text += ';';
    }
    return text;
}

std::optional<std::string> styleValue(std::string_view styleText, std::string_view name) {
    std::optional<std::string_view> found;
    forEachDeclaration(styleText, [&](std::string_view rawName, std::string_view value) {
        if (nameEquals(rawName, name)) found = value;
    });
    if (!found) return std::nullopt;
    return std::string(trimHorizontalSpace(*found));
}

std::vector<std::optional<std::string>> styleValues(std::string_view styleText,
                                                    std::initializer_list<std::string_view> names) {
    std::vector<std::optional<std::string_view>> found(names.size());
    forEachDeclaration(styleText, [&](std::string_view rawName, std::string_view value) {
        size_t i = 0;
        for (std::string_view name : names) {
            if (nameEquals(rawName, name)) found[i] = value;
            ++i;
        }
    });
    std::vector<std::optional<std::string>> values(names.size());
    for (size_t i = 0; i < found.size(); ++i)
        if (found[i]) values[i] = std::string(trimHorizontalSpace(*found[i]));
    return values;
}

const std::string* style(const html::HTMLElement& element) { return element.attribute(kStyleAttribute); }

void setStyle(html::HTMLElement& element, std::string_view styleText) {
    element.setAttribute(kStyleAttribute, styleText);
}

StyleDictionary styleDictionary(const html::HTMLElement& element) {
    const std::string* text = style(element);
    return text ? parseStyleDictionary(*text) : StyleDictionary();
}

StyleDictionary styleDictionary(const html::HTMLTagToken& token) {
    const std::string* text = token.attribute(kStyleAttribute);
    return text ? parseStyleDictionary(*text) : StyleDictionary();
}

void setStyleDictionary(html::HTMLElement& element, const StyleDictionary& style) {
    setStyle(element, styleTextForDictionary(style));
}

void appendStyleWithDict(html::HTMLElement& element, const StyleDictionary& style) {
    StyleDictionary merged = styleDictionary(element);
    for (const auto& [name, value] : style) merged.insert_or_assign(name, value);
    setStyleDictionary(element, merged);
}

void appendStyleWith(html::HTMLElement& element, std::string_view styleText) {
    appendStyleWithDict(element, parseStyleDictionary(styleText));
}

}  // namespace zv
