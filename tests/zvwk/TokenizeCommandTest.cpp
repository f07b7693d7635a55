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

}  // namespace
