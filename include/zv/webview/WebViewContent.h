// Content operations on any WebKitWebView: load a parsed document, measure
// the body's content, read the selection, and two debugging dumps.
//
// Each runs a fixed script in the page. The height scripts measure the body
// by wrapping its content in one div inside a deep clone of the body,
// swapping the clone in, reading the height of the clone's first element
// child and swapping the real body back. Their numbers are what message
// views have always been sized by, quirks included: the scroll height is 15
// pixels short; the wrapping moves every second child of the body (the
// list it walks is live) and puts the wrapper last, so the element measured
// is often not the wrapper; and the scroll-height script does not declare
// its `bodyClone`: it works only once the page, or an earlier client-height
// measurement (whose declaration makes `bodyClone` a page global), defined
// it, and it then reuses that clone.
//
// Main thread only. Operations marked "waits" spin the main context (1 ms
// sleeps when idle) until the page has answered; the page keeps running.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/URL.h>
#include <zv/html/HTMLDocument.h>
#include <zv/webview/ScriptEvaluation.h>

#include <optional>
#include <string>

typedef struct _WebKitWebView WebKitWebView;

namespace zv {

// Loads the outer HTML of the document's root element (the doctype is not
// part of it) with `baseURL` for relative references. Does not wait.
ZV_EXPORT void loadHTMLDocument(WebKitWebView* webView, const html::HTMLDocument& document,
                      const std::optional<URL>& baseURL = std::nullopt);

// The completion gets the height, or nothing and the error when the script
// failed (a page without `bodyClone`). Waits: returns after the completion ran.
ZV_EXPORT void fetchBodyScrollHeight(WebKitWebView* webView, const ScriptCompletion& completion);
// The client height of the same element. Does not wait.
ZV_EXPORT void fetchBodyClientHeight(WebKitWebView* webView, ScriptCompletion completion);

// The selection as HTML: the whole body's inner HTML when the selection is
// collapsed, else the first range's contents (text nodes as their text,
// other nodes as their outer HTML; the range's text when it has no nodes),
// else "". Does not wait.
ZV_EXPORT void fetchHTMLContentsOfSelection(WebKitWebView* webView, ScriptCompletion completion);

// A report of the sizing swap as HTML comments. The script stops at a name
// it never declares, so what comes back is that error's message. Waits.
ZV_EXPORT std::string debugSizingHTML(WebKitWebView* webView);
// The page's document.documentElement.outerHTML. Waits, and as a debugging
// aid it waits for good if the page cannot answer (no document element).
ZV_EXPORT std::string debugCurrentHTML(WebKitWebView* webView);

}  // namespace zv
