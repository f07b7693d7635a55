// The find controller over real pages: totals, stepping across web views and
// a conversation, messages loaded on demand, replace, and the bar.
#include "FindTestSupport.h"

#include <zv/find/FindOptions.h>
#include <zv/find/ZVWebViewFindController.h>
#include <zv/foundation/UserDefaults.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace zv::test;
using zv::ZVWebViewFindController;

std::string invoices(int n) {
    std::string body = "<p>";
    for (int i = 0; i < n; ++i) body += "Invoice " + std::to_string(i) + " <b>in</b>voice<br>";
    return body + "</p>";
}

// Counted by hand: each paragraph of invoices(n) holds 2n matches of "invoice".
struct Message : zv::ZVWKConversationMessageItem {
    std::string key;
    int64_t hostCount = 0;
    std::string body;
    std::shared_ptr<zv::ZVWebView> view;
    std::unique_ptr<WebViewWindow> window;
    std::optional<std::string> scriptIdentifier() const override { return key; }
    std::shared_ptr<zv::ZVWebView> webView() const override { return view; }
    int64_t findCountForStrings(const std::vector<std::string>&) const override { return hostCount; }
};

int currentMarks(Message& m) {
    auto value = m.window->evaluate("document.querySelectorAll('mark.zv-find-current').length").value;
    return value ? value->get<int>() : -1;
}

struct Thread : zv::ZVWKConversationThread {
    std::vector<std::shared_ptr<Message>> messages;
    std::vector<zv::ZVWKConversationMessageItemRef> visibleConversationMessageItems() const override {
        return {messages.begin(), messages.end()};
    }
};

struct Found {
    std::string key;  // empty for a plain list of web views
    double y;
    bool looped;
};

class FindControllerTest : public ::testing::Test {
protected:
    void SetUp() override {
        initGtkOnce();
        for (const char* key : {zv::ZVSearchStyleKey, zv::ZVSearchStyleNoRegKey, zv::ZVSearchIgnoreCaseKey})
            zv::UserDefaults::standard().removeObjectForKey(key);
        delegate = std::make_shared<zv::ZVWebviewFindDelegate>();
        delegate->foundResultInMessageItem = [this](ZVWebViewFindController&, const zv::ZVWKConversationMessageItemRef& item,
                                                    zv::Point at, bool looped) {
            found.push_back({item ? *item->scriptIdentifier() : "", at.y, looped});
        };
    }

    std::shared_ptr<Message> message(const std::string& key, int matchPairs, bool loaded) {
        auto m = std::make_shared<Message>();
        m->key = key;
        m->body = invoices(matchPairs);
        m->hostCount = 2 * matchPairs;
        if (loaded) load(*m);
        return m;
    }
    void load(Message& m) {
        auto made = makeMessageView(m.body, first ? first->webView() : nullptr);
        if (!first) first = made.view;
        m.view = made.view;
        m.window = std::move(made.window);
    }
    void search(ZVWebViewFindController& controller, const std::string& text) {
        gtk_editable_set_text(GTK_EDITABLE(controller.searchField()), text.c_str());
        controller.findNow();
    }
    // Waits for the next step's report.
    Found step(ZVWebViewFindController& controller, bool forward) {
        size_t before = found.size();
        forward ? controller.findNext() : controller.findPrevious();
        EXPECT_TRUE(spinUntil([&] { return found.size() > before; }, kScriptTimeout));
        spinFor(std::chrono::milliseconds(50));  // the page's "wvIndex" follows the answer
        return found.empty() ? Found{} : found.back();
    }

    std::shared_ptr<zv::ZVWebviewFindDelegate> delegate;
    std::vector<Found> found;
    std::shared_ptr<zv::ZVWebView> first;
};

