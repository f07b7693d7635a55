#include <zv/foundation/NotificationCenter.h>

#include <atomic>

namespace zv {

struct NotificationCenter::Entry {
    uint64_t id;
    std::string name;
    const void* object;
    Observer observer;
    // Cleared on removal, so a post that copied the list before skips it.
    std::atomic<bool> registered{true};

    bool matches(const Notification& n) const {
        return (name.empty() || name == n.name) && (!object || object == n.object);
    }
};

NotificationCenter& NotificationCenter::defaultCenter() {
    // Never destroyed: observers may post from other threads while the
    // process exits.
    static NotificationCenter* center = new NotificationCenter;
    return *center;
}

NotificationCenter::NotificationCenter() = default;
NotificationCenter::~NotificationCenter() = default;

ObserverToken NotificationCenter::addObserver(std::string name, const void* object, Observer observer) {
    std::lock_guard lock(mutex_);
    uint64_t id = nextId_++;
    auto entry = std::make_shared<Entry>();
    entry->id = id;
    entry->name = std::move(name);
    entry->object = object;
    entry->observer = std::move(observer);
    entries_.push_back(std::move(entry));
    return ObserverToken{id};
}

void NotificationCenter::removeObserver(ObserverToken token) {
    if (!token) return;
    std::lock_guard lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        if ((*it)->id == token.id) {
            (*it)->registered = false;
            entries_.erase(it);
            return;
        }
    }
}

void NotificationCenter::post(std::string_view name, const void* object, Value userInfo) {
    post(Notification{std::string(name), object, std::move(userInfo)});
}

void NotificationCenter::post(const Notification& notification) {
    std::vector<std::shared_ptr<Entry>> matching;
    {
        std::lock_guard lock(mutex_);
        for (const auto& entry : entries_)
            if (entry->matches(notification)) matching.push_back(entry);
    }
    // The copies keep each observer's function alive while it runs, even if
    // it removes itself.
    for (const auto& entry : matching)
        if (entry->registered) entry->observer(notification);
}

}  // namespace zv
