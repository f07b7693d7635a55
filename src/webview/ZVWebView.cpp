#include <zv/webview/ZVWebView.h>

#include "OutOfSightDrawing.h"
#include "ZVWebViewScriptHandler.h"

#include <zv/foundation/NotificationCenter.h>
#include <zv/webview/ScriptValue.h>
#include <zv/webview/ZVWebViewEventScript.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <string>

namespace zv {

struct ZVWebView::MessageRoute {
    ZVWebView* view;
    const char* name;
};

namespace {

std::atomic<uint64_t> lastIdentifier{0};

constexpr char kOwnerKey[] = "zv-web-view";

// Every live view by identifier; views come and go on the main thread.
std::map<uint64_t, std::weak_ptr<ZVWebView>>& liveViews() {
    static std::map<uint64_t, std::weak_ptr<ZVWebView>> views;
    return views;
}

GObjectRef<WebKitWebView> makeWebView(const ZVWebViewConfiguration& configuration,
                                      WebKitUserContentManager* manager) {
    std::vector<const char*> names{"user-content-manager"};
    std::vector<GValue> values(5, G_VALUE_INIT);
    g_value_init(&values[0], WEBKIT_TYPE_USER_CONTENT_MANAGER);
    g_value_set_object(&values[0], manager);
    auto add = [&](const char* name, GType type, gpointer object) {
        if (!object) return;
        GValue& value = values[names.size()];
        g_value_init(&value, type);
        g_value_set_object(&value, object);
        names.push_back(name);
    };
    add("settings", WEBKIT_TYPE_SETTINGS, configuration.settings.get());
    if (configuration.relatedView) {
        add("related-view", WEBKIT_TYPE_WEB_VIEW, configuration.relatedView.get());
    } else {
        add("web-context", WEBKIT_TYPE_WEB_CONTEXT, configuration.webContext.get());
        add("network-session", WEBKIT_TYPE_NETWORK_SESSION, configuration.networkSession.get());
    }
    GObject* view = g_object_new_with_properties(WEBKIT_TYPE_WEB_VIEW, static_cast<guint>(names.size()),
                                                 names.data(), values.data());
    for (size_t i = 0; i < names.size(); ++i) g_value_unset(&values[i]);
    return GObjectRef<WebKitWebView>::adopt(WEBKIT_WEB_VIEW(view));
}

bool sameDelegate(const std::weak_ptr<ZVWebViewEventDelegate>& stored,
                  const std::shared_ptr<ZVWebViewEventDelegate>& candidate) {
    return !stored.owner_before(candidate) && !candidate.owner_before(stored);
}

}  // namespace

std::shared_ptr<ZVWebView> ZVWebView::create(const ZVWebViewConfiguration& configuration) {
    std::shared_ptr<ZVWebView> view(new ZVWebView(configuration));
    view->connectSignals();
    liveViews()[view->identifier_] = view;
    g_object_set_data(G_OBJECT(view->webView()), kOwnerKey, view.get());
    return view;
}

std::shared_ptr<ZVWebView> ZVWebView::withIdentifier(uint64_t identifier) {
    auto found = liveViews().find(identifier);
    return found == liveViews().end() ? nullptr : found->second.lock();
}

std::shared_ptr<ZVWebView> ZVWebView::owning(WebKitWebView* webView) {
    if (!webView) return nullptr;
    auto* view = static_cast<ZVWebView*>(g_object_get_data(G_OBJECT(webView), kOwnerKey));
    return view ? view->weak_from_this().lock() : nullptr;
}

ZVWebView::ZVWebView(const ZVWebViewConfiguration& configuration)
    : userContentManager_(configuration.userContentManager
                              ? configuration.userContentManager
                              : GObjectRef<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())),
      scriptHandler_(std::make_unique<ZVWebViewScriptHandler>()),
      identifier_(++lastIdentifier) {
    webView_ = makeWebView(configuration, userContentManager_.get());
}

void ZVWebView::connectSignals() {
    // Each name's signal is connected before the name is registered, so no
    // message posted right after registration can be missed.
    for (const char* name : {kZVWebViewEventMessage, kZVLogMessage, kZVKeyDownEventMessage}) {
        std::string signal = std::string("script-message-received::") + name;
        managerHandlers_.push_back(g_signal_connect_data(
            userContentManager_.get(), signal.c_str(), G_CALLBACK(onScriptMessage), new MessageRoute{this, name},
            [](gpointer route, GClosure*) { delete static_cast<MessageRoute*>(route); }, GConnectFlags(0)));
        webkit_user_content_manager_register_script_message_handler(userContentManager_.get(), name, nullptr);
    }
    g_signal_connect(webView_.get(), "context-menu", G_CALLBACK(onContextMenu), this);

    inputController_ = GObjectRef<GtkEventController>::adopt(gtk_event_controller_legacy_new());
    gtk_event_controller_set_propagation_phase(inputController_.get(), GTK_PHASE_CAPTURE);
    g_signal_connect(inputController_.get(), "event", G_CALLBACK(onInputEvent), this);
    // The widget takes a reference of its own; ours lets the destructor detach it.
    gtk_widget_add_controller(GTK_WIDGET(webView_.get()), GObjectRef(inputController_).release());
    outOfSightDrawing_ = std::make_unique<OutOfSightDrawing>(GTK_WIDGET(webView_.get()));
}

