#include "MessageCard.h"

#include "DateText.h"
#include "LinkWarningDialog.h"
#include "SymbolIcon.h"

#include <zv/foundation/MainThread.h>
#include <zv/foundation/OperationQueue.h>
#include <zv/reading/LinkJudgement.h>
#include <zv/reading/RemoteContentChoices.h>

#include <zv/scheme/WebKitSchemeBinding.h>
#include <zv/webview/UserScript.h>

#include <cmath>
#include <vector>

namespace zvwk::viewer {

namespace {

constexpr char kHeightMessage[] = "zvwkContentHeight";
constexpr int kLoadingHeight = 48;

// Reports the height of the page's content whenever it changes (images
// arriving, fonts, a narrower window). The page's own scripts never run, but
// user scripts do.
constexpr char kHeightScript[] = R"JS((function () {
  var last = -1;
  function report() {
    var root = document.documentElement;
    if (!root) return;
    var height = Math.ceil(root.getBoundingClientRect().height);
    if (height === last) return;
    last = height;
    window.webkit.messageHandlers.zvwkContentHeight.postMessage(height);
  }
  document.addEventListener('DOMContentLoaded', function () {
    new ResizeObserver(report).observe(document.documentElement);
    report();
  });
  window.addEventListener('load', report);
})();)JS";

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

GtkWidget* dimLabel(const std::string& text) {
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_widget_add_css_class(label, "dim-label");
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    return label;
}

const char* symbolColour(bool dark) { return dark ? "#deddda" : "#3d3846"; }

void openExternally(const char* uri) {
    if (!uri) return;
    for (const char* scheme : {"http:", "https:", "mailto:"})
        if (g_str_has_prefix(uri, scheme)) {
            g_app_info_launch_default_for_uri_async(uri, nullptr, nullptr, nullptr, nullptr);
            return;
        }
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
        contentReady({}, {});
        return;
    }
    std::weak_ptr<MessageCard> weak = weak_from_this();
    queue.addOperation([weak, location = summary_.location, sender = summary_.fromAddress, dark = style_.dark] {
        // A remembered choice applies before the body is first prepared.
        bool remembered = zv::RemoteContentChoices::shared()->allowsRemoteContent(sender);
        MessageContent content = readMessageContent(location);
        BodyOptions options;
        options.allowRemoteContent = remembered;
        options.dark = dark;
        PreparedBody body = content.error.empty() ? prepareMessageBody(content, options) : PreparedBody{};
        zv::dispatchMainAsync([weak, remembered, content = std::move(content), body = std::move(body)]() mutable {
            if (auto self = weak.lock()) {
                self->remote_ = self->preparedRemote_ = remembered ? Remote::WithoutTrackers : Remote::Blocked;
                self->contentReady(std::move(content), std::move(body));
            }
        });
    });
}

void MessageCard::contentReady(MessageContent content, PreparedBody body) {
    content_ = std::move(content);
    preparedHTML_ = std::move(body.html);
    remoteReferences_ = body.remoteReferences;
    trackers_ = body.trackers;
    contentRead_ = true;
    preview_ = isError() ? errorText() : previewOfContent(content_, 160);
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
    remoteBar_ = buildRemoteBar();
    gtk_box_append(GTK_BOX(bodyBox_), remoteBar_);
    updateExpansion();
}

