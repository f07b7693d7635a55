#include "ConversationView.h"

#include <zv/foundation/OperationQueue.h>

namespace zvwk::viewer {


ConversationView::ConversationView() : readQueue_(zv::OperationQueue::create()) {
    readQueue_->setMaxConcurrentOperationCount(2);
    readQueue_->start();
    scroller_ = gtk_scrolled_window_new();
    g_object_ref_sink(scroller_);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller_), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_widget_set_hexpand(scroller_, TRUE);
    gtk_widget_set_vexpand(scroller_, TRUE);
    column_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_add_css_class(column_, "conversation");
    title_ = gtk_label_new("");
    gtk_widget_add_css_class(title_, "conversation-title");
    gtk_label_set_xalign(GTK_LABEL(title_), 0);
    gtk_label_set_wrap(GTK_LABEL(title_), TRUE);
    gtk_label_set_selectable(GTK_LABEL(title_), TRUE);
    gtk_box_append(GTK_BOX(column_), title_);
    cardsBox_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_box_append(GTK_BOX(column_), cardsBox_);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller_), column_);
    // Starting a web process takes longer than reading and preparing a
    // message: an empty page starts the shared one before a conversation is shown.
    warmView_ = zv::ZVWebView::create();
    webkit_web_view_load_html(warmView_->webView(), "", "about:blank");
}

ConversationView::~ConversationView() {
    clear();
    g_object_unref(scroller_);
}

GtkAdjustment* ConversationView::verticalAdjustment() const {
    return gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller_));
}

void ConversationView::clear() {
    for (auto& card : cards_) {
        card->settled = nullptr;
        card->processAnchor = nullptr;
        card->bodyViewWanted = nullptr;
        card->firstPageFinished = nullptr;
        gtk_box_remove(GTK_BOX(cardsBox_), card->widget());
    }
    cards_.clear();
    waitingForView_.clear();
    loadingFirstPage_.clear();
    firstPageIn_ = false;
    reportedFirst_ = reportedAll_ = false;
}

void ConversationView::show(const std::string& subject, const std::vector<MessageSummary>& messages,
                            const ConversationOptions& options) {
    clear();
    options_ = options;
    gtk_label_set_text(GTK_LABEL(title_), subject.empty() ? "(no subject)" : subject.c_str());
    gtk_adjustment_set_value(verticalAdjustment(), 0);
    for (const MessageSummary& summary : messages) {
        auto card = MessageCard::create(summary, {options.dark});
        card->scrollTarget = verticalAdjustment();
        card->processAnchor = [this]() -> WebKitWebView* {
            return options_.shareWebProcess ? warmView_->webView() : nullptr;
        };
        card->settled = [this](MessageCard& settledCard) { cardLoaded(settledCard); };
        card->bodyViewWanted = [this](MessageCard& waiting) {
            waitingForView_.push_back(waiting.weak_from_this());
            makeWaitingBodyViews();
        };
        card->firstPageFinished = [this](MessageCard& finished) {
            std::erase(loadingFirstPage_, &finished);
            firstPageIn_ = true;
            makeWaitingBodyViews();
        };
        gtk_box_append(GTK_BOX(cardsBox_), card->widget());
        cards_.push_back(std::move(card));
    }
    size_t firstExpanded = options.expandedNewest == 0 || cards_.size() <= options.expandedNewest
                               ? 0
                               : cards_.size() - options.expandedNewest;
    // The messages on screen are read first, then the folded ones.
    for (size_t i = firstExpanded; i < cards_.size(); ++i) {
        cards_[i]->setExpanded(true);
        cards_[i]->readContent(*readQueue_);
    }
    for (size_t i = 0; i < firstExpanded; ++i) cards_[i]->readContent(*readQueue_);
}

void ConversationView::makeWaitingBodyViews() {
    // One at a time only until the first page is in: views made one by one
    // each lay out every view made before them again.
    while ((firstPageIn_ || loadingFirstPage_.empty()) && !waitingForView_.empty()) {
        std::shared_ptr<MessageCard> card = waitingForView_.front().lock();
        waitingForView_.pop_front();
        if (!card) continue;
        loadingFirstPage_.push_back(card.get());
        card->makeBodyView();
    }
}

bool ConversationView::isLoaded() const {
    for (const auto& card : cards_) {
        if (!card->isContentRead() && card->isExpanded()) return false;
        if (card->isExpanded() && !card->isError() && !card->isBodyLoaded()) return false;
    }
    return true;
}

void ConversationView::cardLoaded(MessageCard& card) {
    if (cardSettled) cardSettled(card);
    if (!reportedFirst_) {
        reportedFirst_ = true;
        if (firstBodyLoaded) firstBodyLoaded();
    }
    if (!reportedAll_ && isLoaded()) {
        reportedAll_ = true;
        if (loaded) loaded();
    }
}

void ConversationView::scrollToWidget(GtkWidget* widget, double below) {
    graphene_point_t origin = GRAPHENE_POINT_INIT(0, float(below));
    graphene_point_t top;
    if (!gtk_widget_compute_point(widget, column_, &origin, &top)) return;
    gtk_adjustment_set_value(verticalAdjustment(), top.y);
}

}  // namespace zvwk::viewer
