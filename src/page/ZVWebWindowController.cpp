#include <zv/page/ZVWebWindowController.h>

#include "FileSchemeRoutine.h"
#include "HTMLFetch.h"
#include "IncludeMerging.h"

#include <zv/foundation/Log.h>
#include <zv/foundation/MainThread.h>
#include <zv/html/HTMLElement.h>
#include <zv/localization/DocumentLocalization.h>
#include <zv/page/PageControllerRegistry.h>
#include <zv/scheme/WebKitSchemeBinding.h>
#include <zv/webview/FrameworkResources.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/ScriptValue.h>
#include <zv/webview/UserScript.h>
#include <zv/webview/WebViewContent.h>

#include <algorithm>
#include <filesystem>

namespace zv {

namespace {

constexpr char kFileScheme[] = "zvfile";
constexpr char kNoContextMenuScript[] =
    "document.getElementsByTagName('body')[0].setAttribute('oncontextmenu', 'event.preventDefault();');";
constexpr const char* kWindowMethods[] = {"setPageControllerClassName", "log", "openURL", "closeWindow",
                                          "showEmbeddedPage"};

struct WindowMethodRoute {
    std::weak_ptr<ZVWebWindowController> window;
    std::string method;
};

std::string bodyText(const std::optional<Value>& body) {
    if (!body || body->is_null()) return {};
    return body->is_string() ? body->get<std::string>() : body->dump();
}

void onWindowMethodMessage(WebKitUserContentManager*, JSCValue* body, gpointer data) {
    auto* route = static_cast<WindowMethodRoute*>(data);
    auto window = route->window.lock();
    if (!window) return;
    std::string argument = bodyText(valueFromJSCValue(body));
    if (route->method == "setPageControllerClassName")
        window->setPageControllerClassName(argument);
    else if (route->method == "log")
        window->log(argument);
    else if (route->method == "openURL")
        window->openURL(argument);
    else if (route->method == "closeWindow")
        window->closeWindow();
    else if (route->method == "showEmbeddedPage")
        window->showEmbeddedPage(argument);
}

bool fileExists(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

// The height of the monitor the window is on (or the first one).
std::optional<int> monitorHeight(GtkWindow* window) {
    GdkDisplay* display = gtk_widget_get_display(GTK_WIDGET(window));
    GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window));
    GdkMonitor* monitor = surface ? gdk_display_get_monitor_at_surface(display, surface) : nullptr;
    GObjectRef<GdkMonitor> first;
    if (!monitor) {
        first = GObjectRef<GdkMonitor>::adopt(
            static_cast<GdkMonitor*>(g_list_model_get_item(gdk_display_get_monitors(display), 0)));
        monitor = first.get();
    }
    if (!monitor) return std::nullopt;
    GdkRectangle geometry;
    gdk_monitor_get_geometry(monitor, &geometry);
    return geometry.height;
}

// The window as a log line names it: its type, address and title.
std::string windowDescription(GtkWindow* window) {
    const char* title = gtk_window_get_title(window);
    g_autofree char* text = g_strdup_printf("<%s: %p> \"%s\"", G_OBJECT_TYPE_NAME(window), static_cast<void*>(window),
                                            title ? title : "");
    return text;
}

}  // namespace

std::shared_ptr<ZVWebWindowController> ZVWebWindowController::create() {
    std::shared_ptr<ZVWebWindowController> controller(new ZVWebWindowController());
    controller->setPageController(ZVWebPageController::create());
    controller->setupWebView();
    return controller;
}

std::shared_ptr<ZVWebWindowController> ZVWebWindowController::sharedInstance() {
    // Never destroyed: at exit GTK may already be gone.
    static auto* instance = new std::shared_ptr<ZVWebWindowController>(create());
    return *instance;
}

ZVWebWindowController::ZVWebWindowController()
    : window_(GObjectRef<GtkWindow>::ref(GTK_WINDOW(gtk_window_new()))),
      webView_(ZVWebView::create()),
      schemeHandler_(ZVWebViewURLSchemeHandler::create()) {
    gtk_window_set_default_size(window_.get(), 600, 450);
    // Closing hides: the same window shows the next page.
    gtk_window_set_hide_on_close(window_.get(), TRUE);
    schemeHandler_->registerScheme(kFileScheme, fileSchemeRoutine());
    setURLSchemeHandler(webView_->webView(), schemeHandler_, kFileScheme);
    WebKitSettings* settings = webkit_web_view_get_settings(webView_->webView());
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);
    gtk_window_set_child(window_.get(), GTK_WIDGET(webView_->webView()));
    g_signal_connect(window_.get(), "close-request", G_CALLBACK(onCloseRequest), this);
}

