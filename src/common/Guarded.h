// A value that threads share, with the mutex that guards it: every read and
// write takes the lock, so no caller can forget it.
#pragma once

#include <mutex>
#include <utility>

namespace zv {

template <typename T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    // A copy of the value, taken under the lock.
    T get() const {
        std::lock_guard lock(mutex_);
        return value_;
    }
    void set(T value) {
        std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }
    // Calls `use` with the value while holding the lock; returns what it returns.
    template <typename Use>
    decltype(auto) with(Use&& use) {
        std::lock_guard lock(mutex_);
        return std::forward<Use>(use)(value_);
    }
    template <typename Use>
    decltype(auto) with(Use&& use) const {
        std::lock_guard lock(mutex_);
        return std::forward<Use>(use)(value_);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace zv
