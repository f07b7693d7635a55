// zvwk select as a user runs it.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using SelectCommand = ZvwkTest;

const char* kPage =
    "<!DOCTYPE html><ul id=list><li class=a>one</li><li id=two>two &amp; <b>bold</b></li>"
    "<li class=a id=three>three</li></ul>";

TEST_F(SelectCommand, PrintsEachMatchInDocumentOrder) {
    Outcome run = zvwk("select 'li.a, #two' -", kPage);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "<li class=\"a\">one</li>\n"
              "<li id=\"two\">two &amp; <b>bold</b></li>\n"
              "<li class=\"a\" id=\"three\">three</li>\n");
}

TEST_F(SelectCommand, JsonGivesTagIdAndOuterHtml) {
    Outcome run = zvwk("select --json 'ul > :nth-child(-n+2)' -", kPage);
    EXPECT_EQ(run.status, 0) << run.err;
    nlohmann::json matches = nlohmann::json::parse(run.out);
    ASSERT_EQ(matches.size(), 2u);
    EXPECT_EQ(matches[0]["tag"], "li");
    EXPECT_TRUE(matches[0]["id"].is_null());
    EXPECT_EQ(matches[0]["outerHTML"], "<li class=\"a\">one</li>");
    EXPECT_EQ(matches[1]["id"], "two");

    Outcome none = zvwk("select --json 'table' -", kPage);
    EXPECT_EQ(none.out, "[]\n");
}

TEST_F(SelectCommand, ASelectorThatDoesNotParseWarnsAndFindsNothing) {
    Outcome run = zvwk("select 'li,' -", kPage);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zvwk: select: selector matches nothing: \"li,\" does not parse\n");

    Outcome json = zvwk("select --json '@media screen' -", kPage);
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.out, "[]\n");
    EXPECT_NE(json.err.find("\"@media screen\" does not parse"), std::string::npos);
}

TEST_F(SelectCommand, ReadsFilesAndTheirEncodings) {
    // windows-1252 declared by <meta>: 0xE9 is é.
    fs::path latin = write("latin.html", "<meta charset=windows-1252><p id=x>caf\xE9</p>");
    fs::path other = write("other.html", "<p id=y>second</p>");
    Outcome run = zvwk("select p '" + latin.string() + "' '" + other.string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "<p id=\"x\">caf\xC3\xA9</p>\n<p id=\"y\">second</p>\n");
}

}  // namespace
