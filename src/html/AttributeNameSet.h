// The names of the attributes a tag has so far, for the tokenizer's check for
// duplicates. A few are scanned; past that their indices go into a hash
// table, so a tag with a hundred thousand attributes costs linear time
// instead of a comparison with every earlier name per attribute.
#pragma once

#include <zv/html/HTMLToken.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace zv::html {

class AttributeNameSet {
public:
    // For the next tag. Keeps the table's memory, not its size.
    void clear() noexcept { slots_.clear(); }

    // True when the last of the first `count` attributes repeats an earlier
    // one's name; otherwise it is remembered. `compared` counts the name
    // comparisons made.
    bool repeatsEarlierName(const std::vector<HTMLTokenAttribute>& attributes, size_t count, uint64_t& compared) {
        const std::string& name = attributes[count - 1].name;
        if (count <= kScanned) {
            for (size_t i = 0; i + 1 < count; ++i, ++compared)
                if (attributes[i].name == name) return true;
            return false;
        }
        if (2 * count > slots_.size()) rebuild(attributes, count - 1);
        size_t slot = find(attributes, name, compared);
        if (slots_[slot]) return true;
        slots_[slot] = entryFor(name, count - 1);
        return false;
    }

private:
    static constexpr size_t kScanned = 16;

    // Room for as many names again as the first `count`, which, all distinct,
    // are entered again.
    void rebuild(const std::vector<HTMLTokenAttribute>& attributes, size_t count) {
        slots_.assign(std::bit_ceil(std::max<size_t>(64, 2 * (count + 1))), 0);
        uint64_t ignored = 0;
        for (size_t i = 0; i < count; ++i)
            slots_[find(attributes, attributes[i].name, ignored)] = entryFor(attributes[i].name, i);
    }

    // The slot holding `name`, or the empty slot where it belongs. Names are
    // compared only where the hash's high half matches: each comparison reads
    // an attribute from anywhere in a long list.
    size_t find(const std::vector<HTMLTokenAttribute>& attributes, std::string_view name, uint64_t& compared) const {
        size_t hash = std::hash<std::string_view>{}(name);
        uint64_t tag = uint64_t(hash >> 32) << 32;
        size_t mask = slots_.size() - 1;
        for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
            uint64_t entry = slots_[slot];
            if (!entry) return slot;
            if ((entry & kTagMask) != tag) continue;
            ++compared;
            if (attributes[(entry & kIndexMask) - 1].name == name) return slot;
        }
    }

    // The slot's entry for the attribute at `index`: the hash's high half and index + 1.
    static uint64_t entryFor(std::string_view name, size_t index) {
        return (uint64_t(std::hash<std::string_view>{}(name) >> 32) << 32) | uint64_t(index + 1);
    }

    static constexpr uint64_t kIndexMask = 0xFFFFFFFFu;
    static constexpr uint64_t kTagMask = ~kIndexMask;

    std::vector<uint64_t> slots_;  // entryFor() values; 0 is empty; a power of two long
};

}  // namespace zv::html