GtkWidget* MessageCard::buildHeader() {
    GtkWidget* header = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_add_css_class(header, "card-header");

    std::string sender = summary_.fromName.empty() ? "(no sender)" : summary_.fromName;
    GtkWidget* avatar = gtk_label_new(initials(sender).c_str());
    gtk_widget_add_css_class(avatar, "avatar");
    gtk_widget_add_css_class(avatar, ("avatar-" + std::to_string(std::hash<std::string>()(sender) % 6)).c_str());
    gtk_widget_set_valign(avatar, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(header), avatar);

    GtkWidget* lines = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_hexpand(lines, TRUE);
    GtkWidget* name = gtk_label_new(sender.c_str());
    gtk_widget_add_css_class(name, "sender");
    gtk_label_set_xalign(GTK_LABEL(name), 0);
    gtk_label_set_ellipsize(GTK_LABEL(name), PANGO_ELLIPSIZE_END);
    gtk_box_append(GTK_BOX(lines), name);
    std::string detail = summary_.fromAddress.empty() || summary_.fromAddress == sender ? "" : summary_.fromAddress;
    if (!summary_.to.empty()) detail += (detail.empty() ? "to " : "  ·  to ") + summary_.to;
    if (!summary_.cc.empty()) detail += "  ·  cc " + summary_.cc;
    detailLabel_ = dimLabel(detail);
    gtk_box_append(GTK_BOX(lines), detailLabel_);
    previewLabel_ = dimLabel(preview_);
    gtk_box_append(GTK_BOX(lines), previewLabel_);
    gtk_box_append(GTK_BOX(header), lines);

    GtkWidget* date = dimLabel(longDateText(summary_.date));
    gtk_widget_set_valign(date, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(header), date);

    if (summary_.error.empty()) {
        plainTextButton_ = gtk_toggle_button_new();
        gtk_button_set_child(GTK_BUTTON(plainTextButton_), symbolImage("doc", 16, symbolColour(style_.dark)));
        gtk_widget_set_tooltip_text(plainTextButton_, "View as plain text");
        gtk_widget_add_css_class(plainTextButton_, "flat");
        gtk_widget_set_valign(plainTextButton_, GTK_ALIGN_START);
        g_signal_connect(plainTextButton_, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer self) {
                             static_cast<MessageCard*>(self)->setShowsPlainText(gtk_toggle_button_get_active(button));
                         }),
                         this);
        gtk_box_append(GTK_BOX(header), plainTextButton_);
    }

    GtkGesture* click = gtk_gesture_click_new();
    g_signal_connect(click, "released", G_CALLBACK(+[](GtkGestureClick*, int, double, double, gpointer self) {
                         auto* card = static_cast<MessageCard*>(self);
                         card->setExpanded(!card->isExpanded());
                     }),
                     this);
    gtk_widget_add_controller(lines, GTK_EVENT_CONTROLLER(click));
    return header;
}

