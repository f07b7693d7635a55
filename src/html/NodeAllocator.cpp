#include "NodeAllocator.h"

#include <atomic>
#include <cstdint>
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
constexpr size_t kChunksPerSlab = 16;
// Empty chunks a thread keeps for itself; beyond these they go back to all.
constexpr size_t kKeptEmpty = 32;

struct FreeBlock {
    FreeBlock* next;
};

struct ThreadCache;
struct Chunk;

struct ChunkLinks {
    Chunk* prev = nullptr;
    Chunk* next = nullptr;
};

// An intrusive list of chunks through one pair of their links.
template <ChunkLinks Chunk::*links>
struct ChunkList {
    Chunk* head = nullptr;

    void push(Chunk* chunk) noexcept;
    void remove(Chunk* chunk) noexcept;
    Chunk* pop() noexcept {
        Chunk* chunk = head;
        if (chunk) remove(chunk);
        return chunk;
    }
};

// A chunk holds blocks of one size class and belongs to one thread, which
// alone allocates from it and frees into it without a lock. Its header sits at
// the start of its 64 KiB, so a block finds its chunk by masking its address.
struct alignas(64) Chunk {
    std::atomic<ThreadCache*> owner{nullptr};  // null once its thread has ended
    size_t sizeClass = 0;
    size_t blockSize = 0;
    size_t bump = 0;                    // offset of the first never-used block
    size_t live = 0;                    // blocks handed out and not yet taken back
    FreeBlock* freeBlocks = nullptr;    // freed by the owner
    FreeBlock* remoteBlocks = nullptr;  // freed by other threads; under the lock
    bool partial = false;               // on the owner's partial list
    bool pending = false;               // on the owner's pending list; under the lock
    ChunkLinks partialLinks;
    ChunkLinks ownedLinks;              // the owner's chunks, or the orphans, or the blank ones
    Chunk* nextPending = nullptr;       // under the lock

    void reset(size_t newSizeClass) noexcept {
        sizeClass = newSizeClass;
        blockSize = (newSizeClass + 1) * kGranule;
        bump = (sizeof(Chunk) + blockSize - 1) / blockSize * blockSize;
        live = 0;
        freeBlocks = remoteBlocks = nullptr;
    }
    bool hasRoom() const noexcept { return freeBlocks || bump + blockSize <= kChunkSize; }
    void* take() noexcept {
        ++live;
        if (FreeBlock* block = freeBlocks) {
            freeBlocks = block->next;
            return block;
        }
        void* block = reinterpret_cast<char*>(this) + bump;
        bump += blockSize;
        return block;
    }
    void adoptRemoteBlocks() noexcept {
        while (FreeBlock* block = remoteBlocks) {
            remoteBlocks = block->next;
            block->next = freeBlocks;
            freeBlocks = block;
            --live;
        }
    }
};
static_assert(sizeof(Chunk) <= 128);

template <ChunkLinks Chunk::*links>
void ChunkList<links>::push(Chunk* chunk) noexcept {
    (chunk->*links) = {nullptr, head};
    if (head) (head->*links).prev = chunk;
    head = chunk;
}

template <ChunkLinks Chunk::*links>
void ChunkList<links>::remove(Chunk* chunk) noexcept {
    ChunkLinks& l = chunk->*links;
    (l.prev ? (l.prev->*links).next : head) = l.next;
    if (l.next) (l.next->*links).prev = l.prev;
    l = {};
}

using PartialList = ChunkList<&Chunk::partialLinks>;
using OwnedList = ChunkList<&Chunk::ownedLinks>;

Chunk* chunkOf(void* block) noexcept {
    return reinterpret_cast<Chunk*>(reinterpret_cast<uintptr_t>(block) & ~uintptr_t(kChunkSize - 1));
}

// What threads share: the lock over blocks freed away from their chunk's
// thread, the chunks of ended threads and the empty chunks given back. Never
// destroyed, since threads free during exit.
struct Shared {
    std::mutex mutex;
    OwnedList orphans[kClasses];
    OwnedList blank;
};

Shared& shared() {
    static auto* s = new Shared();
    return *s;
}

// Nodes are taken from one chunk at a time and a tree's nodes go back to the
// chunks they came from, so a tree built after another was freed lies as
// compactly in memory as the first: its walks stay in the caches instead of
// missing on every link, as they did when freed blocks were reused in the
// scattered order a mixed free list holds.
struct ThreadCache {
    Chunk* current[kClasses] = {};
    PartialList partial[kClasses];  // chunks with freed blocks, newest first
    OwnedList owned;
    OwnedList blank;
    size_t emptyChunks = 0;         // owned chunks with no live block
    Chunk* pending = nullptr;       // under the lock
    std::atomic<bool> hasPending{false};

    ~ThreadCache();

    void* allocate(size_t sizeClass) {
        Chunk* chunk = current[sizeClass];
        if (!chunk || !chunk->hasRoom()) current[sizeClass] = chunk = nextChunk(sizeClass);
        if (!chunk->live) --emptyChunks;
        return chunk->take();
    }

    void free(Chunk* chunk, void* memory) noexcept {
        auto* block = static_cast<FreeBlock*>(memory);
        block->next = chunk->freeBlocks;
        chunk->freeBlocks = block;
        --chunk->live;
        if (!settle(chunk)) return;
        std::lock_guard lock(shared().mutex);
        shared().blank.push(chunk);
    }

