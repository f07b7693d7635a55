// "Always show remote content" remembered per sender and per domain: a later
// message the choice covers loads its remote images on its first and only
// load; one it does not cover, or any after the choice is forgotten, fetches
// nothing. Real web views under Xvfb, a loopback server as the senders'.
#include "ViewerTestSupport.h"

#include "LoopbackServer.h"
#include "WebViewHarness.h"
#include "viewer/ViewerExtensions.h"
#include "viewer/ViewerWindow.h"

#include <zv/reading/RemoteContentChoices.h>
#include <zv/webview/ScriptEvaluation.h>

#include <gtest/gtest.h>

#include <map>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;
using Scope = zv::RemoteContentChoices::Scope;

// A reply (with `references`) comes an hour after the rest.
std::string messageFrom(const std::string& from, const std::string& subject, const std::string& imageURL,
                        const std::string& references = "") {
    std::string headers = "From: " + from + "\nTo: bob@example.org\nSubject: " + subject + "\nMessage-ID: <" + subject +
                          "@x>\nDate: Mon, 16 Nov 2026 1" + (references.empty() ? "0" : "1") + ":00:00 +0000\n";
    if (!references.empty()) headers += "References: " + references + "\n";
    return test::message(headers + "Content-Type: text/html; charset=utf-8",
                         "<p>" + subject + "</p><img src=\"" + imageURL + "\">");
}

