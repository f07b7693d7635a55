// Where the URLs of a srcset (or imagesrcset) list stand, found as browsers
// find them: candidates split at commas after a run of non-space, descriptors
// skipped up to the next comma outside parentheses. Every step consumes at
// least one byte, so a list of any shape costs one pass.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace zv::reading {

struct TextRange {
    std::size_t start = 0;
    std::size_t length = 0;
};

std::vector<TextRange> srcsetURLRanges(std::string_view srcset);

}  // namespace zv::reading
