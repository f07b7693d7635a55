// Character references outside the tokenizer: decoding and encoding strings.
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>

namespace zv::html {

// Replaces named ("&amp;", "&eacute;", legacy forms without ";") and numeric
// ("&#233;", "&#xE9;") character references as text content would, with the
// standard's replacements for bad numbers. Anything else is left as it is.
std::string stringByDecodingHTMLEntities(std::string_view text);

// The same as an attribute value would: a legacy name without ";" followed by
// a letter, a digit or "=" stays as it is, so "?a=1&copy=2" keeps its "&copy".
ZV_EXPORT std::string stringByDecodingHTMLEntitiesInAttribute(std::string_view text);

// Escapes the characters that are special in HTML text and attribute values:
// & < > " '.
std::string stringByEncodingHTMLEntities(std::string_view text);

}  // namespace zv::html
