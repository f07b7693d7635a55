#include <zv/reading/RemoteContentChoices.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

namespace {

using zv::RemoteContentChoices;
using Scope = RemoteContentChoices::Scope;

class RemoteContentChoicesTest : public ::testing::Test {
protected:
    std::string path() const { return folder_.pathOf("sub/choices.sqlite"); }

    zv::test::TemporaryFolder folder_;
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
    EXPECT_TRUE(choices->allowsRemoteContent("\"Bob <bob@news.example>\" <ann@news.example> (Ann)"));
    EXPECT_TRUE(choices->allowsRemoteContent("Ann :-( <ann@news.example>")) << "a \"(\" never closed opens no comment";
    for (const char* other : {"bob@news.example (<ann@news.example>)", "Bob <bob@news.example> (\\) <ann@news.example>)"})
        EXPECT_FALSE(choices->allowsRemoteContent(other)) << other << ": a comment names no sender";
    EXPECT_TRUE(choices->allowsRemoteContent("\"Sales\" <sales@store.example>"));
    EXPECT_FALSE(choices->allowsRemoteContent("x@eu.store.example")) << "a domain's choice is that domain's only";
    EXPECT_EQ(choices->choices(), (std::vector<RemoteContentChoices::Choice>{{Scope::Domain, "store.example"},
                                                                             {Scope::Sender, "ann@news.example"}}));

    EXPECT_TRUE(choices->forget("ANN@news.example", Scope::Sender));
    EXPECT_FALSE(choices->forget("ann@news.example", Scope::Sender));
    EXPECT_FALSE(choices->allowsRemoteContent("ann@news.example"));
    choices->forgetAll();
    EXPECT_TRUE(choices->choices().empty());

    EXPECT_TRUE(choices->alwaysAllow("Zoë <ZOË@ÉCOLE.example>", Scope::Sender));
    EXPECT_TRUE(choices->allowsRemoteContent("zoë@école.example")) << "letters beyond ASCII are lower-cased too";
}

TEST_F(RemoteContentChoicesTest, AStoreThatLoweredOnlyASCIILettersStillMatches) {
    std::filesystem::create_directories(folder_.pathOf("sub"));
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &db), SQLITE_OK);
    int made = sqlite3_exec(db,
                            "CREATE TABLE choices(scope TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY(scope, value))"
                            " WITHOUT ROWID; INSERT INTO choices VALUES ('sender', 'zoË@École.example'),"
                            " ('domain', 'Élan.example'), ('domain', 'élan.example')",
                            nullptr, nullptr, nullptr);
    sqlite3_close(db);
    ASSERT_EQ(made, SQLITE_OK);
    auto choices = RemoteContentChoices::open(path());
    EXPECT_TRUE(choices->allowsRemoteContent("Zoë <zoë@école.example>"));
    EXPECT_EQ(choices->choices(), (std::vector<RemoteContentChoices::Choice>{{Scope::Domain, "élan.example"},
                                                                             {Scope::Sender, "zoë@école.example"}}));
}

TEST_F(RemoteContentChoicesTest, ADamagedFileIsSetAsideAndAFreshStoreStarts) {
    folder_.write("sub/choices.sqlite", "this is not a database, it is forty-odd bytes of text");
    auto choices = RemoteContentChoices::open(path());
    EXPECT_TRUE(choices->isOnDisk());
    EXPECT_TRUE(choices->alwaysAllow("ann@news.example", Scope::Sender));
    EXPECT_TRUE(std::filesystem::exists(path() + ".damaged"));
}

}  // namespace
