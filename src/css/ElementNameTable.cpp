#include "ElementNameTable.h"

#include <algorithm>
#include <functional>

namespace zv::css {

size_t ElementNameTable::slotOf(std::string_view name, size_t hash) const {
    const size_t mask = slots_.size() - 1;
    for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const uint32_t entry = slots_[slot];
        if (!entry) return slot;
        const Name& candidate = entries_[entry - 1];
        if (candidate.hash == hash && std::string_view(names_).substr(candidate.offset, candidate.length) == name)
            return slot;
    }
}

void ElementNameTable::grow() {
    slots_.assign(std::max<size_t>(64, 4 * entries_.size()), 0);
    for (size_t i = 0; i < entries_.size(); ++i) {
        const Name& entry = entries_[i];
        slots_[slotOf(std::string_view(names_).substr(entry.offset, entry.length), entry.hash)] = uint32_t(i + 1);
    }
}

void ElementNameTable::add(std::string_view name, html::HTMLElement& element, size_t depth) {
    if (2 * (entries_.size() + 1) > slots_.size()) grow();
    const size_t hash = std::hash<std::string_view>{}(name);
    const size_t slot = slotOf(name, hash);
    if (!slots_[slot]) {
        Name& added = entries_.emplace_back();
        added.offset = uint32_t(names_.size());
        added.length = uint32_t(name.size());
        added.hash = hash;
        names_.append(name);
        slots_[slot] = uint32_t(entries_.size());
    }
    const uint32_t index = slots_[slot] - 1;
    Name& entry = entries_[index];
    if (entry.last == &element) return;
    entry.last = &element;
    ++entry.count;
    entry.found.depths += depth;
    added_.emplace_back(index, &element);
}

// Each name's elements go together, in the order they were added.
void ElementNameTable::finish() {
    elements_.resize(added_.size());
    std::vector<uint32_t> next(entries_.size());
    uint32_t offset = 0;
    for (size_t i = 0; i < entries_.size(); ++i) {
        next[i] = offset;
        offset += entries_[i].count;
    }
    for (const auto& [index, element] : added_) elements_[next[index]++] = element;
    for (size_t i = 0; i < entries_.size(); ++i) {
        Name& entry = entries_[i];
        entry.found.elements = std::span(elements_).subspan(next[i] - entry.count, entry.count);
    }
    added_ = {};
}

const ElementNameTable::Elements* ElementNameTable::find(std::string_view name) const {
    if (slots_.empty()) return nullptr;
    const uint32_t entry = slots_[slotOf(name, std::hash<std::string_view>{}(name))];
    return entry ? &entries_[entry - 1].found : nullptr;
}

}  // namespace zv::css
