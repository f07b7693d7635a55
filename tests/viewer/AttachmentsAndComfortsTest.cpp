// Attachments handed to the desktop, pictures attached below the body, a
// message printed with its header block, and zoom: the files written are
// checked byte for byte, the rest in real web views under Xvfb.
#include "ViewerTestSupport.h"

#include "LoopbackServer.h"
#include "WebViewHarness.h"
#include "viewer/AttachmentFiles.h"
#include "viewer/MessagePrinting.h"
#include "viewer/ViewerExtensions.h"
#include "viewer/ViewerWindow.h"

#include <zv/webview/ScriptEvaluation.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;
using test::evaluate;

std::string fileText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

TEST(AttachmentFiles, NamesStayInTheirFolderAndBytesArriveWhole) {
    struct Case {
        const char* given;
        const char* written;
    } cases[] = {
        {"plan.pdf", "plan.pdf"},       {"../../.bashrc", "bashrc"},   {"/etc/passwd", "passwd"},
        {"C:\\temp\\x.doc", "x.doc"},   {"..", "attachment"},          {"", "attachment"},
        {"re\x01port\n.txt", "re_port_.txt"}, {"Grüße.txt", "Grüße.txt"},
    };
    for (const Case& c : cases) EXPECT_EQ(safeAttachmentName(c.given), c.written) << c.given;
    EXPECT_EQ(safeAttachmentName(std::string(300, 'a')).size(), 200u);

    test::ScratchFolder scratch;
    Attachment attachment{"../notes.txt", "text/plain", 6, std::string("a\0b\r\nc", 6)};
    std::string error;
    auto first = copyAttachmentToOpen(attachment, (scratch.path() / "cache").string(), error);
    auto second = copyAttachmentToOpen(attachment, (scratch.path() / "cache").string(), error);
    ASSERT_TRUE(first && second) << error;
    EXPECT_NE(*first, *second) << "each copy in a folder of its own";
    std::filesystem::path copy(*first);
    EXPECT_EQ(copy.filename(), "notes.txt");
    EXPECT_EQ(copy.parent_path().parent_path(), scratch.path() / "cache");
    EXPECT_EQ(fileText(copy), attachment.data);

    EXPECT_TRUE(writeAttachment(attachment, (scratch.path() / "saved.txt").string(), error)) << error;
    EXPECT_EQ(fileText(scratch.path() / "saved.txt"), attachment.data);
    EXPECT_FALSE(writeAttachment(attachment, (scratch.path() / "missing" / "x.txt").string(), error));
    EXPECT_FALSE(error.empty());
}

TEST(MessagePrinting, TheHeaderBlockNamesTheMessageEscaped) {
    MessageSummary summary;
    summary.subject = "Q&A <plans>";
    summary.fromName = "Ann";
    summary.fromAddress = "ann@example.org";
    summary.to = "bob@example.org";
    std::string markup = printHeaderMarkup(summary);
    for (const char* part : {"Q&amp;A &lt;plans&gt;", "Ann &lt;ann@example.org&gt;", "bob@example.org"})
        EXPECT_NE(markup.find(part), std::string::npos) << part;
    EXPECT_EQ(markup.find("Cc:"), std::string::npos) << "no line for what the message lacks";
}

TEST(ReadingComforts, PicturesBelowTheBodyZoomAndPrint) {
    zv::test::initGtkOnce();
    test::ScratchFolder mailbox;
    zv::Data png = zv::test::pngImage(5, 7, 1, 0, 0);
    g_autofree gchar* picture = g_base64_encode(png.data(), png.size());
    mailbox.write("box/cur/1.attached",
                  test::message("From: Ann <ann@example.org>\nTo: bob@example.org\nSubject: Photos & plans\n"
                                "Message-ID: <photos@x>\nContent-Type: multipart/mixed; boundary=\"m\"",
                                "--m\nContent-Type: text/html\n\n<p>Here they are.</p>\n"
                                "--m\nContent-Type: image/png; name=\"red.png\"\nContent-Disposition: attachment; "
                                "filename=\"red.png\"\nContent-Transfer-Encoding: base64\n\n" + std::string(picture) +
                                "\n--m\nContent-Type: application/pdf\nContent-Disposition: attachment; "
                                "filename=\"plan.pdf\"\n\n%PDF-1.4\n--m--\n"));
    test::ViewerOnMailbox viewer(mailbox.path() / "box");
    ViewerWindow& window = viewer.window();
    ViewerExtensions extensions(window);
    ASSERT_TRUE(viewer.showFirstConversation());
    MessageCard& card = *window.conversationView().cards().at(0);
    WebKitWebView* view = card.bodyView()->webView();

    // The picture, not the PDF, below the text, from the message itself.
    const char* pictures = "(function(){var i=document.querySelectorAll('.zvwk-attached-pictures img');"
                           "return i.length==1&&i[0].complete?[i[0].naturalWidth,i[0].naturalHeight]:0})()";
    EXPECT_TRUE(zv::test::spinUntil([&] { return evaluate(view, pictures) == zv::Value::array({5, 7}); }, 10s));

    // Zoomed in twice, the view grows with its page; Ctrl+0 brings it back.
    zv::test::spinFor(zv::test::kQuietPeriod);
    int height = card.bodyHeight();
    for (int i = 0; i < 2; ++i) g_action_group_activate_action(G_ACTION_GROUP(window.window()), "zoom-in", nullptr);
    EXPECT_NEAR(webkit_web_view_get_zoom_level(view), 1.21, 1e-9);
    EXPECT_TRUE(zv::test::spinUntil([&] { return std::abs(card.bodyHeight() - height * 1.21) <= 3; }, 10s))
        << height << " became " << card.bodyHeight();
    g_action_group_activate_action(G_ACTION_GROUP(window.window()), "zoom-reset", nullptr);
    EXPECT_EQ(webkit_web_view_get_zoom_level(view), 1.0);
    EXPECT_TRUE(zv::test::spinUntil([&] { return std::abs(card.bodyHeight() - height) <= 1; }, 10s));

    // Printed to a PDF file: pages come out, and the screen never shows the block.
    std::filesystem::path pdf = mailbox.path() / "message.pdf";
    g_autoptr(GtkPrintSettings) settings = gtk_print_settings_new();
    gtk_print_settings_set_printer(settings, "Print to File");
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    g_autofree char* uri = g_filename_to_uri(pdf.c_str(), nullptr, nullptr);
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_URI, uri);
    bool printed = false;
    card.print(settings, [&] { printed = true; });
    ASSERT_TRUE(zv::test::spinUntil([&] { return printed; }, 20s));
    std::string bytes = fileText(pdf);
    EXPECT_TRUE(bytes.starts_with("%PDF")) << bytes.size() << " bytes";
    EXPECT_NE(bytes.find("/Type /Page"), std::string::npos);
    EXPECT_TRUE(zv::test::spinUntil(
        [&] { return evaluate(view, "document.getElementById('zvwk-print-header')===null") == zv::Value(true); }, 5s));
    EXPECT_EQ(card.bodyHeight(), height);
}

}  // namespace
}  // namespace zvwk::viewer
