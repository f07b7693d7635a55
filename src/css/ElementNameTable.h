// From names (tag names, ids, classes) to the elements that carry them, in
// document order, built once and then only read.
//
// Names sit in one string, the elements of every name in one array, and an
// open-addressing table of indices finds a name. An index of a body whose
// element lists a hundred thousand classes (and a head rule for each) would
// otherwise put a hash node, a key and a vector per class on the heap: their
// look-ups miss the caches, and building and freeing them cost more than the
// inlining they serve.
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
        std::span<html::HTMLElement* const> elements;
        size_t depths = 0;  // the elements' depths under the body, summed
    };

    // While building, in document order. An element that names a class twice
    // is listed once.
    void add(std::string_view name, html::HTMLElement& element, size_t depth);
    // Ends the building; `find` answers only after it.
    void finish();

    // Null when no element carries `name`.
    const Elements* find(std::string_view name) const;

private:
    struct Name {
        uint32_t offset;  // in names_
        uint32_t length;
        size_t hash;
        uint32_t count = 0;
        html::HTMLElement* last = nullptr;
        Elements found;
    };

    // The slot holding `name`, or the empty slot where it goes.
    size_t slotOf(std::string_view name, size_t hash) const;
    void grow();

    std::string names_;
    std::vector<Name> entries_;
    std::vector<uint32_t> slots_;  // an index into entries_ plus one; 0 is empty
    std::vector<std::pair<uint32_t, html::HTMLElement*>> added_;
    std::vector<html::HTMLElement*> elements_;
};

}  // namespace zv::css
