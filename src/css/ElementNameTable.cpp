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
        if (candidate.hash == hash && std::string_view(names_.data() + candidate.offset, candidate.length) == name)
            return slot;
    }
}

void ElementNameTable::grow() {
    slots_.assign(std::max<size_t>(64, 4 * entries_.size()), 0);
    for (size_t i = 0; i < entries_.size(); ++i) {
        const Name& entry = entries_[i];
        slots_[slotOf(std::string_view(names_.data() + entry.offset, entry.length), entry.hash)] = uint32_t(i + 1);
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
    Name& entry = entries_[slots_[slot] - 1];
    if (!entry.first) {
        entry.first = &element;
    } else {
        html::HTMLElement* last = entry.all.empty() ? entry.first : entry.all.back();
        if (last == &element) return;
        if (entry.all.empty()) entry.all.push_back(entry.first);
        entry.all.push_back(&element);
    }
    entry.depths += depth;
}

ElementNameTable::Elements ElementNameTable::find(std::string_view name) const {
    if (slots_.empty()) return {};
    const uint32_t index = slots_[slotOf(name, std::hash<std::string_view>{}(name))];
    if (!index) return {};
    const Name& entry = entries_[index - 1];
    if (entry.all.empty()) return {std::span(&entry.first, 1), entry.depths};
    return {entry.all, entry.depths};
}

}  // namespace zv::css
