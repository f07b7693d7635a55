// Find across several messages: what is known of each message's matches.
//
// FindResults keeps, per message key (the web view's scriptIdent, or the
// conversation item's scriptIdentifier), how many matches the message has
// and which of them is current (-1: none), and the sum of the counts. The
// find controller fills it from the pages' "searchValues" messages and from
// the host's own counts for messages that have no web view yet.
//
// All members hold the table's own (recursive) lock, so an observer called
// from setCount may read the table again.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

class ZV_EXPORT FindResults {
public:
    // Unknown keys count 0 and have index -1.
    int64_t countForKey(std::string_view key) const;
    int64_t indexForKey(std::string_view key) const;
    // Sets the count (keeping the index) and answers the new total. The
    // observer, when set, receives the total while the lock is still held.
    int64_t setCount(std::string_view key, int64_t count);
    void setIndex(std::string_view key, int64_t index);
    int64_t totalCount() const;
    // The current match is the first one / the last one of a message that
    // has matches.
    bool atFirstForKey(std::string_view key) const;
    bool atLastForKey(std::string_view key) const;
    void removeAll();
    // Forgets the messages not among `keys` (they left the conversation);
    // the observer receives the new total when one was forgotten.
    void retainKeys(const std::vector<std::string>& keys);

    void setTotalObserver(std::function<void(int64_t total)> observer);

private:
    struct Entry {
        int64_t count = 0;
        int64_t index = -1;
    };
    mutable std::recursive_mutex mutex_;
    std::map<std::string, Entry, std::less<>> entries_;
    std::function<void(int64_t)> observer_;
};

}  // namespace zv
