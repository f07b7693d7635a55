// A URLSchemeTask over one WebKitURISchemeRequest.
//
// The request is held through a toggle reference, so the task learns when
// WebKit lets go of it: if that happens before an answer, WebKit has stopped
// the load, and `stopped` runs (once, on the main thread). After an answer or
// a stop the task is ended; answering an ended task throws std::logic_error.
// Every task ends reported exactly once: answered, failed or stopped. A task
// dropped unanswered lets go of nothing: its request stays open in WebKit
// until its page goes, and that stop is still reported (`stopped` runs after
// the task is gone). Otherwise the request is let go on the main thread,
// wherever the task dies.
#pragma once

#include <zv/scheme/URLSchemeTask.h>

#include <webkit/webkit.h>

#include <functional>

namespace zv {

class WebKitURLSchemeTask final : public URLSchemeTask {
public:
    WebKitURLSchemeTask(WebKitURISchemeRequest* request, std::function<void()> stopped);
    ~WebKitURLSchemeTask() override;
    WebKitURLSchemeTask(const WebKitURLSchemeTask&) = delete;
    WebKitURLSchemeTask& operator=(const WebKitURLSchemeTask&) = delete;

    const URLRequest& request() const override { return request_; }
    void respond(const URLResponse& response, const Data* data) override;
    void fail(const Error& error) override;

private:
    struct Hold;

    WebKitURISchemeRequest* endOrThrow();

    URLRequest request_;
    Hold* hold_;  // owned here, handed to the main thread on destruction
};

}  // namespace zv
