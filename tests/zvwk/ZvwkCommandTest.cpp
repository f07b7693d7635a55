// zvwk parse and serialize as a user runs them, and what all commands share.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using ZvwkCommand = ZvwkTest;

TEST_F(ZvwkCommand, ParsePrintsTheTestSuiteTreeFormat) {
    Outcome run = zvwk("parse -", "<!DOCTYPE html><p class=a id=b>x<svg viewbox='0 0 1 1'></svg>");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "| <!DOCTYPE html>\n"
              "| <html>\n"
              "|   <head>\n"
              "|   <body>\n"
              "|     <p>\n"
              "|       class=\"a\"\n"
              "|       id=\"b\"\n"
              "|       \"x\"\n"
              "|       <svg svg>\n"
              "|         viewBox=\"0 0 1 1\"\n");
}

TEST_F(ZvwkCommand, ParseFragmentInForeignContext) {
    // <g> stays in SVG; <b> breaks out of foreign content into HTML.
    Outcome run = zvwk("parse --fragment 'svg path' -", "<g>x</g><b>y</b>");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "| <svg g>\n|   \"x\"\n| <b>\n|   \"y\"\n");
}

TEST_F(ZvwkCommand, SerializeRoundTripsEscapes) {
    Outcome run = zvwk("serialize -", "<p title='a\"b'>1 &lt; 2 &amp;&nbsp;3");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "<html><head></head><body><p title=\"a&quot;b\">1 &lt; 2 &amp;&nbsp;3</p></body></html>\n");
}

TEST_F(ZvwkCommand, LaunchArgumentsAreTakenAnywhereAndHiddenFromTheCommand) {
    for (const char* args : {"-logZVWebKitErrors YES serialize -", "serialize - -logZVWebKitErrors YES"}) {
        Outcome run = zvwk(args, "<b>ok</b>");
        EXPECT_EQ(run.status, 0) << args << ": " << run.err;
        EXPECT_EQ(run.out, "<html><head></head><body><b>ok</b></body></html>\n") << args;
    }
}

TEST_F(ZvwkCommand, EncodingComesFromTheBytes) {
    // windows-1252 declared by <meta>; 0x80 is the euro sign there.
    Outcome run = zvwk("serialize -", "<meta charset=windows-1252><p>\xE9\x80</p>");
    EXPECT_NE(run.out.find("<p>\xC3\xA9\xE2\x82\xAC</p>"), std::string::npos) << run.out;
    // Without a declaration the bytes are read as UTF-8.
    Outcome utf8 = zvwk("serialize -", "<p>\xC3\xA9</p>");
    EXPECT_NE(utf8.out.find("<p>\xC3\xA9</p>"), std::string::npos) << utf8.out;
}

}  // namespace
