// The inline style dictionary: an element's "style" attribute (or a start
// tag's, before any tree exists) read as a map from property name to value,
// and written back.
//
// Reading splits the text at every ";" and each piece at every ":", and keeps
// only the pieces that split into exactly two parts: the first, trimmed of
// spaces and tabs (Unicode horizontal white space; line breaks stay) and
// lower-cased, is the name; the second, trimmed the same way, is the value,
// case kept. A later declaration of a name replaces an earlier one. Empty
// declarations go, and so does any declaration whose value holds a ":"
// ("background: url(data:x)"): mail code relies on this exact format, loss
// included, so it is not to be mended here.
//
// Writing gives "name: value;" for each entry, the name lower-cased again, in
// the map's own order, with nothing in between; an empty map writes "".
//
// The map is a std::map, so the written order is the names' byte order: the
// format leaves the order open, and a fixed one keeps rewritten attributes
// reproducible.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLToken.h>

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

using StyleDictionary = std::map<std::string, std::string>;

ZV_EXPORT StyleDictionary parseStyleDictionary(std::string_view styleText);
ZV_EXPORT std::string styleTextForDictionary(const StyleDictionary& style);

// The value parseStyleDictionary(styleText) holds under `name` (lower case),
// found without building the map: for hot paths that ask for a property or two.
ZV_EXPORT std::optional<std::string> styleValue(std::string_view styleText, std::string_view name);
// The same for several names in one pass; the values in the order of `names`.
ZV_EXPORT std::vector<std::optional<std::string>> styleValues(std::string_view styleText,
                                                    std::initializer_list<std::string_view> names);

// The "style" attribute as it is, or null when there is none.
ZV_EXPORT const std::string* style(const html::HTMLElement& element);
ZV_EXPORT void setStyle(html::HTMLElement& element, std::string_view styleText);

// The element's style attribute parsed; empty when it has none.
ZV_EXPORT StyleDictionary styleDictionary(const html::HTMLElement& element);
// The start tag's style attribute parsed; empty when it has none.
ZV_EXPORT StyleDictionary styleDictionary(const html::HTMLTagToken& token);

// Replaces the style attribute with the dictionary written out (an empty
// dictionary leaves an empty attribute, not none).
ZV_EXPORT void setStyleDictionary(html::HTMLElement& element, const StyleDictionary& style);

// The element's dictionary with every entry of `style` put over it, written
// back. Re-writing normalises the attribute even when nothing is added:
// appending "" turns "COLOR:red ; x" into "color: red;" and gives an element
// without a style attribute an empty one.
ZV_EXPORT void appendStyleWithDict(html::HTMLElement& element, const StyleDictionary& style);
// `styleText` parsed by the reading rules, then appendStyleWithDict.
ZV_EXPORT void appendStyleWith(html::HTMLElement& element, std::string_view styleText);

}  // namespace zv
