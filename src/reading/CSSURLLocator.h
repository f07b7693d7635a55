// Where the URLs of a style sheet or a style attribute stand: url(…) with or
// without quotes, the strings of image-set(…) and of @import. Comments are
// skipped; other strings are text, not URLs. One pass, every step consuming
// at least one byte.
#pragma once

#include "SrcsetParsing.h"

#include <string_view>
#include <vector>

namespace zv::reading {

std::vector<TextRange> cssURLRanges(std::string_view css);

}  // namespace zv::reading
