// The viewer window on a real mailbox, with real web views under Xvfb and a
// loopback HTTP server standing in for a sender's server.
#include "ViewerTestSupport.h"

#include "LoopbackServer.h"
#include "WebViewHarness.h"
#include "viewer/ConversationFind.h"
#include "viewer/ViewerExtensions.h"
#include "viewer/ViewerPages.h"
#include "viewer/ViewerWindow.h"

#include <zv/find/FindOptions.h>
#include <zv/foundation/Bundle.h>
#include <zv/page/ZVWebPageController.h>
#include <zv/page/ZVWebWindowController.h>

#include <zv/scheme/IconThemeSymbols.h>
#include <zv/webview/ScriptEvaluation.h>

#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>

namespace zvwk::viewer {
namespace {

using namespace std::chrono_literals;
using test::evaluate;
using test::htmlMessage;

constexpr auto kConversationTimeout = 40s;

// The URL cache and the find settings of this program live in a scratch
// folder, never the user's.
const bool kPrivateFolders = [] {
    static test::ScratchFolder folders;
    g_setenv("XDG_CACHE_HOME", (folders.path() / "cache").c_str(), TRUE);
    g_setenv("XDG_CONFIG_HOME", (folders.path() / "config").c_str(), TRUE);
    return true;
}();

// Web processes this process started, found in /proc, so the count does not
// depend on anything the viewer reports.
std::vector<pid_t> webProcessesStarted() {
    std::vector<pid_t> found;
    DIR* proc = opendir("/proc");
    while (dirent* entry = proc ? readdir(proc) : nullptr) {
        std::ifstream stat(std::string("/proc/") + entry->d_name + "/stat");
        std::string line;
        if (!std::getline(stat, line)) continue;
        size_t close = line.rfind(')');
        size_t open = line.find('(');
        if (open == std::string::npos || close == std::string::npos) continue;
        std::string name = line.substr(open + 1, close - open - 1);
        int parent = 0;
        char state = 0;
        if (std::sscanf(line.c_str() + close + 1, " %c %d", &state, &parent) != 2) continue;
        if (parent == getpid() && name.starts_with("WebKitWebProces") && state != 'Z') found.push_back(std::atoi(entry->d_name));
    }
    if (proc) closedir(proc);
    return found;
}

std::size_t childWebProcesses() { return webProcessesStarted().size(); }

std::string relatedMessage(const std::string& id, const std::string& references, const std::string& html, int minute) {
    return htmlMessage(id, "Re: Plans", html, "References: " + references + "\n", minute);
}

class ViewerWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        zv::test::initGtkOnce();
        zv::useIconThemeSymbols();
        server_ = std::make_unique<zv::test::LoopbackServer>();
        mailbox_ = std::make_unique<test::ScratchFolder>();
        writeMailbox(*mailbox_);
        application_ = gtk_application_new("org.zvwebkit.MailViewerTest", G_APPLICATION_NON_UNIQUE);
        g_application_register(G_APPLICATION(application_), nullptr, nullptr);
        ViewerOptions options;
        options.paths = {(mailbox_->path() / "box").string()};
        window_ = std::make_unique<ViewerWindow>(application_, options);
        gtk_window_present(window_->window());
        zv::test::spinUntil([] { return window_->isMailboxRead(); }, 20s);
    }
    static void TearDownTestSuite() {
        window_.reset();
        g_object_unref(application_);
        mailbox_.reset();
        server_.reset();
    }

