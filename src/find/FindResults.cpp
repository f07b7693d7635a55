#include <zv/find/FindResults.h>

#include <algorithm>
#include <limits>

namespace zv {

int64_t FindResults::countForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    auto found = entries_.find(key);
    return found == entries_.end() ? 0 : found->second.count;
}

int64_t FindResults::indexForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    auto found = entries_.find(key);
    return found == entries_.end() ? -1 : found->second.index;
}

int64_t FindResults::setCount(std::string_view key, int64_t count) {
    std::lock_guard lock(mutex_);
    auto found = entries_.find(key);
    if (found == entries_.end()) found = entries_.emplace(std::string(key), Entry{}).first;
    found->second.count = count;
    int64_t total = totalCount();
    if (observer_) observer_(total);
    return total;
}

void FindResults::setIndex(std::string_view key, int64_t index) {
    std::lock_guard lock(mutex_);
    auto found = entries_.find(key);
    if (found == entries_.end()) found = entries_.emplace(std::string(key), Entry{}).first;
    found->second.index = index;
}

int64_t FindResults::totalCount() const {
    std::lock_guard lock(mutex_);
    int64_t total = 0;
    // Counts come from pages, which may report any number: the sum holds at
    // the ends of the range rather than overflow.
    for (const auto& [key, entry] : entries_)
        if (__builtin_add_overflow(total, entry.count, &total))
            return entry.count > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
    return total;
}

bool FindResults::atFirstForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    return countForKey(key) > 0 && indexForKey(key) == 0;
}

bool FindResults::atLastForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    int64_t count = countForKey(key);
    int64_t index = indexForKey(key);
    return count > 0 && index != -1 && index == count - 1;
}

void FindResults::removeAll() {
    std::lock_guard lock(mutex_);
    entries_.clear();
}

void FindResults::retainKeys(const std::vector<std::string>& keys) {
    std::lock_guard lock(mutex_);
    const size_t before = entries_.size();
    std::erase_if(entries_, [&keys](const auto& entry) {
        return std::find(keys.begin(), keys.end(), entry.first) == keys.end();
    });
    if (entries_.size() != before && observer_) observer_(totalCount());
}

void FindResults::setTotalObserver(std::function<void(int64_t total)> observer) {
    std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
}

}  // namespace zv
