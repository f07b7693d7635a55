#include <zv/reading/RemoteContentChoices.h>

#include <gtest/gtest.h>

#include <glib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using zv::RemoteContentChoices;
using Scope = RemoteContentChoices::Scope;

class RemoteContentChoicesTest : public ::testing::Test {
protected:
    void SetUp() override {
        char* made = g_dir_make_tmp("zv-choices-XXXXXX", nullptr);
        folder_ = made;
        g_free(made);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    std::string path() const { return (folder_ / "sub" / "choices.sqlite").string(); }

    std::filesystem::path folder_;
};

TEST_F(RemoteContentChoicesTest, ChoicesBySenderAndDomainOutliveTheStoreUntilForgotten) {
    {
        auto choices = RemoteContentChoices::open(path());
        EXPECT_TRUE(choices->isOnDisk());
        EXPECT_FALSE(choices->allowsRemoteContent("ann@news.example"));
        EXPECT_TRUE(choices->alwaysAllow("Ann Example <Ann@News.Example>", Scope::Sender));
        EXPECT_TRUE(choices->alwaysAllow("shop@Store.example", Scope::Domain));
        EXPECT_TRUE(choices->alwaysAllow("shop@store.example", Scope::Domain)) << "again is still stored";
        EXPECT_FALSE(choices->alwaysAllow("no address", Scope::Sender));
    }
    auto choices = RemoteContentChoices::open(path());
    EXPECT_TRUE(choices->allowsRemoteContent("ann@news.example"));
    EXPECT_FALSE(choices->allowsRemoteContent("bob@news.example")) << "a sender's choice is that sender's only";
    EXPECT_TRUE(choices->allowsRemoteContent("\"Sales\" <sales@store.example>"));
    EXPECT_FALSE(choices->allowsRemoteContent("x@eu.store.example")) << "a domain's choice is that domain's only";
    EXPECT_EQ(choices->choices(), (std::vector<RemoteContentChoices::Choice>{{Scope::Domain, "store.example"},
                                                                             {Scope::Sender, "ann@news.example"}}));

    EXPECT_TRUE(choices->forget("ANN@news.example", Scope::Sender));
    EXPECT_FALSE(choices->forget("ann@news.example", Scope::Sender));
    EXPECT_FALSE(choices->allowsRemoteContent("ann@news.example"));
    choices->forgetAll();
    EXPECT_TRUE(choices->choices().empty());
}

// A child stores choices one after another and tells the parent each one it
// was told was stored; the parent kills it mid-stream. Every reported choice
// must be there, and the database must open cleanly.
TEST_F(RemoteContentChoicesTest, NothingStoredIsLostWhenTheProcessIsKilled) {
    RemoteContentChoices::open(path());  // the folder and schema exist before the race
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(pipeEnds[0]);
        auto choices = RemoteContentChoices::open(path());
        for (int i = 0;; ++i) {
            std::string sender = "s" + std::to_string(i) + "@example.org";
            if (!choices->alwaysAllow(sender, Scope::Sender)) _exit(1);
            std::string line = sender + "\n";
            if (write(pipeEnds[1], line.data(), line.size()) < 0) _exit(1);
        }
    }
    close(pipeEnds[1]);
    std::string reported;
    char buffer[256];
    while (std::count(reported.begin(), reported.end(), '\n') < 40) {
        ssize_t got = read(pipeEnds[0], buffer, sizeof buffer);
        ASSERT_GT(got, 0) << "the writer stopped early";
        reported.append(buffer, got);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    while (ssize_t got = read(pipeEnds[0], buffer, sizeof buffer)) {
        if (got < 0) break;
        reported.append(buffer, got);
    }
    close(pipeEnds[0]);

    auto choices = RemoteContentChoices::open(path());
    EXPECT_TRUE(choices->isOnDisk());
    std::size_t start = 0, checked = 0;
    for (std::size_t end = reported.find('\n'); end != std::string::npos; start = end + 1, end = reported.find('\n', start)) {
        EXPECT_TRUE(choices->allowsRemoteContent(reported.substr(start, end - start))) << reported.substr(start, end - start);
        ++checked;
    }
    EXPECT_GE(checked, 40u);
}

TEST_F(RemoteContentChoicesTest, ADamagedFileIsSetAsideAndAFreshStoreStarts) {
    std::filesystem::create_directories(folder_ / "sub");
    std::ofstream(path()) << "this is not a database, it is forty-odd bytes of text";
    auto choices = RemoteContentChoices::open(path());
    EXPECT_TRUE(choices->isOnDisk());
    EXPECT_TRUE(choices->alwaysAllow("ann@news.example", Scope::Sender));
    EXPECT_TRUE(std::filesystem::exists(path() + ".damaged"));
}

}  // namespace
