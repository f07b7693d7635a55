// The mail commands over the whole mail corpus (inline-css --purge and dark
// included): every input gives a JSON line or an expected complaint, and
// nothing crashes.
#include "ZvwkRunner.h"

#include <cctype>
#include <string_view>

namespace {

using namespace zvwk_test;

// "zvwk: FILE: REASON" for a reason a mail may give to have no output.
bool isExpectedComplaint(std::string_view line) {
    constexpr std::string_view kPrefix = "zvwk: ";
    for (std::string_view reason : {"no text/html part", "not a mail message", "Permission denied"}) {
        const std::string ending = ": " + std::string(reason);
        if (line.starts_with(kPrefix) && line.size() >= kPrefix.size() + ending.size() && line.ends_with(ending))
            return true;
    }
    return false;
}

class MailCorpus : public ZvwkTest, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        ZvwkTest::SetUp();
        if (IsSkipped()) return;
        const char* corpus = std::getenv("ZV_MAIL_CORPUS");
        if (!corpus || !fs::is_directory(corpus)) GTEST_SKIP() << "ZV_MAIL_CORPUS is not a folder; corpus not run";
        corpus_ = corpus;
    }

    // What the commands walk: regular files, hidden ones left out.
    size_t inputCount() const {
        size_t count = 0;
        for (auto it = fs::recursive_directory_iterator(corpus_); it != fs::recursive_directory_iterator(); ++it) {
            if (it->path().filename().string().starts_with(".")) {
                it.disable_recursion_pending();
                continue;
            }
            if (it->is_regular_file()) ++count;
        }
        return count;
    }

    fs::path corpus_;
};

TEST_P(MailCorpus, EveryInputGivesAJsonLineOrAnExpectedComplaint) {
    Outcome run = zvwk(std::string(GetParam()) + " --json '" + corpus_.string() + "'");
    ASSERT_TRUE(run.status == 0 || run.status == 1) << "status " << run.status << "\n" << run.err;

    std::vector<nlohmann::json> objects = jsonLines(run.out);
    for (const nlohmann::json& object : objects) ASSERT_TRUE(!object.is_discarded() && object.contains("file"));
    const size_t lines = objects.size();

    size_t complaints = 0;
    std::istringstream err(run.err);
    for (std::string line; std::getline(err, line); ++complaints)
        EXPECT_TRUE(isExpectedComplaint(line)) << line;
    EXPECT_EQ(run.status != 0, complaints != 0);
    EXPECT_EQ(lines + complaints, inputCount());
}

INSTANTIATE_TEST_SUITE_P(Commands, MailCorpus, testing::Values("snippet", "text", "inline-css --purge", "dark"),
                         [](const auto& info) {
                             std::string name = info.param;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
