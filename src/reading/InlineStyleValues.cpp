#include "InlineStyleValues.h"

#include "ASCIIText.h"
#include "StyleText.h"

#include <zv/html/HTMLElement.h>

#include <charconv>

namespace zv::reading {

std::optional<double> cssPixels(std::string_view text) {
    text = trimASCIIWhitespace(text);
    if (text.ends_with("px")) text.remove_suffix(2);
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<std::string> inlineStyleValue(std::string_view style, std::string_view property) {
    std::optional<std::string> found;
    for (const Declaration& declaration : styleDeclarations(style))
        if (declaration.name == property) found = toASCIILower(declaration.value);
    return found;
}

std::optional<double> declaredImageDimension(const html::HTMLElement& image, std::string_view dimension) {
    std::string name(dimension);
    if (const std::string* style = image.attribute("style"))
        if (auto value = inlineStyleValue(*style, name))
            if (auto size = cssPixels(*value)) return size;
    if (const std::string* value = image.attribute(name)) return cssPixels(*value);
    return std::nullopt;
}

}  // namespace zv::reading
