#include "MessageCard.h"

#include "AttachmentChip.h"
#include "AttachmentFiles.h"
#include "BodyStoppedBox.h"
#include "DateText.h"
#include "MessageBodyView.h"
#include "MessageErrorBox.h"
#include "MessageHeader.h"
#include "MessagePrinting.h"
#include "RemoteContentBar.h"
#include "SymbolIcon.h"

#include <zv/foundation/MainThread.h>
#include <zv/foundation/OperationQueue.h>
#include <zv/webview/ScriptEvaluation.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace zvwk::viewer {

namespace {

constexpr int kLoadingHeight = 48;
// Where a body will be, until its page reports its height: about a screen of
// text, so that a conversation of them scrolls much as it will once shown,
// and views made near the screen do not pull more cards near.
constexpr int kPlaceholderHeight = 320;
// A body view draws through a backing store of its own size: taller than a
// cairo surface can be (32767 device pixels) it draws nothing, and GTK's GL
// renderer aborts on the texture it cannot make. Past this height (also what
// GL drivers commonly take as a texture) the page scrolls inside its view.
constexpr int kTallestBodyInDevicePixels = 16384;

std::string initials(const std::string& name) {
    std::string out;
    bool atWordStart = true;
    for (size_t i = 0; i < name.size() && out.size() < 8; ++i) {
        unsigned char c = name[i];
        if (c == ' ' || c == '.' || c == '"' || c == '\'') {
            atWordStart = true;
            continue;
        }
        if (atWordStart && std::isalnum(c)) out += char(std::toupper(c));
        atWordStart = false;
        if (out.size() == 2) break;
    }
    return out.empty() ? "?" : out;
}

std::string formatSize(std::size_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " B";
    if (bytes < 1024 * 1024) return std::to_string((bytes + 512) / 1024) + " KB";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", double(bytes) / (1024.0 * 1024.0));
    return text;
}

const char* symbolColour(bool dark) { return dark ? "#deddda" : "#3d3846"; }

using Scope = zv::RemoteContentChoices::Scope;

std::string lowerCase(const std::string& text) {
    g_autofree char* lower = g_ascii_strdown(text.c_str(), -1);
    return lower;
}

// The part after the address's last "@"; "" without one.
std::string domainOf(const std::string& address) {
    std::size_t at = address.rfind('@');
    return at == std::string::npos ? "" : lowerCase(address.substr(at + 1));
}

// Which remembered choice shows a sender's remote content: the address's own
// when there is one, else its domain's.
std::optional<Scope> rememberedScope(zv::RemoteContentChoices& choices, const std::string& address) {
    if (address.empty() || !choices.allowsRemoteContent(address)) return std::nullopt;
    zv::RemoteContentChoices::Choice own{Scope::Sender, lowerCase(address)};
    for (const auto& choice : choices.choices())
        if (choice == own) return Scope::Sender;
    return Scope::Domain;
}

const char* stopReason(WebKitWebProcessTerminationReason reason) {
    switch (reason) {
    case WEBKIT_WEB_PROCESS_CRASHED: return "The process that draws messages stopped unexpectedly.";
    case WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT: return "The process that draws messages ran out of memory.";
    case WEBKIT_WEB_PROCESS_TERMINATED_BY_API: break;
    }
    return "The process that draws messages was stopped.";
}

}  // namespace

std::shared_ptr<MessageCard> MessageCard::create(const MessageSummary& summary, const CardStyle& style) {
    std::shared_ptr<MessageCard> card(new MessageCard(summary, style));
    card->build();
    return card;
}

MessageCard::MessageCard(const MessageSummary& summary, const CardStyle& style) : summary_(summary), style_(style) {
    preview_ = isError() ? errorText() : "…";
}

void MessageCard::readContent(zv::OperationQueue& queue) {
    if (!summary_.error.empty()) {
        contentReady({});
        return;
    }
    std::weak_ptr<MessageCard> weak = weak_from_this();
    queue.addOperation([weak, location = summary_.location, sender = summary_.fromAddress, dark = style_.dark] {
        ReadContent read;
        read.content = readMessageContent(location);
        if (read.content.error.empty()) {
            // A remembered choice applies to the first form, so the body loads once.
            read.remembered = rememberedScope(*zv::RemoteContentChoices::shared(), sender);
            read.body = MessageBody(read.content);
            read.prepared = read.body.prepare({.allowRemoteContent = read.remembered.has_value(), .dark = dark});
            read.preview = previewOfContent(read.content, 160);
        }
        zv::dispatchMainAsync([weak, read = std::move(read)]() mutable {
            if (auto self = weak.lock()) self->contentReady(std::move(read));
        });
    });
}