GtkWidget* MessageCard::buildRemoteBar() {
    GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_widget_add_css_class(bar, "remote-bar");
    gtk_box_append(GTK_BOX(bar), symbolImage("exclamationmark.shield", 16, style_.dark ? "#f8e45c" : "#9c6e03"));
    remoteLabel_ = gtk_label_new("");
    gtk_label_set_wrap(GTK_LABEL(remoteLabel_), TRUE);
    gtk_label_set_xalign(GTK_LABEL(remoteLabel_), 0);
    gtk_widget_set_hexpand(remoteLabel_, TRUE);
    gtk_box_append(GTK_BOX(bar), remoteLabel_);

    auto button = [&](const char* label, void (*clicked)(GtkButton*, gpointer)) {
        GtkWidget* widget = gtk_button_new_with_label(label);
        gtk_widget_set_valign(widget, GTK_ALIGN_CENTER);
        g_signal_connect(widget, "clicked", G_CALLBACK(clicked), this);
        gtk_box_append(GTK_BOX(bar), widget);
        return widget;
    };
    showImagesButton_ = button("Show images", +[](GtkButton*, gpointer self) {
        static_cast<MessageCard*>(self)->showRemoteContent();
    });
    showAllButton_ = button("Show everything", +[](GtkButton*, gpointer self) {
        static_cast<MessageCard*>(self)->showAllRemoteContent();
    });

    // "Always show…": the sender or the sender's domain, in a popover.
    GtkWidget* choices = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    std::string domain = summary_.fromAddress.substr(summary_.fromAddress.rfind('@') + 1);
    for (bool wholeDomain : {false, true}) {
        std::string label = wholeDomain ? "Always show remote content from " + domain
                                        : "Always show remote content from " + summary_.fromAddress;
        GtkWidget* choice = gtk_button_new_with_label(label.c_str());
        gtk_widget_add_css_class(choice, "flat");
        g_object_set_data(G_OBJECT(choice), "whole-domain", GINT_TO_POINTER(wholeDomain));
        g_signal_connect(choice, "clicked", G_CALLBACK(+[](GtkButton* clicked, gpointer self) {
                             bool wholeDomain = g_object_get_data(G_OBJECT(clicked), "whole-domain") != nullptr;
                             gtk_popover_popdown(GTK_POPOVER(gtk_widget_get_ancestor(GTK_WIDGET(clicked), GTK_TYPE_POPOVER)));
                             static_cast<MessageCard*>(self)->alwaysShowRemoteContent(wholeDomain);
                         }),
                         this);
        gtk_box_append(GTK_BOX(choices), choice);
    }
    GtkWidget* popover = gtk_popover_new();
    gtk_popover_set_child(GTK_POPOVER(popover), choices);
    alwaysButton_ = gtk_menu_button_new();
    gtk_menu_button_set_label(GTK_MENU_BUTTON(alwaysButton_), "Always…");
    gtk_menu_button_set_popover(GTK_MENU_BUTTON(alwaysButton_), popover);
    gtk_widget_set_valign(alwaysButton_, GTK_ALIGN_CENTER);
    gtk_widget_set_visible(alwaysButton_, !summary_.fromAddress.empty() && summary_.fromAddress.find('@') != std::string::npos);
    gtk_box_append(GTK_BOX(bar), alwaysButton_);
    gtk_widget_set_visible(bar, FALSE);
    return bar;
}

void MessageCard::updateRemoteBar() {
    bool blocked = blockedRemoteReferences() > 0;
    std::size_t trackers = blockedTrackers();
    gtk_widget_set_visible(remoteBar_, (blocked || trackers > 0) && !asPlainText_);
    if (blocked) {
        gtk_label_set_text(GTK_LABEL(remoteLabel_), "Remote content in this message was blocked to protect your privacy.");
    } else if (trackers > 0) {
        std::string text = "Images are shown. " + std::to_string(trackers) +
                           (trackers == 1 ? " tracker" : " trackers") + " blocked.";
        gtk_label_set_text(GTK_LABEL(remoteLabel_), text.c_str());
    }
    gtk_widget_set_visible(showImagesButton_, blocked);
    gtk_widget_set_visible(showAllButton_, !blocked);
    if (!blocked) gtk_widget_set_visible(alwaysButton_, FALSE);
}

GtkWidget* MessageCard::buildAttachments() {
    GtkWidget* flow = gtk_flow_box_new();
    gtk_widget_add_css_class(flow, "attachments");
    gtk_flow_box_set_selection_mode(GTK_FLOW_BOX(flow), GTK_SELECTION_NONE);
    gtk_flow_box_set_max_children_per_line(GTK_FLOW_BOX(flow), 4);
    for (const Attachment& attachment : content_.attachments) {
        GtkWidget* chip = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
        gtk_widget_add_css_class(chip, "attachment");
        const char* symbol = g_str_has_prefix(attachment.mimeType.c_str(), "image/") ? "photo"
                             : attachment.mimeType == "message/rfc822"                ? "envelope"
                                                                                      : "doc.text";
        gtk_box_append(GTK_BOX(chip), symbolImage(symbol, 24, symbolColour(style_.dark)));
        GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        GtkWidget* name = gtk_label_new(attachment.filename.c_str());
        gtk_label_set_xalign(GTK_LABEL(name), 0);
        gtk_label_set_ellipsize(GTK_LABEL(name), PANGO_ELLIPSIZE_MIDDLE);
        gtk_label_set_max_width_chars(GTK_LABEL(name), 28);
        gtk_box_append(GTK_BOX(texts), name);
        gtk_box_append(GTK_BOX(texts), dimLabel(attachment.mimeType + (attachment.size ? ", " + formatSize(attachment.size) : "")));
        gtk_box_append(GTK_BOX(chip), texts);
        gtk_widget_set_tooltip_text(chip, attachment.filename.c_str());
        gtk_flow_box_append(GTK_FLOW_BOX(flow), chip);
    }
    return flow;
}

