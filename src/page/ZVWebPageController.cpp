#include <zv/page/ZVWebPageController.h>

#include <zv/foundation/Log.h>
#include <zv/foundation/MainThread.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/page/ZVWebWindowController.h>
#include <zv/webview/FrameworkResources.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/ScriptValue.h>
#include <zv/webview/UserScript.h>

#include <cassert>
#include <chrono>
#include <thread>
#include <typeinfo>

namespace zv {

namespace {

constexpr char kObjectScript[] = "var PageController = new Object;";

// The runs of blanks are the script's own; the name goes in all three places.
std::string functionScript(const std::string& name) {
    return "PageController." + name + " = function() {     if (arguments.length==0){        window.webkit.messageHandlers." +
           name + ".postMessage(null);    }    else if (arguments.length==1){        window.webkit.messageHandlers." +
           name + ".postMessage(arguments[0]);    }}";
}

// What a bridge connection knows: whom to tell, and the message's name.
struct MessageRoute {
    std::weak_ptr<ZVWebPageController> controller;
    std::string name;
};

void onScriptMessage(WebKitUserContentManager*, JSCValue* body, gpointer data) {
    auto* route = static_cast<MessageRoute*>(data);
    if (auto controller = route->controller.lock()) controller->didReceiveScriptMessage(route->name, valueFromJSCValue(body));
}

// Removes whatever page controller serves `name` on this manager.
void removeHandler(WebKitUserContentManager* manager, const std::string& name) {
    guint signal = g_signal_lookup("script-message-received", WEBKIT_TYPE_USER_CONTENT_MANAGER);
    g_signal_handlers_disconnect_matched(manager, GSignalMatchType(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_DETAIL | G_SIGNAL_MATCH_FUNC),
                                         signal, g_quark_from_string(name.c_str()), nullptr,
                                         reinterpret_cast<gpointer>(onScriptMessage), nullptr);
    webkit_user_content_manager_unregister_script_message_handler(manager, name.c_str(), nullptr);
}

// Launch arguments only: a stored default never switches the logging on.
bool logsWriteErrors() {
    std::optional<std::string> value = UserDefaults::standard().launchArgumentForKey("logZVWebKitErrors");
    if (!value) return false;
    for (char c : *value) {
        if (c == ' ' || c == '\t' || c == '+' || c == '-' || c == '0') continue;
        return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
    }
    return false;
}

std::string escapedValue(std::string_view value) {
    std::string out;
    for (char c : value) {
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '"')
            out += "\\\"";
        else
            out += c;
    }
    return out;
}

// The exception's own message: WebKitGTK puts "URI:LINE:COLUMN: " before it.
std::string exceptionMessage(const std::string& error) {
    for (size_t colon = error.find(": "); colon != std::string::npos; colon = error.find(": ", colon + 1)) {
        size_t column = error.find_last_not_of("0123456789", colon - 1);
        if (column == std::string::npos || column == colon - 1 || error[column] != ':') continue;
        size_t line = error.find_last_not_of("0123456789", column - 1);
        if (line != std::string::npos && line != column - 1 && error[line] == ':') return error.substr(colon + 2);
    }
    return error;
}

bool truthy(const std::optional<Value>& value) {
    if (!value) return false;
    if (value->is_boolean()) return value->get<bool>();
    if (value->is_number()) return value->get<double>() != 0;
    if (value->is_string()) return value->get<std::string>() == "true";
    return false;
}

}  // namespace

std::shared_ptr<ZVWebPageController> ZVWebPageController::create() { return std::make_shared<ZVWebPageController>(); }

std::shared_ptr<ZVWebPageController> ZVWebPageController::create(const URL& url) {
    auto controller = create();
    controller->setURL(url);
    return controller;
}

ZVWebPageController::~ZVWebPageController() = default;

std::shared_ptr<ZVWebView> ZVWebPageController::webView() const {
    std::lock_guard lock(lock_);
    return webView_;
}

void ZVWebPageController::setWebView(std::shared_ptr<ZVWebView> webView) {
    std::lock_guard lock(lock_);
    webView_ = std::move(webView);
}

std::shared_ptr<ZVWebWindowController> ZVWebPageController::windowController() const {
    std::lock_guard lock(lock_);
    return windowController_.lock();
}

void ZVWebPageController::setWindowController(const std::shared_ptr<ZVWebWindowController>& controller) {
    std::lock_guard lock(lock_);
    windowController_ = controller;
}

