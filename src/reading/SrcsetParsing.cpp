#include "SrcsetParsing.h"

#include "ASCIIText.h"

namespace zv::reading {

namespace {

// Moves past one candidate's descriptors: to just after the comma that ends
// them, or to the end. A comma inside parentheses belongs to a descriptor.
std::size_t skipDescriptors(std::string_view s, std::size_t i) {
    bool inParens = false;
    for (; i < s.size(); ++i) {
        char c = s[i];
        if (inParens) {
            inParens = c != ')';
            continue;
        }
        if (c == '(') inParens = true;
        else if (c == ',') return i + 1;
    }
    return i;
}

}  // namespace

std::vector<TextRange> srcsetURLRanges(std::string_view s) {
    std::vector<TextRange> ranges;
    std::size_t i = 0;
    while (true) {
        while (i < s.size() && (isASCIIWhitespace(s[i]) || s[i] == ',')) ++i;
        if (i >= s.size()) return ranges;
        std::size_t start = i;
        while (i < s.size() && !isASCIIWhitespace(s[i])) ++i;
        std::size_t end = i;
        // "a.png," ends its candidate at once: the commas are not the URL's.
        bool endsCandidate = s[end - 1] == ',';
        while (end > start && s[end - 1] == ',') --end;
        if (end > start) ranges.push_back({start, end - start});
        if (!endsCandidate) i = skipDescriptors(s, i);
    }
}

}  // namespace zv::reading