ZVWebWindowController::~ZVWebWindowController() {
    closeWindow();
    g_signal_handlers_disconnect_by_data(webView_->webView(), this);
    g_signal_handlers_disconnect_by_data(window_.get(), this);
    if (pageController_) pageController_->setWindowController(nullptr);
    gtk_window_destroy(window_.get());
}

void ZVWebWindowController::setupWebView() {
    g_signal_connect(webView_->webView(), "decide-policy", G_CALLBACK(onDecidePolicy), this);
    g_signal_connect(webView_->webView(), "load-changed", G_CALLBACK(onLoadChanged), this);
    g_signal_connect(webView_->webView(), "load-failed", G_CALLBACK(onLoadFailed), this);
}

std::shared_ptr<const Bundle> ZVWebWindowController::resourceBundle() const {
    if (resourceBundle_) return resourceBundle_;
    return pageController_ ? pageController_->classBundle() : webKitResourceBundle();
}

// --- Page controller ---------------------------------------------------------

void ZVWebWindowController::setPageController(const std::shared_ptr<ZVWebPageController>& controller) {
    if (pageController_) pageController_->setWindowController(nullptr);
    pageController_ = controller;
    if (!controller) return;
    controller->setWindowController(shared_from_this());
    controller->setWebView(webView_);
}

void ZVWebWindowController::setPageControllerClassName(const std::string& name) {
    std::optional<RegisteredInstance> instance;
    if (pageControllerFactory_) {
        if (auto controller = pageControllerFactory_(name)) instance = RegisteredInstance{controller, controller};
    } else {
        instance = makeRegisteredInstance(name);
    }
    if (!instance) {
        zv::log("ERROR cannot find Class " + name + "!");
        return;
    }
    if (!instance->pageController) {
        zv::log("ERROR Class " + name + " does not inherit from ZVWebPageController!");
        return;
    }
    setPageController(instance->pageController);
    instance->pageController->setWebView(webView_);
    instance->pageController->pageDidLoad();
}

// --- Loading -----------------------------------------------------------------

void ZVWebWindowController::fetchHTMLAtURL(const URL& url, FetchCompletion completion) {
    fetchHTML(url, [completion = std::move(completion)](std::optional<std::string> html) {
        completion(std::move(html), std::nullopt);
    });
}

void ZVWebWindowController::loadURL(const URL& url) {
    std::weak_ptr<ZVWebWindowController> weak = weak_from_this();
    fetchHTML(url, [weak, url](std::optional<std::string> html) {
        if (!html) {
            dispatchMainAsync([weak] {
                auto self = weak.lock();
                if (self && self->pageController_) self->pageController_->_pageFailed();
            });
            return;
        }
        // Shared ownership crosses threads through the shared_ptr's atomic
        // count; the tree's own counts are only touched by one thread at a time.
        auto document = std::make_shared<html::Ref<html::HTMLDocument>>(html::HTMLDocument::documentWithString(*html));
        mergeIncludes(**document, url, [weak, url, document] {
            dispatchMainAsync([weak, url, document] {
                if (auto self = weak.lock()) self->finishLoad(**document, url);
            });
        });
    });
}

void ZVWebWindowController::finishLoad(html::HTMLDocument& document, const URL& url) {
    std::shared_ptr<PageLocalization> strings = pageController_;
    if (!strings) {
        strings = std::make_shared<PageLocalization>();
        strings->setURL(url);
        strings->setLocalizationBundle(resourceBundle());
    }
    Size size = strings->pageSize();
    std::optional<std::string> title;
    if (!url.lastPathComponent().empty()) {
        if (std::string value = strings->localizedStringForKey("@WindowSize"); value != "@WindowSize")
            size = sizeFromString(value);
        if (std::string value = strings->localizedStringForKey("@WindowTitle"); value != "@WindowTitle") title = value;
    }
    strings->setPageSize(size);
    sizeWindowToPageSize(size);
    zv::localizeHTMLDocument(document, *strings,
                             [this](const std::string& text) { gtk_window_set_title(window_.get(), text.c_str()); });
    if (title) gtk_window_set_title(window_.get(), title->c_str());
    if (url.isFileURL()) resolveHTMLDocument(document, url);
    if (pageController_) pageController_->_pageWillLoad();
    loadHTMLDocument(webView_->webView(), document, url);
}