void MessageCard::contentReady(ReadContent read) {
    content_ = std::move(read.content);
    body_ = std::move(read.body);
    preparedHTML_ = std::move(read.prepared.html);
    remoteReferences_ = read.prepared.remoteReferences;
    trackers_ = read.prepared.trackers;
    remembered_ = read.remembered;
    allowRemote_ = preparedRemote_ = remembered_.has_value();
    contentRead_ = true;
    preview_ = isError() ? errorText() : std::move(read.preview);
    gtk_label_set_text(GTK_LABEL(previewLabel_), preview_.c_str());
    if (isError()) {
        // A damaged message always shows why, folded or not.
        expanded_ = true;
        gtk_widget_add_css_class(root_, "error");
        gtk_box_append(GTK_BOX(bodyBox_), buildError());
    } else if (!content_.attachments.empty()) {
        gtk_box_append(GTK_BOX(bodyBox_), buildAttachments());
    }
    updateExpansion();
    if (isError() && settled) settled(*this);
}

MessageCard::~MessageCard() {
    if (view_) {
        g_signal_handlers_disconnect_by_data(view_->webView(), this);
        g_signal_handlers_disconnect_by_data(view_->userContentManager(), this);
        webkit_web_view_stop_loading(view_->webView());
    }
    if (root_) g_object_unref(root_);
}

std::string MessageCard::errorText() const { return summary_.error.empty() ? content_.error : summary_.error; }

void MessageCard::build() {
    root_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    g_object_ref_sink(root_);
    gtk_widget_add_css_class(root_, "message-card");
    // The body's page keeps within the card's rounded corners.
    gtk_widget_set_overflow(root_, GTK_OVERFLOW_HIDDEN);
    gtk_box_append(GTK_BOX(root_), buildHeader());
    bodyBox_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(root_), bodyBox_);
    updateExpansion();
}

GtkWidget* MessageCard::buildHeader() {
    std::string sender = summary_.fromName.empty() ? "(no sender)" : summary_.fromName;
    std::string detail = summary_.fromAddress.empty() || summary_.fromAddress == sender ? "" : summary_.fromAddress;
    if (!summary_.to.empty()) detail += (detail.empty() ? "to " : "  ·  to ") + summary_.to;
    if (!summary_.cc.empty()) detail += "  ·  cc " + summary_.cc;
    GtkWidget* widget = zvwk_message_header_new(sender.c_str(), initials(sender).c_str(),
                                                std::hash<std::string>()(sender) % 6, detail.c_str(), preview_.c_str(),
                                                longDateText(summary_.date).c_str(), summary_.error.empty(), style_.dark);
    auto* header = ZVWK_MESSAGE_HEADER(widget);
    detailLabel_ = zvwk_message_header_get_detail(header);
    previewLabel_ = zvwk_message_header_get_preview(header);
    plainTextButton_ = zvwk_message_header_get_plain_text_button(header);
    if (plainTextButton_)
        g_signal_connect(plainTextButton_, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer self) {
                             static_cast<MessageCard*>(self)->setShowsPlainText(gtk_toggle_button_get_active(button));
                         }),
                         this);
    if (GtkWidget* print = zvwk_message_header_get_print_button(header)) {
        printButton_ = print;
        g_signal_connect(print, "clicked", G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<MessageCard*>(self)->print(); }),
                         this);
    }
    originalColoursButton_ = zvwk_message_header_get_original_colours_button(header);
    if (originalColoursButton_)
        g_signal_connect(originalColoursButton_, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer self) {
                             static_cast<MessageCard*>(self)->setShowsOriginalColours(gtk_toggle_button_get_active(button));
                         }),
                         this);
    g_signal_connect(widget, "activated", G_CALLBACK(+[](GtkWidget*, gpointer self) {
                         auto* card = static_cast<MessageCard*>(self);
                         card->setExpanded(!card->isExpanded());
                     }),
                     this);
    return widget;
}