    static void writeMailbox(const test::ScratchFolder& folder) {
        folder.write("box/cur/1.thread", htmlMessage("t1@x", "Plans", "<p>first plan</p>"));
        folder.write("box/cur/2.thread",
                     relatedMessage("t2@x", "<t1@x>",
                                    "<p id=m>original</p><script>document.getElementById('m').textContent='changed';"
                                    "document.title='ran'</script><img src=x onerror=\"document.title='ran'\">",
                                    1));
        folder.write("box/cur/3.thread", relatedMessage("t3@x", "<t1@x> <t2@x>", "<p>third plan</p>", 2));
        gchar* png = g_base64_encode(picture().data(), picture().size());
        folder.write("box/cur/4.cid",
                     test::message("From: a@x\nSubject: Picture\nMessage-ID: <pic@x>\n"
                                   "Content-Type: multipart/related; boundary=\"r\"",
                                   "--r\nContent-Type: text/html\n\n<p><img id=pic src=\"cid:dot@x\"></p>\n"
                                   "--r\nContent-Type: image/png\nContent-ID: <dot@x>\nContent-Transfer-Encoding: "
                                   "base64\n\n" + std::string(png) + "\n--r--\n"));
        g_free(png);
        folder.write("box/cur/5.remote",
                     htmlMessage("remote@x", "Remote", "<p>news</p><img id=remote src=\"" + server_->url(kRemotePath) + "\">"));
        folder.write("box/cur/6.garbage", "\x01\x02 not a message at all");
        folder.write("box/cur/7.truncated",
                     test::message("From: a@x\nSubject: Cut short\nMessage-ID: <cut@x>\n"
                                   "Content-Type: multipart/mixed; boundary=\"zz\"",
                                   "--zz\nContent-Type: text/plain\n\nfirst part\n--zz\nContent-Type: image/png\n\niVBOR"));
    }

    static const zv::Data& picture() {
        static const zv::Data png = zv::test::pngImage(5, 7, 0, 0.5, 1);
        return png;
    }

    static std::size_t rowWithSubject(const std::string& subject) {
        const auto& conversations = window_->conversations();
        for (std::size_t row = 0; row < conversations.size(); ++row)
            if (conversations[row].subject == subject) return row;
        ADD_FAILURE() << "no conversation " << subject;
        return 0;
    }

    static bool showAndWait(const std::string& subject) {
        window_->showConversation(rowWithSubject(subject));
        return zv::test::spinUntil([] { return window_->conversationView().isLoaded(); }, kConversationTimeout);
    }

    static MessageCard& onlyCard() { return *window_->conversationView().cards().at(0); }

    // Presents a window of its own, waits for its mailbox and shows its first
    // conversation.
    static bool showFirstConversation(ViewerWindow& window) {
        gtk_window_present(window.window());
        if (!zv::test::spinUntil([&] { return window.isMailboxRead(); }, 20s)) return false;
        window.showConversation(0);
        return zv::test::spinUntil([&] { return window.conversationView().isLoaded(); }, kConversationTimeout);
    }

    static constexpr char kRemotePath[] = "/image-remote";
    static inline std::unique_ptr<zv::test::LoopbackServer> server_;
    static inline std::unique_ptr<test::ScratchFolder> mailbox_;
    static inline GtkApplication* application_ = nullptr;
    static inline std::unique_ptr<ViewerWindow> window_;
};

TEST_F(ViewerWindowTest, AConversationLoadsAllItsMessagesInOneWebProcess) {
    ASSERT_TRUE(showAndWait("Plans"));
    const auto& cards = window_->conversationView().cards();
    ASSERT_EQ(cards.size(), 3u);
    for (const auto& card : cards) {
        ASSERT_NE(card->bodyView(), nullptr);
        EXPECT_GT(card->bodyHeight(), 20) << "each view takes its content's height";
    }
    // Views of conversations shown before may still be shutting down.
    EXPECT_TRUE(zv::test::spinUntil([] { return childWebProcesses() == 1; }, 10s))
        << childWebProcesses() << " web processes for one conversation";
}

