// zvwk as a user runs it: a separate process, its output and exit status.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>

namespace {

struct Run {
    std::string out;  // standard output and standard error together
    int status = -1;
};

Run zvwk(const std::string& arguments, const std::string& stdinText = "") {
    const char* binary = std::getenv("ZVWK");
    if (!binary) return {"ZVWK is not set", -1};
    auto dir = std::filesystem::temp_directory_path();
    auto input = dir / ("zvwk-stdin-" + std::to_string(::getpid()));
    std::ofstream(input) << stdinText;
    std::string command = std::string(binary) + " " + arguments + " < " + input.string() + " 2>&1";
    Run run;
    FILE* pipe = ::popen(command.c_str(), "r");
    std::array<char, 4096> buffer;
    while (size_t n = std::fread(buffer.data(), 1, buffer.size(), pipe)) run.out.append(buffer.data(), n);
    int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::filesystem::remove(input);
    return run;
}

TEST(ZvwkCommand, ParsePrintsTheTestSuiteTreeFormat) {
    Run run = zvwk("parse -", "<!DOCTYPE html><p class=a id=b>x<svg viewbox='0 0 1 1'></svg>");
    EXPECT_EQ(run.status, 0);
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

TEST(ZvwkCommand, ParseFragmentInForeignContext) {
    // <g> stays in the context's namespace; <b> breaks out of foreign content.
    Run run = zvwk("parse --fragment 'svg path' -", "<g>x</g><b>y</b>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "| <svg g>\n|   \"x\"\n| <b>\n|   \"y\"\n");
}

TEST(ZvwkCommand, TokenizePrintsOneJSONArrayWithMergedCharacters) {
    Run run = zvwk("tokenize -", "a&amp;b<br/><!--c--></p>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.substr(0, run.out.find_last_not_of('\n') + 1),
              R"([["Character","a&b"],["StartTag","br",{},true],["Comment","c"],["EndTag","p"]])");
    Run rawtext = zvwk("tokenize --state rawtext --last-start-tag style -", "a<b></style>");
    EXPECT_NE(rawtext.out.find(R"([["Character","a<b"],["EndTag","style"]])"), std::string::npos) << rawtext.out;
}

TEST(ZvwkCommand, SerializeRoundTripsEscapes) {
    Run run = zvwk("serialize -", "<p title='a\"b'>1 &lt; 2 &amp;&nbsp;3");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<html><head></head><body><p title=\"a&quot;b\">1 &lt; 2 &amp;&nbsp;3</p></body></html>\n");
}

TEST(ZvwkCommand, UnreadableInputIsReportedAndTheRestStillProcessed) {
    Run run = zvwk("serialize /nonexistent/a.html -", "<b>ok</b>");
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.out.find("zvwk: /nonexistent/a.html: No such file or directory"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("<b>ok</b>"), std::string::npos) << run.out;
}

TEST(ZvwkCommand, EncodingComesFromTheBytes) {
    // windows-1252 declared by <meta>; 0x80 is the euro sign there.
    Run run = zvwk("serialize -", "<meta charset=windows-1252><p>\xE9\x80</p>");
    EXPECT_NE(run.out.find("<p>\xC3\xA9\xE2\x82\xAC</p>"), std::string::npos) << run.out;
    // Without a declaration the bytes are read as UTF-8.
    Run utf8 = zvwk("serialize -", "<p>\xC3\xA9</p>");
    EXPECT_NE(utf8.out.find("<p>\xC3\xA9</p>"), std::string::npos) << utf8.out;
}

TEST(ZvwkCommand, UsageErrors) {
    EXPECT_EQ(zvwk("").status, 2);
    EXPECT_EQ(zvwk("no-such-command").status, 2);
    EXPECT_EQ(zvwk("parse --bogus -").status, 2);
    EXPECT_EQ(zvwk("--help").status, 0);
}

}  // namespace
