#include "HTMLElementStack.h"

namespace zv::html {

HTMLElementStack::Entry HTMLElementStack::entryFor(HTMLElement& element) noexcept {
    Tag tag = element.tag();
    Namespace ns = element.htmlNamespace();
    return Entry{&element, tag, ns, elementCategories(tag, ns, element)};
}

void HTMLElementStack::push(HTMLElement& element) {
    entries_.push_back(entryFor(element));
    count(entries_.back(), 1);
}

HTMLElementStack::Entry HTMLElementStack::pop() noexcept {
    Entry entry = entries_.back();
    entries_.pop_back();
    count(entry, -1);
    return entry;
}

void HTMLElementStack::insert(size_t index, HTMLElement& element) {
    Entry entry = entryFor(element);
    entries_.insert(entries_.begin() + ptrdiff_t(index), entry);
    count(entry, 1);
}

void HTMLElementStack::erase(size_t index) noexcept {
    count(entries_[index], -1);
    entries_.erase(entries_.begin() + ptrdiff_t(index));
}

void HTMLElementStack::replace(size_t index, HTMLElement& element) noexcept {
    entries_[index].element = &element;
}

void HTMLElementStack::clear() noexcept {
    entries_.clear();
    openCount_.fill(0);
}

size_t HTMLElementStack::indexOf(const HTMLElement* element) const noexcept {
    for (size_t i = entries_.size(); i-- > 0;)
        if (entries_[i].element == element) return i;
    return npos;
}

bool HTMLElementStack::hasInScope(Tag tag, uint32_t boundaries) const noexcept {
    if (!contains(tag)) return false;
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.is(tag)) return true;
        if (e.has(boundaries)) return false;
    }
    return false;
}

bool HTMLElementStack::hasInScope(const HTMLElement* element, uint32_t boundaries) const noexcept {
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.element == element) return true;
        if (e.has(boundaries)) return false;
    }
    return false;
}

bool HTMLElementStack::hasNumberedHeadingInScope() const noexcept {
    if (!contains(Tag::h1) && !contains(Tag::h2) && !contains(Tag::h3) && !contains(Tag::h4) &&
        !contains(Tag::h5) && !contains(Tag::h6))
        return false;
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.isHTML() && e.has(category::NumberedHeading)) return true;
        if (e.has(category::ScopeBoundary)) return false;
    }
    return false;
}

}  // namespace zv::html
