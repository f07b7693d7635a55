#include "ConversationFind.h"

#include "ConversationView.h"
#include "MessageCard.h"

#include <zv/find/FindOptions.h>
#include <zv/find/TextMatchCount.h>

namespace zvwk::viewer {

namespace {

// One card as the find controller sees it. The card may go when another
// conversation is shown; the item then has no view and no matches.
class MessageFindItem : public zv::ZVWKConversationMessageItem {
public:
    MessageFindItem(const std::shared_ptr<MessageCard>& card, std::string key) : card_(card), key_(std::move(key)) {}

    std::optional<std::string> scriptIdentifier() const override { return key_; }

    std::shared_ptr<zv::ZVWebView> webView() const override {
        auto card = card_.lock();
        return card && card->isBodyLoaded() ? card->bodyView() : nullptr;
    }

    int64_t findCountForStrings(const std::vector<std::string>& strings) const override {
        auto card = card_.lock();
        if (!card || card->isError() || !card->isContentRead()) return 0;
        if (text_html_ != card->preparedHTML()) {
            text_html_ = card->preparedHTML();
            text_ = zv::searchableTextOfHTML(text_html_);
        }
        int64_t options = zv::storedSearchOptions(zv::ZVSearchStyleKey);
        return zv::countMatchesInText(text_, strings, options);
    }

    std::shared_ptr<MessageCard> card() const { return card_.lock(); }

private:
    std::weak_ptr<MessageCard> card_;
    std::string key_;
    // The searchable text of the document last counted.
    mutable std::string text_html_;
    mutable std::string text_;
};

std::shared_ptr<MessageCard> cardOf(const zv::ZVWKConversationMessageItemRef& item) {
    auto* messageItem = dynamic_cast<MessageFindItem*>(item.get());
    return messageItem ? messageItem->card() : nullptr;
}

}  // namespace

std::shared_ptr<ConversationFind> ConversationFind::create(ConversationView& conversation) {
    std::shared_ptr<ConversationFind> find(new ConversationFind(conversation));
    find->makeDelegate();
    find->controller_ = zv::ZVWebViewFindController::create(find->thread_, find->delegate_);
    gtk_widget_set_visible(find->bar(), FALSE);
    find->conversationChanged();
    return find;
}

ConversationFind::ConversationFind(ConversationView& conversation) : conversation_(conversation) {}

ConversationFind::~ConversationFind() = default;

void ConversationFind::makeDelegate() {
    delegate_ = std::make_shared<zv::ZVWebviewFindDelegate>();
    std::weak_ptr<ConversationFind> weak = weak_from_this();
    delegate_->loadWebViewIfNeededForItem = [weak](const zv::ZVWKConversationMessageItemRef& item,
                                                   std::function<void(std::shared_ptr<zv::ZVWebView>)> completion) {
        auto self = weak.lock();
        auto card = cardOf(item);
        if (!self || !card || card->isError() || card->isBodyStopped()) {
            completion(nullptr);
            return;
        }
        if (card->isBodyLoaded()) {
            completion(card->bodyView());
            return;
        }
        self->waiting_[card.get()] = std::move(completion);
        card->makeBodyViewAnyway();
    };
    delegate_->foundResultInMessageItem = [weak](zv::ZVWebViewFindController&,
                                                 const zv::ZVWKConversationMessageItemRef& item, zv::Point offset,
                                                 bool) {
        if (auto self = weak.lock()) self->scrollToMatch(item, offset);
    };
    delegate_->shouldHideFindView = [weak](zv::ZVWebViewFindController&) {
        if (auto self = weak.lock()) self->close();
    };
}

void ConversationFind::open(std::optional<std::string> text) {
    gtk_widget_set_visible(bar(), TRUE);
    controller_->focusFindFieldWithValue(std::move(text));
}

void ConversationFind::close() {
    controller_->removeAllHighlights();
    gtk_widget_set_visible(bar(), FALSE);
}

bool ConversationFind::isOpen() const { return gtk_widget_get_visible(bar()); }

void ConversationFind::conversationChanged() {
    waiting_.clear();
    thread_->items.clear();
    const auto& cards = conversation_.cards();
    for (size_t i = 0; i < cards.size(); ++i) {
        const std::string& id = cards[i]->summary().messageId;
        thread_->items.push_back(std::make_shared<MessageFindItem>(cards[i], id.empty() ? "message-" + std::to_string(i) : id));
    }
    controller_->updateVisibleConversationMessageItems();
}

void ConversationFind::cardSettled(MessageCard& card) {
    auto it = waiting_.find(&card);
    if (it == waiting_.end()) return;
    auto completion = std::move(it->second);
    waiting_.erase(it);
    completion(card.isBodyLoaded() ? card.bodyView() : nullptr);
}

// `offset` is the match's top below the page's visible top. A page taller
// than its view can be scrolls inside it, and first brings the match into
// the view; then the column scrolls to put it a little below the top.
void ConversationFind::scrollToMatch(const zv::ZVWKConversationMessageItemRef& item, zv::Point offset) {
    auto card = cardOf(item);
    if (!card || !card->bodyView()) return;
    card->revealInPage(offset.y, [weak = weak_from_this(), weakCard = std::weak_ptr(card)](double shown) {
        auto self = weak.lock();
        auto card = weakCard.lock();
        if (!self || !card || !card->bodyView()) return;
        self->conversation_.scrollToWidget(GTK_WIDGET(card->bodyView()->webView()), shown - 80);
    });
}

}  // namespace zvwk::viewer