GtkWidget* MessageCard::buildError() {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_add_css_class(box, "error-box");
    gtk_box_append(GTK_BOX(box), symbolImage("exclamationmark.triangle", 24, style_.dark ? "#ff7b63" : "#c01c28"));
    GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    GtkWidget* title = gtk_label_new("This message cannot be shown");
    gtk_widget_add_css_class(title, "heading");
    gtk_label_set_xalign(GTK_LABEL(title), 0);
    gtk_box_append(GTK_BOX(texts), title);
    GtkWidget* reason = gtk_label_new((errorText() + "\n" + summary_.location.path).c_str());
    gtk_label_set_xalign(GTK_LABEL(reason), 0);
    gtk_label_set_wrap(GTK_LABEL(reason), TRUE);
    gtk_label_set_selectable(GTK_LABEL(reason), TRUE);
    gtk_box_append(GTK_BOX(texts), reason);
    gtk_box_append(GTK_BOX(box), texts);
    return box;
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
    if (plainTextButton_) gtk_widget_set_visible(plainTextButton_, expanded_ && !isError());
    if (expanded_) gtk_widget_remove_css_class(root_, "collapsed");
    else gtk_widget_add_css_class(root_, "collapsed");
    if (expanded_ && contentRead_ && !isError() && !view_) makeBodyView();
}

