// zvwk tokenize, run as a program: its output format, options and failures.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

class TokenizeCommand : public ZvwkTest {
protected:
    Outcome tokenize(const std::string& args, const std::string& input = "") { return zvwk("tokenize " + args, input); }
};

TEST_F(TokenizeCommand, PrintsTheTokensInHtml5libFormat) {
    auto file = write("doc.html", "<!DOCTYPE html><p class=a id='b'>x&amp;y<br/></p>\r\n<!--c--></p x>");
    Outcome run = tokenize("'" + file.string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              R"([["DOCTYPE","html",null,null,true],["StartTag","p",{"class":"a","id":"b"}],)"
              R"(["Character","x&y"],["StartTag","br",{},true],["EndTag","p"],["Character","\n"],)"
              R"(["Comment","c"],["EndTag","p"]])"
              "\n");
}

TEST_F(TokenizeCommand, StartsInTheGivenStateAndReadsStandardInput) {
    Outcome run = tokenize("--state rcdata --last-start-tag title -", "a<b>&amp;</x></title>z");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, R"([["Character","a<b>&</x>"],["EndTag","title"],["Character","z"]])" "\n");
}

TEST_F(TokenizeCommand, FailsClearlyOnBadArgumentsAndUnreadableInput) {
    Outcome missing = tokenize("'" + (dir_ / "missing.html").string() + "'");
    EXPECT_NE(missing.status, 0);
    EXPECT_EQ(missing.err, "zvwk: " + (dir_ / "missing.html").string() + ": No such file or directory\n");
    EXPECT_TRUE(missing.out.empty());

    auto file = write("doc.html", "<p>");
    EXPECT_EQ(tokenize("--frobnicate '" + file.string() + "'").status, 2);
    EXPECT_EQ(tokenize("--state nowhere '" + file.string() + "'").status, 2);
    EXPECT_EQ(tokenize("").status, 2);
}

}  // namespace
