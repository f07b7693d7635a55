// The find controller over real pages: totals, stepping across web views and
// a conversation, messages loaded on demand, replace, and the bar.
#include "FindTestSupport.h"

#include <zv/find/FindOptions.h>
#include <zv/find/ZVWebViewFindController.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/DarkAdaptation.h>

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
    auto value = m.window->evaluate("(CSS.highlights.get('zv-find-current') || new Set()).size").value;
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
        for (const char* key : {zv::ZVSearchStyleKey, zv::ZVSearchStyleNoRegKey, zv::ZVSearchIgnoreCaseKey, zv::ZVFindRecentsKey})
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
    // Searches and waits for the total over the views to become `total`.
    bool searchUntil(ZVWebViewFindController& controller, const std::string& text, int64_t total) {
        search(controller, text);
        return spinUntil([&] { return controller.currentCount() == total; }, kScriptTimeout);
    }
    // A controller of this message's web view alone.
    std::shared_ptr<ZVWebViewFindController> controllerOf(const Message& m) {
        auto controller = ZVWebViewFindController::create(delegate);
        controller->setWebviews({m.view});
        return controller;
    }
    static std::shared_ptr<Thread> conversation(std::vector<std::shared_ptr<Message>> messages) {
        auto thread = std::make_shared<Thread>();
        thread->messages = std::move(messages);
        return thread;
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
    auto thread = conversation({message("m1", 1, true), message("m2", 0, true), message("m3", 2, true)});
    auto controller = ZVWebViewFindController::create(thread, delegate);
    ASSERT_TRUE(searchUntil(*controller, "invoice", 6));
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
        EXPECT_EQ((currentMarks(*thread->messages[0]) > 0) + (currentMarks(*thread->messages[2]) > 0), 1)
            << "one current match across the conversation";
    }
    Found back = step(*controller, false);
    EXPECT_EQ(back.key, "m3");
    EXPECT_TRUE(back.looped);
    EXPECT_EQ(controller->indexForKey("m3"), 3);
}

TEST_F(FindControllerTest, AMessageAdaptedForTheDarkIsCountedAndSteppedAlike) {
    auto plain = message("plain", 1, true);
    auto dark = message("dark", 2, false);
    auto document = zv::html::HTMLParser("<table bgcolor=#f3f3f3><tr><td><font color=#333>" + dark->body + "</font></table>")
                        .parseDocument();
    ASSERT_GT(zv::adaptDocumentForDarkAppearance(*document).textColors, 0u);
    dark->body = document->body()->innerHTML();
    load(*dark);
    auto controller = ZVWebViewFindController::create(conversation({plain, dark}), delegate);
    ASSERT_TRUE(searchUntil(*controller, "invoice", 6));
    for (int i = 0; i < 3; ++i) step(*controller, true);
    EXPECT_EQ(found.back().key, "dark");
    EXPECT_EQ(controller->indexForKey("dark"), 0);
}

TEST_F(FindControllerTest, EntersBackwardsAtTheLastMatch) {
    auto thread = conversation({message("m1", 1, true), message("m2", 2, true)});
    auto controller = ZVWebViewFindController::create(thread, delegate);
    ASSERT_TRUE(searchUntil(*controller, "invoice", 6));
    Found f = step(*controller, false);
    EXPECT_EQ(f.key, "m2");
    EXPECT_EQ(controller->indexForKey("m2"), 3);
    EXPECT_TRUE(thread->messages[1]->view->atLast());
}

