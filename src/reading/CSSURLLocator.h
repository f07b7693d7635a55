// Where the URLs of a style sheet or a style attribute stand: url(…) with or
// without quotes, the strings of image-set(…), of @import and of custom
// properties (var() can put them into an image-set), names and URLs read
// with their escapes ("u\72 l(\68ttp://…)" is a URL). Comments are skipped;
// other strings are text, not URLs. One pass, every step consuming
// at least one byte.
#pragma once

#include "SrcsetParsing.h"

#include <string>
#include <string_view>
#include <vector>

namespace zv::reading {

std::vector<TextRange> cssURLRanges(std::string_view css);

// CSS text with its escapes replaced by what they stand for.
std::string cssUnescaped(std::string_view css);

// A URL written so that it reads back the same both quoted and inside an
// unquoted url(…): quotes, parentheses, backslashes, white space and control
// characters escaped.
std::string cssEscaped(std::string_view url);

}  // namespace zv::reading