GtkWindow* ZVWebPageController::window() const {
    std::shared_ptr<ZVWebView> view = webView();
    if (!view) return nullptr;
    GtkRoot* root = gtk_widget_get_root(GTK_WIDGET(view->webView()));
    return root && GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr;
}

std::shared_ptr<ZVPageDelegate> ZVWebPageController::delegate() const {
    std::lock_guard lock(lock_);
    return delegate_.lock();
}

void ZVWebPageController::setDelegate(const std::shared_ptr<ZVPageDelegate>& delegate) {
    std::lock_guard lock(lock_);
    delegate_ = delegate;
}

std::shared_ptr<const Bundle> ZVWebPageController::classBundle() const {
    return typeid(*this) == typeid(ZVWebPageController) ? webKitResourceBundle() : Bundle::mainBundle();
}

std::shared_ptr<const Bundle> ZVWebPageController::defaultBundle() const {
    if (auto delegate = this->delegate()) return delegate->bundle ? delegate->bundle : Bundle::mainBundle();
    if (auto window = windowController(); window && window->hasResourceBundle()) return window->resourceBundle();
    return classBundle();
}

// --- Script bridge -----------------------------------------------------------

void ZVWebPageController::registerJavascriptFunctionName(const std::string& name, Handler handler) {
    std::lock_guard lock(lock_);
    auto copy = std::make_shared<std::map<std::string, Handler, std::less<>>>(*javascriptHandlers_);
    (*copy)[name] = std::move(handler);
    javascriptHandlers_ = std::move(copy);
}

std::vector<std::string> ZVWebPageController::javascriptHandlerNames() const {
    std::lock_guard lock(lock_);
    std::vector<std::string> names;
    for (const auto& entry : *javascriptHandlers_) names.push_back(entry.first);
    return names;
}

void ZVWebPageController::registerJavascriptMethod(std::string_view selector) {
    size_t first = selector.find_first_not_of(':');
    if (first == std::string_view::npos) return;
    size_t last = selector.find_last_not_of(':');
    installHandler(std::string(selector.substr(first, last - first + 1)));
}

void ZVWebPageController::installHandler(const std::string& name) {
    std::shared_ptr<ZVWebView> view = webView();
    if (!view) return;
    WebKitUserContentManager* manager = view->userContentManager();
    removeHandler(manager, name);
    std::string signal = "script-message-received::" + name;
    // Connected before registering, so no message posted right after is missed.
    g_signal_connect_data(manager, signal.c_str(), G_CALLBACK(onScriptMessage),
                          new MessageRoute{weak_from_this(), name},
                          [](gpointer route, GClosure*) { delete static_cast<MessageRoute*>(route); }, GConnectFlags(0));
    webkit_user_content_manager_register_script_message_handler(manager, name.c_str(), nullptr);
    view->addUserScript(makeDocumentStartScript(functionScript(name), /*topFrameOnly*/ false).get());
}

void ZVWebPageController::didReceiveScriptMessage(const std::string& name, const std::optional<Value>& body) {
    std::shared_ptr<ZVWebView> view = webView();
    Value message = {{"name", name}, {"body", body.value_or(nullptr)}, {"webView", view ? view->identifier() : 0}};
    Notification notification{name, this, Value{{"ScriptMessage", std::move(message)}}};
    // Keeps the controller alive if a receiver lets go of it.
    auto self = weak_from_this().lock();
    Handler receiver;
    if (auto own = actions_.find(name); own != actions_.end()) {
        receiver = own->second;
    } else if (auto delegate = this->delegate(); delegate && delegate->actions.contains(name)) {
        receiver = delegate->actions.find(name)->second;
    } else {
        std::lock_guard lock(lock_);
        if (auto handler = javascriptHandlers_->find(name); handler != javascriptHandlers_->end())
            receiver = handler->second;
    }
    if (receiver) receiver(notification);
}

void ZVWebPageController::registerAction(std::string name, Handler action) { actions_[std::move(name)] = std::move(action); }

PageLocalization::VariableResolver ZVWebPageController::variableResolver() const {
    std::shared_ptr<ZVPageDelegate> delegate = this->delegate();
    if (!delegate || !delegate->expandVariable) return {};
    auto* self = const_cast<ZVWebPageController*>(this);
    return [delegate, self](const std::string& name, const std::string& key) {
        return delegate->expandVariable(name, *self, key);
    };
}

// --- Lifecycle ---------------------------------------------------------------