GtkWidget* MessageCard::buildRemoteBar() {
    std::string domain = domainOf(summary_.fromAddress);
    GtkWidget* bar = zvwk_remote_content_bar_new(style_.dark, domain.empty() ? nullptr : summary_.fromAddress.c_str(),
                                                 domain.c_str());
    g_signal_connect(bar, "show-remote-content",
                     G_CALLBACK(+[](GtkWidget*, gpointer self) { static_cast<MessageCard*>(self)->showRemoteContent(); }),
                     this);
    g_signal_connect(bar, "always-show", G_CALLBACK(+[](GtkWidget*, gboolean wholeDomain, gpointer self) {
                         static_cast<MessageCard*>(self)->alwaysShowRemoteContent(wholeDomain ? Scope::Domain : Scope::Sender);
                     }),
                     this);
    g_signal_connect(bar, "forget", G_CALLBACK(+[](GtkWidget*, gpointer self) {
                         static_cast<MessageCard*>(self)->forgetRemoteContentChoice();
                     }),
                     this);
    return bar;
}

GtkWidget* MessageCard::buildAttachments() {
    GtkWidget* flow = gtk_flow_box_new();
    gtk_widget_add_css_class(flow, "attachments");
    gtk_flow_box_set_selection_mode(GTK_FLOW_BOX(flow), GTK_SELECTION_NONE);
    gtk_flow_box_set_max_children_per_line(GTK_FLOW_BOX(flow), 4);
    for (std::size_t i = 0; i < content_.attachments.size(); ++i) {
        const Attachment& attachment = content_.attachments[i];
        const char* symbol = g_str_has_prefix(attachment.mimeType.c_str(), "image/") ? "photo"
                             : attachment.mimeType == "message/rfc822"                ? "envelope"
                                                                                      : "doc.text";
        std::string detail = attachment.mimeType + (attachment.size ? ", " + formatSize(attachment.size) : "");
        GtkWidget* chip = zvwk_attachment_chip_new(attachment.filename.c_str(), detail.c_str(), symbol,
                                                   symbolColour(style_.dark));
        g_object_set_data(G_OBJECT(chip), "zvwk-attachment", GSIZE_TO_POINTER(i));
        g_signal_connect(chip, "open", G_CALLBACK(+[](GtkWidget* chip, gpointer self) {
                             openAttachment(static_cast<MessageCard*>(self)->attachmentOf(chip), GTK_WINDOW(gtk_widget_get_root(chip)));
                         }),
                         this);
        g_signal_connect(chip, "save", G_CALLBACK(+[](GtkWidget* chip, gpointer self) {
                             saveAttachment(static_cast<MessageCard*>(self)->attachmentOf(chip), GTK_WINDOW(gtk_widget_get_root(chip)));
                         }),
                         this);
        gtk_flow_box_append(GTK_FLOW_BOX(flow), chip);
    }
    return flow;
}

const Attachment& MessageCard::attachmentOf(GtkWidget* chip) const {
    return content_.attachments[GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(chip), "zvwk-attachment"))];
}

GtkWidget* MessageCard::buildError() {
    return zvwk_message_error_box_new((errorText() + "\n" + summary_.location.path).c_str(), style_.dark);
}

void MessageCard::setExpanded(bool expanded) {
    if (expanded_ == expanded) return;
    expanded_ = expanded;
    updateExpansion();
}

void MessageCard::updateExpansion() {
    gtk_widget_set_visible(bodyBox_, expanded_);
    gtk_widget_set_visible(detailLabel_, expanded_);
    gtk_widget_set_visible(previewLabel_, !expanded_);
    updateBodyButtons();
    if (expanded_) gtk_widget_remove_css_class(root_, "collapsed");
    else gtk_widget_add_css_class(root_, "collapsed");
    // Held while the message is read and its view loads too: cards laid out
    // without their bodies' room would all look near the screen.
    showPlaceholder(expanded_ && !isError() && !heightKnown_);
    makeBodyViewIfWanted();
}

