// One message of a conversation: a card with the message's headers, its
// attachments and its body in a safe ZVWebView of its own.
//
// The body view (MessageBodyView.h) is sized to its content's height, so the
// conversation scrolls as one page (wheel events over a view scroll the
// conversation); a page taller than a view can draw gets the tallest view that
// can be drawn and scrolls inside it, under the wheel too. The view fetches
// nothing from the network: remote references are blocked (see
// MessageDocument.h) until "Show remote content" on the card's bar loads them
// through the "wren-http"/"wren-https" schemes and the URL cache. The bar can
// also remember the choice for the sender or the sender's domain
// (zv::RemoteContentChoices); a message a remembered choice covers is
// prepared with its remote content from the start, so it loads once.
// A collapsed card shows its preview line and makes no view until it is
// expanded. A message that cannot be read shows an error card instead.
//
// The message is read, its body parsed and prepared and its preview made on
// an operation queue (readContent), so a large message never holds up the
// window; the card shows its headers at once and the rest when that is done.
// The toggles re-prepare from that parse (MessageBody) without parsing again.
#pragma once

#include "MailMessage.h"
#include "MessageDocument.h"

#include <zv/reading/RemoteContentChoices.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
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
    // (null: a process of its own; nothing while that process is starting,
    // and the card waits to be asked for its view again); told when the card
    // has settled: its body loaded with its height, or its error shown.
    std::function<std::optional<WebKitWebView*>()> processAnchor;
    std::function<void(MessageCard&)> settled;
    // Told before the body takes its page's height, with the pixels it
    // grows by (less than 0: shrinks by).
    std::function<void(MessageCard&, int)> bodyHeightChanging;
    // Where wheel events over the body go.
    GtkAdjustment* scrollTarget = nullptr;

    bool isError() const { return !content_.error.empty() || !summary_.error.empty(); }
    std::string errorText() const;

    bool isExpanded() const { return expanded_; }
    void setExpanded(bool expanded);

    // The body view; null while collapsed and never expanded, for errors, and
    // while bodyViewWanted keeps it waiting.
    const std::shared_ptr<zv::ZVWebView>& bodyView() const { return view_; }
    // Asked before an expanded card makes its body view; a card told no
    // shows a placeholder until makeBodyViewIfWanted or makeBodyViewAnyway.
    // Without it, the view is made as soon as the message is read.
    std::function<bool(const MessageCard&)> bodyViewWanted;
    // Expanded and read, with no body view yet.
    bool awaitsBodyView() const { return expanded_ && contentRead_ && !isError() && !view_ && !stoppedBox_; }
    void makeBodyViewIfWanted();
    // Expands the card and makes its view whether wanted or not (find
    // searches every message), now or as soon as the message is read.
    void makeBodyViewAnyway();
    zv::ZVWebViewURLSchemeHandler* schemeHandler() const { return handler_.get(); }
    bool isBodyLoaded() const { return bodyLoaded_; }
    // The web process that drew the body ended (a crash, its memory limit):
    // the card says so where the body was, drops the dead view and settles.
    // A new view is made only when asked (its button, or showBodyAgain).
    bool isBodyStopped() const { return stoppedBox_ != nullptr; }
    void showBodyAgain();
    // The document the view shows (or will show when it is made).
    const std::string& preparedHTML() const { return preparedHTML_; }
    int bodyHeight() const { return bodyHeight_; }
    // Hands `shown` where a point `top` CSS pixels below the page's visible
    // top is in the view: there, unless the page scrolls inside a view too
    // short for it and the point is out of sight; then the page is scrolled
    // to bring it a third of the way down, or as near as the page's end
    // allows, and `shown` is called once the page has scrolled.
    void revealInPage(double top, std::function<void(double shown)> shown);

    std::size_t blockedRemoteReferences() const { return allowRemote_ ? 0 : remoteReferences_; }
    // Trackers kept out of the shown remote content.
    std::size_t blockedTrackers() const { return allowRemote_ ? trackers_ : 0; }
    void showRemoteContent();
    // Shows remote content now and for every later message from this sender
    // (or from any address of its domain).
    void alwaysShowRemoteContent(zv::RemoteContentChoices::Scope scope);
    // The remembered choice that shows this message's remote content, if one does.
    const std::optional<zv::RemoteContentChoices::Scope>& rememberedChoice() const { return remembered_; }
    // Forgets the sender's choices of both scopes and blocks remote content again.
    void forgetRemoteContentChoice();
    // Follows the remembered choices as they are now (after another card
    // changed them): shows or blocks remote content accordingly.
    void followRememberedChoices();
    // Told when this card made or forgot a remembered choice.
    std::function<void(MessageCard&)> rememberedChoicesChanged;
    // Prints the message with its header block (MessagePrinting.h); does
    // nothing before the body view is made.
    void print(GtkPrintSettings* settings = nullptr, std::function<void()> finished = {});
    // The body's page zoom (1 = as the message sets it); the view keeps its
    // content's height at every zoom.
    void setZoomLevel(double level);
    bool showsPlainText() const { return asPlainText_; }
    void setShowsPlainText(bool plainText);
    // In the dark style, the HTML body with its sender's colours instead of adapted ones.
    bool showsOriginalColours() const { return originalColours_; }
    void setShowsOriginalColours(bool original);