void ZVWebWindowController::loadPageController() {
    if (!pageController_) return;
    if (std::optional<URL> url = pageController_->url()) loadURL(*url);
}

void ZVWebWindowController::loadFile(const std::string& name, const std::string& extension) {
    filePath_.clear();
    std::shared_ptr<const Bundle> bundle = resourceBundle();
    const std::string& root = bundle->resourcePath();
    auto localizedPath = [&](const std::string& language) {
        return root + "/" + language + ".lproj/" + name + "." + extension;
    };
    std::string language;
    if (preferredLocalization_) {
        language = *preferredLocalization_;
    } else {
        const auto& languages = bundle->preferredLocalizations();
        auto found = std::ranges::find_if(languages, [&](const std::string& l) { return fileExists(localizedPath(l)); });
        language = found != languages.end() ? *found : "en";
    }
    if (fileExists(localizedPath(language)))
        filePath_ = localizedPath(language);
    else if (fileExists(root + "/" + name + "." + extension))
        filePath_ = root + "/" + name + "." + extension;
    if (filePath_.empty()) return;
    std::optional<URL> url = URL::fromFilePath(filePath_);
    if (!url) return;
    if (pageController_) pageController_->setURL(*url);
    loadURL(*url);
}

void ZVWebWindowController::showEmbeddedPage(const std::string& path,
                                             const std::shared_ptr<ZVWebPageController>& controller) {
    setPageController(controller);
    std::filesystem::path file(path);
    std::string extension = file.has_extension() ? file.extension().string().substr(1) : "html";
    loadFile(file.replace_extension().string(), extension);
}

void ZVWebWindowController::openURL(const std::string& text) {
    std::optional<URL> url = URL::parse(text);
    if (url && url->host()) {
        openExternally(*url);
        return;
    }
    std::filesystem::path file(url ? url->string() : text);
    std::string extension = file.has_extension() ? file.extension().string().substr(1) : std::string();
    loadFile(file.replace_extension().string(), extension);
}

void ZVWebWindowController::log(const std::string& message) { zv::log("Javascript Log: " + message); }

void ZVWebWindowController::closeWindow() {
    if (gtk_widget_get_visible(GTK_WIDGET(window_.get())))
        gtk_window_close(window_.get());
    else if (pageController_)
        pageController_->runCloseWindowHandler();
}

gboolean ZVWebWindowController::onCloseRequest(GtkWindow*, gpointer data) {
    auto* self = static_cast<ZVWebWindowController*>(data);
    if (self->pageController_) self->pageController_->runCloseWindowHandler();
    return FALSE;
}

void ZVWebWindowController::sizeWindowToPageSize(Size size) {
    GtkWidget* window = GTK_WIDGET(window_.get());
    // The title bar, when GTK draws one, is what the window adds to its content.
    int chrome = 0;
    if (gtk_widget_get_realized(window))
        chrome = std::max(0, gtk_widget_get_height(window) - gtk_widget_get_height(GTK_WIDGET(webView_->webView())));
    double height = size.height + chrome;
    if (std::optional<int> screen = monitorHeight(window_.get())) height = std::min(height, double(*screen));
    gtk_window_set_default_size(window_.get(), int(size.width), int(height) - chrome);
}

// --- Localization ------------------------------------------------------------

void ZVWebWindowController::localizeHTMLDocument(html::HTMLDocument& document, const std::string&) {
    if (!pageController_) return;
    zv::localizeHTMLDocument(document, *pageController_,
                             [this](const std::string& text) { gtk_window_set_title(window_.get(), text.c_str()); });
}

std::string ZVWebWindowController::localizeHTML(std::string_view html, const std::string& table) {
    auto document = html::HTMLDocument::documentWithString(html);
    localizeHTMLDocument(*document, table);
    return document->documentElement()->outerHTML();
}