TEST_F(FindControllerTest, ThreeViewsTotalAndStepAcrossWithWrapAround) {
    auto thread = std::make_shared<Thread>();
    thread->messages = {message("m1", 1, true), message("m2", 0, true), message("m3", 2, true)};
    auto controller = ZVWebViewFindController::create(thread, delegate);
    search(*controller, "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 6; }, kScriptTimeout));
    int64_t total = 0;
    int calls = 0;
    controller->getFindResultCount([&](int64_t running) { total = running, ++calls; });
    ASSERT_TRUE(spinUntil([&] { return calls == 3; }, kScriptTimeout));
    EXPECT_EQ(total, 6);

    const struct {
        const char* key;
        int64_t index;
        bool looped;
    } expected[] = {{"m1", 0, false}, {"m1", 1, false}, {"m3", 0, false}, {"m3", 1, false},
                    {"m3", 2, false}, {"m3", 3, false}, {"m1", 0, true}};
    for (const auto& e : expected) {
        Found f = step(*controller, true);
        EXPECT_EQ(f.key, e.key);
        EXPECT_EQ(f.looped, e.looped) << e.key << " " << e.index;
        EXPECT_EQ(controller->indexForKey(e.key), e.index);
        // (A match split over elements shows as several marks.)
        EXPECT_EQ((currentMarks(*thread->messages[0]) > 0) + (currentMarks(*thread->messages[2]) > 0), 1)
            << "one current match across the conversation";
    }
    Found back = step(*controller, false);
    EXPECT_EQ(back.key, "m3");
    EXPECT_TRUE(back.looped);
    EXPECT_EQ(controller->indexForKey("m3"), 3);
}

TEST_F(FindControllerTest, EntersBackwardsAtTheLastMatch) {
    auto thread = std::make_shared<Thread>();
    thread->messages = {message("m1", 1, true), message("m2", 2, true)};
    auto controller = ZVWebViewFindController::create(thread, delegate);
    search(*controller, "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 6; }, kScriptTimeout));
    Found f = step(*controller, false);
    EXPECT_EQ(f.key, "m2");
    EXPECT_EQ(controller->indexForKey("m2"), 3);
    EXPECT_TRUE(thread->messages[1]->view->atLast());
}

TEST_F(FindControllerTest, AMessageNotLoadedIsCountedByTheHostAndLoadedWhenSteppedInto) {
    auto thread = std::make_shared<Thread>();
    thread->messages = {message("m1", 1, true), message("m2", 2, false)};
    thread->messages[1]->hostCount = 4;
    int loads = 0;
    delegate->loadWebViewIfNeededForItem = [&](const zv::ZVWKConversationMessageItemRef& item, auto completion) {
        auto* m = static_cast<Message*>(item.get());
        ++loads;
        if (!m->view) load(*m);
        completion(m->view);
    };
    auto controller = ZVWebViewFindController::create(thread, delegate);
    search(*controller, "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->countForKey("m1") == 2; }, kScriptTimeout));
    EXPECT_EQ(controller->currentCount(), 6) << "the host's 4 for the message without a web view";
    step(*controller, true);
    step(*controller, true);
    Found f = step(*controller, true);
    EXPECT_EQ(f.key, "m2");
    EXPECT_EQ(loads, 3);
    EXPECT_TRUE(thread->messages[1]->view);
    EXPECT_TRUE(spinUntil([&] { return controller->indexForKey("m2") == 0; }, kScriptTimeout));
    EXPECT_EQ(controller->currentCount(), 6) << "the page's own count replaced the host's";
    EXPECT_EQ(currentMarks(*thread->messages[1]), 1);
}

TEST_F(FindControllerTest, SingleViewStepsReportWrapping) {
    auto m = message("", 2, true);  // two lines of two matches
    auto controller = ZVWebViewFindController::create(delegate);
    controller->setWebviews({m->view});
    EXPECT_FALSE(m->view->scriptIdent().empty());
    EXPECT_TRUE(m->view->scriptsLoaded());
    search(*controller, "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 4; }, kScriptTimeout));
    for (bool looped : {false, false, false, false, true}) EXPECT_EQ(step(*controller, true).looped, looped);
    EXPECT_TRUE(step(*controller, false).looped) << "back from the first match";
    controller.reset();
    EXPECT_FALSE(m->view->scriptsLoaded());
    auto again = ZVWebViewFindController::create(delegate);
    again->setWebviews({m->view});
    search(*again, "voice");
    EXPECT_TRUE(spinUntil([&] { return again->currentCount() == 4; }, kScriptTimeout)) << "a later controller hears the page";
}

TEST_F(FindControllerTest, ReplaceEditsTheFirstViewAndRefreshesTheCount) {
    auto m = message("", 2, true);
    auto controller = ZVWebViewFindController::create(delegate, ZVWebViewFindController::ShowReplace);
    EXPECT_TRUE(gtk_widget_get_visible(controller->replaceContainer()));
    controller->setWebviews({m->view});
    search(*controller, "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 4; }, kScriptTimeout));
    controller->replace(0);  // empty replacement: nothing happens
    spinFor(kQuietPeriod);
    EXPECT_EQ(controller->currentCount(), 4);
    gtk_editable_set_text(GTK_EDITABLE(controller->replaceText()), "bill");
    controller->replace(0);
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 3; }, kScriptTimeout));
    controller->replace(1);
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 0; }, kScriptTimeout));
    // Of "Invoice 0 invoice", "Invoice 1 invoice" the first by itself, then the rest.
    EXPECT_EQ(m->window->evaluate("document.body.textContent").value, "bill 0 billbill 1 bill");
}