void ZVWebPageController::_pageWillLoad() {
    std::shared_ptr<ZVWebView> view = webView();
    if (view) view->addUserScript(makeDocumentStartScript(kObjectScript, /*topFrameOnly*/ true).get());
    pageWillLoad();
    if (auto delegate = this->delegate(); delegate && delegate->pageWillLoad) delegate->pageWillLoad(*this);
    for (const std::string& name : javascriptHandlerNames()) installHandler(name);
}

void ZVWebPageController::_pageDidLoad() {
    pageDidLoad();
    if (auto delegate = this->delegate(); delegate && delegate->pageDidLoad) delegate->pageDidLoad(*this);
    std::optional<URL> address = url();
    NotificationCenter::defaultCenter().post(kPageControllerDidFinishLoadingPageNotification, this,
                                             Value{{"url", address ? address->string() : std::string()}});
    Completion completion;
    {
        std::lock_guard lock(lock_);
        completion = pageLoadedCompletion_;
    }
    if (completion) completion(std::nullopt);
}

void ZVWebPageController::_pageFailed() {
    pageFailed();
    if (auto delegate = this->delegate(); delegate && delegate->pageFailed) delegate->pageFailed(*this);
    Completion completion;
    {
        std::lock_guard lock(lock_);
        completion = pageLoadedCompletion_;
    }
    if (completion) completion(Error{kPageControllerErrorDomain, 1, {}});
}

void ZVWebPageController::setPageLoadedCompletion(Completion completion) {
    std::lock_guard lock(lock_);
    pageLoadedCompletion_ = std::move(completion);
}

void ZVWebPageController::setCloseWindowHandler(std::function<void()> handler) {
    std::lock_guard lock(lock_);
    closeWindowHandler_ = std::move(handler);
}

void ZVWebPageController::runCloseWindowHandler() {
    std::function<void()> handler;
    {
        std::lock_guard lock(lock_);
        handler = std::exchange(closeWindowHandler_, nullptr);
    }
    if (handler) handler();
}

void ZVWebPageController::loadURL(const URL& url) {
    auto self = shared_from_this();
    dispatchMainAsync([self, url] {
        self->setURL(url);
        if (auto window = self->windowController()) window->loadURL(url);
    });
}

void ZVWebPageController::loadURL(const URL& url, Completion completion) {
    setPageLoadedCompletion(std::move(completion));
    loadURL(url);
}

void ZVWebPageController::loadURLWithDelegate(const URL& url, const std::shared_ptr<ZVPageDelegate>& delegate) {
    auto self = shared_from_this();
    dispatchMainAsync([self, url, delegate] {
        if (delegate) self->setDelegate(delegate);
        self->setURL(url);
        if (auto window = self->windowController()) window->loadURL(url);
    });
}

// --- Modal running -----------------------------------------------------------

void ZVWebPageController::runModal() {
    isModal_ = true;
    if (isMainThread()) {
        GtkWindow* modalWindow = window();
        if (modalWindow) {
            gtk_window_set_modal(modalWindow, TRUE);
            gtk_window_present(modalWindow);
        }
        while (isModal_) g_main_context_iteration(nullptr, TRUE);
        if (modalWindow) gtk_window_set_modal(modalWindow, FALSE);
        return;
    }
    GMainContext* own = g_main_context_get_thread_default();
    while (isModal_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (own) g_main_context_iteration(own, FALSE);
    }
}

void ZVWebPageController::stopModal() {
    if (isMainThread()) {
        isModal_ = false;
        // Wakes a nested loop that is waiting for events.
        g_main_context_wakeup(nullptr);
        return;
    }
    auto self = shared_from_this();
    dispatchMainAsync([self] { self->isModal_ = false; });
}

// --- DOM access --------------------------------------------------------------

std::string ZVWebPageController::attributeWriteScript(std::string_view value, std::string_view propertyPath,
                                                      std::string_view elementId) {
    std::string id(elementId);
    return "var elmnt =document.getElementById(\"" + id + "\");\n if (elmnt){ elmnt." + std::string(propertyPath) +
           " = \"" + escapedValue(value) + "\";}\n else {throw new Error(\"element '" + id + "' not found\");}";
}

void ZVWebPageController::setValueForAttribute(std::string_view value, std::string_view propertyPath,
                                               std::string_view elementId) {
    std::shared_ptr<ZVWebView> view = webView();
    if (!view) return;
    std::string script = attributeWriteScript(value, propertyPath, elementId);
    auto evaluate = [view, script] {
        evaluateJavaScript(view->webView(), script, [](std::optional<Value>, std::optional<Error> error) {
            if (error && logsWriteErrors())
                log("Error setting attribute value for element: " + exceptionMessage(error->message));
        });
    };
    if (isMainThread())
        evaluate();
    else
        dispatchMainAsync(evaluate);
}