TEST(RememberedChoices, ACoveredMessageLoadsItsImagesAtOnceUntilTheChoiceIsForgotten) {
    zv::test::initGtkOnce();
    zv::test::LoopbackServer server;
    auto choices = zv::RemoteContentChoices::shared();
    choices->forgetAll();
    // The store is the program's: other tests must find it empty, whatever happens here.
    std::shared_ptr<void> forgetAfterwards(nullptr, [choices](void*) { choices->forgetAll(); });
    struct Mail {
        const char* from;
        const char* subject;
    } mails[] = {
        {"Ann <ann@example.org>", "First"},      {"Ann <Ann@Example.org>", "Second"},
        {"Ann <ann@example.org>", "Third"},      {"Cy <cy@example.org>", "Colleague"},
        {"Dee <dee@example.org>", "Neighbour"},  {"Eve <eve@mail.example.org>", "Subdomain"},
    };
    test::ScratchFolder mailbox;
    for (const Mail& mail : mails)
        mailbox.write(std::string("box/cur/") + mail.subject,
                      messageFrom(mail.from, mail.subject, server.url(std::string("/image-") + mail.subject)));
    mailbox.write("box/cur/Pair", messageFrom("Gus <gus@pair.example>", "Pair", server.url("/image-Pair")));
    mailbox.write("box/cur/Reply", messageFrom("Gus <gus@pair.example>", "Reply", server.url("/image-Reply"), "<Pair@x>"));

    test::ViewerOnMailbox viewer(mailbox.path() / "box");
    ViewerWindow& window = viewer.window();
    ViewerExtensions extensions(window);
    ASSERT_TRUE(viewer.present());
    // Every load of a body, with the document it loaded.
    std::vector<std::string> loads;
    window.conversationView().cardSettled = [&](MessageCard& card) { loads.push_back(card.preparedHTML()); };
    auto open = [&](const std::string& subject) -> MessageCard& {
        loads.clear();
        for (std::size_t row = 0; row < window.conversations().size(); ++row)
            if (window.conversations()[row].subject == subject) window.showConversation(row);
        EXPECT_TRUE(zv::test::spinUntil([&] { return window.conversationView().isLoaded(); }, 30s)) << subject;
        zv::test::spinFor(zv::test::kQuietPeriod);
        return *window.conversationView().cards().at(0);
    };
    auto hits = [&](const std::string& subject) { return server.hits("/image-" + subject); };

    MessageCard& first = open("First");
    EXPECT_EQ(first.blockedRemoteReferences(), 1u);
    EXPECT_EQ(hits("First"), 0);
    first.alwaysShowRemoteContent(Scope::Sender);
    EXPECT_TRUE(zv::test::spinUntil([&] { return hits("First") == 1; }, 10s));
    EXPECT_EQ(first.rememberedChoice(), Scope::Sender);

    // The same address, written in other case: one load, with the image.
    MessageCard& second = open("Second");
    EXPECT_EQ(second.rememberedChoice(), Scope::Sender);
    EXPECT_EQ(second.blockedRemoteReferences(), 0u);
    ASSERT_EQ(loads.size(), 1u) << "loaded blocked first, then again";
    EXPECT_NE(loads[0].find(server.wrenURL("/image-Second")), std::string::npos);
    EXPECT_TRUE(zv::test::spinUntil([&] { return hits("Second") == 1; }, 10s));

    // Another address of the domain is not covered by the sender's choice.
    MessageCard& colleague = open("Colleague");
    EXPECT_EQ(colleague.blockedRemoteReferences(), 1u);
    EXPECT_EQ(hits("Colleague"), 0);
    colleague.alwaysShowRemoteContent(Scope::Domain);
    EXPECT_TRUE(zv::test::spinUntil([&] { return hits("Colleague") == 1; }, 10s));

    MessageCard& neighbour = open("Neighbour");
    EXPECT_EQ(neighbour.rememberedChoice(), Scope::Domain);
    EXPECT_EQ(loads.size(), 1u);
    EXPECT_TRUE(zv::test::spinUntil([&] { return hits("Neighbour") == 1; }, 10s));

    // A subdomain is another domain.
    MessageCard& subdomain = open("Subdomain");
    EXPECT_EQ(subdomain.blockedRemoteReferences(), 1u);
    EXPECT_EQ(hits("Subdomain"), 0);

    // Forgetting from a message shown by the domain's choice blocks it again
    // at once, and the domain's other senders with it.
    MessageCard& again = open("Neighbour");
    again.forgetRemoteContentChoice();
    EXPECT_TRUE(zv::test::spinUntil([&] { return again.isBodyLoaded() && again.blockedRemoteReferences() == 1u; }, 10s));
    EXPECT_FALSE(choices->allowsRemoteContent("cy@example.org"));
    EXPECT_TRUE(choices->allowsRemoteContent("ann@example.org")) << "the sender's own choice stays";

    open("Second").forgetRemoteContentChoice();
    MessageCard& third = open("Third");
    EXPECT_EQ(third.rememberedChoice(), std::nullopt);
    EXPECT_EQ(third.blockedRemoteReferences(), 1u);
    EXPECT_EQ(hits("Third"), 0);
    // Blocked, the picture is a box saying what it was (its file name: it has no alternative text).
    EXPECT_EQ(test::evaluate(third.bodyView()->webView(), "document.querySelector('[role=img]').innerText"),
              zv::Value("image-Third"));
    EXPECT_TRUE(choices->choices().empty());

    // A choice made on one message of a conversation shows the others it
    // covers at once; the menu's "forget all" blocks them all again.
    open("Pair").alwaysShowRemoteContent(Scope::Sender);
    EXPECT_TRUE(zv::test::spinUntil([&] { return hits("Pair") == 1 && hits("Reply") == 1; }, 10s));
    const auto& pair = window.conversationView().cards();
    ASSERT_EQ(pair.size(), 2u);
    EXPECT_EQ(pair[1]->rememberedChoice(), Scope::Sender);
    g_action_group_activate_action(G_ACTION_GROUP(window.window()), "forget-remote-content-choices", nullptr);
    EXPECT_TRUE(choices->choices().empty());
    for (const auto& card : pair)
        EXPECT_TRUE(zv::test::spinUntil([&] { return card->isBodyLoaded() && card->blockedRemoteReferences() == 1u; }, 10s));
}

}  // namespace
}  // namespace zvwk::viewer
