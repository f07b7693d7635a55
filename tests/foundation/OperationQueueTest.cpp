#include <zv/foundation/OperationQueue.h>

#include <zv/foundation/MainThread.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

// Polls `condition` for up to two seconds.
bool eventually(const std::function<bool()>& condition) {
    auto deadline = std::chrono::steady_clock::now() + 2s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Signalling operations that wait to be released, as fetches wait for the
// network; they keep their place among the running ones meanwhile.
struct HeldOperations {
    std::mutex mutex;
    std::vector<zv::Operation> started;

    std::function<void(zv::Operation)> operation() {
        return [this](zv::Operation op) {
            std::lock_guard lock(mutex);
            started.push_back(op);
        };
    }
    size_t startedCount() {
        std::lock_guard lock(mutex);
        return started.size();
    }
    void release(size_t index) {
        zv::Operation op;
        {
            std::lock_guard lock(mutex);
            op = started.at(index);
        }
        op.signal();
    }
};

TEST(OperationQueue, SignallingOperationsHoldTheirPlaceUntilSignalled) {
    HeldOperations held;
    std::atomic<int> completions{0};
    auto queue = zv::OperationQueue::withSetup(
        [&](zv::OperationQueue& q) {
            q.setMaxConcurrentOperationCount(3);
            for (int i = 0; i < 5; ++i) q.addSignallingOperation(held.operation());
        },
        [&] { ++completions; });

    ASSERT_TRUE(eventually([&] { return held.startedCount() == 3; }));
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(held.startedCount(), 3u) << "a fourth started before any was signalled";
    EXPECT_EQ(queue->operationCount(), 5u);

    held.release(1);
    ASSERT_TRUE(eventually([&] { return held.startedCount() == 4; }));
    held.release(1);  // a second signal changes nothing
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(held.startedCount(), 4u);

    for (size_t i : {0, 2, 3}) held.release(i);
    ASSERT_TRUE(eventually([&] { return held.startedCount() == 5; }));
    EXPECT_EQ(completions.load(), 0);
    held.release(4);
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(2s));
    EXPECT_TRUE(eventually([&] { return completions == 1; }));
    EXPECT_EQ(queue->operationCount(), 0u);
}

TEST(OperationQueue, PlainOperationsNeverExceedTheLimit) {
    std::atomic<int> running{0}, most{0}, done{0};
    auto queue = zv::OperationQueue::create();
    queue->setMaxConcurrentOperationCount(2);
    for (int i = 0; i < 12; ++i) {
        queue->addOperation([&] {
            int now = ++running;
            for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {}
            std::this_thread::sleep_for(3ms);
            --running;
            ++done;
        });
    }
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(5s));
    EXPECT_EQ(done.load(), 12);
    EXPECT_LE(most.load(), 2);
}

TEST(OperationQueue, OperationsWaitForStartAndTheCompletionComesOnce) {
    std::atomic<int> ran{0}, completions{0};
    auto queue = zv::OperationQueue::create();
    queue->addOperation([&] { ++ran; });
    zv::Operation early = queue->addSignallingOperation([&](zv::Operation) { ++ran; });
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(ran.load(), 0);
    EXPECT_FALSE(early.isFinished());

    // Signalled before it could start: it counts as finished and never runs.
    early.signal();
    EXPECT_TRUE(early.isFinished());
    queue->start([&] { ++completions; });
    queue->start([&] { completions += 100; });
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(2s));
    EXPECT_TRUE(eventually([&] { return completions == 1; }));
    EXPECT_EQ(ran.load(), 1);

    // Work added after the completion still runs, without a second completion.
    queue->addOperation([&] { ++ran; });
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(2s));
    EXPECT_EQ(ran.load(), 2);
    EXPECT_EQ(completions.load(), 1);
}

TEST(OperationQueue, AnEmptyQueueCompletesAtOnceOnTheStartingThread) {
    bool onThisThread = false;
    zv::OperationQueue::withSetup([](zv::OperationQueue&) {},
                                  [&] { onThisThread = zv::isMainThread(); });
    EXPECT_TRUE(onThisThread);
}

TEST(OperationQueue, AQueueNobodyHoldsFinishesItsWork) {
    auto completed = std::make_shared<zv::CompletionSignal>();
    std::atomic<bool> started{false};
    zv::Operation pending;
    {
        auto queue = zv::OperationQueue::create();
        pending = queue->addSignallingOperation([&started](zv::Operation) { started = true; });
        queue->start([completed] { completed->signal(); });
    }
    ASSERT_TRUE(eventually([&] { return started.load(); }));
    EXPECT_FALSE(pending.isFinished());
    EXPECT_FALSE(completed->isSignalled());
    pending.signal();
    EXPECT_TRUE(completed->wait(2s));
}

TEST(OperationQueue, WaitingOnTheMainThreadLetsOperationsFinishThroughTheMainLoop) {
    auto queue = zv::OperationQueue::create();
    for (int i = 0; i < 3; ++i)
        queue->addSignallingOperation([](zv::Operation op) { zv::dispatchMainAsync([op] { op.signal(); }); });
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(2s));
}

TEST(OperationQueue, ABoundedWaitReportsUnfinishedWork) {
    auto queue = zv::OperationQueue::create();
    zv::Operation stuck = queue->addSignallingOperation([](zv::Operation) {});
    EXPECT_FALSE(queue->waitUntilAllOperationsAreFinished(30ms));
    EXPECT_EQ(queue->operationCount(), 1u);
    bool offMain = true;
    std::thread([&] { offMain = queue->waitUntilAllOperationsAreFinished(20ms); }).join();
    EXPECT_FALSE(offMain);
    stuck.signal();
    EXPECT_TRUE(queue->waitUntilAllOperationsAreFinished(0ms));
}

TEST(OperationQueue, TheLimitDefaultsToTheProcessorCount) {
    auto queue = zv::OperationQueue::create();
    int processors = int(std::thread::hardware_concurrency());
    EXPECT_EQ(queue->maxConcurrentOperationCount(), processors);
    queue->setMaxConcurrentOperationCount(3);
    queue->setMaxConcurrentOperationCount(0);
    EXPECT_EQ(queue->maxConcurrentOperationCount(), processors);
}

// Work nobody waits on gives way to the main thread; other queues'
// operations keep the process's priority.
TEST(OperationQueue, OnlyBackgroundOperationsRunAtALowerPriority) {
    auto niceOfOperation = [](bool background) {
        auto queue = zv::OperationQueue::create();
        queue->setBackgroundPriority(background);
        std::atomic<int> nice = 100;
        queue->addOperation([&] { nice = getpriority(PRIO_PROCESS, pid_t(gettid())); });
        queue->waitUntilAllOperationsAreFinished();
        return int(nice);
    };
    int process = getpriority(PRIO_PROCESS, 0);
    if (process >= 19) GTEST_SKIP() << "already at the lowest priority";
    EXPECT_GT(niceOfOperation(true), process);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(niceOfOperation(false), process);
}

}  // namespace
