#include <zv/find/FindStepping.h>

namespace zv {

namespace {

bool hasMatches(const std::optional<std::string>& key, const FindResults& results) {
    return key && results.countForKey(*key) > 0;
}

bool exhausted(const std::optional<std::string>& key, FindDirection direction, const FindResults& results) {
    if (!key) return false;
    return direction == FindDirection::Next ? results.atLastForKey(*key) : results.atFirstForKey(*key);
}

// The nearest message with matches after (before) `from`, wrapping once.
std::optional<FindStep> walk(const std::vector<std::optional<std::string>>& keys, size_t from,
                             FindDirection direction, const FindResults& results) {
    const size_t n = keys.size();
    FindStep step{from, false, false};
    for (;;) {
        if (direction == FindDirection::Next) {
            if (++step.item == n) {
                if (step.looped) return std::nullopt;
                step.looped = true;
                step.item = 0;
            }
        } else {
            if (step.item == 0) {
                if (step.looped) return std::nullopt;
                step.looped = true;
                step.item = n;
            }
            --step.item;
        }
        if (hasMatches(keys[step.item], results)) return step;
    }
}

}  // namespace

std::optional<FindStep> stepToItem(const std::vector<std::optional<std::string>>& keys,
                                   std::optional<size_t> current, FindDirection direction, FindResults& results) {
    if (keys.empty()) return std::nullopt;
    const bool started = current && *current < keys.size();
    const size_t start = started ? *current : (direction == FindDirection::Next ? 0 : keys.size() - 1);
    FindStep step{start, false, false};
    if (exhausted(keys[start], direction, results)) {
        results.setIndex(*keys[start], -1);
        std::optional<FindStep> next = walk(keys, start, direction, results);
        if (!next) return std::nullopt;
        step = *next;
    }
    // Entering anew: a different message, or the first step of all.
    step.entered = !started || step.item != *current;
    if (step.entered && keys[step.item]) {
        const std::string& key = *keys[step.item];
        results.setIndex(key, direction == FindDirection::Next ? 0 : results.countForKey(key) - 1);
    }
    return step;
}

}  // namespace zv