ZVWebView::~ZVWebView() {
    liveViews().erase(identifier_);
    g_object_set_data(G_OBJECT(webView_.get()), kOwnerKey, nullptr);
    // The widget and the manager may outlive this object (a window holds the
    // widget): nothing of theirs may call back into it.
    for (gulong handler : managerHandlers_) g_signal_handler_disconnect(userContentManager_.get(), handler);
    g_signal_handlers_disconnect_by_data(webView_.get(), this);
    g_signal_handlers_disconnect_by_data(inputController_.get(), this);
    gtk_widget_remove_controller(GTK_WIDGET(webView_.get()), inputController_.get());
}

void ZVWebView::onScriptMessage(WebKitUserContentManager*, JSCValue* body, gpointer data) {
    auto* route = static_cast<MessageRoute*>(data);
    // The delegate may let go of the view while it handles the message.
    std::shared_ptr<ZVWebView> self = route->view->shared_from_this();
    self->scriptHandler_->didReceiveScriptMessage(*self, route->name, valueFromJSCValue(body));
}

gboolean ZVWebView::onInputEvent(GtkEventControllerLegacy*, GdkEvent* event, gpointer data) {
    auto* self = static_cast<ZVWebView*>(data);
    if (std::optional<Event> converted = eventFromGdkEvent(event, GTK_WIDGET(self->webView_.get())))
        self->lastInputEvent_ = std::move(converted);
    return GDK_EVENT_PROPAGATE;
}

gboolean ZVWebView::onContextMenu(WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*, gpointer data) {
    std::shared_ptr<ZVWebView> self = static_cast<ZVWebView*>(data)->shared_from_this();
    std::optional<Event> event = eventFromGdkEvent(webkit_context_menu_get_event(menu), GTK_WIDGET(self->webView()));
    if (!event) {
        // A menu opened without a pointer or key event (by the engine itself).
        event.emplace();
        event->type = EventType::RightMouseDown;
        event->timestamp = systemUptime();
        event->windowNumber = windowNumberOf(GTK_WIDGET(self->webView()));
    }
    self->willOpenMenu(menu, *event);
    return FALSE;
}

void ZVWebView::setEventDelegate(const std::shared_ptr<ZVWebViewEventDelegate>& delegate) {
    if (sameDelegate(eventDelegate_, delegate)) return;
    if (eventDelegateUserScript_ &&
        std::find(userScripts_.begin(), userScripts_.end(), eventDelegateUserScript_) != userScripts_.end())
        removeUserScript(eventDelegateUserScript_.get());
    eventDelegate_ = delegate;
    scriptHandler_->setEventDelegate(delegate);
    if (delegate) installEventScript(delegate);
}

void ZVWebView::installEventScript(const std::shared_ptr<ZVWebViewEventDelegate>& delegate) {
    std::optional<std::string> source = eventScriptForDelegate(*delegate);
    if (!source) return;
    eventDelegateUserScript_ = makeDocumentStartScript(*source);
    addUserScript(eventDelegateUserScript_.get());
}

void ZVWebView::addUserScript(WebKitUserScript* script) {
    if (!script) return;
    webkit_user_content_manager_add_script(userContentManager_.get(), script);
    userScripts_.push_back(UserScriptRef::ref(script));
}

void ZVWebView::removeUserScript(WebKitUserScript* script) {
    auto found = std::find(userScripts_.begin(), userScripts_.end(), script);
    if (found == userScripts_.end()) return;
    webkit_user_content_manager_remove_script(userContentManager_.get(), script);
    userScripts_.erase(found);
}

void ZVWebView::removeAllUserScripts() {
    webkit_user_content_manager_remove_all_scripts(userContentManager_.get());
    userScripts_.clear();
}

Size ZVWebView::contentSize() const {
    std::lock_guard lock(mutex_);
    return contentSize_;
}

void ZVWebView::setContentSize(Size size) {
    Size previous;
    {
        std::lock_guard lock(mutex_);
        previous = std::exchange(contentSize_, size);
    }
    NotificationCenter::defaultCenter().post(ZVWebViewContentSizeChangedNotification, this,
                                             Value{{"contentSize", size}, {"previousValue", previous}});
}

std::optional<Value> ZVWebView::lastEventInfo() const {
    std::lock_guard lock(mutex_);
    return lastEventInfo_;
}

void ZVWebView::setLastEventInfo(std::optional<Value> info) {
    std::lock_guard lock(mutex_);
    lastEventInfo_ = std::move(info);
}

void ZVWebView::setScrollEnabled(bool) {}

}  // namespace zv
