// The HTML fragment serialization algorithm of the HTML standard.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

#include <string>
#include <string_view>

namespace zv::html {

// The node's children (template contents for a <template>), serialized.
ZV_EXPORT std::string serializeChildren(const HTMLNode& node);
// The node itself and its children.
ZV_EXPORT std::string serializeNode(const HTMLNode& node);

// Whether the element is written without children and end tag (the HTML
// standard's "serializes as void").
ZV_EXPORT bool serializesAsVoid(const HTMLElement& element);

// Escaping as the serializer does it: "&", U+00A0, "<", ">" in text;
// "&", U+00A0, '"' in attribute values (and, since 2025, "<", ">" too).
ZV_EXPORT void appendEscapedText(std::string& out, std::string_view text);
ZV_EXPORT void appendEscapedAttributeValue(std::string& out, std::string_view value);

}  // namespace zv::html
