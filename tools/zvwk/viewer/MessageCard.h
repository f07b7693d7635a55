// One message of a conversation: a card with the message's headers, its
// attachments and its body in a safe ZVWebView of its own.
//
// The body view:
// - runs none of the message's scripts (JavaScript markup off) while the
//   viewer's own user scripts still run; one of them reports the content's
//   height, and the view is sized to it, so the conversation scrolls as one
//   page (wheel events over a view scroll the conversation);
// - navigates nowhere: a clicked link opens in the system's browser;
// - fetches nothing from the network: remote references are blocked (see
//   MessageDocument.h) until "Show images" on the card's bar loads them
//   through the "wren-http"/"wren-https" schemes and the URL cache, all but
//   the trackers, which the bar then counts ("Show everything" lets those
//   through too); the bar can also remember the choice for the sender or
//   its domain (zv::RemoteContentChoices), which later messages from them
//   follow before they load;
// - asks before opening a link the reading library judges deceptive
//   (zv::linkWarning), showing what the link says and where it goes;
// - shows "cid:" parts from the message through its scheme handler's
//   message resources.
// A collapsed card shows its preview line and makes no view until it is
// expanded. A message that cannot be read shows an error card instead.
//
// The message is read and its body prepared on an operation queue
// (readContent), so a large message never holds up the window; the card
// shows its headers at once and the rest when that is done.
#pragma once

#include "MailMessage.h"
#include "MessageDocument.h"

#include <zv/scheme/ZVWebViewURLSchemeHandler.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>

namespace zv {
class OperationQueue;
}

namespace zvwk::viewer {

struct CardStyle {
    bool dark = false;
};

class MessageCard : public std::enable_shared_from_this<MessageCard> {
public:
    // The card starts collapsed and unread: set the members below, then
    // readContent and expand it.
    static std::shared_ptr<MessageCard> create(const MessageSummary& summary, const CardStyle& style);
    // Reads and prepares the message on `queue`; the card fills in on the
    // main thread afterwards.
    void readContent(zv::OperationQueue& queue);
    bool isContentRead() const { return contentRead_; }
    ~MessageCard();
    MessageCard(const MessageCard&) = delete;
    MessageCard& operator=(const MessageCard&) = delete;

    GtkWidget* widget() const { return root_; }
    const MessageSummary& summary() const { return summary_; }
    const MessageContent& content() const { return content_; }

    // Asked for the view whose web process a new body view should share
    // (none: a process of its own); told when the card made its view, and
    // when it has settled: its body loaded with its height, or its error shown.
    std::function<WebKitWebView*()> processAnchor;
    std::function<void(MessageCard&)> bodyViewMade;
    std::function<void(MessageCard&)> settled;
    // Where wheel events over the body go.
    GtkAdjustment* scrollTarget = nullptr;

    bool isError() const { return !content_.error.empty() || !summary_.error.empty(); }
    std::string errorText() const;

    bool isExpanded() const { return expanded_; }
    void setExpanded(bool expanded);

    // The body view; null while collapsed and never expanded, and for errors.
    const std::shared_ptr<zv::ZVWebView>& bodyView() const { return view_; }
    zv::ZVWebViewURLSchemeHandler* schemeHandler() const { return handler_.get(); }
    bool isBodyLoaded() const { return bodyLoaded_; }
    // The document the view shows (or will show when it is made).
    const std::string& preparedHTML() const { return preparedHTML_; }
    int bodyHeight() const { return bodyHeight_; }

    // Remote content: blocked, shown without trackers, or all shown.
    enum class Remote { Blocked, WithoutTrackers, All };
    Remote remoteContent() const { return remote_; }
    std::size_t blockedRemoteReferences() const { return remote_ == Remote::Blocked ? remoteReferences_ : 0; }
    std::size_t blockedTrackers() const { return remote_ == Remote::WithoutTrackers ? trackers_ : 0; }
    // Shows remote content without trackers; showAllRemoteContent adds those.
    void showRemoteContent();
    void showAllRemoteContent();
    // Shows remote content without trackers, now and for every later message
    // from this sender (or this sender's domain).
    void alwaysShowRemoteContent(bool wholeDomain);
    // Clicks the message's `index`th link (from 0), as the reader would.
    bool followLink(std::size_t index);
    bool showsPlainText() const { return asPlainText_; }
    void setShowsPlainText(bool plainText);

private:
    MessageCard(const MessageSummary& summary, const CardStyle& style);
    void build();
    void contentReady(MessageContent content, PreparedBody body);
    void finishBodyLoad();
    GtkWidget* buildHeader();
    GtkWidget* buildRemoteBar();
    void updateRemoteBar();
    void setRemoteContent(Remote remote);
    void openLink(const std::string& uri);
    GtkWidget* buildAttachments();
    GtkWidget* buildError();
    void makeBodyView();
    void loadBody();
    void updateHeightFromPage(int height);
    void updateExpansion();

    static void onMouseTargetChanged(WebKitWebView*, WebKitHitTestResult* hit, guint, gpointer self);
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self);
    static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                                   gpointer self);
    static void onHeightMessage(WebKitUserContentManager*, JSCValue* value, gpointer self);
    static gboolean onScroll(GtkEventControllerScroll* controller, double dx, double dy, gpointer self);

    MessageSummary summary_;
    MessageContent content_;
    std::string preview_;
    std::string preparedHTML_;
    CardStyle style_;
    GtkWidget* root_ = nullptr;  // held by the card (a reference of its own)
    GtkWidget* detailLabel_ = nullptr;
    GtkWidget* previewLabel_ = nullptr;
    GtkWidget* plainTextButton_ = nullptr;
    GtkWidget* bodyBox_ = nullptr;
    GtkWidget* remoteBar_ = nullptr;
    GtkWidget* remoteLabel_ = nullptr;
    GtkWidget* showImagesButton_ = nullptr;
    GtkWidget* alwaysButton_ = nullptr;
    GtkWidget* showAllButton_ = nullptr;
    std::string hoveredLinkURI_;  // the link under the pointer and its text, for judging a click
    std::string hoveredLinkText_;
    std::shared_ptr<zv::ZVWebView> view_;
    std::shared_ptr<zv::ZVWebViewURLSchemeHandler> handler_;
    bool expanded_ = false;
    Remote remote_ = Remote::Blocked;
    bool asPlainText_ = false;
    bool bodyLoaded_ = false;
    bool contentRead_ = false;
    // What preparedHTML_ was prepared with.
    Remote preparedRemote_ = Remote::Blocked;
    bool preparedAsText_ = false;
    bool heightKnown_ = false;
    bool navigationFinished_ = false;
    int bodyHeight_ = 0;
    std::size_t remoteReferences_ = 0;
    std::size_t trackers_ = 0;
};

}  // namespace zvwk::viewer