void MessageCard::makeBodyView() {
    zv::ZVWebViewConfiguration configuration;
    WebKitSettings* settings = webkit_settings_new();
    // The message's own scripts never run; the viewer's user scripts do.
    g_object_set(settings, "enable-javascript-markup", FALSE, "enable-html5-local-storage", FALSE,
                 "enable-html5-database", FALSE, "enable-webgl", FALSE, "enable-webaudio", FALSE,
                 "media-playback-requires-user-gesture", TRUE, "enable-back-forward-navigation-gestures", FALSE,
                 "javascript-can-open-windows-automatically", FALSE, nullptr);
    // A message is a still page: composited layers bought nothing but cost
    // about 25 MiB per view (measured by bench/viewer_bench: 1.3 GiB of web
    // process for 50 messages with them, 0.2 GiB without).
    webkit_settings_set_hardware_acceleration_policy(settings, WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    configuration.settings = zv::GObjectRef<WebKitSettings>::adopt(settings);
    configuration.userContentManager = zv::GObjectRef<WebKitUserContentManager>::adopt(webkit_user_content_manager_new());
    if (processAnchor)
        if (WebKitWebView* anchor = processAnchor())
            configuration.relatedView = zv::GObjectRef<WebKitWebView>::ref(anchor);
    view_ = zv::ZVWebView::create(configuration);
    WebKitWebView* webView = view_->webView();
    if (bodyViewMade) bodyViewMade(*this);

    WebKitUserContentManager* manager = view_->userContentManager();
    g_signal_connect(manager, (std::string("script-message-received::") + kHeightMessage).c_str(),
                     G_CALLBACK(onHeightMessage), this);
    webkit_user_content_manager_register_script_message_handler(manager, kHeightMessage, nullptr);
    view_->addUserScript(zv::makeDocumentStartScript(kHeightScript).get());
    // The find bar's scripts: with JavaScript markup off, script elements would never run.
    view_->addSearchUserScripts();

    handler_ = zv::ZVWebViewURLSchemeHandler::create();
    for (const InlinePart& part : content_.inlineParts) {
        auto resource = std::make_shared<zv::ZVMimeResource>();
        resource->data.assign(part.data.begin(), part.data.end());
        resource->URL = "cid:" + part.contentId;
        resource->MIMEType = part.mimeType;
        resource->textEncodingName = part.charset;
        handler_->addResource(resource, resource->URL);
    }
    handler_->setupHTTPOverrides();
    zv::setURLSchemeHandler(webView, handler_);

    GdkRGBA transparent = {0, 0, 0, 0};
    webkit_web_view_set_background_color(webView, &transparent);
    g_signal_connect(webView, "decide-policy", G_CALLBACK(onDecidePolicy), this);
    g_signal_connect(webView, "load-changed", G_CALLBACK(onLoadChanged), this);
    g_signal_connect(webView, "mouse-target-changed", G_CALLBACK(onMouseTargetChanged), this);

    GtkEventController* scroll = gtk_event_controller_scroll_new(GTK_EVENT_CONTROLLER_SCROLL_VERTICAL);
    gtk_event_controller_set_propagation_phase(scroll, GTK_PHASE_CAPTURE);
    g_signal_connect(scroll, "scroll", G_CALLBACK(onScroll), this);
    gtk_widget_add_controller(GTK_WIDGET(webView), scroll);

    gtk_widget_set_hexpand(GTK_WIDGET(webView), TRUE);
    gtk_widget_set_size_request(GTK_WIDGET(webView), -1, kLoadingHeight);
    gtk_widget_add_css_class(GTK_WIDGET(webView), "message-body");
    gtk_box_insert_child_after(GTK_BOX(bodyBox_), GTK_WIDGET(webView), remoteBar_);
    loadBody();
}

void MessageCard::loadBody() {
    if (!view_) return;
    // readContent prepared the first form; the toggles ask for others.
    if (preparedRemote_ != remote_ || preparedAsText_ != asPlainText_) {
        BodyOptions options;
        options.allowRemoteContent = remote_ != Remote::Blocked;
        options.blockTrackers = remote_ != Remote::All;
        options.asPlainText = asPlainText_;
        options.dark = style_.dark;
        PreparedBody body = prepareMessageBody(content_, options);
        preparedHTML_ = std::move(body.html);
        if (!asPlainText_) {
            remoteReferences_ = body.remoteReferences;
            trackers_ = body.trackers;
        }
        preparedRemote_ = remote_;
        preparedAsText_ = asPlainText_;
    }
    updateRemoteBar();
    bodyLoaded_ = false;
    heightKnown_ = false;
    navigationFinished_ = false;
    webkit_web_view_load_html(view_->webView(), preparedHTML_.c_str(), "about:blank");
}

void MessageCard::setRemoteContent(Remote remote) {
    if (remote_ == remote) return;
    remote_ = remote;
    loadBody();
}

void MessageCard::showRemoteContent() {
    if (remote_ == Remote::Blocked) setRemoteContent(Remote::WithoutTrackers);
}

void MessageCard::showAllRemoteContent() { setRemoteContent(Remote::All); }

void MessageCard::alwaysShowRemoteContent(bool wholeDomain) {
    using Scope = zv::RemoteContentChoices::Scope;
    zv::RemoteContentChoices::shared()->alwaysAllow(summary_.fromAddress, wholeDomain ? Scope::Domain : Scope::Sender);
    showRemoteContent();
}

void MessageCard::setShowsPlainText(bool plainText) {
    if (asPlainText_ == plainText) return;
    asPlainText_ = plainText;
    if (plainTextButton_ && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(plainTextButton_)) != plainText)
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(plainTextButton_), plainText);
    loadBody();
}

