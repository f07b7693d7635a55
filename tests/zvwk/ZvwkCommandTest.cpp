// zvwk parse, serialize and tokenize as a user runs them, and what all
// commands share.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using ZvwkCommand = ZvwkTest;

TEST_F(ZvwkCommand, PrintsWhatEachCommandMakesOfItsInput) {
    const std::string file = write("doc.html", "<!DOCTYPE html><p class=a id='b'>x&amp;y<br/></p>\r\n<!--c--></p x>").string();
    const std::string bold = "<html><head></head><body><b>ok</b></body></html>\n";
    struct Case {
        std::string args;
        std::string input;
        std::string out;
    };
    const Case cases[] = {
        // The tree in the test suite's format.
        {"parse -", "<!DOCTYPE html><p class=a id=b>x<svg viewbox='0 0 1 1'></svg>",
         "| <!DOCTYPE html>\n"
         "| <html>\n"
         "|   <head>\n"
         "|   <body>\n"
         "|     <p>\n"
         "|       class=\"a\"\n"
         "|       id=\"b\"\n"
         "|       \"x\"\n"
         "|       <svg svg>\n"
         "|         viewBox=\"0 0 1 1\"\n"},
        // <g> stays in SVG; <b> breaks out of foreign content into HTML.
        {"parse --fragment 'svg path' -", "<g>x</g><b>y</b>", "| <svg g>\n|   \"x\"\n| <b>\n|   \"y\"\n"},
        {"serialize -", "<p title='a\"b'>1 &lt; 2 &amp;&nbsp;3",
         "<html><head></head><body><p title=\"a&quot;b\">1 &lt; 2 &amp;&nbsp;3</p></body></html>\n"},
        // Launch arguments are taken anywhere and hidden from the command.
        {"-logZVWebKitErrors YES serialize -", "<b>ok</b>", bold},
        {"serialize - -logZVWebKitErrors YES", "<b>ok</b>", bold},
        // windows-1252 declared by <meta>, where 0x80 is the euro sign;
        // without a declaration the bytes are read as UTF-8.
        {"serialize -", "<meta charset=windows-1252><p>\xE9\x80</p>",
         "<html><head><meta charset=\"windows-1252\"></head><body><p>\xC3\xA9\xE2\x82\xAC</p></body></html>\n"},
        {"serialize -", "<p>\xC3\xA9</p>", "<html><head></head><body><p>\xC3\xA9</p></body></html>\n"},
        // Tokens in html5lib's format.
        {"tokenize '" + file + "'", "",
         R"([["DOCTYPE","html",null,null,true],["StartTag","p",{"class":"a","id":"b"}],)"
         R"(["Character","x&y"],["StartTag","br",{},true],["EndTag","p"],["Character","\n"],)"
         R"(["Comment","c"],["EndTag","p"]])"
         "\n"},
        {"tokenize --state rcdata --last-start-tag title -", "a<b>&amp;</x></title>z",
         R"([["Character","a<b>&</x>"],["EndTag","title"],["Character","z"]])" "\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        Outcome run = zvwk(c.args, c.input);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.out, c.out);
    }
}

}  // namespace
