#include "ConversationView.h"

#include "MessageBodyView.h"
#include "ViewerResources.h"

#include <zv/foundation/OperationQueue.h>

#include <malloc.h>

#include <algorithm>
#include <utility>

namespace zvwk::viewer {

namespace {

// Starting a process costs about 0.3 s on one switch in this many.
constexpr int kConversationsPerProcess = 50;

}  // namespace

ConversationView::ConversationView() : readQueue_(zv::OperationQueue::create()) {
    readQueue_->setMaxConcurrentOperationCount(2);
    readQueue_->start();
    registerViewerResources();
    g_autoptr(GtkBuilder) builder = gtk_builder_new_from_resource("/org/zvwebkit/zvwk/viewer/ConversationView.ui");
    scroller_ = GTK_WIDGET(g_object_ref(gtk_builder_get_object(builder, "scroller")));
    column_ = GTK_WIDGET(gtk_builder_get_object(builder, "column"));
    title_ = GTK_WIDGET(gtk_builder_get_object(builder, "title"));
    cardsBox_ = GTK_WIDGET(gtk_builder_get_object(builder, "cards"));
    // "changed" follows every layout that moved the cards, "value-changed" every scroll.
    g_signal_connect(verticalAdjustment(), "changed", G_CALLBACK(onLaidOut), this);
    g_signal_connect(verticalAdjustment(), "value-changed", G_CALLBACK(onScrolled), this);
}

void ConversationView::startWebProcess() {
    if (!process_.view) process_ = startProcess();
}

ConversationView::WebProcess ConversationView::startProcess() {
    WebProcess process{startMessageWebProcess()};
    WebKitWebView* view = process.view->webView();
    g_signal_connect(view, "load-changed", G_CALLBACK(onProcessLoadChanged), this);
    g_signal_connect(view, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), this);
    return process;
}

void ConversationView::endProcess(WebProcess& process) {
    if (process.view) g_signal_handlers_disconnect_by_data(process.view->webView(), this);
    process = {};
}

ConversationView::WebProcess& ConversationView::processOf(WebKitWebView* view) {
    return process_.view && process_.view->webView() == view ? process_ : nextProcess_;
}

// Many views made related to a page whose process was still starting have
// crashed WebKit's allocator, or their pages never asked for their content:
// a body view waits for the blank page.
std::optional<WebKitWebView*> ConversationView::processAnchor() const {
    if (!options_.shareWebProcess) return nullptr;
    if (!process_.ready) return std::nullopt;
    return process_.view->webView();
}

void ConversationView::onProcessLoadChanged(WebKitWebView* view, WebKitLoadEvent event, gpointer data) {
    auto* self = static_cast<ConversationView*>(data);
    WebProcess& process = self->processOf(view);
    process.ready = event == WEBKIT_LOAD_FINISHED;
    if (process.ready && &process == &self->process_) self->passNearScreenWhenIdle();
}

// A crashed process takes the messages it showed with it (each card says so
// and shows its message again when asked); the next views get a new one.
void ConversationView::onWebProcessTerminated(WebKitWebView* view, WebKitWebProcessTerminationReason, gpointer data) {
    static_cast<ConversationView*>(data)->processOf(view).ready = false;
    webkit_web_view_load_html(view, "", "about:blank");
}

// Starting a process costs about 0.3 s of its own CPU: started while the
// reader reads the last conversation of the one before, not when the
// next is asked for.
void ConversationView::startNextProcessWhenIdle() {
    if (!options_.shareWebProcess || conversationsInProcess_ < kConversationsPerProcess || nextProcess_.view ||
        nextProcessSource_)
        return;
    nextProcessSource_ = g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer data) -> gboolean {
            auto* self = static_cast<ConversationView*>(data);
            self->nextProcessSource_ = 0;
            self->nextProcess_ = self->startProcess();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

ConversationView::~ConversationView() {
    clear();
    if (nextProcessSource_) g_source_remove(nextProcessSource_);
    endProcess(process_);
    endProcess(nextProcess_);
    g_signal_handlers_disconnect_by_data(verticalAdjustment(), this);
    g_object_unref(scroller_);
}

GtkAdjustment* ConversationView::verticalAdjustment() const {
    return gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller_));
}

