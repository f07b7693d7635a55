// Intrusive reference counting for DOM nodes.
//
// A parent holds a reference to each of its children; callers hold `Ref`s to
// what they keep. Counts are not atomic: a tree belongs to one thread at a
// time, which is how mail code uses it (one document per worker).
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <utility>

namespace zv::html {

class ZV_EXPORT RefCounted {
public:
    RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    void retain() const noexcept { ++refCount_; }
    // Returns true when the last reference went away; the owner then frees.
    bool releaseRef() const noexcept { return --refCount_ == 0; }
    uint32_t refCount() const noexcept { return refCount_; }

private:
    mutable uint32_t refCount_ = 0;
};

template <class T>
class Ref {
public:
    Ref() noexcept = default;
    Ref(std::nullptr_t) noexcept {}
    Ref(T* p) noexcept : p_(p) { if (p_) p_->retain(); }
    Ref(const Ref& o) noexcept : Ref(o.p_) {}
    Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    template <class U>
    Ref(const Ref<U>& o) noexcept : Ref(static_cast<T*>(o.get())) {}
    template <class U>
    Ref(Ref<U>&& o) noexcept : p_(static_cast<T*>(o.leak())) {}
    ~Ref() { reset(); }

    Ref& operator=(Ref o) noexcept { std::swap(p_, o.p_); return *this; }

    void reset() noexcept;
    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    T& operator*() const noexcept { return *p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    // Hands the reference to the caller without releasing it.
    T* leak() noexcept { return std::exchange(p_, nullptr); }

    friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.p_ == b.p_; }
    friend bool operator==(const Ref& a, const T* b) noexcept { return a.p_ == b; }

private:
    T* p_ = nullptr;
};

// Frees a node whose count reached zero; defined with the node types.
ZV_EXPORT void destroyNode(const RefCounted* node) noexcept;

template <class T>
void Ref<T>::reset() noexcept {
    if (p_ && p_->releaseRef()) destroyNode(p_);
    p_ = nullptr;
}

template <class T, class... Args>
Ref<T> make(Args&&... args) {
    return Ref<T>(new T(std::forward<Args>(args)...));
}

}  // namespace zv::html
