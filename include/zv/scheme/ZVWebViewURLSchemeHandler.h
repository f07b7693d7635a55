// The object a web view asks for every URL of the framework's own schemes.
//
// A handler keeps a table from scheme name to a routine, the resources of
// the displayed message with a provider to fall back on, and counts of the
// network loads pending and completed for a progress display. A web view
// binding (WebKitSchemeBinding.h) hands it tasks; without one, any code that
// implements URLSchemeTask can.
//
// Routing: startURLSchemeTask looks the task's lower-cased URL scheme up in
// the table and calls the routine with the request and a completion made for
// that task; a scheme with no routine is answered with nothing at once. A
// routine calls its completion once, from any thread, with a response and
// data, or an error, or nothing at all; the completion hands the answer to
// the task on the main thread:
// - an error fails the task with it;
// - a response is handed over with the data, which ends the task;
// - nothing fails the task with code 2112 in zv::kZVWebKitErrorDomain and
//   posts ZVWebViewResourceLoadFailedNotification (object: the web view,
//   user info {"URL": url}); through the WebKit binding the object is the
//   view's ZVWebView, or the WebKitWebView when no ZVWebView owns it.
// A tracked answer (untracked = false) then goes to the delegate's
// completedURLRequest and moves its URL from pendingLoads to completedLoads,
// and the delegate's reportedLoadProgress gets completed / (completed +
// pending). Only the network path adds to pendingLoads; the message-part and
// symbol routines answer untracked.
//
// Once any task has been stopped (stopURLSchemeTask), the handler is
// cancelled for good: no answer reaches any of its tasks again, though the
// bookkeeping goes on. A handler serves one web view, so a stop means the
// view has moved on.
//
// The scheme and resource tables are replaced whole under the handler's
// lock, so a reader holding the previous one never sees it change; the load
// lists are copied out under it. Members are safe from any thread unless
// noted.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Error.h>
#include <zv/scheme/SchemeKeys.h>
#include <zv/scheme/URLRequest.h>
#include <zv/scheme/URLResponse.h>
#include <zv/scheme/URLSchemeTask.h>
#include <zv/scheme/ZVMimeResource.h>
#include <zv/scheme/ZVWebViewResourceProvider.h>
#include <zv/scheme/ZVWebViewURLSchemeHandlerDelegate.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zv {

class URLCache;

class ZV_EXPORT ZVWebViewURLSchemeHandler : public std::enable_shared_from_this<ZVWebViewURLSchemeHandler> {
public:
    // How a routine answers: response, data and error each optional; an
    // untracked answer skips the delegate and the load bookkeeping.
    using Completion = std::function<void(std::optional<URLResponse> response, std::optional<Data> data,
                                          std::optional<Error> error, bool untracked)>;
    using Routine = std::function<void(const URLRequest& request, Completion completion)>;
    using SchemeTable = std::map<std::string, Routine>;
    // Keyed by the full URL ("cid:part1.abc@host").
    using ResourceTable = std::map<std::string, std::shared_ptr<const ZVMimeResource>>;
    using URLList = std::vector<std::string>;

    // No scheme is registered by any of these; see setupHTTPOverrides.
    static std::shared_ptr<ZVWebViewURLSchemeHandler> create();
    // With a resource provider, held weakly.
    static std::shared_ptr<ZVWebViewURLSchemeHandler> create(const std::shared_ptr<ZVWebViewResourceProvider>& provider);
    // With the given message resources.
    static std::shared_ptr<ZVWebViewURLSchemeHandler> create(ResourceTable messageResources);

    ZVWebViewURLSchemeHandler(const ZVWebViewURLSchemeHandler&) = delete;
    ZVWebViewURLSchemeHandler& operator=(const ZVWebViewURLSchemeHandler&) = delete;

    // --- Routing and tasks -------------------------------------------------

    // Stores `routine` under `scheme` exactly as given. Lookups lower-case
    // the URL's scheme, so a name with capitals is never found.
    void registerScheme(const std::string& scheme, Routine routine);
    std::shared_ptr<const SchemeTable> schemeHandlers() const;

    // `webView` identifies the view (the object of the failure notification);
    // it is never dereferenced. Call on the main thread.
    void startURLSchemeTask(const void* webView, const std::shared_ptr<URLSchemeTask>& task);
    // Cancels the handler for good (see above). Any thread. `task` is null
    // when it was dropped unanswered before its web view stopped it.
    void stopURLSchemeTask(const void* webView, const std::shared_ptr<URLSchemeTask>& task);
    bool cancelled() const { return cancelled_.load(std::memory_order_acquire); }

    // Answers `task` with an HTTP/1.1 403 response for `url`, without header
    // fields or body, unless the handler is cancelled. For hosts that refuse
    // a load themselves. Call on the main thread.
    void sendForbiddenResponseForTask(const std::shared_ptr<URLSchemeTask>& task, const std::string& url);

