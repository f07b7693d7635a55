// zvwk snippet over files, folders and messages.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using SnippetCommand = ZvwkTest;

std::string quoted(const fs::path& path) { return "'" + path.string() + "'"; }

// Inputs that cannot be read are reported, and the rest still run.
TEST_F(SnippetCommand, JsonGivesOneObjectPerReadableInputWithNullForNone) {
    fs::path text = write("a.html", "<p>first</p>");
    fs::path plain = write("plain.eml", "From: a@example.org\nContent-Type: text/plain\n\nno html here\n");
    fs::path missing = dir_ / "missing.html";
    fs::path empty = write("b.html", "<style>p {}</style>");
    Outcome run = zvwk("snippet --json " + quoted(text) + " " + quoted(plain) + " " + quoted(missing) + " " +
                       quoted(empty));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zvwk: " + plain.string() + ": no text/html part\n" + "zvwk: " + missing.string() +
                           ": No such file or directory\n");
    EXPECT_EQ(run.out, "{\"file\":\"" + text.string() + "\",\"snippet\":\"first\"}\n{\"file\":\"" + empty.string() +
                           "\",\"snippet\":null}\n");
}

TEST_F(SnippetCommand, AFolderGivesFileAndSnippetInPathOrderWhateverTheJobs) {
    fs::create_directories(dir_ / "mail");
    std::string expected;
    for (int i = 0; i < 30; ++i) {
        const std::string name = "mail/m" + std::to_string(100 + i) + ".html";
        // Sizes vary so the workers finish out of order.
        fs::path file = write(name, "<p>message " + std::to_string(i) + "</p>" + std::string(size_t(i % 7) * 20000, ' '));
        expected += file.string() + "\tmessage " + std::to_string(i) + "\n";
    }
    for (const char* jobs : {"1", "4"}) {
        SCOPED_TRACE(jobs);
        Outcome run = zvwk(std::string("snippet --jobs ") + jobs + " " + quoted(dir_ / "mail"));
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, expected);
    }
}

TEST_F(SnippetCommand, MessagesGiveTheirFirstHtmlPartThatIsNotAnAttachment) {
    struct Case {
        const char* name;
        const char* message;
        const char* expected;
    };
    const Case cases[] = {
        // Nested multiparts, quoted-printable; the part's charset wins over the
        // <meta> inside it, as a transport layer's would.
        {"menu.eml",
         "From: Ana <ana@example.org>\r\nMIME-Version: 1.0\r\n"
         "Content-Type: multipart/mixed; boundary=\"outer\"\r\n\r\n"
         "--outer\r\nContent-Type: multipart/alternative; boundary=\"inner\"\r\n\r\n"
         "--inner\r\nContent-Type: text/plain; charset=ISO-8859-1\r\n\r\nplain text\r\n"
         "--inner\r\nContent-Type: text/html; charset=ISO-8859-1\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
         "<html><head><meta charset=3Dutf-8><title>Men=FC</title></head>\r\n"
         "<body><p>Caf=E9 cr=E8me br=FBl=E9e =\r\ntonight</p></body></html>\r\n--inner--\r\n"
         "--outer\r\nContent-Type: text/html; charset=utf-8\r\n"
         "Content-Disposition: attachment; filename=\"old.html\"\r\n\r\n<p>attached page</p>\r\n--outer--\r\n",
         "Caf\xC3\xA9 cr\xC3\xA8me br\xC3\xBBl\xC3\xA9" "e tonight\n"},
        // An attachment first, then the body in base64; the extension in capitals.
        {"attached.EML",
         "From: a@example.org\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n"
         "--b\nContent-Type: text/html\nContent-Disposition: attachment\n\n<p>attachment</p>\n"
         "--b\nContent-Type: text/html; charset=us-ascii\nContent-Transfer-Encoding: base64\n\n"
         "PHA+Ym9keTwvcD4=\n--b--\n",
         "body\n"},
        // Blank lines before the headers, as some stored messages have, are skipped.
        {"blank-lines.eml", "\r\n \n\t\r\nFrom: a@example.org\nContent-Type: text/html\n\n<p>after blank lines</p>\n",
         "after blank lines\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Outcome run = zvwk("snippet --skip-head " + quoted(write(c.name, c.message)));
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, c.expected);
    }
}

}  // namespace
