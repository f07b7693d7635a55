// Serving a scheme handler to WebKitGTK web views.
//
// WebKitGTK takes custom URL schemes per web context, not per view: each
// scheme is registered once with a context (and with its security manager as
// secure and CORS-enabled, so that https pages may show "cid" images and
// scripts may fetch them). Each request is then routed to the handler bound
// to the request's web view for that scheme, wrapped as a URLSchemeTask that
// answers the request exactly once. A request of a view with no handler for
// its scheme fails at once (-1002, unsupported URL).
//
// A stopped load: WebKitGTK does not announce it, but it lets go of the
// request, and that is watched for (a toggle reference). When WebKit drops an
// unanswered request (the view navigated away, stopped loading or closed),
// the handler's stopURLSchemeTask runs, and the task takes no answer after
// that. A request its handler never answers stays open until WebKit gives up
// on it with its page.
//
// The view holds its handlers (strongly, as a web view configuration does)
// until it is finalized. Call on the main thread.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <memory>
#include <string>

typedef struct _WebKitWebView WebKitWebView;

namespace zv {

// `handler` answers `webView`'s requests for `scheme` (lower-case); when a
// ZVWebView owns `webView`, the handler is told that view as the requests'
// web view (and posts it as the object of its notifications). Schemes
// that WebKit serves itself ("http", "file", "data", ...) are refused with a
// log line. The first binding in the process also installs the icon-theme
// symbol renderer (IconThemeSymbols.h) unless a renderer is already set.
ZV_EXPORT void setURLSchemeHandler(WebKitWebView* webView, const std::shared_ptr<ZVWebViewURLSchemeHandler>& handler,
                         const std::string& scheme);
// The same for every scheme in `handler`'s table at the time of the call.
ZV_EXPORT void setURLSchemeHandler(WebKitWebView* webView, const std::shared_ptr<ZVWebViewURLSchemeHandler>& handler);

// The handler bound to `webView` for `scheme`, if any.
ZV_EXPORT std::shared_ptr<ZVWebViewURLSchemeHandler> urlSchemeHandler(WebKitWebView* webView, const std::string& scheme);

}  // namespace zv