    // --- Message resources -------------------------------------------------

    // Replaces the resource stored under `url`.
    void addResource(std::shared_ptr<const ZVMimeResource> resource, const std::string& url);
    void removeCurrentResources();
    std::shared_ptr<const ResourceTable> messageResources() const;

    void setResourceProvider(const std::shared_ptr<ZVWebViewResourceProvider>& provider);
    std::shared_ptr<ZVWebViewResourceProvider> resourceProvider() const;

    // --- Reports -----------------------------------------------------------

    void setDelegate(const std::shared_ptr<ZVWebViewURLSchemeHandlerDelegate>& delegate);
    std::shared_ptr<ZVWebViewURLSchemeHandlerDelegate> delegate() const;

    // Network loads started and not yet answered, and loads answered so far
    // (a URL answered twice is there twice). Nothing resets them.
    URLList pendingLoads() const;
    URLList completedLoads() const;

    // --- Built-in schemes --------------------------------------------------

    // Registers the six built-in schemes: "cid" (message parts, with the
    // provider and then a placeholder symbol to fall back on), "wren-http"
    // and "wren-https" (wrenHTTPHandler), "wren-exclude-http" and
    // "wren-exclude-https" (refused: answered with nothing), "wren-symbol"
    // (handleSymbolRequest). The routines hold the handler weakly. Call once
    // after creating the handler.
    void setupHTTPOverrides();

    // Turns "wren-https://host/a.png" into "https://host/a.png" (the first
    // five characters are cut, unchecked) and answers it with handleRequest.
    void wrenHTTPHandler(const URLRequest& request, Completion completion);

    // Answers `rewritten` from the shared URLCache when it holds the URL,
    // whatever the entry's age (untracked), and otherwise from the network
    // (tracked): `incoming`'s URL joins pendingLoads, the delegate hears
    // startedURLRequest (on the main thread), and an HTTP answer with a body
    // is handed on and stored in the cache. The cache is read on one worker
    // thread and written on another, each one operation at a time in the
    // order asked, so a page of many images never stalls the main loop on
    // SQLite, and a lookup waits at most for the store being written, not
    // for those queued; an answer still on its way to the cache is found by
    // a lookup asked after it was handed on. The network load runs on a
    // thread of its own and calls `completion` there. Answers still reach
    // the task on the main thread. Requests other than GET bypass the cache.
    // A time-out of exactly 60 seconds shares one session; any other gets a
    // session of its own with that time-out. A body over 64 MiB fails the
    // load with kURLErrorDataLengthExceedsMaximum.
    void handleRequest(const URLRequest& incoming, const URLRequest& rewritten, Completion completion);

    // Answers a "wren-symbol" request with the PNG of the symbol (see
    // SymbolImage.h), untracked, or with error -1100 in zv::kURLErrorDomain,
    // tracked, when there is no such symbol. The symbol is drawn on a worker
    // thread, which calls `completion`, always after this returns (a page of
    // symbols would otherwise hold the main loop); the last symbols drawn are
    // kept and answered again without drawing.
    static void handleSymbolRequest(const URLRequest& request, Completion completion);
    // Answers with the placeholder for a missing part: the symbol
    // "questionmark.square.dashed" at size 36, light, in the accent colour,
    // as handleSymbolRequest does.
    static void makeMissingResourceWithHandler(Completion completion);

private:
    ZVWebViewURLSchemeHandler() = default;

    Completion completionForTask(const void* webView, const std::shared_ptr<URLSchemeTask>& task);
    void deliver(const void* webView, URLSchemeTask& task, const std::optional<URLResponse>& response,
                 const std::optional<Data>& data, const std::optional<Error>& error, bool untracked);
    void answerTask(const void* webView, URLSchemeTask& task, const std::optional<URLResponse>& response,
                    const std::optional<Data>& data, const std::optional<Error>& error);
    void recordCompletedLoad(const std::string& url);
    void recordPendingLoad(const std::string& url);
    void answerContentId(const URLRequest& request, Completion completion);
    void fetch(const URLRequest& incoming, const URLRequest& rewritten, std::shared_ptr<URLCache> cache,
               Completion completion);

    mutable std::mutex mutex_;
    std::atomic<bool> cancelled_{false};
    std::shared_ptr<const SchemeTable> schemeHandlers_ = std::make_shared<const SchemeTable>();
    std::shared_ptr<const ResourceTable> messageResources_ = std::make_shared<const ResourceTable>();
    // Grown in place: copying them whole on every load made a long-lived
    // handler's loads quadratic in their number.
    URLList pendingLoads_;
    URLList completedLoads_;
    std::weak_ptr<ZVWebViewResourceProvider> resourceProvider_;
    std::weak_ptr<ZVWebViewURLSchemeHandlerDelegate> delegate_;
};

}  // namespace zv
