#include <zv/webview/ScriptEvaluation.h>

#include <zv/foundation/MainThread.h>
#include <zv/foundation/GObjectRef.h>
#include <zv/webview/ScriptValue.h>

#include <webkit/webkit.h>

#include <memory>
#include <string>

namespace zv {

namespace {

void evaluationFinished(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<ScriptCompletion> completion(static_cast<ScriptCompletion*>(data));
    GError* gerror = nullptr;
    auto value = GObjectRef<JSCValue>::adopt(
        webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &gerror));
    if (!*completion) {
        g_clear_error(&gerror);
        return;
    }
    if (gerror) {
        Error error{g_quark_to_string(gerror->domain), gerror->code, gerror->message ? gerror->message : ""};
        g_error_free(gerror);
        (*completion)(std::nullopt, std::move(error));
        return;
    }
    (*completion)(valueFromJSCValue(value.get()), std::nullopt);
}

}  // namespace

void evaluateJavaScript(WebKitWebView* webView, std::string_view script, ScriptCompletion completion) {
    std::string text(script);
    webkit_web_view_evaluate_javascript(webView, text.c_str(), static_cast<gssize>(text.size()), nullptr, nullptr,
                                        nullptr, evaluationFinished, new ScriptCompletion(std::move(completion)));
}

void evaluateJavaScriptAndWait(WebKitWebView* webView, std::string_view script, const ScriptCompletion& completion) {
    auto answered = std::make_shared<bool>(false);
    evaluateJavaScript(webView, script, [answered, completion](std::optional<Value> value, std::optional<Error> error) {
        *answered = true;
        if (completion) completion(std::move(value), std::move(error));
    });
    spinMainContextUntil([&] { return *answered; });
}

}  // namespace zv
