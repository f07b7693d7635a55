// zvwk text over files and messages.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using TextCommand = ZvwkTest;

const char* kReply =
    "<html><head><title>Re: lunch</title><style>p{margin:0}</style></head><body>"
    "<p>Yes!<br><br></p><div id=zv-reply-separator>On Monday Ann wrote:</div>"
    "<blockquote type=cite><p>Lunch?</p></blockquote></body></html>";

TEST_F(TextCommand, JsonGivesOneObjectPerInputAndGoesOnPastUnreadableOnes) {
    fs::path first = write("first.html", kReply);
    fs::path latin = write("latin.html", "<meta charset=windows-1252><p>caf\xE9\t</p>");
    Outcome run = zvwk("text --json '" + first.string() + "' /nonexistent/x.html '" + latin.string() + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zvwk: /nonexistent/x.html: No such file or directory\n");
    std::vector<nlohmann::json> objects = jsonLines(run.out);
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0]["file"], first.string());
    EXPECT_EQ(objects[0]["text"], "Yes!\nOn Monday Ann wrote:\n\n---->Lunch?");
    EXPECT_EQ(objects[1]["file"], latin.string());
    EXPECT_EQ(objects[1]["text"], "caf\xC3\xA9");
    // Keys in this order, so the lines read the same from run to run.
    EXPECT_EQ(run.out.substr(0, 9), "{\"file\":\"");
}

TEST_F(TextCommand, MessagesGiveTheTextOfTheirHtmlPart) {
    fs::path mail = write("reply.eml",
                          "From: ann@example.org\r\nTo: bob@example.org\r\nSubject: lunch\r\nMIME-Version: 1.0\r\n"
                          "Content-Type: multipart/alternative; boundary=\"b\"\r\n\r\n"
                          "--b\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nplain\r\n"
                          "--b\r\nContent-Type: text/html; charset=iso-8859-1\r\n"
                          "Content-Transfer-Encoding: quoted-printable\r\n\r\n"
                          "<p>caf=E9<br></p><blockquote type=3Dcite><p>q</p></blockquote>\r\n--b--\r\n");
    fs::path plain = write("plain.eml", "From: a@example.org\r\nSubject: x\r\n\r\njust text\r\n");
    Outcome run = zvwk("text '" + mail.string() + "' '" + plain.string() + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "caf\xC3\xA9\n>q\n");
    EXPECT_EQ(run.err, "zvwk: " + plain.string() + ": no text/html part\n");
}

}  // namespace
