// The mailbox is read off the main thread and handed over in order.
#include "ViewerTestSupport.h"

#include "WebViewHarness.h"
#include "viewer/MailboxLoader.h"

#include <gtest/gtest.h>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;

TEST(MailboxLoader, BatchesArriveInMailboxOrderThenOneFinish) {
    test::ScratchFolder scratch;
    // More than one batch; Maildir names give the order (newest first).
    constexpr int kMessages = 700;
    for (int i = 0; i < kMessages; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "box/cur/%010d.m", 1000000 + i);
        scratch.write(name, test::htmlMessage(std::to_string(i) + "@x", "Message " + std::to_string(i), "<p>x</p>"));
    }
    size_t total = 0;
    std::vector<std::string> errors;
    std::vector<std::string> subjects;
    int finished = 0;
    bool orderKept = true;
    auto loader = MailboxLoader::start(
        {(scratch.path() / "box").string(), (scratch.path() / "missing").string()},
        {[&](size_t count, const std::vector<std::string>& listErrors) {
             total = count;
             errors = listErrors;
         },
         [&](size_t first, std::vector<MessageSummary> batch) {
             orderKept = orderKept && first == subjects.size();
             for (const MessageSummary& summary : batch) subjects.push_back(summary.subject);
         },
         [&] { ++finished; }});
    ASSERT_TRUE(zv::test::spinUntil([&] { return finished > 0; }, 30s));
    zv::test::spinFor(100ms);
    EXPECT_EQ(finished, 1);
    EXPECT_TRUE(orderKept);
    EXPECT_EQ(total, size_t(kMessages));
    EXPECT_EQ(errors.size(), 1u) << "the missing operand";
    ASSERT_EQ(subjects.size(), size_t(kMessages));
    for (int i = 0; i < kMessages; ++i) EXPECT_EQ(subjects[size_t(i)], "Message " + std::to_string(kMessages - 1 - i));
}

}  // namespace
}  // namespace zvwk::viewer
