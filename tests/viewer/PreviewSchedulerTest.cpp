// Previews are computed in the order rows come on screen.
#include "viewer/PreviewScheduler.h"

#include "WebViewHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <vector>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;

TEST(PreviewScheduler, RowsSeenLaterOvertakeTheBacklog) {
    // One worker, held on the first item until the rest are queued.
    std::binary_semaphore release{0};
    std::atomic<bool> firstRunning{false};
    std::vector<size_t> computed;
    std::vector<std::pair<size_t, std::string>> delivered;
    auto scheduler = PreviewScheduler::create(
        [&](size_t item) {
            if (item == 0) {
                firstRunning = true;
                release.acquire();
            }
            computed.push_back(item);
            return "preview " + std::to_string(item);
        },
        [&](size_t item, std::string preview) { delivered.emplace_back(item, std::move(preview)); }, 1);
    for (size_t item = 0; item < 5; ++item) scheduler->enqueue(item);
    ASSERT_TRUE(zv::test::spinUntil([&] { return firstRunning.load(); }, 10s));
    scheduler->prioritize(3);
    scheduler->prioritize(4);
    scheduler->prioritize(4);  // asked again: still once
    scheduler->enqueue(1);     // already queued: still once
    release.release();
    ASSERT_TRUE(zv::test::spinUntil([&] { return delivered.size() == 5; }, 10s));
    zv::test::spinFor(100ms);
    EXPECT_EQ(computed, (std::vector<size_t>{0, 4, 3, 1, 2}));
    EXPECT_EQ(delivered.size(), 5u);
    EXPECT_EQ(scheduler->doneCount(), 5u);
    for (const auto& [item, preview] : delivered) EXPECT_EQ(preview, "preview " + std::to_string(item));
}

}  // namespace
}  // namespace zvwk::viewer