TEST_F(FindControllerTest, BadSearchValuesAreDroppedWithTheLogLine) {
    captureLogLines();
    auto controller = ZVWebViewFindController::create(delegate);
    const zv::Value bad[] = {
        zv::Value("wvCount"),
        zv::Value::array({1, 2, 3}),
        {{"webviewIdentifier", "A"}, {"type", "wvCount"}, {"count", 3}, {"extra", 1}},
        {{"webviewIdentifier", "A"}, {"type", "wvCount"}},
    };
    for (const auto& body : bad) controller->didReceiveScriptMessage(body);
    auto lines = takeLogLines();
    ASSERT_EQ(lines.size(), 4u);
    for (const auto& line : lines) EXPECT_TRUE(line.starts_with("Body not correct in call from JS:searchValues: "));
    controller->didReceiveScriptMessage({{"webviewIdentifier", "A"}, {"type", "other"}, {"count", 3}});
    controller->didReceiveScriptMessage({{"key", "A"}, {"type", "wvCount"}, {"count", 3}});
    EXPECT_TRUE(takeLogLines().empty());
    EXPECT_EQ(controller->currentCount(), 0);
}

// Page numbers are doubles of any size: held at the ends of the range, in
// each view's count and index and in the total over the views.
TEST_F(FindControllerTest, CountsPastTheRangeAreHeldAtItsEnds) {
    auto controller = ZVWebViewFindController::create(delegate);
    controller->didReceiveScriptMessage({{"webviewIdentifier", "A"}, {"type", "wvCount"}, {"count", 1e300}});
    controller->didReceiveScriptMessage({{"webviewIdentifier", "B"}, {"type", "wvCount"}, {"count", 18446744073709551615u}});
    controller->didReceiveScriptMessage({{"webviewIdentifier", "A"}, {"type", "wvIndex"}, {"count", -1e300}});
    EXPECT_EQ(controller->countForKey("A"), INT64_MAX);
    EXPECT_EQ(controller->countForKey("B"), INT64_MAX);
    EXPECT_EQ(controller->indexForKey("A"), INT64_MIN);
    EXPECT_EQ(controller->currentCount(), INT64_MAX);
}

TEST_F(FindControllerTest, EscapeAndDoneAskTheHostToHideTheBar) {
    int hides = 0;
    delegate->shouldHideFindView = [&](ZVWebViewFindController&) { ++hides; };
    auto controller = ZVWebViewFindController::create(delegate);
    g_signal_emit_by_name(controller->searchField(), "stop-search");
    g_signal_emit_by_name(controller->doneButton(), "clicked");
    EXPECT_EQ(hides, 2);
    EXPECT_TRUE(gtk_widget_get_visible(controller->findView())) << "the bar does not hide itself";
}

