// A message packed with every way HTML, SVG, MathML and CSS can make a
// request (tests/data/request-vectors), shown in the viewer's safe view while
// remote content is blocked: the loopback server standing in for the sender
// hears nothing, the text around every vector shows, and the view finishes
// loading in bounded time. And a deceptive link that asks before it opens.
#include "ViewerTestSupport.h"

#include "LoopbackServer.h"
#include "WebViewHarness.h"
#include "viewer/LinkWarningDialog.h"

#include <zv/webview/ScriptEvaluation.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;

std::string vectorsWithOrigin(const std::string& origin) {
    std::ifstream in(std::string(ZV_TESTS_SOURCE_DIR) + "/data/request-vectors/vectors.html");
    std::stringstream text;
    text << in.rdbuf();
    std::string html = text.str();
    constexpr std::string_view kPlaceholder = "origin.invalid";
    for (size_t at = 0; (at = html.find(kPlaceholder, at)) != std::string::npos; at += origin.size())
        html.replace(at, kPlaceholder.size(), origin);
    return html;
}

std::vector<std::string> vectorNames(const std::string& html) {
    std::vector<std::string> names;
    constexpr std::string_view kOpen = "<p>before-", kClose = "</p>";
    for (size_t at = 0; (at = html.find(kOpen, at)) != std::string::npos;) {
        at += kOpen.size();
        const size_t end = html.find(kClose, at);
        if (end == std::string::npos) break;
        names.push_back(html.substr(at, end - at));
    }
    return names;
}

std::string visibleText(WebKitWebView* view) {
    std::optional<zv::Value> text = test::evaluate(view, "document.body.innerText");
    return text && text->is_string() ? text->get<std::string>() : "";
}

TEST(HostileMessage, EveryRequestVectorIsRefusedAndTheMessageStillShows) {
    zv::test::initGtkOnce();
    zv::test::LoopbackServer server;
    std::string origin = server.url("");
    origin = origin.substr(origin.find("//") + 2);
    std::string html = vectorsWithOrigin(origin);
    std::vector<std::string> names = vectorNames(html);
    ASSERT_GT(names.size(), 140u);

    test::ScratchFolder mailbox;
    mailbox.write("box/cur/1.vectors", test::htmlMessage("vectors@x", "Vectors", html));
    test::ViewerOnMailbox viewer(mailbox.path() / "box");
    ASSERT_TRUE(viewer.showFirstConversation()) << "the message never finished loading";
    MessageCard& card = *viewer.window().conversationView().cards().at(0);
    EXPECT_GT(card.blockedRemoteReferences(), 0u);
    // Lazy loads and timers get their chance to fire.
    zv::test::spinFor(1500ms);
    for (const auto& [path, count] : server.allHits()) ADD_FAILURE() << "requested " << path;

    std::string text = visibleText(card.bodyView()->webView());
    for (const std::string& name : names) {
        EXPECT_NE(text.find("before-" + name), std::string::npos) << name;
        EXPECT_NE(text.find("after-" + name), std::string::npos) << name;
    }
}

// Shown remote content keeps its trackers out: the picture comes, the pixel
// is never asked for, and the card counts it.
TEST(HostileMessage, ShownImagesLeaveTheirTrackersOut) {
    zv::test::initGtkOnce();
    zv::test::LoopbackServer server;
    test::ScratchFolder mailbox;
    mailbox.write("box/cur/1.news",
                  test::htmlMessage("news@x", "News", "<p>news</p><img src=\"" + server.url("/image-picture") + "\">"
                                    "<img src=\"" + server.url("/image-pixel") + "\" width=1 height=1>"));
    test::ViewerOnMailbox viewer(mailbox.path() / "box");
    ASSERT_TRUE(viewer.showFirstConversation());
    MessageCard& card = *viewer.window().conversationView().cards().at(0);
    EXPECT_EQ(card.blockedRemoteReferences(), 2u);
    card.showRemoteContent();
    ASSERT_TRUE(zv::test::spinUntil([&] { return server.hits("/image-picture") == 1; }, 10s));
    zv::test::spinFor(zv::test::kQuietPeriod);
    EXPECT_EQ(server.hits("/image-pixel"), 0);
    EXPECT_EQ(card.blockedTrackers(), 1u);
}

// A link whose user name poses as the host asks before anything opens; the
// question is answered "Cancel", so nothing does.
TEST(HostileMessage, ADeceptiveLinkAsksFirst) {
    zv::test::initGtkOnce();
    test::ScratchFolder mailbox;
    mailbox.write("box/cur/1.link", test::htmlMessage("link@x", "Link", "<p><a id=l href=\"https://mybank.com@evil.net/login\">Log in</a></p>"));
    test::ViewerOnMailbox viewer(mailbox.path() / "box");
    ASSERT_TRUE(viewer.showFirstConversation());
    ASSERT_EQ(shownLinkQuestion(), nullptr);
    WebKitWebView* view = viewer.window().conversationView().cards().at(0)->bodyView()->webView();
    zv::evaluateJavaScript(view, "document.getElementById('l').click()", [](std::optional<zv::Value>, std::optional<zv::Error>) {});
    ASSERT_TRUE(zv::test::spinUntil([] { return shownLinkQuestion() != nullptr; }, 10s)) << "no question before the link";
    gtk_dialog_response(GTK_DIALOG(shownLinkQuestion()), GTK_RESPONSE_CANCEL);
    EXPECT_TRUE(zv::test::spinUntil([] { return shownLinkQuestion() == nullptr; }, 5s));
}

}  // namespace
}  // namespace zvwk::viewer
