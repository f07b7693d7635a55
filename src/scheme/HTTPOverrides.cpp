// The built-in scheme table: message parts, remote content through the cache,
// refused remote content and symbol images.
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include "HTTPLoader.h"

#include <zv/foundation/Log.h>
#include <zv/foundation/MainThread.h>
#include <zv/foundation/OperationQueue.h>
#include <zv/scheme/URLCache.h>

#include <mutex>
#include <string>
#include <unordered_map>

namespace zv {

namespace {

constexpr char kLogIdentifier[] = "com.quillmere.ZVFoundation";
// "wren-https://host/a.png" less this many characters is "https://host/a.png".
constexpr size_t kInternalPrefixLength = 5;

// A built-in routine: one of the handler's members, reached through a weak
// reference so that the table does not keep its own handler alive.
ZVWebViewURLSchemeHandler::Routine weakly(
    const std::weak_ptr<ZVWebViewURLSchemeHandler>& handler,
    void (ZVWebViewURLSchemeHandler::*member)(const URLRequest&, ZVWebViewURLSchemeHandler::Completion)) {
    return [handler, member](const URLRequest& request, ZVWebViewURLSchemeHandler::Completion completion) {
        if (auto strong = handler.lock())
            ((*strong).*member)(request, std::move(completion));
        else
            completion(std::nullopt, std::nullopt, std::nullopt, false);
    };
}

void refuse(const URLRequest&, ZVWebViewURLSchemeHandler::Completion completion) {
    completion(std::nullopt, std::nullopt, std::nullopt, false);
}

// SQLite work of the URL cache runs off the main thread, lookups on one
// queue and stores on another, each one at a time in the order asked: a page
// of large images leaves seconds of writing behind it, and the next page's
// lookups must not wait for all of it.
std::shared_ptr<OperationQueue> serialQueue() {
    return OperationQueue::withSetup([](OperationQueue& created) { created.setMaxConcurrentOperationCount(1); }, nullptr);
}

OperationQueue& lookupQueue() {
    static const std::shared_ptr<OperationQueue> queue = serialQueue();
    return *queue;
}

OperationQueue& storeQueue() {
    static const std::shared_ptr<OperationQueue> queue = serialQueue();
    return *queue;
}

// Answers on their way to the cache, so that a lookup asked after a store
// finds its answer though the store has not run yet.
class PendingStores {
public:
    static PendingStores& shared() {
        static PendingStores pending;
        return pending;
    }
    void add(const std::shared_ptr<URLCache>& cache, const std::string& url,
             const std::shared_ptr<const CachedURLResponse>& stored) {
        std::lock_guard lock(mutex_);
        entries_[url] = {cache.get(), stored};
    }
    std::shared_ptr<const CachedURLResponse> find(const URLCache* cache, const std::string& url) {
        std::lock_guard lock(mutex_);
        auto found = entries_.find(url);
        return found != entries_.end() && found->second.cache == cache ? found->second.stored : nullptr;
    }
    // Once written: a later store of the same URL stays until it is written too.
    void remove(const std::string& url, const CachedURLResponse* stored) {
        std::lock_guard lock(mutex_);
        auto found = entries_.find(url);
        if (found != entries_.end() && found->second.stored.get() == stored) entries_.erase(found);
    }

private:
    struct Entry {
        const URLCache* cache;
        std::shared_ptr<const CachedURLResponse> stored;
    };
    std::mutex mutex_;
    std::unordered_map<std::string, Entry> entries_;
};

std::optional<CachedURLResponse> lookUp(URLCache& cache, const std::string& url) {
    if (auto pending = PendingStores::shared().find(&cache, url)) return *pending;
    return cache.cachedResponse(url);
}

void store(const std::shared_ptr<URLCache>& cache, const std::string& url, CachedURLResponse answer) {
    auto stored = std::make_shared<const CachedURLResponse>(std::move(answer));
    PendingStores::shared().add(cache, url, stored);
    storeQueue().addOperation([cache, url, stored] {
        cache->storeCachedResponse(url, *stored);
        PendingStores::shared().remove(url, stored.get());
    });
}

}  // namespace

void ZVWebViewURLSchemeHandler::setupHTTPOverrides() {
    std::weak_ptr<ZVWebViewURLSchemeHandler> self = weak_from_this();
    registerScheme(ZVWebViewContentIdSchemeKey, weakly(self, &ZVWebViewURLSchemeHandler::answerContentId));
    registerScheme(ZVWebViewInternalHTTPSchemeKey, weakly(self, &ZVWebViewURLSchemeHandler::wrenHTTPHandler));
    registerScheme(ZVWebViewInternalHTTPSSchemeKey, weakly(self, &ZVWebViewURLSchemeHandler::wrenHTTPHandler));
    registerScheme(ZVWebViewExclusionHTTPSchemeKey, refuse);
    registerScheme(ZVWebViewExclusionHTTPSSchemeKey, refuse);
    registerScheme(ZVWebViewInternalSymbolSchemeKey, &ZVWebViewURLSchemeHandler::handleSymbolRequest);
}

void ZVWebViewURLSchemeHandler::answerContentId(const URLRequest& request, Completion completion) {
    auto resources = messageResources();
    if (auto found = resources->find(request.url); found != resources->end() && found->second) {
        const ZVMimeResource& resource = *found->second;
        completion(URLResponse::forData(request.url, resource.MIMEType, std::int64_t(resource.data.size())),
                   resource.data, std::nullopt, true);
        return;
    }
    auto provider = resourceProvider();
    if (!provider) {
        makeMissingResourceWithHandler(std::move(completion));
        return;
    }
    provider->resourceDataForURL(
        request.url, [url = request.url, completion](std::optional<std::string> mimeType, std::optional<Data> data) {
            if (!mimeType || !data) {
                makeMissingResourceWithHandler(completion);
                return;
            }
            auto length = std::int64_t(data->size());
            completion(URLResponse::forData(url, std::move(*mimeType), length), std::move(data), std::nullopt, true);
        });
}

void ZVWebViewURLSchemeHandler::wrenHTTPHandler(const URLRequest& request, Completion completion) {
    URLRequest rewritten = request;
    rewritten.url = request.url.size() > kInternalPrefixLength ? request.url.substr(kInternalPrefixLength) : "";
    handleRequest(request, rewritten, std::move(completion));
}

void ZVWebViewURLSchemeHandler::handleRequest(const URLRequest& incoming, const URLRequest& rewritten,
                                              Completion completion) {
    // Only a GET names its answer by URL alone: a POST's depends on its body.
    auto self = shared_from_this();
    if (rewritten.httpMethod != "GET") {
        dispatchMainAsync([self, incoming, rewritten, completion = std::move(completion)]() mutable {
            self->fetch(incoming, rewritten, nullptr, std::move(completion));
        });
        return;
    }
    lookupQueue().addOperation([self, incoming, rewritten, completion = std::move(completion),
                                cache = URLCache::shared()]() mutable {
        if (auto cached = lookUp(*cache, rewritten.url)) {
            log(LogLevel::Info, "RequestCache: returning cached response for " + rewritten.url,
                {kLogIdentifier, "URLHandling"});
            completion(std::move(cached->response), std::move(cached->data), std::nullopt, true);
            return;
        }
        log(LogLevel::Info, "RequestCache: no cached response for " + rewritten.url, {kLogIdentifier, "URLHandling"});
        self->fetch(incoming, rewritten, std::move(cache), std::move(completion));
    });
}

// From any thread: a miss goes from the lookup queue's thread straight to the HTTP
// loader's. The delegate hears of the load on the main thread, queued there
// before the load starts, so before any answer the completion queues there.
// The answer comes on the loader's thread, where its body is copied for
// `cache` (none for a request that is not cached) and handed on.
void ZVWebViewURLSchemeHandler::fetch(const URLRequest& incoming, const URLRequest& rewritten,
                                      std::shared_ptr<URLCache> cache, Completion completion) {
    recordPendingLoad(incoming.url);
    auto announce = [self = shared_from_this(), incoming] {
        if (auto delegate = self->delegate(); delegate && delegate->startedURLRequest)
            delegate->startedURLRequest(*self, incoming);
    };
    if (isMainThread())
        announce();
    else
        dispatchMainAsync(std::move(announce));

    loadHTTP(rewritten, [cache, key = rewritten.url, completion = std::move(completion)](
                            std::optional<URLResponse> response, std::optional<Data> data, std::optional<Error> error) {
        if (data && response && response->isHTTP()) {
            if (cache) store(cache, key, CachedURLResponse{*response, *data});
            completion(std::move(response), std::move(data), std::nullopt, false);
            return;
        }
        if (!error) return;
        // Worded as the host's logs have always described an error.
        std::string message = "Error handling URL: Error Domain=" + error->domain +
                              " Code=" + std::to_string(error->code) + " \"" + error->message + "\"";
        completion(std::nullopt, std::nullopt, std::move(error), false);
        log(LogLevel::Message, message, {kLogIdentifier, "SchemeHandler"});
    });
}

}  // namespace zv