std::optional<Value> ZVWebPageController::evaluateAndWait(std::string script) {
    std::shared_ptr<ZVWebView> view = webView();
    if (!view) return std::nullopt;
    struct Answer {
        std::optional<Value> value;
        CompletionSignal done;
    };
    auto answer = std::make_shared<Answer>();
    auto evaluate = [view, answer, script = std::move(script)] {
        evaluateJavaScript(view->webView(), script, [answer](std::optional<Value> value, std::optional<Error>) {
            answer->value = std::move(value);
            answer->done.signal();
        });
    };
    if (isMainThread())
        evaluate();
    else
        dispatchMainAsync(evaluate);
    answer->done.wait();
    return answer->value;
}

std::optional<Value> ZVWebPageController::valueForAttribute(std::string_view propertyPath, std::string_view elementId) {
    return evaluateAndWait("document.getElementById('" + std::string(elementId) + "')." + std::string(propertyPath));
}

namespace {

// The element id and property path of "#id.a.b", or nothing.
std::optional<std::pair<std::string, std::string>> splitDOMPath(std::string_view path) {
    size_t dot = path.find('.');
    if (dot == std::string_view::npos) {
        g_log_structured(kLogDomain, G_LOG_LEVEL_CRITICAL, "MESSAGE", "Insufficient DOMPath");
        assert(!"Insufficient DOMPath");
        return std::nullopt;
    }
    std::string_view first = path.substr(0, dot);
    if (!first.starts_with('#')) return std::nullopt;
    return std::pair{std::string(first.substr(1)), std::string(path.substr(dot + 1))};
}

}  // namespace

void ZVWebPageController::setValueForDOMPath(std::string_view value, std::string_view path) {
    if (auto parts = splitDOMPath(path)) setValueForAttribute(value, parts->second, parts->first);
}

std::optional<Value> ZVWebPageController::valueForDOMPath(std::string_view path) {
    auto parts = splitDOMPath(path);
    if (!parts) return std::nullopt;
    return valueForAttribute(parts->second, parts->first);
}

std::optional<Value> ZVWebPageController::contentOfElementId(std::string_view id) { return valueForAttribute("innerText", id); }
void ZVWebPageController::setContentOfElementId(std::string_view id, std::string_view text) {
    setValueForAttribute(text, "innerText", id);
}
std::optional<Value> ZVWebPageController::htmlOfElementId(std::string_view id) { return valueForAttribute("innerHTML", id); }
void ZVWebPageController::setHtmlOfElementId(std::string_view id, std::string_view html) {
    setValueForAttribute(html, "innerHTML", id);
}

double ZVWebPageController::heightOfElementId(std::string_view id) {
    std::optional<Value> value = valueForAttribute("clientHeight", id);
    return value && value->is_number() ? double(value->get<float>()) : 0.0;
}

void ZVWebPageController::setDisabled(bool disabled, std::string_view id) {
    setValueForAttribute(disabled ? "true" : "false", "disabled", id);
}
bool ZVWebPageController::disabledOnElementId(std::string_view id) { return truthy(valueForAttribute("disabled", id)); }
void ZVWebPageController::setDisplayOfElementId(std::string_view id, std::string_view display) {
    setValueForAttribute(display, "style.display", id);
}
std::optional<Value> ZVWebPageController::displayValueForElementId(std::string_view id) {
    return valueForAttribute("style.display", id);
}
void ZVWebPageController::setHidden(bool hidden, std::string_view id) {
    setValueForAttribute(hidden ? "true" : "false", "hidden", id);
}
bool ZVWebPageController::hiddenOnElementId(std::string_view id) { return truthy(valueForAttribute("hidden", id)); }

std::vector<std::string> ZVWebPageController::attributeNamesforElementId(std::string_view id) {
    std::optional<Value> value =
        evaluateAndWait("document.getElementById('" + std::string(id) + "').getAttributeNames()");
    std::vector<std::string> names;
    if (!value || !value->is_array()) return names;
    for (const Value& name : *value)
        if (name.is_string()) names.push_back(name.get<std::string>());
    return names;
}

std::optional<std::string> ZVWebPageController::currentDocumentHTML() {
    std::optional<Value> value = evaluateAndWait("document.documentElement.innerHTML;");
    if (!value || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

}  // namespace zv
