#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <zv/foundation/Log.h>
#include <zv/foundation/MainThread.h>
#include <zv/foundation/NotificationCenter.h>

#include <algorithm>
#include <exception>

namespace zv {

namespace {

std::string lowerCasedScheme(const std::string& url) {
    std::string scheme = url.substr(0, std::min(url.find(':'), url.size()));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : char(c);
    });
    return scheme;
}

void logTaskException(const char* where, const std::exception& exception) {
    log(std::string("Exception in -[ZVWebViewURLSchemeHandler ") + where + "]:" + exception.what());
}

}  // namespace

std::shared_ptr<ZVWebViewURLSchemeHandler> ZVWebViewURLSchemeHandler::create() {
    return std::shared_ptr<ZVWebViewURLSchemeHandler>(new ZVWebViewURLSchemeHandler());
}

std::shared_ptr<ZVWebViewURLSchemeHandler> ZVWebViewURLSchemeHandler::create(
    const std::shared_ptr<ZVWebViewResourceProvider>& provider) {
    auto handler = create();
    handler->resourceProvider_ = provider;
    return handler;
}

std::shared_ptr<ZVWebViewURLSchemeHandler> ZVWebViewURLSchemeHandler::create(ResourceTable messageResources) {
    auto handler = create();
    handler->messageResources_ = std::make_shared<const ResourceTable>(std::move(messageResources));
    return handler;
}

void ZVWebViewURLSchemeHandler::registerScheme(const std::string& scheme, Routine routine) {
    std::lock_guard lock(mutex_);
    auto table = std::make_shared<SchemeTable>(*schemeHandlers_);
    (*table)[scheme] = std::move(routine);
    schemeHandlers_ = std::move(table);
}

std::shared_ptr<const ZVWebViewURLSchemeHandler::SchemeTable> ZVWebViewURLSchemeHandler::schemeHandlers() const {
    std::lock_guard lock(mutex_);
    return schemeHandlers_;
}

void ZVWebViewURLSchemeHandler::startURLSchemeTask(const void* webView, const std::shared_ptr<URLSchemeTask>& task) {
    Completion completion = completionForTask(webView, task);
    auto table = schemeHandlers();
    auto routine = table->find(lowerCasedScheme(task->request().url));
    if (routine == table->end() || !routine->second) {
        completion(std::nullopt, std::nullopt, std::nullopt, false);
        return;
    }
    routine->second(task->request(), std::move(completion));
}

void ZVWebViewURLSchemeHandler::stopURLSchemeTask(const void*, const std::shared_ptr<URLSchemeTask>&) {
    cancelled_.store(true, std::memory_order_release);
}

// The one completion of a task. It keeps the handler and the task alive until
// the routine answers, however late that is.
ZVWebViewURLSchemeHandler::Completion ZVWebViewURLSchemeHandler::completionForTask(
    const void* webView, const std::shared_ptr<URLSchemeTask>& task) {
    auto self = shared_from_this();
    return [self, webView, task](std::optional<URLResponse> response, std::optional<Data> data,
                                 std::optional<Error> error, bool untracked) {
        auto work = [self, webView, task, response = std::move(response), data = std::move(data),
                     error = std::move(error), untracked] {
            self->deliver(webView, *task, response, data, error, untracked);
        };
        if (isMainThread())
            work();
        else
            dispatchMainAsync(std::move(work));
    };
}

void ZVWebViewURLSchemeHandler::deliver(const void* webView, URLSchemeTask& task,
                                        const std::optional<URLResponse>& response, const std::optional<Data>& data,
                                        const std::optional<Error>& error, bool untracked) {
    if (!cancelled()) answerTask(webView, task, response, data, error);
    if (untracked) return;
    if (auto delegate = this->delegate(); delegate && delegate->completedURLRequest)
        delegate->completedURLRequest(*this, task.request(), response, error);
    recordCompletedLoad(task.request().url);
}