TEST_F(ViewerWindowTest, MessagesWhoseWebProcessEndsSaySoAndShowAgainInANewOne) {
    ASSERT_TRUE(showAndWait("Plans"));
    ASSERT_TRUE(zv::test::spinUntil([] { return childWebProcesses() == 1; }, 10s));
    const pid_t ended = webProcessesStarted().front();
    ASSERT_EQ(kill(ended, SIGKILL), 0);
    const auto& cards = window_->conversationView().cards();
    ASSERT_TRUE(zv::test::spinUntil([&] {
        return std::all_of(cards.begin(), cards.end(), [](const auto& card) { return card->isBodyStopped(); });
    }, 10s)) << "every card whose body the process drew says so";
    EXPECT_TRUE(window_->conversationView().isLoaded());
    EXPECT_EQ(cards[0]->bodyView(), nullptr);

    MessageCard& first = *cards[0];
    first.showBodyAgain();
    ASSERT_TRUE(zv::test::spinUntil([&] { return first.isBodyLoaded(); }, kConversationTimeout));
    EXPECT_FALSE(first.isBodyStopped());
    EXPECT_TRUE(cards[1]->isBodyStopped()) << "only the card asked shows again";
    auto text = evaluate(first.bodyView()->webView(), "document.body.textContent");
    ASSERT_TRUE(text && text->is_string());
    EXPECT_NE(text->get<std::string>().find("first plan"), std::string::npos);
    const auto now = webProcessesStarted();
    EXPECT_TRUE(std::find(now.begin(), now.end(), ended) == now.end());
}

TEST_F(ViewerWindowTest, AMessagesOwnScriptsNeverRun) {
    ASSERT_TRUE(showAndWait("Plans"));
    WebKitWebView* view = window_->conversationView().cards().at(1)->bodyView()->webView();
    zv::test::spinFor(zv::test::kQuietPeriod);
    EXPECT_EQ(evaluate(view, "document.getElementById('m').textContent"), zv::Value("original"));
    EXPECT_EQ(evaluate(view, "document.title"), zv::Value(""));
}

TEST_F(ViewerWindowTest, AMessageViewGoesNowhereAndShowsTextOnRequest) {
    ASSERT_TRUE(showAndWait("Plans"));
    MessageCard& card = *window_->conversationView().cards().at(2);
    WebKitWebView* view = card.bodyView()->webView();
    // A navigation the page starts (here by the viewer's own script access) is refused.
    evaluate(view, "location.href = " + zv::test::jsString(server_->url("/text-navigation")));
    zv::test::spinFor(zv::test::kQuietPeriod);
    EXPECT_EQ(server_->hits("/text-navigation"), 0);
    EXPECT_STREQ(webkit_web_view_get_uri(view), "about:blank");

    card.setShowsPlainText(true);
    EXPECT_TRUE(zv::test::spinUntil([&] { return card.isBodyLoaded(); }, kConversationTimeout));
    EXPECT_EQ(evaluate(view, "document.querySelector('p') === null && document.body.textContent.trim()"),
              zv::Value("third plan"));
}

