#include <zv/scheme/URLCache.h>

#include "../common/SQLiteStatement.h"

#include <zv/foundation/Log.h>

#include <glib.h>
#include <glib/gstdio.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace zv {

namespace {

constexpr int kSchemaVersion = 1;

const LogOrigin kOrigin{"com.quillmere.ZVFoundation", "URLHandling"};

// Failures that mean the file itself is unusable, as opposed to a busy or full disk.
bool isDamage(int status) {
    int primary = status & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

std::string headersToJSON(const HTTPHeaderFields& fields) {
    nlohmann::json array = nlohmann::json::array();
    for (const auto& [name, value] : fields) array.push_back({name, value});
    return array.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

HTTPHeaderFields headersFromJSON(const std::string& text) {
    HTTPHeaderFields fields;
    nlohmann::json array = nlohmann::json::parse(text, nullptr, false);
    if (!array.is_array()) return fields;
    for (const auto& field : array) {
        if (field.is_array() && field.size() == 2 && field[0].is_string() && field[1].is_string())
            fields.emplace_back(field[0].get<std::string>(), field[1].get<std::string>());
    }
    return fields;
}

void removeDatabaseFiles(const std::string& path) {
    for (const char* suffix : {"", "-wal", "-shm"}) g_remove((path + suffix).c_str());
}

std::string defaultPath() {
    const char* program = g_get_prgname();
    std::string folder = program && *program ? program : "ZVWebKit";
    char* path = g_build_filename(g_get_user_cache_dir(), folder.c_str(), "URLCache.sqlite", nullptr);
    std::string result = path;
    g_free(path);
    return result;
}

std::mutex gSharedMutex;
std::shared_ptr<URLCache> gShared;

}  // namespace

std::shared_ptr<URLCache> URLCache::shared() {
    std::lock_guard lock(gSharedMutex);
    if (!gShared) gShared = open(defaultPath());
    return gShared;
}

void URLCache::setShared(std::shared_ptr<URLCache> cache) {
    std::lock_guard lock(gSharedMutex);
    gShared = std::move(cache);
}

std::shared_ptr<URLCache> URLCache::open(const std::string& path, std::int64_t capacity) {
    std::shared_ptr<URLCache> cache(new URLCache(path, capacity));
    std::lock_guard lock(cache->mutex_);
    cache->openOrFallBack();
    return cache;
}

URLCache::URLCache(std::string path, std::int64_t capacity) : path_(std::move(path)), capacity_(capacity) {}

URLCache::~URLCache() { closeDatabase(); }

void URLCache::openOrFallBack() {
    Opening opening = openDatabase();
    if (opening == Opening::Damaged) {
        closeDatabase();
        // Only a cache: a damaged file is deleted rather than repaired.
        removeDatabaseFiles(path_);
        opening = openDatabase();
    }
    if (opening == Opening::Ready) return;
    closeDatabase();
    openFallback();
}

URLCache::Opening URLCache::openDatabase() {
    char* folder = g_path_get_dirname(path_.c_str());
    int made = g_mkdir_with_parents(folder, 0700);
    int madeErrno = errno;
    g_free(folder);
    if (made != 0) {
        log(LogLevel::Warning, "URLCache: cannot make the folder of " + path_ + ": " + std::strerror(madeErrno), kOrigin);
        return Opening::Unusable;
    }
    int status = sqlite3_open_v2(path_.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (status != SQLITE_OK) {
        log(LogLevel::Warning, "URLCache: cannot open " + path_ + ": " + sqlite3_errstr(status), kOrigin);
        return Opening::Unusable;
    }
    if (sqlite3_db_readonly(db_, "main") == 1) {
        log(LogLevel::Warning, "URLCache: " + path_ + " is read-only", kOrigin);
        return Opening::Unusable;
    }
    sqlite3_busy_timeout(db_, 2000);
    // The first real read: a file that is not a database fails here. The
    // statement ends before the journal mode can change.
    std::int64_t found = 0;
    {
        SQLiteStatement version(db_, "PRAGMA user_version");
        status = version.ok() ? version.step() : version.status();
        if (status != SQLITE_ROW) {
            log(LogLevel::Warning, "URLCache: cannot read " + path_ + ": " + sqlite3_errstr(status), kOrigin);
            return isDamage(status) ? Opening::Damaged : Opening::Unusable;
        }
        found = version.integer(0);
    }
    if (found != 0 && found != kSchemaVersion) {
        log(LogLevel::Warning, "URLCache: " + path_ + " has an unknown layout", kOrigin);
        return Opening::Damaged;
    }
    // Small columns first: the body goes last so that reading a size never
    // walks a large body's overflow pages.
    bool ready = execute("PRAGMA journal_mode=WAL") && execute("PRAGMA synchronous=NORMAL") &&
                 execute("CREATE TABLE IF NOT EXISTS responses("
                         "url TEXT PRIMARY KEY, status INTEGER NOT NULL, version TEXT NOT NULL,"
                         "mime TEXT NOT NULL, encoding TEXT NOT NULL, length INTEGER NOT NULL,"
                         "headers TEXT NOT NULL, size INTEGER NOT NULL, accessed INTEGER NOT NULL,"
                         "body BLOB NOT NULL)") &&
                 execute("CREATE INDEX IF NOT EXISTS responses_by_access ON responses(accessed)") &&
                 execute("PRAGMA user_version=1");
    if (!ready) return isDamage(sqlite3_errcode(db_)) ? Opening::Damaged : Opening::Unusable;
    SQLiteStatement totals(db_, "SELECT COALESCE(SUM(size), 0), COALESCE(MAX(accessed), 0) FROM responses");
    status = totals.ok() ? totals.step() : totals.status();
    if (status != SQLITE_ROW) {
        log(LogLevel::Warning, "URLCache: cannot read " + path_ + ": " + sqlite3_errstr(status), kOrigin);
        return isDamage(status) ? Opening::Damaged : Opening::Unusable;
    }
    usage_ = totals.integer(0);
    clock_ = totals.integer(1);
    onDisk_ = true;
    return Opening::Ready;
}

void URLCache::openFallback() {
    log(LogLevel::Warning, "URLCache: keeping responses in memory only", kOrigin);
    onDisk_ = false;
    usage_ = 0;
    clock_ = 0;
    if (sqlite3_open_v2(":memory:", &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr) == SQLITE_OK &&
        execute("CREATE TABLE responses(url TEXT PRIMARY KEY, status INTEGER NOT NULL, version TEXT NOT NULL,"
                "mime TEXT NOT NULL, encoding TEXT NOT NULL, length INTEGER NOT NULL, headers TEXT NOT NULL,"
                "size INTEGER NOT NULL, accessed INTEGER NOT NULL, body BLOB NOT NULL)") &&
        execute("CREATE INDEX responses_by_access ON responses(accessed)"))
        return;
    // Not even memory: every read misses and every store is dropped.
    closeDatabase();
}

void URLCache::closeDatabase() {
    if (db_) sqlite3_close_v2(db_);
    db_ = nullptr;
}

bool URLCache::execute(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, sql, nullptr, nullptr, &message) == SQLITE_OK) return true;
    log(LogLevel::Warning, std::string("URLCache: ") + (message ? message : "failure") + " in " + path_, kOrigin);
    sqlite3_free(message);
    return false;
}

// A file found damaged while in use: drop it and go on with an empty one.
void URLCache::resetAfterDamage(const char* during) {
    log(LogLevel::Warning, std::string("URLCache: ") + path_ + " is damaged (" + during + "); starting empty", kOrigin);
    closeDatabase();
    usage_ = 0;
    clock_ = 0;
    if (onDisk_) removeDatabaseFiles(path_);
    onDisk_ = false;
    openOrFallBack();
}

std::optional<CachedURLResponse> URLCache::cachedResponse(const std::string& url) {
    std::lock_guard lock(mutex_);
    if (!db_) return std::nullopt;
    SQLiteStatement select(db_, "SELECT status, version, mime, encoding, length, headers, body FROM responses WHERE url = ?");
    if (!select.ok()) {
        if (isDamage(select.status())) resetAfterDamage("reading");
        return std::nullopt;
    }
    select.bind(1, url);
    int status = select.step();
    if (status != SQLITE_ROW) {
        if (isDamage(status)) resetAfterDamage("reading");
        return std::nullopt;
    }
    CachedURLResponse cached;
    cached.response.url = url;
    cached.response.statusCode = int(select.integer(0));
    cached.response.httpVersion = select.text(1);
    cached.response.mimeType = select.text(2);
    cached.response.textEncodingName = select.text(3);
    cached.response.expectedContentLength = select.integer(4);
    cached.response.headerFields = headersFromJSON(select.text(5));
    cached.data = select.blob(6);

    SQLiteStatement touch(db_, "UPDATE responses SET accessed = ? WHERE url = ?");
    touch.bind(1, ++clock_);
    touch.bind(2, url);
    touch.step();  // a read that cannot be recorded only ages the entry
    return cached;
}

void URLCache::storeCachedResponse(const std::string& url, const CachedURLResponse& cached) {
    std::lock_guard lock(mutex_);
    if (!db_) return;
    auto size = std::int64_t(cached.data.size());
    if (size > capacity_ / 20) return;

    SQLiteStatement old(db_, "DELETE FROM responses WHERE url = ? RETURNING size");
    if (!old.ok()) {
        if (isDamage(old.status())) resetAfterDamage("writing");
        return;
    }
    old.bind(1, url);
    while (old.step() == SQLITE_ROW) usage_ -= old.integer(0);
    if (isDamage(old.status())) {
        resetAfterDamage("writing");
        return;
    }
    evictTo(capacity_ - size);

    SQLiteStatement insert(db_,
                     "INSERT INTO responses(url, status, version, mime, encoding, length, headers, size, accessed, body)"
                     " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const URLResponse& response = cached.response;
    std::string headers = headersToJSON(response.headerFields);
    insert.bind(1, url);
    insert.bind(2, std::int64_t(response.statusCode));
    insert.bind(3, response.httpVersion);
    insert.bind(4, response.mimeType);
    insert.bind(5, response.textEncodingName);
    insert.bind(6, response.expectedContentLength);
    insert.bind(7, headers);
    insert.bind(8, size);
    insert.bind(9, ++clock_);
    insert.bindBlob(10, cached.data);
    int status = insert.ok() ? insert.step() : insert.status();
    if (status == SQLITE_DONE) {
        usage_ += size;
        return;
    }
    if (isDamage(status)) {
        resetAfterDamage("writing");
        return;
    }
    log(LogLevel::Warning, "URLCache: cannot store " + url + ": " + sqlite3_errstr(status), kOrigin);
}

// Deletes the entries read least recently until the bodies fit in `target` bytes.
void URLCache::evictTo(std::int64_t target) {
    while (usage_ > target && usage_ > 0) {
        SQLiteStatement oldest(db_, "SELECT url, size FROM responses ORDER BY accessed LIMIT 64");
        if (!oldest.ok()) return;
        std::int64_t freed = 0;
        std::vector<std::string> victims;
        while (usage_ - freed > target && oldest.step() == SQLITE_ROW) {
            victims.push_back(oldest.text(0));
            freed += oldest.integer(1);
        }
        if (victims.empty()) return;
        for (const auto& victim : victims) {
            SQLiteStatement remove(db_, "DELETE FROM responses WHERE url = ?");
            remove.bind(1, victim);
            if (remove.step() != SQLITE_DONE) return;
        }
        usage_ -= freed;
    }
}

void URLCache::removeCachedResponse(const std::string& url) {
    std::lock_guard lock(mutex_);
    if (!db_) return;
    SQLiteStatement remove(db_, "DELETE FROM responses WHERE url = ? RETURNING size");
    remove.bind(1, url);
    if (remove.ok() && remove.step() == SQLITE_ROW) usage_ -= remove.integer(0);
}

void URLCache::removeAllCachedResponses() {
    std::lock_guard lock(mutex_);
    if (!db_) return;
    if (execute("DELETE FROM responses")) usage_ = 0;
}

std::int64_t URLCache::currentUsage() {
    std::lock_guard lock(mutex_);
    return usage_;
}

bool URLCache::isOnDisk() {
    std::lock_guard lock(mutex_);
    return onDisk_;
}

}  // namespace zv
