#include <zv/foundation/MainThread.h>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

TEST(MainThread, TheThreadThatStartedTheProcessIsMain) {
    EXPECT_TRUE(zv::isMainThread());
    bool elsewhere = true;
    std::thread([&] { elsewhere = zv::isMainThread(); }).join();
    EXPECT_FALSE(elsewhere);
}

TEST(MainThread, DispatchAlwaysDefersEvenOnTheMainThread) {
    bool ran = false;
    zv::dispatchMainAsync([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(zv::spinMainContextUntil([&] { return ran; }, 2s));
}

TEST(MainThread, WorkSentFromOtherThreadsRunsOnTheMainThreadInOrder) {
    std::mutex mutex;
    std::vector<int> order;
    bool allOnMain = true;
    std::thread sender([&] {
        for (int i = 0; i < 20; ++i) {
            zv::dispatchMainAsync([&, i] {
                std::lock_guard lock(mutex);
                allOnMain = allOnMain && zv::isMainThread();
                order.push_back(i);
            });
        }
    });
    sender.join();
    ASSERT_TRUE(zv::spinMainContextUntil(
        [&] {
            std::lock_guard lock(mutex);
            return order.size() == 20;
        },
        2s));
    EXPECT_TRUE(allOnMain);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(order[i], i);
}

TEST(MainThread, ABoundedSpinGivesUpAfterItsTime) {
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(zv::spinMainContextUntil([] { return false; }, 30ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
    // A condition already true costs no iteration.
    EXPECT_TRUE(zv::spinMainContextUntil([] { return true; }, 0ms));
}

// The two ways of waiting for a completion that arrives through the main
// loop: spinning on the main thread, blocking elsewhere.
TEST(CompletionSignal, MainThreadWaitSpinsTheLoopThatDeliversTheCompletion) {
    auto done = std::make_shared<zv::CompletionSignal>();
    std::thread worker([done] { zv::dispatchMainAsync([done] { done->signal(); }); });
    EXPECT_TRUE(done->wait(2s));
    EXPECT_TRUE(done->isSignalled());
    worker.join();
}

TEST(CompletionSignal, OtherThreadsBlockWhileTheMainThreadRunsItsLoop) {
    auto done = std::make_shared<zv::CompletionSignal>();
    std::atomic<int> waitersThrough{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&, done] {
            zv::dispatchMainAsync([done] { done->signal(); });
            if (done->wait(2s)) ++waitersThrough;
        });
    }
    EXPECT_TRUE(zv::spinMainContextUntil([&] { return waitersThrough == 3; }, 3s));
    for (auto& waiter : waiters) waiter.join();
    // Once signalled, every later wait passes at once.
    EXPECT_TRUE(done->wait(0ms));
}

TEST(CompletionSignal, ABoundedWaitWithoutASignalFails) {
    zv::CompletionSignal never;
    EXPECT_FALSE(never.wait(20ms));
    bool offMain = true;
    std::thread([&] { offMain = never.wait(20ms); }).join();
    EXPECT_FALSE(offMain);
}

}  // namespace
