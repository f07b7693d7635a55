// Reading mailboxes, grouping conversations and preparing bodies: the parts
// of the viewer that need no display.
#include "ViewerTestSupport.h"

#include "viewer/Conversations.h"
#include "viewer/MailboxSource.h"
#include "viewer/MessageDocument.h"
#include "viewer/ViewArguments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace zvwk::viewer {
namespace {

using test::htmlMessage;
using test::ScratchFolder;

std::multiset<std::string> subjectsOf(const MailboxListing& listing) {
    std::multiset<std::string> subjects;
    for (const MessageLocation& location : listing.messages) subjects.insert(readMessageSummary(location).subject);
    return subjects;
}

TEST(MailboxReading, EveryStoreFormGivesItsMessages) {
    ScratchFolder scratch;
    scratch.write("single.eml", htmlMessage("a@x", "Single", "<p>a</p>"));
    scratch.write("folder/one.eml", htmlMessage("b@x", "One", "<p>b</p>"));
    scratch.write("folder/two.EML", htmlMessage("c@x", "Two", "<p>c</p>"));
    scratch.write("folder/.hidden.eml", htmlMessage("d@x", "Hidden", "<p>d</p>"));
    scratch.write("folder/notes.txt", "not mail");
    scratch.write("maildir/cur/1700000000.a:2,S", htmlMessage("e@x", "Older", "<p>e</p>"));
    scratch.write("maildir/new/1800000000.b", htmlMessage("f@x", "Newer", "<p>f</p>"));
    // Not messages: a hidden file, passed over, and a folder, named among the
    // errors; a link is followed.
    scratch.write("maildir/cur/.1900000000.hidden", htmlMessage("d@x", "Hidden", "<p>d</p>"));
    std::filesystem::create_directories(scratch.path() / "maildir/cur/1950000000.folder");
    std::filesystem::create_symlink(scratch.path() / "single.eml", scratch.path() / "maildir/cur/1750000000.link");
    // The body line starting with ">From " is quoted, not a separator; the
    // line "From me" after a non-empty line is not one either.
    scratch.write("box.mbox", "From a@x Mon Nov 16 10:00:00 2026\n" + htmlMessage("g@x", "First", "<p>x\nFrom me</p>\n") +
                                  "\nFrom b@x Mon Nov 16 11:00:00 2026\n" +
                                  htmlMessage("h@x", "Second", "<p>\n>From here</p>\n") +
                                  "\nFrom c@x Mon Nov 16 12:00:00 2026\n" + htmlMessage("i@x", "Third", "<p>z</p>\n"));

    struct Case {
        std::string operand;
        std::multiset<std::string> subjects;
        std::string error = {};
    } cases[] = {
        {"single.eml", {"Single"}},
        {"folder", {"One", "Two"}},
        {"maildir", {"Older", "Single", "Newer"}, "1950000000.folder: a folder, not a message"},
        {"box.mbox", {"First", "Second", "Third"}},
    };
    for (const Case& c : cases) {
        MailboxListing listing = listMailbox({(scratch.path() / c.operand).string()});
        EXPECT_EQ(listing.errors.size(), c.error.empty() ? 0u : 1u) << c.operand;
        for (const std::string& error : listing.errors) EXPECT_TRUE(error.ends_with(c.error)) << error;
        EXPECT_EQ(subjectsOf(listing), c.subjects) << c.operand;
    }

    MailboxListing maildir = listMailbox({(scratch.path() / "maildir").string()});
    ASSERT_EQ(maildir.messages.size(), 3u);
    EXPECT_EQ(readMessageSummary(maildir.messages[0]).subject, "Newer") << "newest first";
    EXPECT_EQ(readMessageSummary(maildir.messages[1]).subject, "Single");

    MailboxListing mbox = listMailbox({(scratch.path() / "box.mbox").string()});
    ASSERT_EQ(mbox.messages.size(), 3u);
    EXPECT_NE(readMessageContent(mbox.messages[0]).html->find("From me"), std::string::npos);

    MailboxListing missing = listMailbox({(scratch.path() / "nowhere").string(), (scratch.path() / "single.eml").string()});
    EXPECT_EQ(missing.errors.size(), 1u);
    EXPECT_EQ(missing.messages.size(), 1u) << "the readable operand still opens";
}

TEST(MailboxReading, DamagedMessagesCarryAReasonAndTheRestStillReads) {
    ScratchFolder scratch;
    scratch.write("box/good.eml", htmlMessage("good@x", "Good", "<p>fine</p>"));
    scratch.write("box/garbage.eml", "\x01\x02 this is not a message\n\n<p>");
    scratch.write("box/empty.eml", "");
    scratch.write("box/truncated.eml",
                  test::message("From: a@x\nSubject: Cut\nMessage-ID: <cut@x>\n"
                                "Content-Type: multipart/mixed; boundary=\"zz\"",
                                "--zz\nContent-Type: text/plain\n\nfirst part\n--zz\nContent-Type: image/png\n"
                                "Content-Transfer-Encoding: base64\n\niVBORw0KGgo"));
    MailboxListing listing = listMailbox({(scratch.path() / "box").string()});
    ASSERT_EQ(listing.messages.size(), 4u);
    std::map<std::string, std::string> errors;
    for (const MessageLocation& location : listing.messages) {
        MessageSummary summary = readMessageSummary(location);
        MessageContent content = readMessageContent(location);
        std::string name = std::filesystem::path(location.path).filename().string();
        errors[name] = summary.error.empty() ? content.error : summary.error;
        if (name == "good.eml") {
            EXPECT_EQ(content.html, std::optional<std::string>("<p>fine</p>"));
        }
    }
    EXPECT_EQ(errors["good.eml"], "");
    EXPECT_NE(errors["garbage.eml"], "");
    EXPECT_NE(errors["empty.eml"], "");
    EXPECT_NE(errors["truncated.eml"], "");
}

TEST(MailboxReading, ContentSeparatesBodiesAttachmentsAndInlineParts) {
    std::string bytes = test::message(
        "From: =?iso-8859-1?Q?Ren=E9e?= <r@x>\nSubject: =?iso-8859-1?Q?Gr=FC=DFe?=\n"
        "Content-Type: multipart/mixed; boundary=\"m\"",
        "--m\nContent-Type: multipart/related; boundary=\"r\"\n\n"
        "--r\nContent-Type: text/html; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n\n"
        "<p>K=F6ln <img src=3D\"cid:pic@x\"></p>\n"
        "--r\nContent-Type: image/png\nContent-ID: <pic@x>\nContent-Transfer-Encoding: base64\n\naGVsbG8=\n--r--\n"
        "--m\nContent-Type: application/pdf; name=\"plan.pdf\"\nContent-Disposition: attachment; filename=\"plan.pdf\"\n"
        "Content-Transfer-Encoding: base64\n\nJVBERi0=\n--m--\n");
    MessageSummary summary = summaryFromBytes(bytes);
    EXPECT_EQ(summary.subject, "Grüße");
    EXPECT_EQ(summary.fromName, "Renée");
    MessageContent content = contentFromBytes(bytes);
    ASSERT_TRUE(content.html);
    EXPECT_NE(content.html->find("Köln"), std::string::npos);
    ASSERT_EQ(content.inlineParts.size(), 1u);
    EXPECT_EQ(content.inlineParts[0].contentId, "pic@x");
    EXPECT_EQ(content.inlineParts[0].data, "hello");
    ASSERT_EQ(content.attachments.size(), 1u);
    EXPECT_EQ(content.attachments[0].filename, "plan.pdf");
    EXPECT_EQ(content.attachments[0].size, 5u);
    EXPECT_EQ(previewOfContent(content), "Köln");
}

TEST(Conversations, RepliesJoinByReferencesThenBySubject) {
    auto summary = [](std::string id, std::vector<std::string> references, std::string subject, std::int64_t date) {
        MessageSummary s;
        s.messageId = std::move(id);
        s.references = std::move(references);
        s.subject = std::move(subject);
        s.date = date;
        return s;
    };
    // In reading order; each row says which earlier row's conversation it
    // joins (-1: a new one).
    struct Row {
        MessageSummary summary;
        int joins;
    } rows[] = {
        {summary("3@x", {"1@x", "2@x"}, "Re: Plan", 30), -1},  // a reply read before what it answers
        {summary("1@x", {}, "Plan", 10), 0},                   // named by the reply above
        {summary("2@x", {"1@x"}, "Re: Plan", 20), 0},
        {summary("4@x", {}, "Plan", 40), -1},                  // same subject, not a reply: its own
        {summary("5@x", {}, "AW: Re[2]: [team]  plan ", 50), 0},  // a reply by subject only
        {summary("6@x", {"gone@x"}, "Budget", 60), -1},
        {summary("7@x", {"6@x"}, "Something else", 70), 5},
    };
    ConversationGrouper grouper;
    std::vector<size_t> conversationOf;
    for (size_t i = 0; i < std::size(rows); ++i) {
        auto placement = grouper.add(i, rows[i].summary);
        EXPECT_EQ(placement.created, rows[i].joins < 0) << "row " << i;
        if (rows[i].joins >= 0) {
            EXPECT_EQ(placement.conversation, conversationOf[size_t(rows[i].joins)]) << "row " << i;
        }
        conversationOf.push_back(placement.conversation);
    }
    EXPECT_EQ(grouper.conversations()[0].messages, (std::vector<size_t>{1, 2, 0, 4})) << "oldest first";
    EXPECT_EQ(grouper.conversations()[0].latestDate, 50);
    EXPECT_EQ(grouper.conversations()[0].subject, "Plan") << "named by its oldest message";
}

TEST(MessageDocument, RemoteReferencesAreBlockedUntilAllowed) {
    MessageContent content;
    content.html =
        "<html><head><style>p{color:red}</style><link rel=stylesheet href='https://t.example/s.css'></head><body>"
        "<p>a</p><img src='https://t.example/a.png'><img src=' http://t.example/b.png'>"
        "<img srcset='https://t.example/c.png 1x, https://t.example/d.png 2x'>"
        "<div style=\"background:url('//t.example/e.png')\"></div><img src='cid:x@y'><a href='https://t.example/'>l</a>"
        "</body></html>";
    PreparedBody blocked = prepareMessageBody(content, {});
    EXPECT_EQ(blocked.remoteReferences, 5u);
    EXPECT_EQ(blocked.html.find("wren-http"), std::string::npos);
    EXPECT_EQ(blocked.html.find("<link"), std::string::npos);
    EXPECT_NE(blocked.html.find("Content-Security-Policy"), std::string::npos);
    EXPECT_NE(blocked.html.find("color:red"), std::string::npos) << "head CSS inlined";
    EXPECT_EQ(blocked.html.find("p{color:red}"), std::string::npos) << "and purged";

    PreparedBody allowed = prepareMessageBody(content, {.allowRemoteContent = true});
    for (const char* url : {"wren-https://t.example/a.png", "wren-http://t.example/b.png", "wren-https://t.example/c.png",
                            "wren-https://t.example/d.png", "wren-https://t.example/e.png", "\"cid:x@y\"",
                            "href=\"https://t.example/\""})
        EXPECT_NE(allowed.html.find(url), std::string::npos) << url;

    // In the dark style a message is adapted (white becomes the dark page's
    // #1e1e1e), unless its original colours are asked for; one with dark
    // styles of its own keeps them.
    MessageContent coloured;
    coloured.html = "<p>a</p><table bgcolor=white><tr><td>b</td></tr></table>";
    MessageContent ownDark;
    ownDark.html = "<style>@media (prefers-color-scheme: dark) { p { color: #eee } }</style><p>a</p>";
    EXPECT_NE(prepareMessageBody(coloured, {.dark = true}).html.find("background-color: #1e1e1e !important"), std::string::npos);
    EXPECT_EQ(prepareMessageBody(coloured, {.dark = true, .originalColours = true}).html.find("#1e1e1e"), std::string::npos);
    EXPECT_EQ(prepareMessageBody(coloured, {}).html.find("#1e1e1e"), std::string::npos);
    std::string designed = prepareMessageBody(ownDark, {.dark = true}).html;
    EXPECT_NE(designed.find("prefers-color-scheme"), std::string::npos);
    EXPECT_EQ(designed.find("!important"), std::string::npos);

    // The toggles re-prepare from one parse: every form is as a fresh parse
    // gives it, whichever came before.
    MessageBody body(content);
    EXPECT_EQ(body.prepare({.allowRemoteContent = true}).html, allowed.html);
    EXPECT_EQ(body.prepare({}).html, blocked.html);
    EXPECT_EQ(body.prepare({}).remoteReferences, 5u);

    PreparedBody text = prepareMessageBody(content, {.asPlainText = true});
    EXPECT_EQ(text.html.find("<img"), std::string::npos);
    std::string plain = messagePlainText(content);
    EXPECT_NE(plain.find('a'), std::string::npos);
    EXPECT_NE(plain.find('l'), std::string::npos);
    EXPECT_EQ(plain.find('<'), std::string::npos);
}

TEST(ViewArguments, OptionsAndTheirMistakes) {
    std::string error;
    auto parsed = parseViewArguments(
        {"--select", "3", "box", "--screenshot", "a.png", "--find", "plan", "--follow-link", "2", "x.eml"}, error);
    ASSERT_TRUE(parsed) << error;
    EXPECT_EQ(parsed->paths, (std::vector<std::string>{"box", "x.eml"}));
    EXPECT_EQ(parsed->select, std::optional<std::size_t>(2)) << "rows count from 1";
    EXPECT_EQ(parsed->screenshot, std::optional<std::string>("a.png"));
    EXPECT_EQ(parsed->find, std::optional<std::string>("plan"));
    EXPECT_EQ(parsed->followLink, std::optional<std::size_t>(1)) << "links count from 1";
    for (std::vector<std::string> bad : std::vector<std::vector<std::string>>{
             {}, {"--select", "0", "box"}, {"--select", "2x", "box"}, {"box", "--select"}, {"--zoom", "box"},
             {"--follow-link", "0", "box"}, {"--always-show", "everyone", "box"}}) {
        error.clear();
        EXPECT_FALSE(parseViewArguments(bad, error));
        EXPECT_FALSE(error.empty());
    }
}

}  // namespace
}  // namespace zvwk::viewer
