// What the mail commands print for files, folders and messages: each run
// writes its files, and "@/" in its arguments and expectations stands for
// their folder. An input that cannot be read is reported and the rest still run.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using FileInputs = ZvwkTest;

const char* kReply =
    "<html><head><title>Re: lunch</title><style>p{margin:0}</style></head><body>"
    "<p>Yes!<br><br></p><div id=zv-reply-separator>On Monday Ann wrote:</div>"
    "<blockquote type=cite><p>Lunch?</p></blockquote></body></html>";
const char* kPlainMessage = "From: a@example.org\r\nSubject: x\r\n\r\njust text\r\n";

TEST_F(FileInputs, EachCommandPrintsWhatItsFilesHold) {
    struct Case {
        std::vector<std::pair<std::string, std::string>> files;
        std::string args;
        int status;
        std::string out, err;
    };
    const Case cases[] = {
        // JSON keys in this order, so the lines read the same from run to run.
        {{{"first.html", kReply}, {"latin.html", "<meta charset=windows-1252><p>caf\xE9\t</p>"}},
         "text --json @/first.html /nonexistent/x.html @/latin.html", 1,
         "{\"file\":\"@/first.html\",\"text\":\"Yes!\\nOn Monday Ann wrote:\\n\\n---->Lunch?\"}\n"
         "{\"file\":\"@/latin.html\",\"text\":\"caf\xC3\xA9\"}\n",
         "zvwk: /nonexistent/x.html: No such file or directory\n"},
        {{{"reply.eml",
           "From: ann@example.org\r\nTo: bob@example.org\r\nSubject: lunch\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/alternative; boundary=\"b\"\r\n\r\n"
           "--b\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nplain\r\n"
           "--b\r\nContent-Type: text/html; charset=iso-8859-1\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
           "<p>caf=E9<br></p><blockquote type=3Dcite><p>q</p></blockquote>\r\n--b--\r\n"},
          {"plain.eml", kPlainMessage}},
         "text @/reply.eml @/plain.eml", 1, "caf\xC3\xA9\n>q\n", "zvwk: @/plain.eml: no text/html part\n"},
        // An input with no text gives null.
        {{{"a.html", "<p>first</p>"}, {"plain.eml", kPlainMessage}, {"b.html", "<style>p {}</style>"}},
         "snippet --json @/a.html @/plain.eml @/missing.html @/b.html", 1,
         "{\"file\":\"@/a.html\",\"snippet\":\"first\"}\n{\"file\":\"@/b.html\",\"snippet\":null}\n",
         "zvwk: @/plain.eml: no text/html part\nzvwk: @/missing.html: No such file or directory\n"},
        {{{"mail/a.eml",
           "From: a@example.org\r\nSubject: x\r\nMIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n\r\n"
           "<html><head><style>b { x: 1; }</style></head><body><b>caf\xC3\xA9</b></body></html>\r\n"},
          {"mail/b.eml", kPlainMessage},
          {"mail/c.html", "<style>i{y:2}</style><i>c</i>"}},
         "inline-css --purge --json @/mail", 1,
         "{\"file\":\"@/mail/a.eml\",\"html\":\"<html><head></head><body><b style=\\\" x: 1;\\\">caf\xC3\xA9</b>\\n"
         "</body></html>\"}\n"
         "{\"file\":\"@/mail/c.html\",\"html\":\"<html><head></head><body><i style=\\\" y:2\\\">c</i></body></html>\"}\n",
         "zvwk: @/mail/b.eml: no text/html part\n"},
        // A bad exclusion is reported once and drops nothing; the good one still applies.
        {{{"doc.html", "<style>p { x: 1 } b { y: 2 }</style><p>a</p><b>b</b>"}},
         "inline-css --json --exclude '(' --exclude '^p' @/doc.html @/doc.html", 0,
         "{\"file\":\"@/doc.html\",\"html\":\"<html><head><style>p { x: 1 } b { y: 2 }</style></head><body>"
         "<p>a</p><b style=\\\" y: 2\\\">b</b></body></html>\"}\n"
         "{\"file\":\"@/doc.html\",\"html\":\"<html><head><style>p { x: 1 } b { y: 2 }</style></head><body>"
         "<p>a</p><b style=\\\" y: 2\\\">b</b></body></html>\"}\n",
         "zvwk: inline-css: ignoring exclusion \"(\": U_REGEX_MISMATCHED_PAREN at offset 1\n"},
        // A message gives its first text/html part that is not an attachment.
        // Nested multiparts, quoted-printable; the part's charset wins over the
        // <meta> inside it, as a transport layer's would.
        {{{"menu.eml",
           "From: Ana <ana@example.org>\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"outer\"\r\n\r\n"
           "--outer\r\nContent-Type: multipart/alternative; boundary=\"inner\"\r\n\r\n"
           "--inner\r\nContent-Type: text/plain; charset=ISO-8859-1\r\n\r\nplain text\r\n"
           "--inner\r\nContent-Type: text/html; charset=ISO-8859-1\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
           "<html><head><meta charset=3Dutf-8><title>Men=FC</title></head>\r\n"
           "<body><p>Caf=E9 cr=E8me br=FBl=E9e =\r\ntonight</p></body></html>\r\n--inner--\r\n"
           "--outer\r\nContent-Type: text/html; charset=utf-8\r\n"
           "Content-Disposition: attachment; filename=\"old.html\"\r\n\r\n<p>attached page</p>\r\n--outer--\r\n"}},
         "snippet --skip-head @/menu.eml", 0, "Caf\xC3\xA9 cr\xC3\xA8me br\xC3\xBBl\xC3\xA9" "e tonight\n", ""},
        // An attachment first, then the body in base64; the extension in capitals.
        {{{"attached.EML",
           "From: a@example.org\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n"
           "--b\nContent-Type: text/html\nContent-Disposition: attachment\n\n<p>attachment</p>\n"
           "--b\nContent-Type: text/html; charset=us-ascii\nContent-Transfer-Encoding: base64\n\n"
           "PHA+Ym9keTwvcD4=\n--b--\n"}},
         "snippet --skip-head @/attached.EML", 0, "body\n", ""},
        // Blank lines before the headers, as some stored messages have, are skipped.
        {{{"blank-lines.eml", "\r\n \n\t\r\nFrom: a@example.org\nContent-Type: text/html\n\n<p>after blank lines</p>\n"}},
         "snippet --skip-head @/blank-lines.eml", 0, "after blank lines\n", ""},
        // Trackers judged by hand: a pixel, a hidden image, a tracking parameter.
        {{{"news.html",
           "<p>Hi</p><img src=\"https://cdn.shop.example/hero.jpg\" width=600 height=300>"
           "<img src=\"https://mail.shop.example/open?id=9\" width=1 height=1>"
           "<span style=\"display:none\"><img src=\"https://mail.shop.example/x.png\"></span>"
           "<a href=\"https://shop.example/sale?utm_source=mail&amp;page=2\">Sale</a>"},
          {"plain.html", "<p>No pictures, no links.</p>"}},
         "trackers --json @/news.html @/plain.html", 0,
         "{\"file\":\"@/news.html\",\"trackers\":[{\"url\":\"https://mail.shop.example/open?id=9\",\"kind\":\"pixel\"},"
         "{\"url\":\"https://mail.shop.example/x.png\",\"kind\":\"hidden\"},"
         "{\"url\":\"https://shop.example/sale?utm_source=mail&page=2\",\"kind\":\"parameter\"}]}\n"
         "{\"file\":\"@/plain.html\",\"trackers\":[]}\n",
         ""},
    };
    auto inFolder = [&](std::string text) {
        for (size_t at = text.find("@/"); at != std::string::npos; at = text.find("@/", at))
            text.replace(at, 1, dir_.string());
        return text;
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        for (const auto& [name, content] : c.files) write(name, content);
        Outcome run = zvwk(inFolder(c.args));
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_EQ(run.out, inFolder(c.out));
        EXPECT_EQ(run.err, inFolder(c.err));
    }
}