void MessageCard::makeBodyViewIfWanted() {
    if (!awaitsBodyView()) return;
    if (viewDemanded_ || !bodyViewWanted || bodyViewWanted(*this)) makeBodyView();
}

void MessageCard::makeBodyViewAnyway() {
    viewDemanded_ = true;
    setExpanded(true);
    makeBodyViewIfWanted();
}

void MessageCard::showPlaceholder(bool shown) {
    if (shown == (placeholder_ != nullptr)) return;
    if (!shown) {
        gtk_box_remove(GTK_BOX(bodyBox_), placeholder_);
        placeholder_ = nullptr;
        return;
    }
    placeholder_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_size_request(placeholder_, -1, kPlaceholderHeight);
    gtk_box_insert_child_after(GTK_BOX(bodyBox_), placeholder_, remoteBar_);
}

void MessageCard::updateBodyButtons() {
    if (plainTextButton_) gtk_widget_set_visible(plainTextButton_, expanded_ && !isError() && !stoppedBox_);
    if (printButton_) gtk_widget_set_visible(printButton_, expanded_ && !isError() && !stoppedBox_);
    // Colours are the HTML body's; a text body follows the desktop anyway.
    if (originalColoursButton_)
        gtk_widget_set_visible(originalColoursButton_,
                               expanded_ && contentRead_ && !isError() && !stoppedBox_ && content_.html && !asPlainText_);
}

void MessageCard::makeBodyView() {
    std::optional<WebKitWebView*> anchor = processAnchor ? processAnchor() : nullptr;
    if (!anchor) return;
    MessageBodyView body = makeMessageBodyView(content_, *anchor, G_CALLBACK(onHeightMessage), this);
    view_ = std::move(body.view);
    handler_ = std::move(body.handler);

    WebKitWebView* webView = view_->webView();
    g_signal_connect(webView, "load-changed", G_CALLBACK(onLoadChanged), this);
    g_signal_connect(webView, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), this);
    GtkEventController* scroll = gtk_event_controller_scroll_new(GTK_EVENT_CONTROLLER_SCROLL_VERTICAL);
    gtk_event_controller_set_propagation_phase(scroll, GTK_PHASE_CAPTURE);
    g_signal_connect(scroll, "scroll", G_CALLBACK(onScroll), this);
    gtk_widget_add_controller(GTK_WIDGET(webView), scroll);

    webkit_web_view_set_zoom_level(webView, zoom_);
    gtk_widget_set_hexpand(GTK_WIDGET(webView), TRUE);
    gtk_widget_set_size_request(GTK_WIDGET(webView), -1, kLoadingHeight);
    // The view takes its loading height out of the placeholder's room.
    if (placeholder_) gtk_widget_set_size_request(placeholder_, -1, kPlaceholderHeight - kLoadingHeight);
    gtk_widget_add_css_class(GTK_WIDGET(webView), "message-body");
    gtk_box_insert_child_after(GTK_BOX(bodyBox_), GTK_WIDGET(webView), remoteBar_);
    loadBody();
}

void MessageCard::loadBody() {
    if (!view_) return;
    // readContent prepared the first form; the toggles ask for others.
    if (preparedRemote_ != allowRemote_ || preparedAsText_ != asPlainText_ || preparedOriginal_ != originalColours_) {
        PreparedBody body = body_.prepare({.allowRemoteContent = allowRemote_, .asPlainText = asPlainText_,
                                           .dark = style_.dark, .originalColours = originalColours_});
        preparedHTML_ = std::move(body.html);
        if (!asPlainText_) {
            remoteReferences_ = body.remoteReferences;
            trackers_ = body.trackers;
        }
        preparedRemote_ = allowRemote_;
        preparedAsText_ = asPlainText_;
        preparedOriginal_ = originalColours_;
    }
    updateRemoteBar();
    bodyLoaded_ = false;
    heightKnown_ = false;
    navigationFinished_ = false;
    scrollsInside_ = false;
    webkit_web_view_load_html(view_->webView(), preparedHTML_.c_str(), "about:blank");
}