void MessageCard::updateHeightFromPage(int height) {
    if (height <= 0) return;
    bodyHeight_ = height;
    heightKnown_ = true;
    gtk_widget_set_size_request(GTK_WIDGET(view_->webView()), -1, height);
    view_->setContentSize({double(gtk_widget_get_width(GTK_WIDGET(view_->webView()))), double(height)});
    if (navigationFinished_) finishBodyLoad();
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

// The view shows the message and nothing else: the load of the message
// itself and jumps within it pass; a clicked link goes to the system's
// browser; every other navigation and every new window is refused.
gboolean MessageCard::onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                                     gpointer self) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    bool linkClicked = webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
    if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION && uri && g_str_has_prefix(uri, "about:blank")) {
        webkit_policy_decision_use(decision);
        return TRUE;
    }
    if (linkClicked && uri) static_cast<MessageCard*>(self)->openLink(uri);
    webkit_policy_decision_ignore(decision);
    return TRUE;
}

gboolean MessageCard::onScroll(GtkEventControllerScroll* controller, double, double dy, gpointer self) {
    auto* card = static_cast<MessageCard*>(self);
    GtkAdjustment* target = card->scrollTarget;
    if (!target) return FALSE;
    double step = dy;
    if (gtk_event_controller_scroll_get_unit(controller) == GDK_SCROLL_UNIT_WHEEL)
        step = dy * std::pow(gtk_adjustment_get_page_size(target), 2.0 / 3.0);
    gtk_adjustment_set_value(target, gtk_adjustment_get_value(target) + step);
    return TRUE;
}

void MessageCard::onMouseTargetChanged(WebKitWebView*, WebKitHitTestResult* hit, guint, gpointer self) {
    auto* card = static_cast<MessageCard*>(self);
    const char* uri = webkit_hit_test_result_context_is_link(hit) ? webkit_hit_test_result_get_link_uri(hit) : nullptr;
    const char* label = uri ? webkit_hit_test_result_get_link_label(hit) : nullptr;
    card->hoveredLinkURI_ = uri ? uri : "";
    card->hoveredLinkText_ = label ? label : "";
}

// The link's text is what the pointer was over; a link clicked another way
// (the keyboard) is judged by its address alone.
void MessageCard::openLink(const std::string& uri) {
    std::string text = uri == hoveredLinkURI_ ? hoveredLinkText_ : "";
    std::optional<std::string> warning = zv::linkWarning(text, uri);
    if (!warning) {
        openExternally(uri.c_str());
        return;
    }
    GtkWindow* parent = GTK_WINDOW(gtk_widget_get_root(root_));
    askBeforeOpeningLink(parent, text, uri, "Why: " + *warning + ".", [uri] { openExternally(uri.c_str()); });
}

bool MessageCard::followLink(std::size_t index) {
    if (!view_) return false;
    // The link's text stands in for the pointer's hover, which a script click has not.
    std::string script = "(function(){var a=document.querySelectorAll('a[href],area[href]')[" + std::to_string(index) +
                         "];if(!a)return null;return [a.href,a.textContent.replace(/\\s+/g,' ').trim()]})()";
    std::weak_ptr<MessageCard> weak = weak_from_this();
    webkit_web_view_evaluate_javascript(
        view_->webView(), script.c_str(), -1, nullptr, nullptr, nullptr,
        +[](GObject* object, GAsyncResult* result, gpointer data) {
            auto* weak = static_cast<std::weak_ptr<MessageCard>*>(data);
            g_autoptr(JSCValue) value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(object), result, nullptr);
            auto card = weak->lock();
            delete weak;
            if (!card || !value || !jsc_value_is_array(value)) return;
            g_autoptr(JSCValue) href = jsc_value_object_get_property_at_index(value, 0);
            g_autoptr(JSCValue) text = jsc_value_object_get_property_at_index(value, 1);
            g_autofree char* uri = jsc_value_to_string(href);
            g_autofree char* label = jsc_value_to_string(text);
            card->hoveredLinkURI_ = uri;
            card->hoveredLinkText_ = label;
            card->openLink(uri);
        },
        new std::weak_ptr<MessageCard>(weak));
    return true;
}

}  // namespace zvwk::viewer
