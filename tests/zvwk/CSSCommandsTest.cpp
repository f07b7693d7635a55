// zvwk inline-css over a whole message and over folders.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using InlineCSSCommand = ZvwkTest;

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