// Shown, remote content keeps its trackers out; the bar then counts them,
// and names the remembered choice that showed it.
void MessageCard::updateRemoteBar() {
    bool worthSaying = !allowRemote_ || trackers_ > 0 || remembered_;
    bool shown = remoteReferences_ > 0 && worthSaying && !asPlainText_;
    // Made when first needed: most messages never show one.
    if (!remoteBar_ && !shown) return;
    if (!remoteBar_) {
        remoteBar_ = buildRemoteBar();
        gtk_box_prepend(GTK_BOX(bodyBox_), remoteBar_);
    }
    auto* bar = ZVWK_REMOTE_CONTENT_BAR(remoteBar_);
    std::string rememberedFor;
    if (remembered_) rememberedFor = *remembered_ == Scope::Sender ? lowerCase(summary_.fromAddress) : domainOf(summary_.fromAddress);
    if (allowRemote_) zvwk_remote_content_bar_show_shown(bar, guint(trackers_), remembered_ ? rememberedFor.c_str() : nullptr);
    else zvwk_remote_content_bar_show_blocked(bar);
    gtk_widget_set_visible(remoteBar_, shown);
}

void MessageCard::print(GtkPrintSettings* settings, std::function<void()> finished) {
    if (view_) printMessage(view_->webView(), summary_, settings, std::move(finished));
}

void MessageCard::showRemoteContent() {
    if (allowRemote_) return;
    allowRemote_ = true;
    loadBody();
}

void MessageCard::alwaysShowRemoteContent(Scope scope) {
    // Not stored (the library logs why), it still shows this message.
    if (zv::RemoteContentChoices::shared()->alwaysAllow(summary_.fromAddress, scope)) remembered_ = scope;
    if (allowRemote_) updateRemoteBar();
    else showRemoteContent();
    if (remembered_ && rememberedChoicesChanged) rememberedChoicesChanged(*this);
}

void MessageCard::forgetRemoteContentChoice() {
    auto choices = zv::RemoteContentChoices::shared();
    for (Scope scope : {Scope::Sender, Scope::Domain}) choices->forget(summary_.fromAddress, scope);
    remembered_.reset();
    allowRemote_ = false;
    loadBody();
    if (rememberedChoicesChanged) rememberedChoicesChanged(*this);
}

void MessageCard::followRememberedChoices() {
    if (!contentRead_ || isError()) return;
    std::optional<Scope> now = rememberedScope(*zv::RemoteContentChoices::shared(), summary_.fromAddress);
    if (now == remembered_) return;
    // Shown by the reader's own click, a message stays shown when a choice goes.
    bool shownByChoice = remembered_.has_value();
    remembered_ = now;
    if (now && !allowRemote_) showRemoteContent();
    else if (!now && shownByChoice) {
        allowRemote_ = false;
        loadBody();
    } else {
        updateRemoteBar();
    }
}

void MessageCard::setShowsPlainText(bool plainText) {
    if (asPlainText_ == plainText) return;
    asPlainText_ = plainText;
    if (plainTextButton_ && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(plainTextButton_)) != plainText)
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(plainTextButton_), plainText);
    updateBodyButtons();
    loadBody();
}

void MessageCard::setShowsOriginalColours(bool original) {
    if (originalColours_ == original) return;
    originalColours_ = original;
    if (originalColoursButton_ && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(originalColoursButton_)) != original)
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(originalColoursButton_), original);
    loadBody();
}

void MessageCard::setZoomLevel(double level) {
    if (zoom_ == level) return;
    zoom_ = level;
    if (!view_) return;
    webkit_web_view_set_zoom_level(view_->webView(), level);
    // The same CSS height takes more pixels now; a page that lays out again
    // on its narrower CSS width reports its new height itself.
    if (heightKnown_) updateHeightFromPage(pageHeight_);
}

void MessageCard::updateHeightFromPage(int height) {
    if (height <= 0) return;
    int before = 0, held = 0;
    gtk_widget_get_size_request(GTK_WIDGET(view_->webView()), nullptr, &before);
    if (placeholder_) gtk_widget_get_size_request(placeholder_, nullptr, &held);
    before += held;
    showPlaceholder(false);
    pageHeight_ = height;
    // The page measures in CSS pixels, which the zoom makes larger on screen.
    height = int(std::ceil(height * zoom_));
    const int tallest = kTallestBodyInDevicePixels / gtk_widget_get_scale_factor(GTK_WIDGET(view_->webView()));
    if (height > tallest && !scrollsInside_) {
        scrollsInside_ = true;
        zv::evaluateJavaScript(view_->webView(), "document.documentElement.style.overflowY='auto'");
    }
    height = std::min(height, tallest);
    bodyHeight_ = height;
    heightKnown_ = true;
    if (bodyHeightChanging && height != before) bodyHeightChanging(*this, height - before);
    gtk_widget_set_size_request(GTK_WIDGET(view_->webView()), -1, height);
    view_->setContentSize({double(gtk_widget_get_width(GTK_WIDGET(view_->webView()))), double(height)});
    if (navigationFinished_) finishBodyLoad();
}

