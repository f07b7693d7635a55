// What the scheme tests share: a task that records how it was answered, what
// a handler reports, and a folder for the shared URL cache.
#pragma once

#include <zv/foundation/MainThread.h>
#include <zv/foundation/NotificationCenter.h>
#include <zv/scheme/URLSchemeTask.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <LogCapture.h>
#include <TemporaryFolder.h>

#include <glib.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zv::test {

using namespace std::chrono_literals;

// Bound for anything the main loop should bring about.
inline constexpr std::chrono::milliseconds kAnswerTimeout = 10s;

// A URLSchemeTask that keeps its answer and, like a web view's task, refuses
// a second one.
class RecordingTask final : public URLSchemeTask {
public:
    explicit RecordingTask(std::string url, double timeoutInterval = URLRequest::kDefaultTimeoutInterval) {
        request_.url = std::move(url);
        request_.timeoutInterval = timeoutInterval;
    }

    const URLRequest& request() const override { return request_; }
    void respond(const URLResponse& answer, const Data* body) override {
        end();
        response = answer;
        if (body) data = *body;
    }
    void fail(const Error& failure) override {
        end();
        error = failure;
    }

    bool answered() const { return answers > 0; }

    int answers = 0;
    bool answeredOnMainThread = false;
    std::optional<URLResponse> response;
    std::optional<Data> data;
    std::optional<Error> error;

private:
    void end() {
        if (answers++) throw std::logic_error("task already answered");
        answeredOnMainThread = isMainThread();
    }

    URLRequest request_;
};

// Records what a handler reports to its delegate.
struct Reports {
    Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    std::shared_ptr<ZVWebViewURLSchemeHandlerDelegate> delegate = std::make_shared<ZVWebViewURLSchemeHandlerDelegate>();
    std::vector<std::string> started;
    std::vector<std::string> completed;
    std::vector<double> progress;
};

// Records the failure notifications posted for one web view while it lives.
struct FailureNotifications {
    explicit FailureNotifications(const void* webView);
    ~FailureNotifications();
    FailureNotifications(const FailureNotifications&) = delete;
    FailureNotifications& operator=(const FailureNotifications&) = delete;

    std::vector<Value> userInfos;
    ObserverToken token;
};

// A message part of type `mimeType` holding `data`.
std::shared_ptr<ZVMimeResource> resource(std::string mimeType, Data data);

// A folder made for one test, holding the shared URL cache until the test
// ends; removed with everything in it afterwards.
class SharedCacheFolder {
public:
    SharedCacheFolder();
    ~SharedCacheFolder();
    const std::string& path() const { return folder_.path(); }

private:
    TemporaryFolder folder_;
};

}  // namespace zv::test
