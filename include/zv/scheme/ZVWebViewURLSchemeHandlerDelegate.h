// Reports of a scheme handler's network loads, for a progress display.
//
// Every report is optional: an empty member is not called, which switches
// that report off. The handler holds its delegate weakly and calls it on the
// main thread; a load's startedURLRequest comes before its
// completedURLRequest.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Error.h>
#include <zv/scheme/URLRequest.h>
#include <zv/scheme/URLResponse.h>

#include <functional>
#include <optional>

namespace zv {

class ZVWebViewURLSchemeHandler;

struct ZV_EXPORT ZVWebViewURLSchemeHandlerDelegate {
    // A load went to the network (cache misses only).
    std::function<void(ZVWebViewURLSchemeHandler& handler, const URLRequest& request)> startedURLRequest;
    // A tracked answer reached its task: the response or the error it carried.
    std::function<void(ZVWebViewURLSchemeHandler& handler, const URLRequest& request,
                       const std::optional<URLResponse>& response, const std::optional<Error>& error)>
        completedURLRequest;
    // Completed loads over all loads so far, from 0 to 1.
    std::function<void(ZVWebViewURLSchemeHandler& handler, double progress)> reportedLoadProgress;
};

}  // namespace zv