// --- Navigation --------------------------------------------------------------

gboolean ZVWebWindowController::onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                                               WebKitPolicyDecisionType type, gpointer data) {
    auto* self = static_cast<ZVWebWindowController*>(data);
    switch (type) {
    case WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION:
    case WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION:
        return self->decideNavigation(WEBKIT_NAVIGATION_POLICY_DECISION(decision),
                                      type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION);
    case WEBKIT_POLICY_DECISION_TYPE_RESPONSE:
        // WebKit would download what it cannot show.
        webkit_policy_decision_use(decision);
        return TRUE;
    }
    return FALSE;
}

bool ZVWebWindowController::decideNavigation(WebKitNavigationPolicyDecision* decision, bool newWindow) {
    WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(decision);
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    const char* uri = webkit_uri_request_get_uri(request);
    std::optional<URL> url = URL::parse(uri ? uri : "");
    std::optional<URL> page = pageController_ ? pageController_->url() : std::nullopt;
    bool allowed = !url || url->isFileURL() || url->scheme() == "about" || (page && *page == *url);
    if (allowed && !newWindow) return false;  // WebKit's default: go ahead
    // A new window allowed would go to WebKit's "create", which a page window has no view for.
    webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
    if (allowed)
        webkit_web_view_load_request(webView_->webView(), request);
    else
        openExternally(*url);
    return true;
}

void ZVWebWindowController::openExternally(const URL& url) {
    if (urlOpener_) {
        urlOpener_(url);
        return;
    }
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(url.string().c_str(), nullptr, &error)) {
        zv::log(LogLevel::Warning, "Cannot open " + url.string() + ": " + (error ? error->message : "unknown error"));
        g_clear_error(&error);
    }
}

// WebKit reports "finished" after a failure too; only a real finish counts.
void ZVWebWindowController::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    auto* self = static_cast<ZVWebWindowController*>(data);
    if (event == WEBKIT_LOAD_STARTED) self->navigationFailed_ = false;
    if (event == WEBKIT_LOAD_FINISHED && !std::exchange(self->navigationFailed_, false)) self->didFinishNavigation();
}

// Handled, so that WebKit shows no error page of its own: the page stays.
gboolean ZVWebWindowController::onLoadFailed(WebKitWebView*, WebKitLoadEvent, char*, GError*, gpointer data) {
    static_cast<ZVWebWindowController*>(data)->navigationFailed_ = true;
    return TRUE;
}

void ZVWebWindowController::didFinishNavigation() {
    auto self = shared_from_this();
    std::optional<URL> url = pageController_ ? pageController_->url() : std::nullopt;
    zv::log(LogLevel::Info, "WebView finished navigation to " + (url ? url->string() : std::string("(null)")) +
                                " inMain " + (isMainThread() ? "YES" : "NO"));
    evaluateJavaScript(webView_->webView(), kNoContextMenuScript);
    if (pageController_) pageController_->_pageDidLoad();
    zv::log(LogLevel::Info, "WebView showing window " + windowDescription(window_.get()) + " ");
    gtk_window_present(window_.get());
}

// --- Script-visible window methods --------------------------------------------

void ZVWebWindowController::exposeWindowMethodsToPage() {
    if (windowMethodsExposed_) return;
    windowMethodsExposed_ = true;
    WebKitUserContentManager* manager = webView_->userContentManager();
    std::string script = "var WindowController = {";
    for (const char* method : kWindowMethods) {
        std::string handler = std::string("ZVWindow_") + method;
        std::string signal = "script-message-received::" + handler;
        g_signal_connect_data(manager, signal.c_str(), G_CALLBACK(onWindowMethodMessage),
                              new WindowMethodRoute{weak_from_this(), method},
                              [](gpointer route, GClosure*) { delete static_cast<WindowMethodRoute*>(route); },
                              GConnectFlags(0));
        webkit_user_content_manager_register_script_message_handler(manager, handler.c_str(), nullptr);
        script += std::string(method) + ": function(a) { window.webkit.messageHandlers." + handler +
                  ".postMessage(a === undefined ? null : a); }, ";
    }
    script += "};";
    webView_->addUserScript(makeDocumentStartScript(script, /*topFrameOnly*/ true).get());
}

}  // namespace zv