std::vector<std::string> menuLabels(GMenuModel* menu) {
    std::vector<std::string> labels;
    for (int i = 0; i < g_menu_model_get_n_items(menu); ++i) {
        char* label = nullptr;
        if (g_menu_model_get_item_attribute(menu, i, G_MENU_ATTRIBUTE_LABEL, "s", &label)) labels.push_back(label);
        g_free(label);
        if (GMenuModel* section = g_menu_model_get_item_link(menu, i, G_MENU_LINK_SECTION)) {
            for (auto& inner : menuLabels(section)) labels.push_back(inner);
            g_object_unref(section);
        }
    }
    return labels;
}

bool has(const std::vector<std::string>& labels, const std::string& label) {
    return std::ranges::find(labels, label) != labels.end();
}

TEST_F(FindControllerTest, MenuCountLabelAndRecents) {
    auto plain = ZVWebViewFindController::create(delegate);
    auto noRegex = ZVWebViewFindController::create(delegate, ZVWebViewFindController::NoRegularExpressions);
    EXPECT_TRUE(has(menuLabels(plain->findMenu()), "Regular Expression"));
    EXPECT_FALSE(has(menuLabels(noRegex->findMenu()), "Regular Expression"));
    EXPECT_FALSE(gtk_widget_get_visible(plain->replaceContainer()));
    noRegex->toggleSearchItem(ZVWebViewFindController::TagExactly);
    EXPECT_EQ(zv::storedSearchOptions(zv::ZVSearchStyleNoRegKey), 4 + 256);
    g_action_group_activate_action(plain->actionGroup(), "style", g_variant_new_int32(2));
    g_action_group_activate_action(plain->actionGroup(), "ignore-case", nullptr);
    EXPECT_EQ(zv::storedSearchOptions(zv::ZVSearchStyleKey), 2);
    GVariant* state = g_action_group_get_action_state(plain->actionGroup(), "style");
    EXPECT_EQ(g_variant_get_int32(state), 2);
    g_variant_unref(state);

    plain->setCount("A", 3);
    plain->setCount("B", 2);
    EXPECT_NE(std::string(gtk_label_get_text(GTK_LABEL(plain->countLabel()))).find('5'), std::string::npos);
    EXPECT_TRUE(gtk_widget_get_sensitive(plain->previousButton()));
    EXPECT_TRUE(gtk_widget_get_sensitive(plain->nextButton()));
    plain->setCount("A", 0);
    plain->setCount("B", 0);
    EXPECT_NE(std::string(gtk_label_get_text(GTK_LABEL(plain->countLabel()))).find('0'), std::string::npos);
    EXPECT_FALSE(gtk_widget_get_sensitive(plain->previousButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(plain->nextButton()));

    plain->clearRecentSearches();
    for (const char* text : {"older", "newer", "older"}) {
        gtk_editable_set_text(GTK_EDITABLE(plain->searchField()), text);
        plain->moveTo(1);
    }
    plain.reset();
    auto restarted = ZVWebViewFindController::create(delegate);
    EXPECT_EQ(restarted->recentSearches(), (std::vector<std::string>{"older", "newer"}));
    EXPECT_TRUE(has(menuLabels(restarted->findMenu()), "newer"));
    for (int i = 0; i < 12; ++i) {
        gtk_editable_set_text(GTK_EDITABLE(restarted->searchField()), std::to_string(i).c_str());
        restarted->moveTo(0);
    }
    EXPECT_EQ(restarted->recentSearches().size(), zv::kZVFindRecentsLimit);
    EXPECT_EQ(restarted->recentSearches().front(), "11");
    g_action_group_activate_action(restarted->actionGroup(), "clear-recents", nullptr);
    EXPECT_TRUE(restarted->recentSearches().empty());
}

}  // namespace
