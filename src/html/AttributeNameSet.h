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
        slots_[slot] = uint32_t(count);
        return false;
    }

private:
    static constexpr size_t kScanned = 16;

    // Room for twice as many as `count` more names; the first `count`
    // attributes, all distinct, entered again.
    void rebuild(const std::vector<HTMLTokenAttribute>& attributes, size_t count) {
        slots_.assign(std::bit_ceil(std::max<size_t>(64, 4 * (count + 1))), 0);
        uint64_t ignored = 0;
        for (size_t i = 0; i < count; ++i) slots_[find(attributes, attributes[i].name, ignored)] = uint32_t(i + 1);
    }

    // The slot holding `name`, or the empty slot where it belongs.
    size_t find(const std::vector<HTMLTokenAttribute>& attributes, std::string_view name, uint64_t& compared) const {
        size_t mask = slots_.size() - 1;
        for (size_t slot = std::hash<std::string_view>{}(name) & mask;; slot = (slot + 1) & mask) {
            if (!slots_[slot]) return slot;
            ++compared;
            if (attributes[slots_[slot] - 1].name == name) return slot;
        }
    }

    std::vector<uint32_t> slots_;  // attribute index + 1; 0 is empty; a power of two long
};

}  // namespace zv::html
