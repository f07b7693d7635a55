// A damaged mailbox (scripts/make-damaged-mailbox) in the viewer: the list
// holds every entry that is a file and the status names the others, each row
// says something, each conversation settles within a bound,
// a damaged message as an error card that says why, and a sound message still
// opens after all of them.
#include "ViewerTestSupport.h"

#include "WebViewHarness.h"
#include "viewer/ViewerWindow.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;

// The large, many-part and deep messages are read, prepared and laid out
// whole; under the sanitizers that takes its time.
constexpr auto kSettleBound = 60s;

enum class Shows { Body, Error, Either };

struct Expected {
    const char* file;  // the part of the file name after the number
    Shows shows;
    const char* gist;  // in the body's text, or in the error's reason
};

std::string bodyText(MessageCard& card) {
    std::optional<zv::Value> text = test::evaluate(card.bodyView()->webView(), "document.body.innerText");
    return text && text->is_string() ? text->get<std::string>() : "";
}

std::string lowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

TEST(DamagedMailboxView, EveryConversationSettlesAndASoundMessageStillOpens) {
    zv::test::initGtkOnce();
    test::ScratchFolder scratch;
    const std::filesystem::path mailbox = scratch.path() / "mb";
    // 8 MB rather than the script's 200 keeps this quick under the sanitizers.
    const std::string script = std::string(ZV_TESTS_SOURCE_DIR) + "/../scripts/make-damaged-mailbox";
    ASSERT_EQ(std::system(("python3 '" + script + "' '" + mailbox.string() + "' --huge-mb 8").c_str()), 0);
    // Root reads a file whatever its permissions say.
    const bool permissionHolds = access((mailbox / "cur" / "6.no-permission:2,S").c_str(), R_OK) != 0;

    const std::vector<Expected> expected = {
        {"sound-html", Shows::Body, "The rest of the mailbox opens."},
        {"sound-plain", Shows::Body, "Plain words survive."},
        permissionHolds ? Expected{"no-permission", Shows::Error, "permission denied"}
                        : Expected{"no-permission", Shows::Body, "secret"},
        {"cut-header", Shows::Error, "headers"},
        {"cut-base64", Shows::Body, "Hello, world"},
        {"cut-boundary", Shows::Error, "truncated"},
        {"huge", Shows::Either, "words of a very long newsletter"},
        {"many-parts", Shows::Either, "part 0"},
        {"deep", Shows::Either, "at the bottom"},
        {"noise", Shows::Error, "not a mail message"},
    };
    auto expectationFor = [&](const std::string& path) -> const Expected* {
        std::string name = std::filesystem::path(path).filename().string();
        name = name.substr(name.find('.') + 1);
        for (const Expected& e : expected)
            if (name.starts_with(e.file)) return &e;
        return nullptr;
    };

    test::ViewerOnMailbox viewer(mailbox);
    ViewerWindow& window = viewer.window();
    ASSERT_TRUE(viewer.present());

    // The dangling link, the folder and the FIFO are no messages.
    std::set<std::string> listed;
    for (const MessageSummary& message : window.messages())
        if (const Expected* e = expectationFor(message.location.path)) listed.insert(e->file);
    EXPECT_EQ(window.messages().size(), expected.size());
    EXPECT_EQ(listed.size(), expected.size());
    // ... and the viewer says why it passed over each.
    std::string passedOver;
    for (const std::string& error : window.mailboxErrors()) passedOver += error + "\n";
    for (const char* why : {"dangling:2,S: a link to nothing", "folder.eml: a folder, not a message",
                            "fifo.eml: not a regular file"})
        EXPECT_NE(passedOver.find(why), std::string::npos) << passedOver;

    // A list row says why its message shows nothing, as the card does.
    ASSERT_TRUE(zv::test::spinUntil([&] { return window.arePreviewsDone(); }, kSettleBound));
    for (std::size_t message = 0; message < window.messages().size(); ++message) {
        const Expected* e = expectationFor(window.messages()[message].location.path);
        ASSERT_NE(e, nullptr);
        EXPECT_FALSE(window.preview(message).empty()) << e->file;
        if (std::string_view(e->file) == "cut-header") {
            EXPECT_NE(window.preview(message).find("ends inside its headers"), std::string::npos);
        }
    }

    std::set<std::string> seen;
    for (std::size_t row = 0; row < window.conversations().size(); ++row) {
        window.showConversation(row);
        const bool settled = zv::test::spinUntil([&] { return window.conversationView().isLoaded(); }, kSettleBound);
        for (const auto& card : window.conversationView().cards()) {
            const Expected* e = expectationFor(card->summary().location.path);
            ASSERT_NE(e, nullptr) << card->summary().location.path;
            SCOPED_TRACE(e->file);
            seen.insert(e->file);
            ASSERT_TRUE(settled);
            std::string text = card->isError() ? card->errorText() : bodyText(*card);
            if (card->isError() && e->shows == Shows::Either) {
                EXPECT_FALSE(text.empty()) << "an error card says why";
                continue;
            }
            EXPECT_EQ(card->isError(), e->shows == Shows::Error) << text.substr(0, 200);
            EXPECT_TRUE((card->isError() ? lowerCase(text) : text).find(e->gist) != std::string::npos)
                << "no \"" << e->gist << "\" in: " << text.substr(0, 200);
        }
    }
    EXPECT_EQ(seen.size(), expected.size());

    auto sound = std::ranges::find_if(window.conversations(), [](const Conversation& c) { return c.subject == "Sound HTML"; });
    ASSERT_NE(sound, window.conversations().end());
    window.showConversation(std::size_t(sound - window.conversations().begin()));
    ASSERT_TRUE(zv::test::spinUntil([&] { return window.conversationView().isLoaded(); }, kSettleBound));
    EXPECT_NE(bodyText(*window.conversationView().cards().at(0)).find("The rest of the mailbox opens."), std::string::npos);
}

}  // namespace
}  // namespace zvwk::viewer
