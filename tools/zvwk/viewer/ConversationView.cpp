#include "ConversationView.h"

#include "ViewerResources.h"

#include <zv/foundation/OperationQueue.h>

namespace zvwk::viewer {

ConversationView::ConversationView() : readQueue_(zv::OperationQueue::create()) {
    readQueue_->setMaxConcurrentOperationCount(2);
    readQueue_->start();
    registerViewerResources();
    g_autoptr(GtkBuilder) builder = gtk_builder_new_from_resource("/org/zvwebkit/zvwk/viewer/ConversationView.ui");
    scroller_ = GTK_WIDGET(g_object_ref(gtk_builder_get_object(builder, "scroller")));
    column_ = GTK_WIDGET(gtk_builder_get_object(builder, "column"));
    title_ = GTK_WIDGET(gtk_builder_get_object(builder, "title"));
    cardsBox_ = GTK_WIDGET(gtk_builder_get_object(builder, "cards"));
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
        card->rememberedChoicesChanged = nullptr;
        card->bodyViewMade = nullptr;
        card->processAnchor = nullptr;
        gtk_box_remove(GTK_BOX(cardsBox_), card->widget());
    }
    cards_.clear();
    anchor_.reset();
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
        card->setZoomLevel(zoom_);
        card->processAnchor = [this]() -> WebKitWebView* {
            return options_.shareWebProcess ? anchor_.get() : nullptr;
        };
        card->settled = [this](MessageCard& settledCard) { cardLoaded(settledCard); };
        // A choice made on one message applies to the others it covers at once.
        card->rememberedChoicesChanged = [this](MessageCard& changed) {
            for (auto& other : cards_)
                if (other.get() != &changed) other->followRememberedChoices();
        };
        card->bodyViewMade = [this](MessageCard& made) {
            if (!anchor_) anchor_ = zv::GObjectRef<WebKitWebView>::ref(made.bodyView()->webView());
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

void ConversationView::setZoomLevel(double level) {
    zoom_ = level;
    for (auto& card : cards_) card->setZoomLevel(level);
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
