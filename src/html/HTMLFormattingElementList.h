// The list of active formatting elements of the HTML tree builder.
//
// Each entry remembers where its element sits in the stack of open elements,
// so "is this entry's element still open?" (asked for every run of text, by
// "reconstruct the active formatting elements") is one comparison instead of
// a walk down the stack. The tree builder reports every insertion into and
// removal from the middle of the stack so the positions stay right; popping
// needs no report, since a popped element is never pushed again.
#pragma once

#include "HTMLElementStack.h"

#include <vector>

namespace zv::html {

class HTMLFormattingElementList {
public:
    struct Entry {
        HTMLElement* element = nullptr;  // null for a marker
        size_t stackIndex = HTMLElementStack::npos;
        // A hash of name and attributes: Noah's Ark compares these first, so a
        // long run of differing formatting elements costs integer compares.
        size_t signature = 0;
        bool isMarker() const noexcept { return element == nullptr; }
    };
    static constexpr size_t npos = size_t(-1);

    bool empty() const noexcept { return entries_.empty(); }
    size_t size() const noexcept { return entries_.size(); }
    Entry& operator[](size_t i) noexcept { return entries_[i]; }
    const Entry& operator[](size_t i) const noexcept { return entries_[i]; }

    bool isOpen(const Entry& entry, const HTMLElementStack& stack) const noexcept {
        return entry.stackIndex < stack.size() && stack[entry.stackIndex].element == entry.element;
    }

    void pushMarker() { entries_.push_back(Entry{}); }
    // Appends the element, first dropping the earliest of three identical
    // entries after the last marker (the "Noah's Ark" clause).
    void push(HTMLElement& element, size_t stackIndex);
    void insert(size_t index, HTMLElement& element, size_t stackIndex);
    // Puts a copy of entry `index`'s element (same name and attributes) in its place.
    void replace(size_t index, HTMLElement& copy, size_t stackIndex) noexcept {
        entries_[index].element = &copy;
        entries_[index].stackIndex = stackIndex;
    }
    void erase(size_t index) noexcept { entries_.erase(entries_.begin() + ptrdiff_t(index)); }
    void remove(const HTMLElement* element) noexcept;
    void clearToLastMarker() noexcept;
    void clear() noexcept { entries_.clear(); }

    size_t indexOf(const HTMLElement* element) const noexcept;
    // The last element with this tag after the last marker, or npos.
    size_t lastIndexAfterMarker(Tag tag) const noexcept;

    // Keep the stack positions right across a middle insertion or removal.
    void stackInserted(size_t index) noexcept;
    void stackErased(size_t index) noexcept;

private:
    std::vector<Entry> entries_;
};

}  // namespace zv::html