    // Files a chunk that has just had blocks back: on the partial list, or,
    // once empty and with enough empty ones kept, out of this thread's hands
    // (true), for the caller to give to all threads. An empty chunk has no
    // block on its way back from another thread, so it is on no pending list.
    bool settle(Chunk* chunk) noexcept {
        bool isCurrent = chunk == current[chunk->sizeClass];
        if (!chunk->live && !isCurrent && emptyChunks >= kKeptEmpty) {
            if (chunk->partial) partial[chunk->sizeClass].remove(chunk);
            chunk->partial = false;
            owned.remove(chunk);
            chunk->owner.store(nullptr, std::memory_order_relaxed);
            return true;
        }
        if (!chunk->live) ++emptyChunks;
        if (!chunk->partial && !isCurrent) {
            chunk->partial = true;
            partial[chunk->sizeClass].push(chunk);
        }
        return false;
    }

    Chunk* nextChunk(size_t sizeClass) {
        if (hasPending.load(std::memory_order_acquire)) collectPending();
        if (Chunk* chunk = partial[sizeClass].pop()) {
            chunk->partial = false;
            return chunk;
        }
        if (Chunk* chunk = adoptOrphan(sizeClass)) return chunk;
        return freshChunk(sizeClass);
    }

    // Under the lock throughout: once off the pending list, a chunk can be
    // put back on it by the next free from another thread.
    void collectPending() {
        std::lock_guard lock(shared().mutex);
        hasPending.store(false, std::memory_order_relaxed);
        while (Chunk* chunk = pending) {
            pending = chunk->nextPending;
            chunk->pending = false;
            chunk->adoptRemoteBlocks();
            if (settle(chunk)) shared().blank.push(chunk);
        }
    }

    Chunk* adoptOrphan(size_t sizeClass) {
        std::lock_guard lock(shared().mutex);
        for (Chunk* chunk = shared().orphans[sizeClass].head; chunk; chunk = chunk->ownedLinks.next) {
            chunk->adoptRemoteBlocks();
            if (!chunk->hasRoom()) continue;
            shared().orphans[sizeClass].remove(chunk);
            own(chunk);
            return chunk;
        }
        return nullptr;
    }

    Chunk* freshChunk(size_t sizeClass) {
        if (!blank.head) takeBlankChunks();
        Chunk* chunk = blank.pop();
        chunk->reset(sizeClass);
        own(chunk);
        return chunk;
    }

    void takeBlankChunks() {
        {
            std::lock_guard lock(shared().mutex);
            for (size_t i = 0; i < kChunksPerSlab; ++i)
                if (Chunk* chunk = shared().blank.pop()) blank.push(chunk);
            if (blank.head) return;
        }
        auto* slab = static_cast<char*>(std::aligned_alloc(kChunkSize, kChunkSize * kChunksPerSlab));
        if (!slab) throw std::bad_alloc();
        for (size_t i = kChunksPerSlab; i--;) blank.push(new (slab + i * kChunkSize) Chunk());
    }

    void own(Chunk* chunk) noexcept {
        chunk->owner.store(this, std::memory_order_relaxed);
        owned.push(chunk);
        if (!chunk->live) ++emptyChunks;
    }
};

thread_local ThreadCache cache;

// Frees from other threads go to the chunk's remote list; its owner takes them
// back when it next runs out of room. A chunk whose thread has ended keeps them
// until another thread adopts it.
void freeRemote(Chunk* chunk, void* memory) noexcept {
    std::lock_guard lock(shared().mutex);
    auto* block = static_cast<FreeBlock*>(memory);
    block->next = chunk->remoteBlocks;
    chunk->remoteBlocks = block;
    ThreadCache* owner = chunk->owner.load(std::memory_order_relaxed);
    if (!owner || chunk->pending) return;
    chunk->pending = true;
    chunk->nextPending = owner->pending;
    owner->pending = chunk;
    owner->hasPending.store(true, std::memory_order_release);
}

ThreadCache::~ThreadCache() {
    std::lock_guard lock(shared().mutex);
    for (Chunk*& chunk : current) chunk = nullptr;
    for (PartialList& list : partial) list.head = nullptr;
    pending = nullptr;
    while (Chunk* chunk = owned.pop()) {
        chunk->owner.store(nullptr, std::memory_order_relaxed);
        chunk->pending = chunk->partial = false;
        chunk->adoptRemoteBlocks();
        if (chunk->live)
            shared().orphans[chunk->sizeClass].push(chunk);
        else
            shared().blank.push(chunk);
    }
    while (Chunk* chunk = blank.pop()) shared().blank.push(chunk);
}

size_t sizeClassOf(size_t size) noexcept { return (size + kGranule - 1) / kGranule - 1; }

}  // namespace

void* allocatePooledMemory(size_t size) {
    if (size == 0 || size > kClasses * kGranule) return ::operator new(size);
    return cache.allocate(sizeClassOf(size));
}

void freePooledMemory(void* memory, size_t size) noexcept {
    if (!memory) return;
    if (size == 0 || size > kClasses * kGranule) return ::operator delete(memory);
    Chunk* chunk = chunkOf(memory);
    if (chunk->owner.load(std::memory_order_relaxed) == &cache) return cache.free(chunk, memory);
    freeRemote(chunk, memory);
}

#else

void* allocatePooledMemory(size_t size) { return ::operator new(size); }
void freePooledMemory(void* memory, size_t) noexcept { ::operator delete(memory); }

#endif

}  // namespace zv::html
