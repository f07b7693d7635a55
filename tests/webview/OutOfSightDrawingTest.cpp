// Message views stacked in a scrolled column: only those within a screen of
// the shown part draw, and every page loads and answers scripts regardless.
#include "WebViewTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

constexpr int kViews = 8;
constexpr int kViewHeight = 200;  // 12 apart in a column shown 300 high: views 0 to 2 lie within a screen of the top

class OutOfSightDrawingTest : public ::testing::Test {
protected:
    void SetUp() override {
        initGtkOnce();
        column_ = std::make_unique<ColumnWindow>(400, 300);
        // One web process for all, started by the first page, as a reader shows a conversation.
        for (int v = 0; v < kViews; ++v) {
            ZVWebViewConfiguration configuration;
            if (v > 0) configuration.relatedView = GObjectRef<WebKitWebView>::ref(views_[0]->webView());
            views_.push_back(ZVWebView::create(configuration));
            column_->add(views_.back()->webView(), kViewHeight);
            webkit_web_view_load_html(views_.back()->webView(), ("<body id=v" + std::to_string(v) + ">").c_str(),
                                      "https://mail.example/");
            if (v == 0) {
                ASSERT_TRUE(spinUntil([&] { return hasLoaded(0); }, kLoadTimeout));
            }
        }
        // The window gives the first view the focus, which would keep it drawing.
        gtk_window_set_focus(column_->window(), nullptr);
    }
    void TearDown() override {
        column_.reset();
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

    std::unique_ptr<ColumnWindow> column_;
    std::vector<std::shared_ptr<ZVWebView>> views_;
};

TEST_F(OutOfSightDrawingTest, ViewsFarFromTheShownPartStopDrawingYetLoadAndDrawAgainWhenScrolledNear) {
    ASSERT_TRUE(waitForMapped("11100000")) << mapped();
    EXPECT_EQ(pageState(0, "v0 visible"), "v0 visible");
    EXPECT_EQ(pageState(2, "v2 visible"), "v2 visible");
    EXPECT_EQ(pageState(3, "v3 hidden"), "v3 hidden");
    EXPECT_EQ(pageState(7, "v7 hidden"), "v7 hidden");

    // Within a screen of the bottom: the last three.
    column_->scrollToBottom();
    ASSERT_TRUE(waitForMapped("00000111")) << mapped();
    EXPECT_EQ(pageState(7, "v7 visible"), "v7 visible");
    EXPECT_EQ(pageState(0, "v0 hidden"), "v0 hidden");
}

TEST_F(OutOfSightDrawingTest, AFocusedViewAndAViewTakenOutOfTheColumnKeepDrawing) {
    ASSERT_TRUE(waitForMapped("11100000")) << mapped();
    gtk_widget_grab_focus(GTK_WIDGET(views_[0]->webView()));
    column_->scrollToBottom();
    ASSERT_TRUE(waitForMapped("10000111")) << mapped();

    // Out of the column into a window of its own, a view that was far away draws.
    GtkWidget* moved = GTK_WIDGET(views_[3]->webView());
    column_->remove(views_[3]->webView());
    GtkWindow* own = GTK_WINDOW(gtk_window_new());
    gtk_window_set_child(own, moved);
    gtk_window_present(own);
    EXPECT_TRUE(spinUntil([&] { return gtk_widget_get_mapped(moved); }, kLoadTimeout));
    gtk_window_destroy(own);
}

}  // namespace