void MessageCard::revealInPage(double top, std::function<void(double shown)> shown) {
    const double visible = bodyHeight_ / zoom_;
    if (!scrollsInside_ || !view_ || (top >= 0 && top < visible)) return shown(top);
    const std::string script = "(function () { const before = window.scrollY; window.scrollBy(0, " +
                               std::to_string(top - visible / 3) + "); return window.scrollY - before; })()";
    zv::evaluateJavaScript(view_->webView(), script,
                           [top, shown = std::move(shown)](std::optional<zv::Value> moved, std::optional<zv::Error>) {
                               shown(moved && moved->is_number() ? top - moved->get<double>() : top);
                           });
}

void MessageCard::finishBodyLoad() {
    if (bodyLoaded_) return;
    bodyLoaded_ = true;
    if (settled) settled(*this);
}

void MessageCard::onHeightMessage(WebKitUserContentManager*, JSCValue* value, gpointer self) {
    auto* card = static_cast<MessageCard*>(self);
    if (jsc_value_is_number(value)) card->updateHeightFromPage(jsc_value_to_int32(value));
}

void MessageCard::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self) {
    auto* card = static_cast<MessageCard*>(self);
    if (event != WEBKIT_LOAD_FINISHED) return;
    card->navigationFinished_ = true;
    if (card->heightKnown_) card->finishBodyLoad();
}

void MessageCard::onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer self) {
    static_cast<MessageCard*>(self)->bodyStopped(reason);
}

void MessageCard::bodyStopped(WebKitWebProcessTerminationReason reason) {
    if (!view_ || stoppedBox_) return;
    g_signal_handlers_disconnect_by_data(view_->webView(), this);
    g_signal_handlers_disconnect_by_data(view_->userContentManager(), this);
    gtk_box_remove(GTK_BOX(bodyBox_), GTK_WIDGET(view_->webView()));
    view_.reset();
    handler_.reset();
    showPlaceholder(false);
    heightKnown_ = navigationFinished_ = scrollsInside_ = false;
    stoppedBox_ = zvwk_body_stopped_box_new(stopReason(reason), style_.dark);
    g_signal_connect(stoppedBox_, "show-again",
                     G_CALLBACK(+[](GtkWidget*, gpointer self) { static_cast<MessageCard*>(self)->showBodyAgain(); }),
                     this);
    gtk_box_insert_child_after(GTK_BOX(bodyBox_), stoppedBox_, remoteBar_);
    updateBodyButtons();
    // Settled either way: a conversation or a find waiting for this body waits no longer.
    const bool wasLoaded = std::exchange(bodyLoaded_, false);
    if (!wasLoaded && settled) settled(*this);
}

void MessageCard::showBodyAgain() {
    if (!stoppedBox_) return;
    gtk_box_remove(GTK_BOX(bodyBox_), std::exchange(stoppedBox_, nullptr));
    updateExpansion();
    if (expanded_ && !view_) makeBodyView();
}

gboolean MessageCard::onScroll(GtkEventControllerScroll* controller, double, double dy, gpointer self) {
    auto* card = static_cast<MessageCard*>(self);
    GtkAdjustment* target = card->scrollTarget;
    if (!target || card->scrollsInside_) return FALSE;
    double step = dy;
    if (gtk_event_controller_scroll_get_unit(controller) == GDK_SCROLL_UNIT_WHEEL)
        step = dy * std::pow(gtk_adjustment_get_page_size(target), 2.0 / 3.0);
    gtk_adjustment_set_value(target, gtk_adjustment_get_value(target) + step);
    return TRUE;
}

}  // namespace zvwk::viewer