void ConversationView::clear() {
    heapToTrim_ = heapToTrim_ || !cards_.empty();
    for (auto& card : cards_) {
        card->settled = nullptr;
        card->rememberedChoicesChanged = nullptr;
        card->processAnchor = nullptr;
        card->bodyViewWanted = nullptr;
        card->bodyHeightChanging = nullptr;
        gtk_box_remove(GTK_BOX(cardsBox_), card->widget());
    }
    cards_.clear();
    reportedFirst_ = reportedAll_ = false;
    pendingShift_ = 0;
    if (nearScreenPass_) g_source_remove(std::exchange(nearScreenPass_, 0));
    if (trimSource_) g_source_remove(std::exchange(trimSource_, 0));
    if (firstLayoutTick_) gtk_widget_remove_tick_callback(cardsBox_, std::exchange(firstLayoutTick_, 0));
}

void ConversationView::show(const std::string& subject, const std::vector<MessageSummary>& messages,
                            const ConversationOptions& options) {
    clear();
    // What a web process keeps from page to page (its allocator's and
    // script engine's heaps) grows by about 0.2 MiB a conversation and is
    // only ever returned by ending the process: a fresh one now and then.
    if (++conversationsInProcess_ > kConversationsPerProcess) {
        endProcess(process_);
        process_ = std::exchange(nextProcess_, {});
        conversationsInProcess_ = 1;
    }
    startWebProcess();
    options_ = options;
    gtk_label_set_text(GTK_LABEL(title_), subject.empty() ? "(no subject)" : subject.c_str());
    gtk_adjustment_set_value(verticalAdjustment(), 0);
    size_t firstExpanded = options.expandedNewest == 0 || messages.size() <= options.expandedNewest
                               ? 0
                               : messages.size() - options.expandedNewest;
    for (const MessageSummary& summary : messages) {
        auto card = MessageCard::create(summary, {options.dark});
        card->scrollTarget = verticalAdjustment();
        card->setZoomLevel(zoom_);
        card->processAnchor = [this] { return processAnchor(); };
        card->settled = [this](MessageCard& settledCard) { cardLoaded(settledCard); };
        // A choice made on one message applies to the others it covers at once.
        card->rememberedChoicesChanged = [this](MessageCard& changed) {
            for (auto& other : cards_)
                if (other.get() != &changed) other->followRememberedChoices();
        };
        card->bodyViewWanted = [this](const MessageCard& asking) { return isNearScreen(asking); };
        card->bodyHeightChanging = [this](MessageCard& changing, int delta) { keepScreenAbove(changing, delta); };
        gtk_box_append(GTK_BOX(cardsBox_), card->widget());
        // The expanded messages are read while the other cards are built.
        // One that could not even be listed settles at once, so it waits
        // until every card is there.
        bool expanded = cards_.size() >= firstExpanded;
        card->setExpanded(expanded);
        if (expanded && summary.error.empty()) card->readContent(*readQueue_);
        cards_.push_back(std::move(card));
    }
    for (size_t i = firstExpanded; i < cards_.size(); ++i)
        if (!cards_[i]->summary().error.empty()) cards_[i]->readContent(*readQueue_);
    for (size_t i = 0; i < firstExpanded; ++i) cards_[i]->readContent(*readQueue_);
    // The first layout need not move the scroll bar, so it is watched for.
    firstLayoutTick_ = gtk_widget_add_tick_callback(
        cardsBox_,
        +[](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
            auto* self = static_cast<ConversationView*>(data);
            if (self->cards_.empty() || !isLaidOut(*self->cards_.front())) return G_SOURCE_CONTINUE;
            self->firstLayoutTick_ = 0;
            self->makeViewsNearScreen();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void ConversationView::setZoomLevel(double level) {
    zoom_ = level;
    for (auto& card : cards_) card->setZoomLevel(level);
}

bool ConversationView::isLoaded() const {
    for (const auto& card : cards_) {
        if (!card->isExpanded() || card->isError() || card->isBodyStopped()) continue;
        if (!card->isContentRead()) return false;
        if (card->awaitsBodyView() ? !isLaidOut(*card) || isNearScreen(*card) : !card->isBodyLoaded()) return false;
    }
    return true;
}

// Within a screen above or below what is shown; in a column not on screen,
// every card, as nothing tells which will be. Before the cards' first
// layout, only the topmost expanded one, which is on screen unless folded
// cards fill the screen above it: its body need not wait for the layout.
bool ConversationView::isNearScreen(const MessageCard& card) const {
    if (!gtk_widget_get_mapped(scroller_)) return true;
    if (!isLaidOut(card)) {
        auto first = std::find_if(cards_.begin(), cards_.end(), [](const auto& c) { return c->isExpanded(); });
        return first != cards_.end() && first->get() == &card;
    }
    graphene_rect_t bounds;
    if (!gtk_widget_compute_bounds(card.widget(), column_, &bounds)) return false;
    GtkAdjustment* adjustment = verticalAdjustment();
    double page = gtk_adjustment_get_page_size(adjustment), top = gtk_adjustment_get_value(adjustment);
    return bounds.origin.y < top + 2 * page && bounds.origin.y + bounds.size.height > top - page;
}

bool ConversationView::isLaidOut(const MessageCard& card) { return gtk_widget_get_height(card.widget()) > 0; }

// A card that settled while the cards above it still had their old heights
// may have seen a neighbour near that the next layout moved away: loading
// is checked again after each layout, not only when a card settles.
void ConversationView::makeViewsNearScreen() {
    for (auto& card : cards_) card->makeBodyViewIfWanted();
    reportIfLoaded();
}

// A body above the screen that takes its height (a view made there, loaded
// in place of its placeholder) would move what the reader is looking at: the
// column scrolls by as much once the layout has made room for it.
void ConversationView::keepScreenAbove(const MessageCard& card, int delta) {
    graphene_rect_t bounds;
    if (!isLaidOut(card) || !gtk_widget_compute_bounds(card.widget(), column_, &bounds)) return;
    if (bounds.origin.y + bounds.size.height <= gtk_adjustment_get_value(verticalAdjustment())) pendingShift_ += delta;
}

// "changed" comes before the column is placed at the value: a shift set
// now never reaches the screen.
void ConversationView::onLaidOut(GtkAdjustment* adjustment, gpointer data) {
    auto* self = static_cast<ConversationView*>(data);
    if (self->pendingShift_)
        gtk_adjustment_set_value(adjustment, gtk_adjustment_get_value(adjustment) + std::exchange(self->pendingShift_, 0));
    onScrolled(adjustment, data);
}

// Layout signals arrive while GTK allocates, where no widget may be added:
// the views are made from an idle pass after it.
void ConversationView::onScrolled(GtkAdjustment*, gpointer data) {
    static_cast<ConversationView*>(data)->passNearScreenWhenIdle();
}

void ConversationView::passNearScreenWhenIdle() {
    if (nearScreenPass_ || cards_.empty()) return;
    nearScreenPass_ = g_idle_add_once(
        +[](gpointer data) {
            auto* self = static_cast<ConversationView*>(data);
            self->nearScreenPass_ = 0;
            self->makeViewsNearScreen();
        },
        this);
}

void ConversationView::cardLoaded(MessageCard& card) {
    if (cardSettled) cardSettled(card);
    if (!reportedFirst_) {
        reportedFirst_ = true;
        if (firstBodyLoaded) firstBodyLoaded();
    }
    reportIfLoaded();
}

void ConversationView::reportIfLoaded() {
    if (reportedAll_ || !isLoaded()) return;
    reportedAll_ = true;
    if (heapToTrim_ && !trimSource_) trimSource_ = g_idle_add_full(G_PRIORITY_LOW, trimHeap, this, nullptr);
    startNextProcessWhenIdle();
    if (loaded) loaded();
}

// glibc keeps the heap a closed conversation freed (its parsed messages,
// cards and views' UI side: about 0.25 MiB a message) for later use, so
// reading a mailbox through would grow the process as if it held them all.
// Given back once the next conversation has loaded and the loop is idle
// (1.7 ms at the median, 3.6 ms at most over the corpus).
gboolean ConversationView::trimHeap(gpointer data) {
    auto* self = static_cast<ConversationView*>(data);
    self->trimSource_ = 0;
    self->heapToTrim_ = false;
    malloc_trim(0);
    return G_SOURCE_REMOVE;
}

void ConversationView::scrollToWidget(GtkWidget* widget, double below) {
    graphene_point_t origin = GRAPHENE_POINT_INIT(0, float(below));
    graphene_point_t top;
    if (!gtk_widget_compute_point(widget, column_, &origin, &top)) return;
    gtk_adjustment_set_value(verticalAdjustment(), top.y);
}

}  // namespace zvwk::viewer
