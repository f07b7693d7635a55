#include "HTMLFormattingElementList.h"

namespace zv::html {

namespace {

// Same tag name, namespace and attributes, in any order.
bool matchesForNoahsArk(const HTMLElement& a, const HTMLElement& b) noexcept {
    if (a.tag() != b.tag() || a.htmlNamespace() != b.htmlNamespace() || a.localName() != b.localName())
        return false;
    const auto& left = a.attributes();
    const auto& right = b.attributes();
    if (left.size() != right.size()) return false;
    for (const auto& attribute : left) {
        bool found = false;
        for (const auto& other : right) {
            if (other.name == attribute.name && other.ns == attribute.ns) {
                found = other.value == attribute.value;
                break;
            }
        }
        if (!found) return false;
    }
    return true;
}

}  // namespace

void HTMLFormattingElementList::push(HTMLElement& element, size_t stackIndex) {
    size_t matches = 0;
    size_t earliest = npos;
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.isMarker()) break;
        if (matchesForNoahsArk(*e.element, element)) {
            ++matches;
            earliest = i;
        }
    }
    if (matches >= 3) erase(earliest);
    entries_.push_back(Entry{&element, stackIndex});
}

void HTMLFormattingElementList::insert(size_t index, HTMLElement& element, size_t stackIndex) {
    entries_.insert(entries_.begin() + ptrdiff_t(index), Entry{&element, stackIndex});
}

void HTMLFormattingElementList::remove(const HTMLElement* element) noexcept {
    size_t i = indexOf(element);
    if (i != npos) erase(i);
}

void HTMLFormattingElementList::clearToLastMarker() noexcept {
    while (!entries_.empty()) {
        bool marker = entries_.back().isMarker();
        entries_.pop_back();
        if (marker) return;
    }
}

size_t HTMLFormattingElementList::indexOf(const HTMLElement* element) const noexcept {
    for (size_t i = entries_.size(); i-- > 0;)
        if (entries_[i].element == element) return i;
    return npos;
}

size_t HTMLFormattingElementList::lastIndexAfterMarker(Tag tag) const noexcept {
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.isMarker()) return npos;
        if (e.element->is(tag)) return i;
    }
    return npos;
}

void HTMLFormattingElementList::stackInserted(size_t index) noexcept {
    for (Entry& e : entries_)
        if (!e.isMarker() && e.stackIndex != HTMLElementStack::npos && e.stackIndex >= index) ++e.stackIndex;
}

void HTMLFormattingElementList::stackErased(size_t index) noexcept {
    for (Entry& e : entries_) {
        if (e.isMarker() || e.stackIndex == HTMLElementStack::npos) continue;
        if (e.stackIndex == index)
            e.stackIndex = HTMLElementStack::npos;
        else if (e.stackIndex > index)
            --e.stackIndex;
    }
}

}  // namespace zv::html
