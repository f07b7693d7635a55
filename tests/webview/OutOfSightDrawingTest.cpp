// Message views stacked in a scrolled column: only those within a screen of
// the shown part draw, and every page loads and answers scripts regardless.
#include "WebViewTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

constexpr int kViews = 8;
constexpr int kViewHeight = 200;  // in a column shown 300 high: views 0 to 2 lie within a screen of the top

class OutOfSightDrawingTest : public ::testing::Test {
protected:
    void SetUp() override {
        initGtkOnce();
        window_ = GTK_WINDOW(gtk_window_new());
        gtk_window_set_default_size(window_, 400, 300);
        GtkWidget* scroller = gtk_scrolled_window_new();
        gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
        column_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), column_);
        gtk_window_set_child(window_, scroller);
        adjustment_ = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller));
        // One web process for all, started by the first page, as a reader shows a conversation.
        for (int v = 0; v < kViews; ++v) {
            ZVWebViewConfiguration configuration;
            if (v > 0) configuration.relatedView = GObjectRef<WebKitWebView>::ref(views_[0]->webView());
            views_.push_back(ZVWebView::create(configuration));
            GtkWidget* widget = GTK_WIDGET(views_.back()->webView());
            gtk_widget_set_size_request(widget, -1, kViewHeight);
            gtk_box_append(GTK_BOX(column_), widget);
            webkit_web_view_load_html(views_.back()->webView(), ("<body id=v" + std::to_string(v) + ">").c_str(),
                                      "https://mail.example/");
            if (v == 0) ASSERT_TRUE(spinUntil([&] { return hasLoaded(0); }, kLoadTimeout));
        }
        gtk_window_present(window_);
        // The window gives the first view the focus, which would keep it drawing.
        gtk_window_set_focus(window_, nullptr);
    }
    void TearDown() override {
        gtk_window_destroy(window_);
        views_.clear();
    }

    // "1" for each mapped view, "0" for the others, top to bottom.
    std::string mapped() const {
        std::string marks;
        for (const auto& view : views_) marks += gtk_widget_get_mapped(GTK_WIDGET(view->webView())) ? '1' : '0';
        return marks;
    }
    bool waitForMapped(const std::string& expected) {
        return spinUntil([&] { return mapped() == expected; }, kLoadTimeout);
    }
    void scrollToBottom() {
        gtk_adjustment_set_value(adjustment_, gtk_adjustment_get_upper(adjustment_) -
                                                  gtk_adjustment_get_page_size(adjustment_));
    }
    bool hasLoaded(int v) {
        ScriptOutcome outcome = evaluateIn(views_[v]->webView(), "document.body.id");
        return outcome.ok() && outcome.value && *outcome.value == "v" + std::to_string(v);
    }
    // What view `v`'s page says of itself ("v3 hidden"), waited for until it
    // says `expected`: the engine tells the page of a change in passing.
    std::string pageState(int v, const std::string& expected) {
        std::string state;
        spinUntil([&] {
            ScriptOutcome outcome = evaluateIn(views_[v]->webView(), "document.body.id + ' ' + document.visibilityState");
            state = outcome.ok() && outcome.value ? outcome.value->get<std::string>() : outcome.error;
            return state == expected;
        }, kLoadTimeout);
        return state;
    }

    GtkWindow* window_ = nullptr;
    GtkWidget* column_ = nullptr;
    GtkAdjustment* adjustment_ = nullptr;
    std::vector<std::shared_ptr<ZVWebView>> views_;
};

TEST_F(OutOfSightDrawingTest, ViewsFarFromTheShownPartStopDrawingYetLoadAndDrawAgainWhenScrolledNear) {
    ASSERT_TRUE(waitForMapped("11100000")) << mapped();
    EXPECT_EQ(pageState(0, "v0 visible"), "v0 visible");
    EXPECT_EQ(pageState(2, "v2 visible"), "v2 visible");
    EXPECT_EQ(pageState(3, "v3 hidden"), "v3 hidden");
    EXPECT_EQ(pageState(7, "v7 hidden"), "v7 hidden");

    // Shown: 1300 to 1600; within a screen: views whose bottom passes 1000.
    scrollToBottom();
    ASSERT_TRUE(waitForMapped("00000111")) << mapped();
    EXPECT_EQ(pageState(7, "v7 visible"), "v7 visible");
    EXPECT_EQ(pageState(0, "v0 hidden"), "v0 hidden");
}

TEST_F(OutOfSightDrawingTest, AFocusedViewAndAViewTakenOutOfTheColumnKeepDrawing) {
    ASSERT_TRUE(waitForMapped("11100000")) << mapped();
    gtk_widget_grab_focus(GTK_WIDGET(views_[0]->webView()));
    scrollToBottom();
    ASSERT_TRUE(waitForMapped("10000111")) << mapped();

    // Out of the column into a window of its own, a view that was far away draws.
    GtkWidget* moved = GTK_WIDGET(views_[3]->webView());
    gtk_box_remove(GTK_BOX(column_), moved);
    GtkWindow* own = GTK_WINDOW(gtk_window_new());
    gtk_window_set_child(own, moved);
    gtk_window_present(own);
    EXPECT_TRUE(spinUntil([&] { return gtk_widget_get_mapped(moved); }, kLoadTimeout));
    gtk_window_destroy(own);
}

}  // namespace
