#include "NodeAllocator.h"

#include <array>
#include <cstdlib>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define ZV_NODE_POOL 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZV_NODE_POOL 0
#endif
#endif
#ifndef ZV_NODE_POOL
#define ZV_NODE_POOL 1
#endif

namespace zv::html {

#if ZV_NODE_POOL

namespace {

constexpr size_t kGranule = 16;
constexpr size_t kClasses = 16;  // blocks of 16 to 256 bytes
constexpr size_t kChunkSize = 64 * 1024;
// A thread keeps at most this many free blocks per class before handing a
// batch of half of them to the shared depot.
constexpr size_t kThreadLimit = 4096;

struct FreeBlock {
    FreeBlock* next;
};

struct FreeList {
    FreeBlock* head = nullptr;
    size_t count = 0;

    void push(FreeBlock* block) noexcept {
        block->next = head;
        head = block;
        ++count;
    }
    FreeBlock* pop() noexcept {
        FreeBlock* block = head;
        head = block->next;
        --count;
        return block;
    }
    // Moves the first `n` blocks (n <= count) to `to`.
    void moveTo(FreeList& to, size_t n) noexcept {
        while (n--) to.push(pop());
    }
};

// Blocks freed by threads with more than they need, or by threads that ended.
struct Depot {
    std::mutex mutex;
    std::array<FreeList, kClasses> lists;
};

Depot& depot() {
    static auto* d = new Depot();  // never destroyed: threads may free during exit
    return *d;
}

struct ThreadCache {
    std::array<FreeList, kClasses> lists;

    ~ThreadCache() {
        std::lock_guard lock(depot().mutex);
        for (size_t c = 0; c < kClasses; ++c) lists[c].moveTo(depot().lists[c], lists[c].count);
    }
};

thread_local ThreadCache cache;

void refill(size_t sizeClass) {
    FreeList& local = cache.lists[sizeClass];
    {
        std::lock_guard lock(depot().mutex);
        FreeList& shared = depot().lists[sizeClass];
        if (shared.count) {
            shared.moveTo(local, std::min(shared.count, kThreadLimit / 2));
            return;
        }
    }
    size_t blockSize = (sizeClass + 1) * kGranule;
    auto* chunk = static_cast<char*>(std::malloc(kChunkSize));
    if (!chunk) throw std::bad_alloc();
    for (size_t offset = 0; offset + blockSize <= kChunkSize; offset += blockSize)
        local.push(reinterpret_cast<FreeBlock*>(chunk + offset));
}

size_t sizeClassOf(size_t size) noexcept { return (size + kGranule - 1) / kGranule - 1; }

}  // namespace

void* allocateNodeMemory(size_t size) {
    if (size == 0 || size > kClasses * kGranule) return ::operator new(size);
    size_t sizeClass = sizeClassOf(size);
    FreeList& local = cache.lists[sizeClass];
    if (!local.count) refill(sizeClass);
    return local.pop();
}

void freeNodeMemory(void* memory, size_t size) noexcept {
    if (!memory) return;
    if (size == 0 || size > kClasses * kGranule) return ::operator delete(memory);
    size_t sizeClass = sizeClassOf(size);
    FreeList& local = cache.lists[sizeClass];
    local.push(static_cast<FreeBlock*>(memory));
    if (local.count > kThreadLimit) {
        std::lock_guard lock(depot().mutex);
        local.moveTo(depot().lists[sizeClass], kThreadLimit / 2);
    }
}

#else

void* allocateNodeMemory(size_t size) { return ::operator new(size); }
void freeNodeMemory(void* memory, size_t) noexcept { ::operator delete(memory); }

#endif

}  // namespace zv::html