TEST_F(FileInputs, ASnippetFolderGivesFileAndSnippetInPathOrderWhateverTheJobs) {
    std::string expected;
    for (int i = 0; i < 30; ++i) {
        const std::string name = "mail/m" + std::to_string(100 + i) + ".html";
        // Sizes vary so the workers finish out of order.
        fs::path file = write(name, "<p>message " + std::to_string(i) + "</p>" + std::string(size_t(i % 7) * 20000, ' '));
        expected += file.string() + "\tmessage " + std::to_string(i) + "\n";
    }
    for (const char* jobs : {"1", "4"}) {
        SCOPED_TRACE(jobs);
        Outcome run = zvwk(std::string("snippet --jobs ") + jobs + " '" + (dir_ / "mail").string() + "'");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, expected);
    }
}

TEST_F(FileInputs, DarkAdaptsEachInputAndKeepsMessagesWithTheirOwnDarkStyles) {
    fs::path a = write("a.html", "<!DOCTYPE html><html><head><style>p { color: #000 }</style></head><body><p>a</p></body></html>");
    const char* ownDark = "<html><head><meta name=\"color-scheme\" content=\"light dark\"></head><body>b</body></html>";
    fs::path b = write("b.html", ownDark);
    Outcome run = zvwk("dark --json '" + a.string() + "' '" + b.string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<nlohmann::json> lines = jsonLines(run.out);
    ASSERT_EQ(lines.size(), 2u) << run.out;
    // The page's #1e1e1e on the root, black text inverted to #e8e8e8, the head sheet gone.
    std::string html = lines[0]["html"];
    EXPECT_NE(html.find("<html style=\"background-color: #1e1e1e !important;"), std::string::npos) << html;
    EXPECT_NE(html.find("color: #e8e8e8 !important;"), std::string::npos) << html;
    EXPECT_EQ(html.find("<style>"), std::string::npos) << html;
    // Its own scheme kept, drawn on the dark canvas.
    EXPECT_EQ(lines[1]["html"], "<html style=\"background-color: #1e1e1e;\"><head><meta name=\"color-scheme\" "
                                "content=\"light dark\"></head><body>b</body></html>");
}

}  // namespace
