#include <zv/webview/WebViewSearch.h>

#include <zv/foundation/Bundle.h>
#include <zv/foundation/WholeNumber.h>
#include <zv/foundation/Log.h>
#include <zv/webview/ScriptEvaluation.h>

#include <glib.h>

#include <cassert>
#include <cmath>
#include <iostream>
#include <optional>
#include <string>

namespace zv {

namespace {

std::optional<std::string> readSearchScript(const std::string& path) {
    gchar* bytes = nullptr;
    gsize length = 0;
    GError* error = nullptr;
    if (!g_file_get_contents(path.c_str(), &bytes, &length, &error)) {
        std::cout << "could not load javascript:" << error->message << std::endl;
        g_error_free(error);
        return std::nullopt;
    }
    gchar* valid = g_utf8_make_valid(bytes, static_cast<gssize>(length));
    std::string script(valid);
    g_free(valid);
    g_free(bytes);
    return script;
}

}  // namespace

void highlightAllOccurencesOfString(WebKitWebView* webView, std::string_view text) {
    std::optional<std::string> path = Bundle::mainBundle()->pathForResource("SearchWebView", "js");
    if (!path) return;
    std::optional<std::string> script = readSearchScript(*path);
    if (!script) return;
    evaluateJavaScript(webView, *script);
    evaluateJavaScript(webView, "WKWebView_HighlightAllOccurencesOfString('" + std::string(text) + "')");
}

void handleSearchResultCount(WebKitWebView* webView, std::function<void(int64_t count)> completion) {
    evaluateJavaScript(webView, "WKWebView_SearchResultCount",
                       [completion = std::move(completion)](std::optional<Value> value, std::optional<Error> error) {
                           if (error || !value || !completion) return;
                           if (value->is_number_integer() || (value->is_number_float() && std::isfinite(value->get<double>())))
                               return completion(wholeNumber(*value));
                           // The script's count is a number by contract: anything else is a programming error.
                           g_log_structured(kLogDomain, G_LOG_LEVEL_CRITICAL, "MESSAGE",
                                            "WKWebView_SearchResultCount is not a number: %s", value->dump().c_str());
                           assert(!"WKWebView_SearchResultCount is not a number");
                       });
}

void removeAllHighlights(WebKitWebView* webView) { evaluateJavaScript(webView, "WKWebView_RemoveAllHighlights()"); }

void searchNext(WebKitWebView* webView) { evaluateJavaScript(webView, "WKWebView_SearchNext()"); }

void searchPrevious(WebKitWebView* webView) { evaluateJavaScript(webView, "WKWebView_SearchPrev()"); }

}  // namespace zv
