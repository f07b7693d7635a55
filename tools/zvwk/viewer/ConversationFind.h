// Find across the shown conversation: the viewer is the find controller's
// host. The conversation thread is the conversation's cards in order; each
// card is a message item (its Message-ID, or its place, names it); a card
// whose view is not loaded counts its matches itself, over the document its
// view would show, as the page's search script counts them
// (zv::countMatchesInText); the delegate opens and loads a folded message when a
// step goes into it, and scrolls the column to each match.
#pragma once

#include <zv/find/ZVWKConversation.h>
#include <zv/find/ZVWebViewFindController.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zvwk::viewer {

class ConversationView;
class MessageCard;

class ConversationFind : public std::enable_shared_from_this<ConversationFind> {
public:
    static std::shared_ptr<ConversationFind> create(ConversationView& conversation);
    ~ConversationFind();

    zv::ZVWebViewFindController& controller() const { return *controller_; }
    GtkWidget* bar() const { return controller_->findView(); }

    // Shows the bar and searches `text` (none: the last find string).
    void open(std::optional<std::string> text);
    void close();
    bool isOpen() const;
    // The conversation changed: new items, searched again when the bar is open.
    void conversationChanged();
    // A card's body loaded: hands it to a step that waits for it.
    void cardSettled(MessageCard& card);

private:
    // The conversation as the controller sees it (the controller holds it).
    struct Thread : zv::ZVWKConversationThread {
        std::vector<zv::ZVWKConversationMessageItemRef> items;
        std::vector<zv::ZVWKConversationMessageItemRef> visibleConversationMessageItems() const override {
            return items;
        }
    };

    explicit ConversationFind(ConversationView& conversation);
    void makeDelegate();
    void scrollToMatch(const zv::ZVWKConversationMessageItemRef& item, zv::Point offset);

    ConversationView& conversation_;
    std::shared_ptr<zv::ZVWebviewFindDelegate> delegate_;  // the controller holds it weakly
    std::shared_ptr<zv::ZVWebViewFindController> controller_;
    std::shared_ptr<Thread> thread_ = std::make_shared<Thread>();
    // Steps waiting for a folded message to load, by card.
    std::map<const MessageCard*, std::function<void(std::shared_ptr<zv::ZVWebView>)>> waiting_;
};

}  // namespace zvwk::viewer
