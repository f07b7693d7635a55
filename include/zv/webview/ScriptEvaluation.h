// Running scripts in a page and reading their answers.
//
// evaluateJavaScript runs a script in the main frame of a web view (main
// world) and hands its answer to a completion on the main thread, after the
// call has returned: the value as a Value (nothing for undefined), or nothing
// and an error when the script threw or could not run. The error's domain is
// the engine's ("WebKitJavascriptError"), its message the exception's text
// ("ReferenceError: Can't find variable: x").
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Error.h>
#include <zv/foundation/Value.h>

#include <functional>
#include <optional>
#include <string_view>

typedef struct _WebKitWebView WebKitWebView;

namespace zv {

using ScriptCompletion = std::function<void(std::optional<Value> value, std::optional<Error> error)>;

// Without a completion the answer is dropped, errors included.
ZV_EXPORT void evaluateJavaScript(WebKitWebView* webView, std::string_view script, ScriptCompletion completion = {});

// Evaluates `script` and spins the main context (blocking in its poll)
// until the answer has arrived; then calls `completion` and returns. Main
// thread only. There is no time limit: the engine always answers, with an
// error when the page is gone.
ZV_EXPORT void evaluateJavaScriptAndWait(WebKitWebView* webView, std::string_view script, const ScriptCompletion& completion);

}  // namespace zv