// Two of the three messages stay folded and unloaded: find counts them from
// the host, and opened they load in the process of the one shown.
TEST_F(ViewerWindowTest, FoldedMessagesAreCountedByFindAndLoadInTheSameProcessWhenOpened) {
    ViewerOptions options;
    options.paths = {(mailbox_->path() / "box").string()};
    options.conversation.expandedNewest = 1;
    ViewerWindow folded(application_, options);
    ViewerExtensions extensions(folded);
    ASSERT_TRUE(zv::test::spinUntil([&] { return folded.isMailboxRead(); }, 20s));
    folded.showConversation(rowWithSubject("Plans"));
    ASSERT_TRUE(zv::test::spinUntil([&] { return folded.conversationView().isLoaded(); }, kConversationTimeout));
    const auto& cards = folded.conversationView().cards();
    ASSERT_EQ(cards.at(0)->bodyView(), nullptr);
    EXPECT_NE(cards.at(2)->bodyView(), nullptr);

    // "plan" in the bodies: "first plan", none outside the script in the
    // second (its script text is not searched), "third plan".
    ConversationFind& find = extensions.conversationFind();
    find.open("plan");
    EXPECT_TRUE(zv::test::spinUntil([&] { return find.controller().currentCount() == 2; }, 10s))
        << find.controller().currentCount();

    // Loaded, each page counts what the host counted for it.
    std::vector<std::int64_t> hostCounts;
    for (const auto& item : find.controller().conversationThread()->visibleConversationMessageItems())
        hostCounts.push_back(item->findCountForStrings({"plan"}));
    EXPECT_EQ(hostCounts, (std::vector<std::int64_t>{1, 0, 1}));
    for (size_t i = 0; i < cards.size(); ++i) {
        cards[i]->setExpanded(true);
        ASSERT_TRUE(zv::test::spinUntil([&] { return cards[i]->isBodyLoaded(); }, kConversationTimeout));
        cards[i]->bodyView()->highlightOccurrencesOfString("plan", zv::storedSearchOptions(zv::ZVSearchStyleKey));
        std::optional<std::int64_t> pageCount;
        cards[i]->bodyView()->getFindResultCount([&](std::int64_t count) { pageCount = count; });
        ASSERT_TRUE(zv::test::spinUntil([&] { return pageCount.has_value(); }, 10s));
        EXPECT_EQ(*pageCount, hostCounts[i]) << "message " << i;
    }
    // This window's views: one process; the fixture's window has its own.
    EXPECT_TRUE(zv::test::spinUntil([] { return childWebProcesses() <= 2; }, 10s)) << childWebProcesses();
}

TEST_F(ViewerWindowTest, MessagesFarOffScreenMakeTheirViewsWhenScrolledNearOrSearchedWithoutMovingTheScreen) {
    test::ScratchFolder folder;
    constexpr int kMessages = 12;
    for (int i = 0; i < kMessages; ++i) {
        std::string id = "long" + std::to_string(i) + "@x";
        std::string body = "<div style=\"height:1500px\">tall " + std::to_string(i) + "</div>";
        folder.write("box/cur/" + std::to_string(i) + ".long",
                     htmlMessage(id, i ? "Re: Long" : "Long", body, i ? "References: <long0@x>\n" : "", i));
    }
    ViewerOptions options;
    options.paths = {(folder.path() / "box").string()};
    options.conversation.expandedNewest = 0;
    ViewerWindow window(application_, options);
    ViewerExtensions extensions(window);
    ASSERT_TRUE(showFirstConversation(window));
    const auto& cards = window.conversationView().cards();
    ASSERT_EQ(cards.size(), std::size_t(kMessages));
    EXPECT_TRUE(cards.front()->isBodyLoaded());
    EXPECT_EQ(cards.back()->bodyView(), nullptr) << "a message 15,000 pixels down";

    GtkAdjustment* scroll = window.conversationView().verticalAdjustment();
    EXPECT_TRUE(zv::test::spinUntil(
        [&] {
            gtk_adjustment_set_value(scroll, gtk_adjustment_get_upper(scroll));
            return cards.back()->isBodyLoaded();
        },
        kConversationTimeout));

    // A body above the screen that loads now keeps what is on screen where it is.
    auto onScreen = [&] {
        graphene_rect_t bounds;
        EXPECT_TRUE(gtk_widget_compute_bounds(cards.back()->widget(), gtk_widget_get_parent(cards.back()->widget()), &bounds));
        return bounds.origin.y - gtk_adjustment_get_value(scroll);
    };
    auto above = std::ranges::find_if(cards, [](const auto& card) { return card->bodyView() == nullptr; });
    ASSERT_NE(above, cards.end());
    zv::test::spinUntil([] { return false; }, 300ms);
    double before = onScreen();
    (*above)->makeBodyViewAnyway();
    ASSERT_TRUE(zv::test::spinUntil([&] { return (*above)->isBodyLoaded(); }, kConversationTimeout));
    zv::test::spinUntil([] { return false; }, 300ms);
    EXPECT_NEAR(onScreen(), before, 1.0);

    ConversationFind& find = extensions.conversationFind();
    find.open("tall");
    EXPECT_TRUE(zv::test::spinUntil([&] { return find.controller().currentCount() == kMessages; }, 20s))
        << find.controller().currentCount();
}

