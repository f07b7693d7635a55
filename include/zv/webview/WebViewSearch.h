// A simple in-page search for any WebKitWebView, driven by the host's
// search script.
//
// The script is the resource "SearchWebView.js" of the host's main bundle
// (Bundle::mainBundle()). It must define, in the page's global scope:
//   WKWebView_HighlightAllOccurencesOfString(text)  highlight every occurrence
//   WKWebView_SearchResultCount                     the number highlighted (a value)
//   WKWebView_SearchNext(), WKWebView_SearchPrev()  move to the next/previous one
//   WKWebView_RemoveAllHighlights()                 remove all highlights
// ("Occurences" is spelt so on both sides.) The search happens in the page;
// these calls only send it there. Script errors in the page (the script not
// loaded yet, a search text that breaks the call) are ignored.
//
// Main thread only.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <functional>
#include <string_view>

typedef struct _WebKitWebView WebKitWebView;

namespace zv {

// Evaluates the search script (read anew on every call; nothing happens
// when the bundle has none, and an unreadable file prints "could not load
// javascript:<reason>"), then "WKWebView_HighlightAllOccurencesOfString('<text>')".
// The text goes into the call as it is: an apostrophe or backslash in it
// changes or breaks the call.
ZV_EXPORT void highlightAllOccurencesOfString(WebKitWebView* webView, std::string_view text);

// Reads WKWebView_SearchResultCount and, later on the main thread, calls
// `completion` with it. When the page reports an error or no value the
// completion is never called. A value that is not a number is a
// programming error of the search script: a build with assertions aborts; a
// release build logs it as a GLib critical (fatal under
// G_DEBUG=fatal-criticals) and does not call the completion.
ZV_EXPORT void handleSearchResultCount(WebKitWebView* webView, std::function<void(int64_t count)> completion);

ZV_EXPORT void removeAllHighlights(WebKitWebView* webView);
ZV_EXPORT void searchNext(WebKitWebView* webView);
// Calls the page's WKWebView_SearchPrev().
ZV_EXPORT void searchPrevious(WebKitWebView* webView);

}  // namespace zv
