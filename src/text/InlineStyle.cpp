#include <zv/text/InlineStyle.h>

#include "CaseMapping.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace zv {

namespace {

constexpr std::string_view kStyleAttribute = "style";

// Spaces and tabs in the Unicode sense (tab and the Zs class), no line breaks.
bool isHorizontalSpace(UChar32 c) { return c >= 0 && u_isblank(c); }

std::string_view trimHorizontalSpace(std::string_view s) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    auto begin = int32_t(0), end = int32_t(s.size());
    while (begin < end) {
        int32_t next = begin;
        UChar32 c;
        U8_NEXT(bytes, next, end, c);
        if (!isHorizontalSpace(c)) break;
        begin = next;
    }
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, begin, previous, c);
        if (!isHorizontalSpace(c)) break;
        end = previous;
    }
    return s.substr(size_t(begin), size_t(end - begin));
}

// Calls fn(rawName, value) for each declaration kept by the reading rules;
// rawName is trimmed but not yet lower-cased.
template <class Fn>
void forEachDeclaration(std::string_view text, Fn fn) {
    while (true) {
        size_t semicolon = text.find(';');
        std::string_view piece = text.substr(0, semicolon);
        size_t colon = piece.find(':');
        if (colon != std::string_view::npos && piece.find(':', colon + 1) == std::string_view::npos)
            fn(trimHorizontalSpace(piece.substr(0, colon)), trimHorizontalSpace(piece.substr(colon + 1)));
        if (semicolon == std::string_view::npos) return;
        text.remove_prefix(semicolon + 1);
    }
}

bool lowercasedEquals(std::string_view rawName, std::string_view lowerName) {
    if (!textcase::isASCII(rawName)) return textcase::lowercase(rawName) == lowerName;
    if (rawName.size() != lowerName.size()) return false;
    for (size_t i = 0; i < rawName.size(); ++i) {
        char c = rawName[i];
        if ((c >= 'A' && c <= 'Z' ? char(c + 32) : c) != lowerName[i]) return false;
    }
    return true;
}

}  // namespace

StyleDictionary parseStyleDictionary(std::string_view styleText) {
    StyleDictionary style;
    forEachDeclaration(styleText, [&](std::string_view name, std::string_view value) {
        style.insert_or_assign(textcase::lowercase(name), std::string(value));
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
        if (lowercasedEquals(rawName, name)) found = value;
    });
    if (!found) return std::nullopt;
    return std::string(*found);
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