// A page taller than a view can draw scrolls inside its view: the wheel over
// it scrolls the page, not the column, and a match near its end must still
// come on screen, the page scrolled as well as the column.
TEST_F(ViewerWindowTest, APageThatScrollsInsideItsViewTakesTheWheelAndFindReachesItsEnd) {
    test::ScratchFolder folder;
    folder.write("box/cur/1.tall", htmlMessage("tall@x", "Tall",
                                               "<div style=\"height:40000px\">top</div><p id=deep>needle at the end</p>"));
    ViewerOptions options;
    options.paths = {(folder.path() / "box").string()};
    ViewerWindow window(application_, options);
    ViewerExtensions extensions(window);
    ASSERT_TRUE(showFirstConversation(window));
    MessageCard& card = *window.conversationView().cards().at(0);
    GtkWidget* view = GTK_WIDGET(card.bodyView()->webView());
    GtkAdjustment* scroll = window.conversationView().verticalAdjustment();
    ASSERT_TRUE(zv::test::spinUntil([&] { return gtk_adjustment_get_upper(scroll) > 16000; }, 10s)) << "laid out";
    ASSERT_LT(gtk_widget_get_height(view), 20000) << "the view stops short of the page";

    if (g_find_program_in_path("xdotool")) {
        graphene_point_t inView = GRAPHENE_POINT_INIT(40, 40), inWindow;
        ASSERT_TRUE(gtk_widget_compute_point(view, GTK_WIDGET(window.window()), &inView, &inWindow));
        // The page scrolls once the card has let it; a notch before that is lost.
        auto pageAnswers = [&](const char* script, const char* expected) {
            std::optional<zv::Value> answer = test::evaluate(card.bodyView()->webView(), script);
            return answer && answer->dump() == expected;
        };
        ASSERT_TRUE(zv::test::spinUntil([&] { return pageAnswers("document.documentElement.style.overflowY", "\"auto\""); }, 10s));
        const double columnBefore = gtk_adjustment_get_value(scroll);
        bool scrolled = false;
        for (int attempt = 0; attempt < 5 && !scrolled; ++attempt) {
            ASSERT_TRUE(zv::test::playWheel(window.window(), int(inWindow.x), int(inWindow.y), 3));
            scrolled = zv::test::spinUntil([&] { return pageAnswers("window.scrollY > 0", "true"); }, 2s);
        }
        EXPECT_TRUE(scrolled) << "the wheel scrolls the page";
        EXPECT_EQ(gtk_adjustment_get_value(scroll), columnBefore) << "and not the column";
    }

    ConversationFind& find = extensions.conversationFind();
    find.open("needle");
    ASSERT_TRUE(zv::test::spinUntil([&] { return find.controller().currentCount() == 1; }, 10s));
    find.controller().findNext();
    auto matchOnScreen = [&] {
        std::optional<zv::Value> top =
            test::evaluate(card.bodyView()->webView(), "document.getElementById('deep').getBoundingClientRect().top");
        if (!top || !top->is_number()) return false;
        graphene_point_t inView = GRAPHENE_POINT_INIT(0, float(top->get<double>()));
        graphene_point_t inColumn;
        GtkWidget* column = gtk_widget_get_parent(card.widget());
        if (!gtk_widget_compute_point(view, column, &inView, &inColumn)) return false;
        double shown = gtk_adjustment_get_value(scroll);
        return top->get<double>() >= 0 && top->get<double>() < gtk_widget_get_height(view) && inColumn.y >= shown &&
               inColumn.y < shown + gtk_adjustment_get_page_size(scroll);
    };
    EXPECT_TRUE(zv::test::spinUntil(matchOnScreen, 10s));
}

