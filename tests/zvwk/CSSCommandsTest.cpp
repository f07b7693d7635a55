// zvwk purge-css and zvwk inline-css as a user runs them.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using PurgeCSSCommand = ZvwkTest;
using InlineCSSCommand = ZvwkTest;

const char* kMessage =
    "<!DOCTYPE html><html><head><style zv-scope=\"print\">p { color: red; }</style>"
    "<style>h1, p { margin: 0; }</style><style zv-scope=\"required\">p { x: 1; }</style></head>"
    "<body><h1>Hi</h1><p style=\"color: blue\">text</p></body></html>";

// Without filters every head sheet but the required ones goes; filters name
// the scopes to remove.
TEST_F(PurgeCSSCommand, RemovesTheHeadSheetsOfTheNamedScopes) {
    const std::string purged =
        "<!DOCTYPE html><html><head><style zv-scope=\"required\">p { x: 1; }</style></head>"
        "<body><h1>Hi</h1><p style=\"color: blue\">text</p></body></html>\n";
    const std::pair<const char*, std::string> cases[] = {
        {"purge-css -", purged},
        {"purge-css --filter print --filter --invalid-filter-name-- -", purged},
        {"purge-css --filter screen -", std::string(kMessage) + "\n"},
    };
    for (const auto& [args, expected] : cases) {
        Outcome run = zvwk(args, kMessage);
        EXPECT_EQ(run.status, 0) << args << ": " << run.err;
        EXPECT_EQ(run.err, "") << args;
        EXPECT_EQ(run.out, expected) << args;
    }
}

TEST_F(InlineCSSCommand, AppendsHeadRulesInSelectorOrder) {
    Outcome run = zvwk("inline-css -", kMessage);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("<h1 style=\" margin: 0;\">Hi</h1>"), std::string::npos) << run.out;
    // p's rules from all three sheets run together; p came before h1.
    EXPECT_NE(run.out.find("<p style=\"color: blue color: red;margin: 0;x: 1;\">"), std::string::npos) << run.out;
    // Without --purge the sheets stay.
    EXPECT_NE(run.out.find("<style zv-scope=\"print\">"), std::string::npos);
}

TEST_F(InlineCSSCommand, PurgeScopesAndExclusions) {
    Outcome run = zvwk("inline-css --purge --scope print --scope required --exclude '^H1$' -", kMessage);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "<!DOCTYPE html><html><head></head><body><h1>Hi</h1>"
              "<p style=\"color: blue color: red;x: 1;\">text</p></body></html>\n");
}

TEST_F(InlineCSSCommand, MessagesFoldersAndJson) {
    fs::create_directories(dir_ / "mail");
    write("mail/a.eml",
          "From: a@example.org\r\nSubject: x\r\nMIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n\r\n"
          "<html><head><style>b { x: 1; }</style></head><body><b>caf\xC3\xA9</b></body></html>\r\n");
    write("mail/b.eml", "From: a@example.org\r\nSubject: x\r\n\r\nplain\r\n");
    write("mail/c.html", "<style>i{y:2}</style><i>c</i>");
    Outcome run = zvwk("inline-css --purge --json '" + (dir_ / "mail").string() + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zvwk: " + (dir_ / "mail" / "b.eml").string() + ": no text/html part\n");
    std::vector<nlohmann::json> objects = jsonLines(run.out);
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0]["file"], (dir_ / "mail" / "a.eml").string());
    EXPECT_EQ(objects[0]["html"].get<std::string>(),
              "<html><head></head><body><b style=\" x: 1;\">caf\xC3\xA9</b>\n</body></html>");
    EXPECT_EQ(objects[1]["html"].get<std::string>(), "<html><head></head><body><i style=\" y:2\">c</i></body></html>");
}

}  // namespace
