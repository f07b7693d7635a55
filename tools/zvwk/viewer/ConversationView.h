// A conversation in one scrolling column: its subject, then a card per
// message, oldest first. Every body view shares one web process, started on
// a blank page of its own (by startWebProcess, or by the first conversation
// shown) and kept for fifty conversations; each body view is made as that
// page's related view once the blank page has loaded. The next process is
// started when the last of those fifty has loaded. Older messages start
// collapsed to their preview line when the conversation is long; their views
// are made when they are opened.
// An expanded message more than a screen away from what is shown makes its
// view when scrolling brings it near: a web view costs its page's load,
// layout and memory whether it is seen or not (only its drawing stops while
// it is far from sight).
#pragma once

#include "MessageCard.h"

#include <zv/foundation/GObjectRef.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zvwk::viewer {

struct ConversationOptions {
    // Off only to measure what sharing saves: every view its own process.
    bool shareWebProcess = true;
    // How many of the newest messages start expanded; 0 expands all.
    std::size_t expandedNewest = 5;
    bool dark = false;
};

class ConversationView {
public:
    ConversationView();
    ~ConversationView();
    ConversationView(const ConversationView&) = delete;
    ConversationView& operator=(const ConversationView&) = delete;

    GtkWidget* widget() const { return scroller_; }

    // Starting a web process takes about 0.3 s: a window starts it early,
    // when that delays nothing on screen.
    void startWebProcess();

    void show(const std::string& subject, const std::vector<MessageSummary>& messages,
              const ConversationOptions& options);
    void clear();

    const std::vector<std::shared_ptr<MessageCard>>& cards() const { return cards_; }
    // Every expanded card near the screen has loaded its body and has its
    // height (the others wait, see above).
    bool isLoaded() const;
    // Run on the main thread when the first body, and when all bodies of the
    // conversation shown, have loaded.
    std::function<void()> firstBodyLoaded;
    std::function<void()> loaded;
    // Run whenever a card has settled: its body loaded, or its error shown.
    std::function<void(MessageCard&)> cardSettled;

    // Every message's zoom, the ones shown later included.
    void setZoomLevel(double level);
    double zoomLevel() const { return zoom_; }

    GtkAdjustment* verticalAdjustment() const;
    // Scrolls so that the point `below` pixels under the top of `widget` (a
    // part of a card) is at the top of the column.
    void scrollToWidget(GtkWidget* widget, double below = 0);

private:
    void cardLoaded(MessageCard& card);
    void reportIfLoaded();
    static gboolean trimHeap(gpointer self);
    // A shared web process, ready once its blank page has loaded.
    struct WebProcess {
        std::shared_ptr<zv::ZVWebView> view;
        bool ready = false;
    };
    WebProcess startProcess();
    void endProcess(WebProcess& process);
    WebProcess& processOf(WebKitWebView* view);
    std::optional<WebKitWebView*> processAnchor() const;
    void startNextProcessWhenIdle();
    static void onProcessLoadChanged(WebKitWebView* view, WebKitLoadEvent event, gpointer self);
    static void onWebProcessTerminated(WebKitWebView* view, WebKitWebProcessTerminationReason, gpointer self);
    bool isNearScreen(const MessageCard& card) const;
    static bool isLaidOut(const MessageCard& card);
    void makeViewsNearScreen();
    void keepScreenAbove(const MessageCard& card, int delta);
    static void onLaidOut(GtkAdjustment* adjustment, gpointer self);
    static void onScrolled(GtkAdjustment*, gpointer self);
    void passNearScreenWhenIdle();

    GtkWidget* scroller_ = nullptr;  // held by a reference of its own
    GtkWidget* column_ = nullptr;
    GtkWidget* title_ = nullptr;
    GtkWidget* cardsBox_ = nullptr;
    std::shared_ptr<zv::OperationQueue> readQueue_;  // reads and prepares the messages
    std::vector<std::shared_ptr<MessageCard>> cards_;
    WebProcess process_;
    WebProcess nextProcess_;
    guint nextProcessSource_ = 0;  // an idle source
    int conversationsInProcess_ = 0;
    ConversationOptions options_;
    double zoom_ = 1;
    bool reportedFirst_ = false;
    bool reportedAll_ = false;
    guint nearScreenPass_ = 0;  // an idle source
    guint firstLayoutTick_ = 0;  // a tick callback of cardsBox_
    guint trimSource_ = 0;  // an idle source
    bool heapToTrim_ = false;  // a conversation was cleared since the last trim
    int pendingShift_ = 0;  // pixels to scroll by after the next layout
};

}  // namespace zvwk::viewer
