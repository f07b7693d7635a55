// The viewer's window: the message list on the left (conversations, newest
// first, with a progress bar while the mailbox is read and previews are
// computed), the selected conversation on the right.
//
// Extensions plug in at one place each: a bar above the conversation
// (setTopBar, used by find) and the window actions the header bar's menu and
// the keyboard shortcuts trigger (addAction).
#pragma once

#include "ConversationView.h"
#include "Conversations.h"
#include "MailboxLoader.h"
#include "MessageList.h"
#include "PreviewScheduler.h"

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zvwk::viewer {

struct ViewerOptions {
    std::vector<std::string> paths;
    // The list row selected once it is there (0 = the first); none selects
    // the first row.
    std::optional<std::size_t> select;
    ConversationOptions conversation;
};

class ViewerWindow {
public:
    ViewerWindow(GtkApplication* application, ViewerOptions options);
    ~ViewerWindow();
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    GtkWindow* window() const { return window_; }
    MessageList& messageList() { return *list_; }
    ConversationView& conversationView() { return *conversation_; }

    const std::vector<MessageSummary>& messages() const { return messages_; }
    const std::vector<Conversation>& conversations() const { return grouper_.conversations(); }
    std::size_t previewsDone() const { return previewsDone_; }
    // The list's preview line of a message; empty until computed.
    const std::string& preview(std::size_t message) const { return previews_[message]; }
    bool isMailboxRead() const { return mailboxRead_; }
    bool arePreviewsDone() const { return mailboxRead_ && previewsDone_ == messages_.size(); }
    // Operands that could not be read, as "PATH: reason".
    const std::vector<std::string>& mailboxErrors() const { return mailboxErrors_; }

    void showConversation(std::size_t row);
    std::optional<std::size_t> shownConversation() const { return shown_; }
    // Shows the style the desktop prefers; redraws the open conversation.
    void setDark(bool dark);

    void setTopBar(GtkWidget* bar);
    void addAction(const char* name, std::function<void()> activate, const char* accelerator = nullptr);
    // A menu entry in the header bar's menu for the window action `name`.
    void addMenuItem(const char* label, const char* action);

    // Hooks for whoever waits on the window (screenshots, benchmarks).
    std::function<void()> mailboxReadHook;
    std::function<void()> previewsDoneHook;
    // Run after a conversation has been put on screen (its cards made).
    std::function<void()> conversationShownHook;

private:
    void buildChrome();
    void addBatch(std::size_t first, std::vector<MessageSummary> batch);
    void previewReady(std::size_t message, std::string preview);
    void updateStatus();
    ConversationRow rowData(std::size_t row) const;

    GtkApplication* application_;
    ViewerOptions options_;
    GtkWindow* window_ = nullptr;
    GtkWidget* statusLabel_ = nullptr;
    GtkWidget* progress_ = nullptr;
    GtkWidget* contentStack_ = nullptr;
    GtkWidget* topBarSlot_ = nullptr;
    GMenu* menu_ = nullptr;
    std::unique_ptr<MessageList> list_;
    std::unique_ptr<ConversationView> conversation_;
    std::shared_ptr<MailboxLoader> loader_;
    std::shared_ptr<PreviewScheduler> previewer_;

    std::vector<MessageSummary> messages_;
    std::vector<std::string> previews_;
    std::vector<std::size_t> conversationOfMessage_;
    std::vector<std::string> mailboxErrors_;
    ConversationGrouper grouper_;
    std::size_t expected_ = 0;
    std::size_t previewsDone_ = 0;
    gint64 statusShownAt_ = 0;  // when a finished preview last updated the status
    bool mailboxRead_ = false;
    std::optional<std::size_t> shown_;
    bool selectPending_ = false;
    guint selectSource_ = 0;
    guint startSource_ = 0;  // starts the message views' web process
    bool webProcessStarting_ = false;
    std::int64_t now_ = 0;
};

}  // namespace zvwk::viewer
