// A process-wide cache of URL loads: for each URL, the response (status,
// header fields, type) and the body, kept in an SQLite database on disk.
//
// The cache answers whatever it holds, whatever its age; callers decide what
// to store. It is safe to use from any thread. Once the stored bodies pass
// the size limit, the entries read least recently go first; a body larger
// than a twentieth of the limit is not kept at all, so one large download
// cannot empty the cache.
//
// A database that cannot be opened, is corrupt or turns unwritable is never
// fatal: the cache logs the reason and starts empty (in memory when even a
// fresh file cannot be made), and a load simply misses.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/URLResponse.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

struct sqlite3;

namespace zv {

struct ZV_EXPORT CachedURLResponse {
    URLResponse response;
    Data data;

    friend bool operator==(const CachedURLResponse&, const CachedURLResponse&) = default;
};

class ZV_EXPORT URLCache {
public:
    static constexpr std::int64_t kDefaultCapacity = 64 * 1024 * 1024;

    // The cache every scheme handler uses: by default
    // "$XDG_CACHE_HOME/<program name>/URLCache.sqlite", opened on first use.
    static std::shared_ptr<URLCache> shared();
    // Replaces the shared cache (tests and hosts that keep it elsewhere).
    static void setShared(std::shared_ptr<URLCache> cache);

    // A cache on the database file at `path` (created with its folder when
    // missing), holding at most `capacity` bytes of bodies.
    static std::shared_ptr<URLCache> open(const std::string& path, std::int64_t capacity = kDefaultCapacity);

    ~URLCache();
    URLCache(const URLCache&) = delete;
    URLCache& operator=(const URLCache&) = delete;

    std::optional<CachedURLResponse> cachedResponse(const std::string& url);
    // Replaces what is stored for `url`.
    void storeCachedResponse(const std::string& url, const CachedURLResponse& cached);
    void removeCachedResponse(const std::string& url);
    void removeAllCachedResponses();

    // Bytes of bodies now stored.
    std::int64_t currentUsage();
    std::int64_t capacity() const { return capacity_; }
    // False when the cache fell back to memory because no file could be used.
    bool isOnDisk();

private:
    URLCache(std::string path, std::int64_t capacity);

    enum class Opening { Ready, Damaged, Unusable };

    Opening openDatabase();
    void openOrFallBack();
    void openFallback();
    void resetAfterDamage(const char* during);
    bool execute(const char* sql);
    void evictTo(std::int64_t target);
    void closeDatabase();

    const std::string path_;
    const std::int64_t capacity_;
    std::mutex mutex_;
    sqlite3* db_ = nullptr;
    bool onDisk_ = false;
    std::int64_t usage_ = 0;
    std::int64_t clock_ = 0;  // orders reads for eviction
};

}  // namespace zv
