#include "HTMLFormattingElementList.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

namespace zv::html {

namespace {

// Past this many attributes, comparing each with each would make a tag with
// a hundred thousand of them cost quadratic time.
constexpr size_t kScannedAttributes = 16;

// The attributes in one order, for comparing long lists; an element's names
// are distinct, so no two compare equal.
std::vector<const HTMLAttribute*> sortedAttributes(const HTMLAttributeList& attributes) {
    std::vector<const HTMLAttribute*> sorted;
    sorted.reserve(attributes.size());
    for (const HTMLAttribute& attribute : attributes) sorted.push_back(&attribute);
    std::sort(sorted.begin(), sorted.end(), [](const HTMLAttribute* x, const HTMLAttribute* y) {
        return x->ns != y->ns ? x->ns < y->ns : x->name < y->name;
    });
    return sorted;
}

bool sameAttributesSorted(const HTMLAttributeList& left, const HTMLAttributeList& right) {
    std::vector<const HTMLAttribute*> x = sortedAttributes(left), y = sortedAttributes(right);
    for (size_t i = 0; i < x.size(); ++i)
        if (x[i]->ns != y[i]->ns || x[i]->name != y[i]->name || x[i]->value != y[i]->value) return false;
    return true;
}

// Same tag name, namespace and attributes, in any order.
bool matchesForNoahsArk(const HTMLElement& a, const HTMLElement& b) noexcept {
    if (a.tag() != b.tag() || a.htmlNamespace() != b.htmlNamespace() || a.localName() != b.localName())
        return false;
    const auto& left = a.attributes();
    const auto& right = b.attributes();
    if (left.size() != right.size()) return false;
    if (left.size() > kScannedAttributes) return sameAttributesSorted(left, right);
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

// Independent of attribute order, as the comparison is.
size_t signatureOf(const HTMLElement& element) noexcept {
    std::hash<std::string_view> hash;
    size_t attributes = element.attributes().size();
    for (const auto& a : element.attributes())
        attributes += (hash(a.name) * 31 + hash(a.value)) ^ size_t(a.ns);
    return hash(element.localName()) ^ (attributes * 0x9E3779B97F4A7C15ull) ^ size_t(element.htmlNamespace());
}

}  // namespace

void HTMLFormattingElementList::push(HTMLElement& element, size_t stackIndex) {
    const size_t signature = signatureOf(element);
    size_t matches = 0;
    size_t earliest = npos;
    for (size_t i = entries_.size(); i-- > 0;) {
        const Entry& e = entries_[i];
        if (e.isMarker()) break;
        if (e.signature == signature && matchesForNoahsArk(*e.element, element)) {
            ++matches;
            earliest = i;
        }
    }
    if (matches >= 3) erase(earliest);
    entries_.push_back(Entry{&element, stackIndex, signature});
}

void HTMLFormattingElementList::insert(size_t index, HTMLElement& element, size_t stackIndex) {
    entries_.insert(entries_.begin() + ptrdiff_t(index), Entry{&element, stackIndex, signatureOf(element)});
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