TEST_F(FindControllerTest, AMessageNotLoadedIsCountedByTheHostAndLoadedWhenSteppedInto) {
    auto thread = conversation({message("m1", 1, true), message("m2", 2, false)});
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
    auto controller = controllerOf(*m);
    EXPECT_FALSE(m->view->scriptIdent().empty());
    EXPECT_TRUE(m->view->scriptsLoaded());
    ASSERT_TRUE(searchUntil(*controller, "invoice", 4));
    for (bool looped : {false, false, false, false, true}) EXPECT_EQ(step(*controller, true).looped, looped);
    EXPECT_TRUE(step(*controller, false).looped) << "back from the first match";
    auto scrollY = m->window->evaluate("window.scrollY").value;
    EXPECT_EQ(controller->lastOffset(), float(found.back().y + (scrollY ? scrollY->get<double>() : 0)))
        << "the match's place in the whole page";
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
    ASSERT_TRUE(searchUntil(*controller, "invoice", 4));
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

std::string label(const ZVWebViewFindController& c) { return gtk_label_get_text(GTK_LABEL(c.countLabel())); }

bool actionState(ZVWebViewFindController& c, const char* action, GVariant* expected) {
    GVariant* state = g_action_group_get_action_state(c.actionGroup(), action);
    bool same = g_variant_equal(state, g_variant_ref_sink(expected));
    g_variant_unref(state);
    g_variant_unref(expected);
    return same;
}

TEST_F(FindControllerTest, MenuCountLabelAndRecents) {
    auto plain = ZVWebViewFindController::create(delegate);
    auto noRegex = ZVWebViewFindController::create(delegate, ZVWebViewFindController::NoRegularExpressions);
    EXPECT_EQ(menuLabels(plain->findMenu()), (std::vector<std::string>{"Contains", "Starts With", "Exactly",
                                                                      "Regular Expression", "Ignore Case",
                                                                      "No Recent Searches"}));
    EXPECT_TRUE(actionState(*plain, "style", g_variant_new_int32(1)));
    EXPECT_TRUE(actionState(*plain, "ignore-case", g_variant_new_boolean(TRUE)));
    EXPECT_EQ(label(*plain), "") << "the label is filled by the first count";
    EXPECT_FALSE(gtk_widget_get_sensitive(plain->nextButton()));
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
    EXPECT_EQ(label(*plain), "5 matches");
    EXPECT_TRUE(gtk_widget_get_sensitive(plain->previousButton()));
    EXPECT_TRUE(gtk_widget_get_sensitive(plain->nextButton()));
    plain->setCount("A", 0);
    plain->setCount("B", 0);
    EXPECT_EQ(label(*plain), "0 matches");
    EXPECT_FALSE(gtk_widget_get_sensitive(plain->previousButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(plain->nextButton()));

    plain->clearRecentSearches();
    for (const char* text : {"older", "newer", "older"}) search(*plain, text);
    plain->moveTo(1);
    plain.reset();
    auto restarted = ZVWebViewFindController::create(delegate);
    EXPECT_EQ(restarted->recentSearches(), (std::vector<std::string>{"older", "newer"}));
    EXPECT_TRUE(has(menuLabels(restarted->findMenu()), "newer"));
    g_action_group_activate_action(restarted->actionGroup(), "recent", g_variant_new_string("newer"));
    EXPECT_EQ(restarted->recentSearches(), (std::vector<std::string>{"newer", "older"})) << "a chosen one goes to the top";
    EXPECT_STREQ(gtk_editable_get_text(GTK_EDITABLE(restarted->searchField())), "newer");
    for (int i = 0; i < 12; ++i) search(*restarted, std::to_string(i));
    EXPECT_EQ(restarted->recentSearches().size(), zv::kZVFindRecentsLimit);
    EXPECT_EQ(restarted->recentSearches().front(), "11");
    g_action_group_activate_action(restarted->actionGroup(), "clear-recents", nullptr);
    EXPECT_TRUE(restarted->recentSearches().empty());
}

TEST_F(FindControllerTest, TheMenuFollowsSettingsChangedElsewhereWhenShownAndTogglingSearchesAgain) {
    auto m = message("", 1, true);  // "Invoice 0 invoice"
    auto controller = controllerOf(*m);
    ASSERT_TRUE(searchUntil(*controller, "invoice", 2));
    for (auto [stored, count] : {std::pair{false, 1}, std::pair{true, 2}}) {
        controller->toggleSearchItem(ZVWebViewFindController::TagIgnoreCase);
        EXPECT_EQ(zv::storedIgnoreCase(), stored);
        EXPECT_TRUE(spinUntil([&] { return controller->currentCount() == count; }, kScriptTimeout)) << "searched again";
    }

    zv::UserDefaults::standard().setInteger(zv::ZVSearchStyleKey, 4);
    zv::UserDefaults::standard().setBool(zv::ZVSearchIgnoreCaseKey, false);
    BarWindow shown(controller->findView(), "zv-find-menu");
    EXPECT_TRUE(actionState(*controller, "style", g_variant_new_int32(4)));
    EXPECT_TRUE(actionState(*controller, "ignore-case", g_variant_new_boolean(FALSE)));

    gtk_widget_set_visible(controller->replaceContainer(), TRUE);
    controller->setCurrentFindType(1);
    EXPECT_FALSE(gtk_widget_get_visible(controller->replaceContainer())) << "the options decide, again";
}

TEST_F(FindControllerTest, EnterSearchesAndKeepsTheFindStringShiftEnterStepsBack) {
    if (!g_find_program_in_path("xdotool")) GTEST_SKIP() << "xdotool is not installed (scripts/install-deps)";
    auto m = message("", 2, true);
    auto controller = controllerOf(*m);
    BarWindow shown(controller->findView(), "zv-find-keys");
    gtk_widget_grab_focus(controller->searchField());
    gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 4; }, kScriptTimeout)) << "typing searches";
    zv::setFindString("elsewhere");
    controller->clearRecentSearches();

    ASSERT_TRUE(playKeys(shown.window, "key", "Return"));
    EXPECT_TRUE(spinUntil([] { return zv::findString() == "invoice"; }, kScriptTimeout));
    EXPECT_EQ(controller->recentSearches(), std::vector<std::string>{"invoice"});
    spinFor(kQuietPeriod);
    EXPECT_TRUE(found.empty()) << "Enter searches; it does not step";

    ASSERT_TRUE(playKeys(shown.window, "key", "shift+Return"));
    ASSERT_TRUE(spinUntil([&] { return !found.empty(); }, kScriptTimeout));
    EXPECT_TRUE(spinUntil([&] { return controller->indexForKey(m->view->scriptIdent()) == 3; }, kScriptTimeout))
        << "back from no current match is the last";
}

