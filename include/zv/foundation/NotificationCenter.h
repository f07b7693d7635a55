// Process-wide notifications: a poster names an event, says which object it
// concerns, and attaches a dictionary; observers registered for that name
// (and, if they asked, that object) are called.
//
// The sender is an identity only, never dereferenced: a GObject pointer, a
// C++ object's `this` or a shared_ptr's get() all serve. Observers are called
// synchronously on the posting thread, in the order they were added, outside
// the center's lock: an observer may post, add observers or remove any
// observer (itself included) while it runs. An observer removed during a post
// is not called by that post if it had not been reached yet; one added
// during a post is called from the next post on. Once
// removeObserver returns, no post that starts afterwards calls it; a call
// already running on another thread may still be finishing.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Value.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

struct ZV_EXPORT Notification {
    std::string name;
    const void* object = nullptr;
    Value userInfo;  // null when the poster attached nothing
};

// What addObserver gives back, to remove the observer with; a default-made
// token names no observer.
struct ZV_EXPORT ObserverToken {
    uint64_t id = 0;

    explicit operator bool() const noexcept { return id != 0; }
    friend bool operator==(const ObserverToken&, const ObserverToken&) = default;
};

class ZV_EXPORT NotificationCenter {
public:
    using Observer = std::function<void(const Notification&)>;

    // The center the whole framework posts on.
    static NotificationCenter& defaultCenter();

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // Calls `observer` for every notification named `name` (an empty name:
    // every notification) whose object is `object` (nullptr: any object).
    ObserverToken addObserver(std::string name, const void* object, Observer observer);
    // Removing an unknown or already removed token does nothing.
    void removeObserver(ObserverToken token);

    void post(std::string_view name, const void* object = nullptr, Value userInfo = nullptr);
    void post(const Notification& notification);

private:
    struct Entry;

    std::mutex mutex_;
    uint64_t nextId_ = 1;
    std::vector<std::shared_ptr<Entry>> entries_;
};

}  // namespace zv
