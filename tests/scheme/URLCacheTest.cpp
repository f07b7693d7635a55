#include <zv/scheme/URLCache.h>

#include "SchemeTestSupport.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <thread>

namespace zv {
namespace {

class URLCacheTest : public ::testing::Test {
protected:
    static CachedURLResponse entry(const std::string& url, size_t bodySize, std::uint8_t fill = 7) {
        CachedURLResponse cached;
        cached.response = URLResponse::http(url, 200, "HTTP/1.1",
                                            {{"Content-Type", "image/png"}, {"X-Twice", "a"}, {"X-Twice", "b"}});
        cached.data = Data(bodySize, fill);
        return cached;
    }

    static constexpr const char* kFile = "cache/URLCache.sqlite";
    test::TemporaryFolder folder_;
    std::string path_ = folder_.pathOf(kFile);
};

TEST_F(URLCacheTest, KeepsResponseAndBodyAcrossReopening) {
    const std::string url = "http://127.0.0.1/a.png";
    auto stored = entry(url, 300);
    stored.response.textEncodingName = "utf-8";
    {
        auto cache = URLCache::open(path_);
        EXPECT_TRUE(cache->isOnDisk());
        EXPECT_FALSE(cache->cachedResponse(url));
        cache->storeCachedResponse(url, stored);
        EXPECT_EQ(cache->cachedResponse(url), stored);
    }
    auto reopened = URLCache::open(path_);
    auto found = reopened->cachedResponse(url);
    ASSERT_TRUE(found);
    EXPECT_EQ(*found, stored);
    EXPECT_EQ(found->response.headerField("x-twice"), "a");  // order and repeats kept
    EXPECT_EQ(found->response.mimeType, "image/png");
    EXPECT_EQ(reopened->currentUsage(), 300);
}

TEST_F(URLCacheTest, ReplacesRemovesAndEmpties) {
    auto cache = URLCache::open(path_);
    cache->storeCachedResponse("u1", entry("u1", 100, 1));
    cache->storeCachedResponse("u1", entry("u1", 50, 2));
    cache->storeCachedResponse("u2", entry("u2", 10));
    EXPECT_EQ(cache->cachedResponse("u1")->data, Data(50, 2));
    EXPECT_EQ(cache->currentUsage(), 60);

    cache->removeCachedResponse("u1");
    EXPECT_FALSE(cache->cachedResponse("u1"));
    EXPECT_EQ(cache->currentUsage(), 10);
    cache->removeAllCachedResponses();
    EXPECT_FALSE(cache->cachedResponse("u2"));
    EXPECT_EQ(cache->currentUsage(), 0);

    // An empty body is a body: it is kept as one.
    cache->storeCachedResponse("empty", entry("empty", 0));
    ASSERT_TRUE(cache->cachedResponse("empty"));
    EXPECT_TRUE(cache->cachedResponse("empty")->data.empty());
}

TEST_F(URLCacheTest, EvictsTheEntriesReadLeastRecently) {
    // 100-byte bodies under a 2000-byte limit: twenty fit.
    auto cache = URLCache::open(path_, 2000);
    for (int i = 0; i < 25; ++i) cache->storeCachedResponse("u" + std::to_string(i), entry("u", 100));
    EXPECT_FALSE(cache->cachedResponse("u4"));
    EXPECT_TRUE(cache->cachedResponse("u5"));
    ASSERT_TRUE(cache->cachedResponse("u10"));  // now the most recently read

    // Nineteen more push out the nineteen read least recently, not u10.
    for (int i = 25; i < 44; ++i) cache->storeCachedResponse("u" + std::to_string(i), entry("u", 100));
    EXPECT_TRUE(cache->cachedResponse("u10"));
    EXPECT_FALSE(cache->cachedResponse("u11"));
    EXPECT_FALSE(cache->cachedResponse("u24"));
    EXPECT_TRUE(cache->cachedResponse("u25"));
    EXPECT_EQ(cache->currentUsage(), 2000);

    // More than a twentieth of the limit is never kept.
    cache->storeCachedResponse("big", entry("big", 101));
    EXPECT_FALSE(cache->cachedResponse("big"));
}

TEST_F(URLCacheTest, ACorruptFileIsReplacedByAnEmptyCache) {
    folder_.write(kFile, std::string(8192, 'x'));
    test::LogCapture log;

    auto cache = URLCache::open(path_);
    EXPECT_TRUE(cache->isOnDisk());
    EXPECT_FALSE(cache->cachedResponse("u"));
    cache->storeCachedResponse("u", entry("u", 20));
    EXPECT_TRUE(cache->cachedResponse("u"));
    EXPECT_FALSE(log.linesStartingWith("URLCache: cannot read").empty());

    // A database of another layout is no better than garbage.
    cache.reset();
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "PRAGMA user_version=7", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    auto again = URLCache::open(path_);
    EXPECT_FALSE(again->cachedResponse("u"));
    EXPECT_EQ(log.linesStartingWith("URLCache: " + path_ + " has an unknown layout").size(), 1u);
}

TEST_F(URLCacheTest, DamageFoundInUseStartsAfreshWithoutCrashing) {
    auto cache = URLCache::open(path_);
    for (int i = 0; i < 50; ++i) cache->storeCachedResponse("u" + std::to_string(i), entry("u", 1000));
    // Garbage over the whole file (and its log) while the cache has it open.
    for (const char* suffix : {"", "-wal"}) folder_.write(kFile + std::string(suffix), std::string(200000, '\x5a'));
    test::LogCapture log;
    for (int i = 0; i < 50; ++i) cache->cachedResponse("u" + std::to_string(i));
    cache->storeCachedResponse("fresh", entry("fresh", 10));
    EXPECT_TRUE(cache->cachedResponse("fresh"));
}

TEST_F(URLCacheTest, AFolderThatCannotBeMadeFallsBackToMemory) {
    folder_.write("file", "not a folder");
    auto cache = URLCache::open(folder_.pathOf("file/cache/URLCache.sqlite"));
    EXPECT_FALSE(cache->isOnDisk());
    cache->storeCachedResponse("u", entry("u", 10));
    EXPECT_TRUE(cache->cachedResponse("u"));
}

TEST_F(URLCacheTest, ThreadsShareOneCache) {
    auto cache = URLCache::open(path_);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([cache, t] {
            for (int i = 0; i < 100; ++i) {
                std::string url = "t" + std::to_string(t) + "/" + std::to_string(i);
                cache->storeCachedResponse(url, entry(url, 16, std::uint8_t(i)));
                auto found = cache->cachedResponse(url);
                if (!found || found->data != Data(16, std::uint8_t(i))) ADD_FAILURE() << url;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(cache->currentUsage(), 4 * 100 * 16);
}

}  // namespace
}  // namespace zv