TEST_F(FindControllerTest, FocusingTheFieldTakesTheValueOrElseTheFindString) {
    auto m = message("", 1, true);
    auto controller = controllerOf(*m);
    const struct {
        std::optional<std::string> value;
        const char* findString;
        const char* field;
        int64_t count;
    } cases[] = {{"invoice", "", "invoice", 2}, {std::nullopt, "Invoice 0", "Invoice 0", 1}, {std::nullopt, "", "", 0}};
    for (const auto& c : cases) {
        zv::setFindString(c.findString);
        controller->focusFindFieldWithValue(c.value);
        EXPECT_STREQ(gtk_editable_get_text(GTK_EDITABLE(controller->searchField())), c.field);
        EXPECT_EQ(zv::findString(), c.field);
        EXPECT_TRUE(spinUntil([&] { return controller->currentCount() == c.count; }, kScriptTimeout))
            << "searched for '" << c.field << "'";
    }
}

TEST_F(FindControllerTest, SearchingAgainKeepsTheCurrentMatchNumber) {
    auto m = message("", 2, true);
    auto controller = controllerOf(*m);
    ASSERT_TRUE(searchUntil(*controller, "invoice", 4));
    for (int i = 0; i < 3; ++i) step(*controller, true);
    const std::string key = m->view->scriptIdent();
    ASSERT_TRUE(spinUntil([&] { return controller->indexForKey(key) == 2; }, kScriptTimeout));
    controller->setCurrentWebview(m->view);
    const double before = controller->lastOffset();
    gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), "Invoice");
    controller->performFindPreservingPosition(true);
    // Matches: "Invoice" 0, "<b>in</b>voice", "Invoice" 1, ...: the third stays current.
    const char* currentMatch =
        "[...CSS.highlights.get('zv-find-match')].indexOf([...CSS.highlights.get('zv-find-current')][0])";
    EXPECT_TRUE(spinUntil([&] { return m->window->evaluate(currentMatch).value == zv::Value(2); }, kScriptTimeout));
    EXPECT_EQ(controller->indexForKey(key), 2);
    spinFor(kQuietPeriod);
    EXPECT_DOUBLE_EQ(controller->lastOffset(), before) << "the same match, in the same place";
}

TEST_F(FindControllerTest, VisibleMessagesAreSearchedAgainOnlyWhileTheBarShows) {
    auto thread = conversation({message("m1", 1, true), message("m2", 3, false)});
    thread->messages[0]->view->setScriptIdent("");
    std::vector<std::string> scrolled;
    auto hostOnly = std::make_shared<zv::ZVWebviewFindDelegate>();
    hostOnly->scrollToConversationMessage = [&](const zv::ZVWKConversationMessageItemRef& item, zv::Point) {
        scrolled.push_back(*item->scriptIdentifier());
    };
    auto controller = ZVWebViewFindController::create(thread, hostOnly);
    EXPECT_EQ(thread->messages[0]->view->scriptIdent(), "m1") << "a loaded message's view gets its key";
    int calls = 0;
    controller->getFindResultCount([&](int64_t) { ++calls; });
    controller->updateVisibleConversationMessageItems();
    spinFor(kQuietPeriod);
    EXPECT_EQ(calls, 0) << "no web views, no answers";
    EXPECT_EQ(controller->currentCount(), 0) << "the bar is not shown";

    BarWindow shown(controller->findView(), "zv-find-visible");
    controller->updateVisibleConversationMessageItems();
    // The host's counts (2 and 6, whatever the text), then the page's 0 for the empty text.
    EXPECT_TRUE(spinUntil([&] { return controller->currentCount() == 6; }, kScriptTimeout));
    gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), "invoice");
    ASSERT_TRUE(spinUntil([&] { return controller->currentCount() == 2 + 6; }, kScriptTimeout));
    controller->findNext();
    EXPECT_TRUE(spinUntil([&] { return !scrolled.empty(); }, kScriptTimeout));
    EXPECT_EQ(scrolled, std::vector<std::string>{"m1"}) << "without foundResultInMessageItem the host scrolls";
}

}  // namespace