TEST_F(ViewerWindowTest, AboutAndHelpAreLocalizedPages) {
    struct Case {
        const char* page;
        const char* language;
        const char* button;
    } cases[] = {
        {"MailViewerAbout", "en", "Close"},
        {"MailViewerAbout", "de", "Schließen"},
        {"MailViewerHelp", "en", "Close"},
        {"MailViewerHelp", "de", "Schließen"},
    };
    for (const Case& c : cases) {
        auto window = makeViewerPageWindow();
        auto bundle = std::make_shared<zv::Bundle>(ZVWK_RESOURCES_DIR, std::vector<std::string>{c.language});
        window->setResourceBundle(bundle);
        window->pageController()->setLocalizationBundle(bundle);
        window->setPreferredLocalization(c.language);
        bool loaded = false;
        window->pageController()->setPageLoadedCompletion([&](std::optional<zv::Error>) { loaded = true; });
        window->loadFile(c.page, "html");
        ASSERT_TRUE(zv::test::spinUntil([&] { return loaded; }, kConversationTimeout)) << c.page << " " << c.language;
        WebKitWebView* view = window->webView()->webView();
        EXPECT_EQ(evaluate(view, "document.querySelector('button').textContent"), zv::Value(c.button));
        EXPECT_EQ(evaluate(view, "document.body.textContent.indexOf('${')"), zv::Value(-1)) << "variables filled";
        window->closeWindow();
    }
}

TEST_F(ViewerWindowTest, RemoteImagesWaitForTheBarAndAreFetchedOnce) {
    ASSERT_TRUE(showAndWait("Remote"));
    zv::test::spinFor(zv::test::kQuietPeriod);
    EXPECT_EQ(server_->hits(kRemotePath), 0);
    EXPECT_EQ(onlyCard().blockedRemoteReferences(), 1u);

    onlyCard().showRemoteContent();
    ASSERT_TRUE(zv::test::spinUntil([] { return server_->hits(kRemotePath) == 1; }, 10s));
    const char* loadedWidth = "(function(){var i=document.getElementById('remote');return i.complete?i.naturalWidth:0})()";
    EXPECT_TRUE(zv::test::spinUntil(
        [&] { return evaluate(onlyCard().bodyView()->webView(), loadedWidth) == zv::Value(4); }, 10s));

    // Shown again and allowed again, the image comes from the cache.
    ASSERT_TRUE(showAndWait("Remote"));
    onlyCard().showRemoteContent();
    EXPECT_TRUE(zv::test::spinUntil(
        [&] { return evaluate(onlyCard().bodyView()->webView(), loadedWidth) == zv::Value(4); }, 10s));
    EXPECT_EQ(server_->hits(kRemotePath), 1);
}

TEST_F(ViewerWindowTest, ContentIdImagesComeFromTheMessage) {
    ASSERT_TRUE(showAndWait("Picture"));
    const char* size = "(function(){var i=document.getElementById('pic');return i.complete?[i.naturalWidth,i.naturalHeight]:0})()";
    EXPECT_TRUE(zv::test::spinUntil(
        [&] { return evaluate(onlyCard().bodyView()->webView(), size) == zv::Value::array({5, 7}); }, 10s));
}

TEST_F(ViewerWindowTest, DamagedMessagesShowAnErrorCardAndTheRestStillOpens) {
    EXPECT_EQ(window_->messages().size(), 7u);
    EXPECT_EQ(window_->conversations().size(), 5u);
    for (const char* subject : {"", "Cut short"}) {
        ASSERT_TRUE(showAndWait(subject)) << subject;
        EXPECT_TRUE(onlyCard().isError()) << subject;
        EXPECT_FALSE(onlyCard().errorText().empty()) << subject;
        EXPECT_EQ(onlyCard().bodyView(), nullptr) << subject;
    }
    EXPECT_TRUE(showAndWait("Picture")) << "a good message after a bad one";
}

}  // namespace
}  // namespace zvwk::viewer