void ZVWebViewURLSchemeHandler::answerTask(const void* webView, URLSchemeTask& task,
                                           const std::optional<URLResponse>& response,
                                           const std::optional<Data>& data, const std::optional<Error>& error) {
    try {
        if (error) {
            task.fail(*error);
            return;
        }
        if (response) {
            task.respond(*response, data ? &*data : nullptr);
            return;
        }
        task.fail(Error{kZVWebKitErrorDomain, kZVWebKitErrorResourceNotAnswered, "Why are we getting this error?"});
        NotificationCenter::defaultCenter().post(ZVWebViewResourceLoadFailedNotification, webView,
                                                 Value{{"URL", task.request().url}});
    } catch (const std::exception& exception) {
        logTaskException("webView:startURLSchemeTask:", exception);
    }
}

void ZVWebViewURLSchemeHandler::recordPendingLoad(const std::string& url) {
    if (url.empty()) return;
    std::lock_guard lock(mutex_);
    pendingLoads_.push_back(url);
}

void ZVWebViewURLSchemeHandler::recordCompletedLoad(const std::string& url) {
    double progress;
    {
        std::lock_guard lock(mutex_);
        std::erase(pendingLoads_, url);
        completedLoads_.push_back(url);
        progress = double(completedLoads_.size()) / double(completedLoads_.size() + pendingLoads_.size());
    }
    // Outside the lock: a delegate may well read the lists back.
    if (auto delegate = this->delegate(); delegate && delegate->reportedLoadProgress)
        delegate->reportedLoadProgress(*this, progress);
}

void ZVWebViewURLSchemeHandler::sendForbiddenResponseForTask(const std::shared_ptr<URLSchemeTask>& task,
                                                             const std::string& url) {
    if (cancelled()) return;
    try {
        task->respond(URLResponse::http(url, 403, "HTTP/1.1", {}), nullptr);
    } catch (const std::exception& exception) {
        // The selector in this message is the one the host's logs have always shown.
        logTaskException("sendForbiddenResponseTask:URL:", exception);
    }
}

void ZVWebViewURLSchemeHandler::addResource(std::shared_ptr<const ZVMimeResource> resource, const std::string& url) {
    std::lock_guard lock(mutex_);
    auto table = std::make_shared<ResourceTable>(*messageResources_);
    (*table)[url] = std::move(resource);
    messageResources_ = std::move(table);
}

void ZVWebViewURLSchemeHandler::removeCurrentResources() {
    std::lock_guard lock(mutex_);
    messageResources_ = std::make_shared<const ResourceTable>();
}

std::shared_ptr<const ZVWebViewURLSchemeHandler::ResourceTable> ZVWebViewURLSchemeHandler::messageResources() const {
    std::lock_guard lock(mutex_);
    return messageResources_;
}

void ZVWebViewURLSchemeHandler::setResourceProvider(const std::shared_ptr<ZVWebViewResourceProvider>& provider) {
    std::lock_guard lock(mutex_);
    resourceProvider_ = provider;
}

std::shared_ptr<ZVWebViewResourceProvider> ZVWebViewURLSchemeHandler::resourceProvider() const {
    std::lock_guard lock(mutex_);
    return resourceProvider_.lock();
}

void ZVWebViewURLSchemeHandler::setDelegate(const std::shared_ptr<ZVWebViewURLSchemeHandlerDelegate>& delegate) {
    std::lock_guard lock(mutex_);
    delegate_ = delegate;
}

std::shared_ptr<ZVWebViewURLSchemeHandlerDelegate> ZVWebViewURLSchemeHandler::delegate() const {
    std::lock_guard lock(mutex_);
    return delegate_.lock();
}

ZVWebViewURLSchemeHandler::URLList ZVWebViewURLSchemeHandler::pendingLoads() const {
    std::lock_guard lock(mutex_);
    return pendingLoads_;
}

ZVWebViewURLSchemeHandler::URLList ZVWebViewURLSchemeHandler::completedLoads() const {
    std::lock_guard lock(mutex_);
    return completedLoads_;
}

}  // namespace zv
