// From names (tag names, ids, classes) to the elements that carry them, in
// document order, built once and then only read.
//
// Names sit in one string and an open-addressing table of indices finds them.
// A name carried by one element keeps it in its entry; only a name carried by
// more gets a list. An index of a body whose element lists a hundred thousand
// classes (and a head rule for each) would otherwise put a hash node, a key
// and a vector per class on the heap: their look-ups miss the caches, and
// building and freeing them cost more than the inlining they serve.
#pragma once

#include <zv/html/HTMLElement.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zv::css {

class ElementNameTable {
public:
    struct Elements {
        std::span<html::HTMLElement* const> elements;  // empty when no element carries the name
        size_t depths = 0;                             // the elements' depths under the body, summed
    };

    // In document order. An element that names a class twice is listed once.
    void add(std::string_view name, html::HTMLElement& element, size_t depth);

    Elements find(std::string_view name) const;

private:
    struct Name {
        uint32_t offset;  // in names_
        uint32_t length;
        size_t hash;
        size_t depths = 0;
        html::HTMLElement* first = nullptr;
        std::vector<html::HTMLElement*> all;  // from the second element on, the first included
    };

    // The slot holding `name`, or the empty slot where it goes.
    size_t slotOf(std::string_view name, size_t hash) const;
    void grow();

    std::string names_;
    std::vector<Name> entries_;
    std::vector<uint32_t> slots_;  // an index into entries_ plus one; 0 is empty
};

}  // namespace zv::css
