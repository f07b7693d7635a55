// The stack of open elements of the HTML tree builder.
//
// Entries are raw pointers (the tree owns the elements) with the element's
// tag, namespace and categories copied beside them, so scope searches walk a
// compact array instead of chasing nodes. A count of open elements per HTML
// tag lets "is there a p in button scope?" answer "no" without a walk, which
// keeps documents nested a hundred thousand deep linear.
#pragma once

#include "HTMLElementCategories.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zv::html {

class HTMLElementStack {
public:
    struct Entry {
        HTMLElement* element = nullptr;
        Tag tag = Tag::Unknown;
        Namespace ns = Namespace::HTML;
        uint32_t categories = 0;

        bool is(Tag t) const noexcept { return tag == t && ns == Namespace::HTML; }
        bool isHTML() const noexcept { return ns == Namespace::HTML; }
        bool has(uint32_t category) const noexcept { return (categories & category) != 0; }
    };

    static Entry entryFor(HTMLElement& element) noexcept;
    static constexpr size_t npos = size_t(-1);

    bool empty() const noexcept { return entries_.empty(); }
    size_t size() const noexcept { return entries_.size(); }
    const Entry& operator[](size_t i) const noexcept { return entries_[i]; }
    // The current node (the most recently pushed entry).
    const Entry& current() const noexcept { return entries_.back(); }
    HTMLElement* currentElement() const noexcept { return entries_.back().element; }

    void push(HTMLElement& element);
    Entry pop() noexcept;
    void insert(size_t index, HTMLElement& element);
    void erase(size_t index) noexcept;
    // Puts `element` (of the same tag and namespace) in the place of entry `index`.
    void replace(size_t index, HTMLElement& element) noexcept;
    void clear() noexcept;

    size_t indexOf(const HTMLElement* element) const noexcept;
    // Whether an HTML element with this tag is open at all.
    bool contains(Tag tag) const noexcept { return openCount_[size_t(tag)] != 0; }

    // "Has an element in scope": `boundaries` is the category bit of the
    // scope (ScopeBoundary, ListItemScopeBoundary, ButtonScopeBoundary,
    // TableScopeBoundary).
    bool hasInScope(Tag tag, uint32_t boundaries = category::ScopeBoundary) const noexcept;
    bool hasInScope(const HTMLElement* element, uint32_t boundaries = category::ScopeBoundary) const noexcept;
    bool hasNumberedHeadingInScope() const noexcept;

private:
    void count(const Entry& entry, int delta) noexcept {
        if (entry.ns == Namespace::HTML) openCount_[size_t(entry.tag)] += delta;
    }

    std::vector<Entry> entries_;
    std::array<uint32_t, size_t(Tag::Count)> openCount_{};
};

}  // namespace zv::html
