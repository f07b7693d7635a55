// How zvwk takes its inputs and arguments, hostile or broken ones above all: a
// clear report and a usage or failure status, never a crash, never a report
// mixed into the output.
#include "ZvwkRunner.h"

#include <sys/resource.h>

namespace {

using namespace zvwk_test;

using ZvwkInputs = ZvwkTest;

// A message whose only text/html part lies `depth` multiparts down.
std::string deeplyNestedMessage(int depth) {
    std::string message = "From: a@example.org\nMIME-Version: 1.0\n";
    for (int i = 0; i < depth; ++i)
        message += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\n\n--b" + std::to_string(i) + "\n";
    message += "Content-Type: text/html\n\n<p>deep</p>\n";
    for (int i = depth - 1; i >= 0; --i) message += "--b" + std::to_string(i) + "--\n";
    return message;
}

TEST_F(ZvwkInputs, IsReportedOnStandardErrorWithTheRightStatus) {
    const std::string dir = "'" + dir_.string() + "'";
    write("deep.eml", deeplyNestedMessage(10000));
    write("shallow.eml", deeplyNestedMessage(3));
    struct Case {
        std::string args;
        bool closedInput;
        int status;
        std::string report;  // what standard error must say
    };
    const Case cases[] = {
        {"parse " + dir, false, 1, "zvwk: " + dir_.string() + ": Is a directory\n"},
        {"tokenize " + dir, false, 1, "zvwk: " + dir_.string() + ": Is a directory\n"},
        {"parse -", true, 1, "zvwk: -: standard input is closed\n"},
        {"text -", true, 1, "zvwk: -: standard input is closed\n"},
        {"snippet " + dir + "/deep.eml", false, 1,
         "zvwk: " + dir_.string() + "/deep.eml: MIME parts nested too deep to find the text/html part\n"},
        {"snippet --max 99999999999999999999 -", false, 2,
         "zvwk: snippet: --max \"99999999999999999999\" is out of range\n"},
        {"snippet --max -1 -", false, 2, "zvwk: snippet: --max needs a number of at least 0 (0: no limit)\n"},
        {"color 'dark\x1b[31mred'", false, 1, "zvwk: color: unknown colour name \"dark\\x1B[31mred\"\n"},
        {"color grey", false, 1, "zvwk: color: unknown colour name \"grey\"\n"},
        {"color '#ff0000'", false, 1, "zvwk: color: unknown colour name \"#ff0000\"\n"},
        {"tokenize /nonexistent/a.html", false, 1, "zvwk: /nonexistent/a.html: No such file or directory\n"},
        {"select p /nonexistent/a.html", false, 1, "zvwk: /nonexistent/a.html: No such file or directory\n"},
        {"purge-css /nonexistent/a.html", false, 1, "zvwk: /nonexistent/a.html: No such file or directory\n"},
        {"purge-css --filter", false, 2, "zvwk: purge-css: --filter needs a scope\n"},
        {"page", false, 2, "zvwk: page: no page file\n"},
        {"page a.html --size 3", false, 2, "zvwk: page: unexpected argument '--size'\n"},
        {"page " + dir + "/absent.html", false, 1, "zvwk: " + dir_.string() + "/absent.html: No such file or directory\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        Outcome run = zvwk(c.args, "", c.closedInput);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(run.err, c.report);
        EXPECT_EQ(run.out, "");
    }
    // A message nested within GMime's limit still gives its part.
    EXPECT_EQ(zvwk("snippet " + dir + "/shallow.eml").out, "deep\n");
}

TEST_F(ZvwkInputs, UsageErrorsSayWhichCommandAndPrintNothing) {
    for (const char* args :
         {"", "no-such-command", "parse --bogus -", "tokenize", "tokenize --frobnicate -", "tokenize --state nowhere -",
          "select", "select p", "select --bogus p -", "text", "text --frag -", "color", "color red blue", "snippet",
          "snippet --max", "snippet --max ten -", "snippet --jobs 0 -", "snippet --bogus -", "purge-css", "inline-css",
          "inline-css --exclude", "inline-css --scope", "inline-css --purged -", "trackers --reader", "dark --bogus -"}) {
        SCOPED_TRACE(args);
        Outcome run = zvwk(args);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        const std::string command = std::string(args).substr(0, std::string(args).find(' '));
        EXPECT_TRUE(run.err.starts_with("zvwk: ") && run.err.find(command) != std::string::npos) << run.err;
    }
}

TEST_F(ZvwkInputs, AHugeArgumentIsCutInTheReport) {
    std::string name(100000, '\x01');
    fs::path file = write("name", name);
    Outcome run = zvwk("color \"$(cat '" + file.string() + "')\"");
    EXPECT_EQ(run.status, 1);
    EXPECT_LT(run.err.size(), 400u) << run.err.substr(0, 400);
    EXPECT_NE(run.err.find("100000 bytes"), std::string::npos) << run.err.substr(0, 400);
    EXPECT_EQ(run.err.find('\x01'), std::string::npos);
}

TEST_F(ZvwkInputs, AVeryDeepTreeIsDumpedWithoutHoldingTheDumpInMemory) {
    // 20,000 levels make a dump of 400 MB (two spaces a level, a line a level);
    // piped away, the tool must stay far below that.
    constexpr int kDepth = 20000;
    std::string html;
    for (int i = 0; i < kDepth; ++i) html += "<div>";
    fs::path input = write("deep.html", html);
    std::string command = "'" + zvwk_ + "' parse '" + input.string() + "' | wc -c >'" + (dir_ / "size").string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const long dumped = std::stol(read("size"));
    EXPECT_GT(dumped, 2L * kDepth * (kDepth / 2));
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss * 1024L, dumped / 3) << "peak resident KB: " << usage.ru_maxrss;
}

TEST_F(ZvwkInputs, OutputThatCannotBeWrittenIsAFailure) {
    fs::path input = write("doc.html", "<p>text");
    const std::string err = (dir_ / "full-err").string();
    for (const char* command : {"parse", "serialize", "text", "snippet"}) {
        SCOPED_TRACE(command);
        std::string line = "'" + zvwk_ + "' " + command + " '" + input.string() + "' >/dev/full 2>'" + err + "'";
        int raw = std::system(line.c_str());
        EXPECT_EQ(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, 1);
        EXPECT_EQ(read("full-err"), "zvwk: " + std::string(command) + ": could not write standard output\n");
    }
}

TEST_F(ZvwkInputs, FoldersAreWalkedInSortedOrderWithoutHiddenFiles) {
    fs::create_directories(dir_ / "docs" / "sub");
    fs::create_directories(dir_ / "docs" / ".cache");
    write("docs/sub/b.html", "<p id=2>two");
    write("docs/a.html", "<p id=1>one");
    write("docs/.hidden.html", "<p>hidden");
    write("docs/.cache/c.html", "<p>cached");
    const std::pair<std::string, std::string> cases[] = {
        {"text", "one\ntwo\n"},
        {"select p", "<p id=\"1\">one</p>\n<p id=\"2\">two</p>\n"},
        {"serialize",
         "<html><head></head><body><p id=\"1\">one</p></body></html>\n"
         "<html><head></head><body><p id=\"2\">two</p></body></html>\n"},
    };
    for (const auto& [command, expected] : cases) {
        SCOPED_TRACE(command);
        Outcome run = zvwk(command + " '" + (dir_ / "docs").string() + "'");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, expected);
    }
}

TEST_F(ZvwkInputs, EveryCommandAnswersHelpAndTheToolItsVersion) {
    for (const char* command :
         {"parse", "tokenize", "serialize", "select", "text", "color", "snippet", "purge-css", "inline-css"}) {
        SCOPED_TRACE(command);
        Outcome run = zvwk(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0);
        EXPECT_TRUE(run.out.starts_with("usage: zvwk " + std::string(command) + " ")) << run.out;
        EXPECT_EQ(run.err, "");
    }
    EXPECT_EQ(zvwk("--help").status, 0);
    Outcome version = zvwk("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.out.starts_with("zvwk ") && std::isdigit(static_cast<unsigned char>(version.out[5])))
        << version.out;
}

}  // namespace