private:
    MessageCard(const MessageSummary& summary, const CardStyle& style);
    void build();
    // What readContent hands to the main thread.
    struct ReadContent {
        MessageContent content;
        MessageBody body;
        PreparedBody prepared;
        std::string preview;
        std::optional<zv::RemoteContentChoices::Scope> remembered;
    };
    void contentReady(ReadContent read);
    void finishBodyLoad();
    GtkWidget* buildHeader();
    GtkWidget* buildRemoteBar();
    GtkWidget* buildAttachments();
    const Attachment& attachmentOf(GtkWidget* chip) const;
    GtkWidget* buildError();
    void makeBodyView();
    void loadBody();
    void updateHeightFromPage(int height);
    void updateExpansion();
    void updateBodyButtons();
    void updateRemoteBar();
    void showPlaceholder(bool shown);
    void bodyStopped(WebKitWebProcessTerminationReason reason);

    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self);
    static void onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer self);
    static void onHeightMessage(WebKitUserContentManager*, JSCValue* value, gpointer self);
    static gboolean onScroll(GtkEventControllerScroll* controller, double dx, double dy, gpointer self);

    MessageSummary summary_;
    MessageContent content_;
    MessageBody body_;
    std::string preview_;
    std::string preparedHTML_;
    CardStyle style_;
    GtkWidget* root_ = nullptr;  // held by the card (a reference of its own)
    GtkWidget* detailLabel_ = nullptr;
    GtkWidget* previewLabel_ = nullptr;
    GtkWidget* plainTextButton_ = nullptr;
    GtkWidget* printButton_ = nullptr;
    GtkWidget* originalColoursButton_ = nullptr;  // only in the dark style
    GtkWidget* bodyBox_ = nullptr;
    GtkWidget* remoteBar_ = nullptr;  // first in bodyBox_ once made
    GtkWidget* placeholder_ = nullptr;  // stands for a body view not made yet
    GtkWidget* stoppedBox_ = nullptr;  // where the body was, once its process ended
    std::shared_ptr<zv::ZVWebView> view_;
    std::shared_ptr<zv::ZVWebViewURLSchemeHandler> handler_;
    bool expanded_ = false;
    bool viewDemanded_ = false;
    bool allowRemote_ = false;
    std::optional<zv::RemoteContentChoices::Scope> remembered_;
    bool asPlainText_ = false;
    bool originalColours_ = false;
    bool bodyLoaded_ = false;
    bool contentRead_ = false;
    // What preparedHTML_ was prepared with.
    bool preparedRemote_ = false;
    bool preparedAsText_ = false;
    bool preparedOriginal_ = false;
    bool heightKnown_ = false;
    bool navigationFinished_ = false;
    bool scrollsInside_ = false;  // the page is taller than a view can draw
    int bodyHeight_ = 0;
    double zoom_ = 1;
    int pageHeight_ = 0;  // in the page's CSS pixels
    std::size_t remoteReferences_ = 0;
    std::size_t trackers_ = 0;
};

}  // namespace zvwk::viewer
