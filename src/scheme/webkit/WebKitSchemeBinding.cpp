#include <zv/scheme/WebKitSchemeBinding.h>

#include "WebKitURLSchemeTask.h"

#include <zv/foundation/Log.h>
#include <zv/scheme/IconThemeSymbols.h>
#include <zv/scheme/SymbolImage.h>
#include <zv/webview/ZVWebView.h>

#include <webkit/webkit.h>

#include <map>
#include <set>

namespace zv {

namespace {

using ViewHandlers = std::map<std::string, std::shared_ptr<ZVWebViewURLSchemeHandler>>;

constexpr char kViewHandlersKey[] = "zv-url-scheme-handlers";
constexpr char kContextSchemesKey[] = "zv-url-schemes";

// Schemes WebKit answers itself; registering one would take it away from
// every page of the context.
bool isWebKitScheme(const std::string& scheme) {
    for (const char* own : {"http", "https", "file", "data", "blob", "about", "javascript", "ws", "wss", "ftp"}) {
        if (scheme == own) return true;
    }
    return false;
}

ViewHandlers* handlersOf(WebKitWebView* view) {
    return static_cast<ViewHandlers*>(g_object_get_data(G_OBJECT(view), kViewHandlersKey));
}

void failUnsupported(WebKitURISchemeRequest* request) {
    GError* error = g_error_new_literal(g_quark_from_static_string(kURLErrorDomain), int(kURLErrorUnsupportedURL),
                                        "No scheme handler serves this URL in this web view.");
    webkit_uri_scheme_request_finish_error(request, error);
    g_error_free(error);
}

void routeRequest(WebKitURISchemeRequest* request, gpointer) {
    WebKitWebView* view = webkit_uri_scheme_request_get_web_view(request);
    ViewHandlers* handlers = view ? handlersOf(view) : nullptr;
    auto found = handlers ? handlers->find(webkit_uri_scheme_request_get_scheme(request)) : ViewHandlers::iterator();
    if (!handlers || found == handlers->end()) {
        failUnsupported(request);
        return;
    }
    std::shared_ptr<ZVWebViewURLSchemeHandler> handler = found->second;
    // Hosts know their ZVWebView, not the widget inside it.
    std::shared_ptr<ZVWebView> owner = ZVWebView::owning(view);
    const void* object = owner ? static_cast<const void*>(owner.get()) : view;
    // The stop report names the task, which owns the report: a weak link breaks the cycle.
    auto self = std::make_shared<std::weak_ptr<URLSchemeTask>>();
    auto task = std::make_shared<WebKitURLSchemeTask>(request, [handler, object, self] {
        handler->stopURLSchemeTask(object, self->lock());
    });
    *self = task;
    handler->startURLSchemeTask(object, task);
}

void registerWithContext(WebKitWebContext* context, const std::string& scheme) {
    auto* schemes = static_cast<std::set<std::string>*>(g_object_get_data(G_OBJECT(context), kContextSchemesKey));
    if (!schemes) {
        schemes = new std::set<std::string>();
        g_object_set_data_full(G_OBJECT(context), kContextSchemesKey, schemes,
                               [](gpointer data) { delete static_cast<std::set<std::string>*>(data); });
    }
    if (!schemes->insert(scheme).second) return;
    webkit_web_context_register_uri_scheme(context, scheme.c_str(), routeRequest, nullptr, nullptr);
    WebKitSecurityManager* security = webkit_web_context_get_security_manager(context);
    webkit_security_manager_register_uri_scheme_as_secure(security, scheme.c_str());
    webkit_security_manager_register_uri_scheme_as_cors_enabled(security, scheme.c_str());
}

}  // namespace

void setURLSchemeHandler(WebKitWebView* webView, const std::shared_ptr<ZVWebViewURLSchemeHandler>& handler,
                         const std::string& name) {
    // WebKit gives request schemes lower-cased; a table entry with capitals
    // still reaches its handler, which then finds no routine for it.
    std::string scheme = name;
    for (char& c : scheme) c = g_ascii_tolower(c);
    if (isWebKitScheme(scheme)) {
        log(LogLevel::Warning, "setURLSchemeHandler: WebKit serves \"" + scheme + "\" itself; not bound");
        return;
    }
    if (!symbolRenderer()) useIconThemeSymbols();
    registerWithContext(webkit_web_view_get_context(webView), scheme);
    ViewHandlers* handlers = handlersOf(webView);
    if (!handlers) {
        handlers = new ViewHandlers();
        g_object_set_data_full(G_OBJECT(webView), kViewHandlersKey, handlers,
                               [](gpointer data) { delete static_cast<ViewHandlers*>(data); });
    }
    (*handlers)[scheme] = handler;
}

void setURLSchemeHandler(WebKitWebView* webView, const std::shared_ptr<ZVWebViewURLSchemeHandler>& handler) {
    for (const auto& [scheme, routine] : *handler->schemeHandlers()) setURLSchemeHandler(webView, handler, scheme);
}

std::shared_ptr<ZVWebViewURLSchemeHandler> urlSchemeHandler(WebKitWebView* webView, const std::string& scheme) {
    ViewHandlers* handlers = handlersOf(webView);
    if (!handlers) return nullptr;
    std::string key = scheme;
    for (char& c : key) c = g_ascii_tolower(c);
    auto found = handlers->find(key);
    return found == handlers->end() ? nullptr : found->second;
}

}  // namespace zv
