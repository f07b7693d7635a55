// An allocator over the pooled chunks DOM nodes come from (up to 256 bytes a
// block; larger requests go to the general heap).
//
// An element's attribute list is allocated with every element that has
// attributes and freed with it; from the pool that costs a pointer bump
// instead of a malloc and a free, which showed up in parse profiles as much
// as the work on the attributes themselves.
#pragma once

#include <zv/Export.h>

#include <cstddef>
#include <new>

namespace zv::html {

ZV_EXPORT void* allocatePooledMemory(size_t size);
// `size` must be the size the memory was allocated with.
ZV_EXPORT void freePooledMemory(void* memory, size_t size) noexcept;

template <class T>
struct PooledAllocator {
    using value_type = T;

    PooledAllocator() noexcept = default;
    template <class U>
    PooledAllocator(const PooledAllocator<U>&) noexcept {}

    T* allocate(size_t count) {
        if (count > size_t(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(allocatePooledMemory(count * sizeof(T)));
    }
    void deallocate(T* memory, size_t count) noexcept { freePooledMemory(memory, count * sizeof(T)); }

    template <class U>
    bool operator==(const PooledAllocator<U>&) const noexcept { return true; }
};

}  // namespace zv::html
