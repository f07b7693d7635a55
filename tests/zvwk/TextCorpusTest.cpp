// The whole mail corpus through zvwk text --json: no crash, no sanitizer
// report, one JSON line per input, and failures only where an input has no
// HTML to give.
#include "ZvwkRunner.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace {

using namespace zvwk_test;

using TextCorpus = ZvwkTest;

std::string shellQuoted(const std::string& s) {
    std::string quoted = "'";
    for (char c : s) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// The reasons an input may fail for: it holds no HTML, or cannot be read.
bool isAcceptedFailure(const std::string& reason) {
    static const std::set<std::string> kReasons = {"no text/html part", "not a mail message", "read error",
                                                   "Permission denied"};
    return kReasons.count(reason) > 0;
}

TEST_F(TextCorpus, EveryInputGivesALineOrANoHtmlReport) {
    const char* corpus = std::getenv("ZV_MAIL_CORPUS");
    if (!corpus || !fs::is_directory(corpus)) GTEST_SKIP() << "ZV_MAIL_CORPUS is not a folder; corpus not run";
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(corpus))
        if (entry.is_regular_file()) files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());

    std::set<std::string> answered;
    size_t failures = 0;
    const size_t kBatch = 200;  // well inside the command-line limit
    for (size_t begin = 0; begin < files.size(); begin += kBatch) {
        std::string args = "text --json";
        const size_t end = std::min(files.size(), begin + kBatch);
        for (size_t i = begin; i < end; ++i) args += " " + shellQuoted(files[i]);
        Outcome run = zvwk(args);
        ASSERT_TRUE(run.status == 0 || run.status == 1) << "status " << run.status << "\n" << run.err;
        EXPECT_EQ(run.status == 1, !run.err.empty()) << run.err;

        std::istringstream out(run.out);
        for (std::string line; std::getline(out, line);) {
            nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
            ASSERT_FALSE(object.is_discarded()) << line.substr(0, 200);
            ASSERT_TRUE(object["file"].is_string() && object["text"].is_string()) << line.substr(0, 200);
            answered.insert(object["file"].get<std::string>());
        }
        std::istringstream err(run.err);
        for (std::string line; std::getline(err, line);) {
            // "zvwk: FILE: reason"; FILE may itself hold ": ".
            const size_t reasonAt = line.rfind(": ");
            ASSERT_TRUE(line.starts_with("zvwk: ") && reasonAt != std::string::npos) << line;
            EXPECT_TRUE(isAcceptedFailure(line.substr(reasonAt + 2))) << line;
            answered.insert(line.substr(6, reasonAt - 6));
            ++failures;
        }
    }
    EXPECT_EQ(answered.size(), files.size());
    // Most of the corpus is HTML or mail with an HTML part.
    EXPECT_LT(failures, files.size() / 10);
}

}  // namespace
