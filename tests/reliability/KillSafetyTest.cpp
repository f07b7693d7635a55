// Stores on disk killed mid-write: a child process writes entries one after
// another and reports each write once it has returned; the test kills it
// (SIGKILL) after a random delay, then checks that the database is intact and
// holds every reported entry. The next child goes on with the same file, so
// later kills also land while a previous kill's journal is recovered.
#include <zv/reading/RemoteContentChoices.h>
#include <zv/scheme/URLCache.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kKills = 100;
// Enough for a child to open the database and write a few hundred entries.
constexpr int kLongestDelayMicroseconds = 30000;

std::string integrityCheck(const std::string& path) {
    sqlite3* db = nullptr;
    std::string result = "cannot open";
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            result = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        else
            result = sqlite3_errmsg(db);
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return result;
}

// "ok" when the database checks out, and when there is none and nothing was
// reported: the kill came before the child had made it (a loaded machine
// can hold a child back that long).
std::string integrityAfterKill(const std::string& path, const std::vector<uint32_t>& reported) {
    if (reported.empty() && !std::filesystem::exists(path)) return "ok";
    return integrityCheck(path);
}

// Runs `write(i)` for i = first, first + 1, … in a child, each i reported
// through a pipe once its write returned, kills the child after `delay` and
// answers the reported numbers.
std::vector<uint32_t> killWhileWriting(uint32_t first, std::chrono::microseconds delay,
                                       const std::function<void(uint32_t)>& write) {
    int fds[2];
    if (pipe(fds) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        for (uint32_t i = first;; ++i) {
            write(i);
            if (::write(fds[1], &i, sizeof i) != sizeof i) _exit(1);
        }
    }
    close(fds[1]);
    std::this_thread::sleep_for(delay);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    std::vector<uint32_t> reported;
    uint32_t i;
    while (read(fds[0], &i, sizeof i) == sizeof i) reported.push_back(i);
    close(fds[0]);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer ended by itself";
    return reported;
}

std::string entryURL(uint32_t i) { return "https://kill.example/" + std::to_string(i); }

// Bodies of different sizes, some spanning several database pages.
zv::CachedURLResponse entry(uint32_t i) {
    zv::CachedURLResponse cached;
    cached.response.url = entryURL(i);
    cached.response.mimeType = "image/png";
    cached.response.statusCode = 200;
    cached.response.httpVersion = "HTTP/1.1";
    cached.data.assign(1 + (i * 7919) % 20000, uint8_t(i));
    return cached;
}

TEST(KillSafetyTest, URLCacheKeepsEveryReportedWrite) {
    zv::test::TemporaryFolder folder;
    const std::string path = folder.pathOf("URLCache.sqlite");
    std::mt19937 random(20261125);
    std::uniform_int_distribution<int> delay(0, kLongestDelayMicroseconds);
    uint32_t next = 0;
    size_t reportedTotal = 0;
    for (int run = 0; run < kKills; ++run) {
        const std::vector<uint32_t> reported =
            killWhileWriting(next, std::chrono::microseconds(delay(random)), [&](uint32_t i) {
                static std::shared_ptr<zv::URLCache> cache = zv::URLCache::open(path, int64_t(1) << 40);
                cache->storeCachedResponse(entryURL(i), entry(i));
            });
        ASSERT_EQ(integrityAfterKill(path, reported), "ok") << "after kill " << run;
        auto cache = zv::URLCache::open(path, int64_t(1) << 40);
        ASSERT_TRUE(cache->isOnDisk());
        for (uint32_t i : reported) {
            std::optional<zv::CachedURLResponse> found = cache->cachedResponse(entryURL(i));
            ASSERT_TRUE(found && *found == entry(i)) << "entry " << i << " lost by kill " << run;
        }
        reportedTotal += reported.size();
        next += uint32_t(reported.size()) + 1;  // the write in flight may or may not have landed
    }
    EXPECT_GT(reportedTotal, size_t(kKills)) << "the kills came too early to interrupt writes";
}

// Each step remembers a sender (every fifth one by its domain) and every
// fourth step also forgets the previous step's choice, so the file sees
// deletions as well as insertions.
std::string choiceSender(uint32_t i) {
    const std::string n = std::to_string(i);
    return "Writer " + n + " <w" + n + "@d" + n + ".example>";
}
zv::RemoteContentChoices::Scope choiceScope(uint32_t i) {
    return i % 5 == 0 ? zv::RemoteContentChoices::Scope::Domain : zv::RemoteContentChoices::Scope::Sender;
}
bool forgetsPrevious(uint32_t i) { return i % 4 == 3; }

TEST(KillSafetyTest, RemoteContentChoicesKeepEveryReportedChange) {
    zv::test::TemporaryFolder folder;
    const std::string path = folder.pathOf("RemoteContentChoices.sqlite");
    std::mt19937 random(20261126);
    std::uniform_int_distribution<int> delay(0, kLongestDelayMicroseconds);
    // Steps whose outcome is known: true when the choice must be there.
    std::map<uint32_t, bool> settled;
    uint32_t next = 0;
    for (int run = 0; run < kKills; ++run) {
        const std::vector<uint32_t> reported =
            killWhileWriting(next, std::chrono::microseconds(delay(random)), [&](uint32_t i) {
                static std::shared_ptr<zv::RemoteContentChoices> choices = zv::RemoteContentChoices::open(path);
                choices->alwaysAllow(choiceSender(i), choiceScope(i));
                if (forgetsPrevious(i) && i > next) choices->forget(choiceSender(i - 1), choiceScope(i - 1));
            });
        ASSERT_EQ(integrityAfterKill(path, reported), "ok") << "after kill " << run;
        const std::set<uint32_t> done(reported.begin(), reported.end());
        for (uint32_t i : reported) {
            // The step after the last reported one was in flight: it may or may not have forgotten i.
            if (forgetsPrevious(i + 1) && !done.count(i + 1)) continue;
            settled[i] = !(forgetsPrevious(i + 1) && done.count(i + 1));
        }
        auto choices = zv::RemoteContentChoices::open(path);
        ASSERT_TRUE(choices->isOnDisk()) << "after kill " << run;
        for (const auto& [i, there] : settled)
            ASSERT_EQ(choices->allowsRemoteContent(choiceSender(i)), there) << "step " << i << " after kill " << run;
        next += uint32_t(reported.size()) + 1;
    }
    EXPECT_GT(settled.size(), size_t(kKills)) << "the kills came too early to interrupt writes";
    std::printf("%d kills, %zu settled changes checked\n", kKills, settled.size());
}

}  // namespace
