// A damaged mailbox, made at test time by scripts/make-damaged-mailbox: every
// mail command finishes, names each input it could not read with a reason,
// exits 1, and still prints what the sound messages hold.
#include "ZvwkRunner.h"

#include <algorithm>

namespace zvwk_test {
namespace {

class DamagedMailboxTest : public ZvwkTest {
protected:
    void SetUp() override {
        ZvwkTest::SetUp();
        if (IsSkipped()) return;
        // 8 MB rather than the script's 200 keeps this quick under the
        // sanitizers; the larger size is measured in docs/RELIABILITY.md.
        const std::string script = std::string(ZV_TESTS_SOURCE_DIR) + "/../scripts/make-damaged-mailbox";
        ASSERT_EQ(std::system(("python3 '" + script + "' '" + (dir_ / "mb").string() + "' --eml --huge-mb 8").c_str()), 0);
        for (const auto& entry : fs::directory_iterator(dir_ / "mb" / "cur")) {
            // A FIFO named as an operand is read as asked, as cat reads one;
            // the walk of a folder below leaves it out.
            if (entry.is_fifo()) continue;
            operands_.push_back(entry.path().string());
        }
        std::ranges::sort(operands_);
    }

    std::string quotedOperands() const {
        std::string all;
        for (const std::string& operand : operands_) all += " '" + operand + "'";
        return all;
    }

    std::vector<std::string> operands_;
};

TEST_F(DamagedMailboxTest, EveryCommandFinishesWithReasonsAndTheRest) {
    const fs::path cur = dir_ / "mb" / "cur";
    // Only the mail commands read messages, so only they say what a message lacks.
    for (std::string command : {"text", "snippet", "purge-css", "inline-css", "serialize", "select p"}) {
        SCOPED_TRACE(command);
        Outcome run = zvwk(command + quotedOperands());
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find("zvwk: " + (cur / "3.dangling.eml").string() + ": No such file or directory"), std::string::npos)
            << run.err;
        EXPECT_NE(run.out.find("The rest of the mailbox opens."), std::string::npos);
        if (command == "serialize" || command == "select p") continue;
        EXPECT_NE(run.err.find("zvwk: " + (cur / "13.noise.eml").string() + ": not a mail message"), std::string::npos)
            << run.err;
        EXPECT_NE(run.err.find("zvwk: " + (cur / "2.sound-plain.eml").string() + ": no text/html part"), std::string::npos)
            << run.err;
    }
}

TEST_F(DamagedMailboxTest, AFolderWalkPassesOverWhatIsNoFile) {
    Outcome run = zvwk("text '" + (dir_ / "mb").string() + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("The rest of the mailbox opens."), std::string::npos);
}

}  // namespace
}  // namespace zvwk_test
