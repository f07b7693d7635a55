// Name fix-ups for SVG and MathML elements the parser creates.
//
// The tokenizer lower-cases every name; SVG's camel-case names and the
// namespaced attributes (xlink:href, xml:lang, xmlns) are restored here from
// the HTML standard's tables.
#pragma once

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLToken.h>

#include <string_view>

namespace zv::html {

// The SVG element name for a lower-cased one ("foreignobject" → "foreignObject");
// the name itself when it needs no change.
std::string_view adjustedSVGTagName(std::string_view name) noexcept;

// The element attribute for a token attribute of an SVG or MathML element:
// case restored ("viewbox" → "viewBox", "definitionurl" → "definitionURL") and
// foreign attributes split into namespace and local name. Takes the strings.
HTMLAttribute adjustedForeignAttribute(HTMLTokenAttribute&& attribute, Namespace elementNamespace);

// Whether a start tag in foreign content pops back out to HTML content.
bool breaksOutOfForeignContent(const HTMLTagToken& token) noexcept;

}  // namespace zv::html
