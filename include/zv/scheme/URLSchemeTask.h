// One load that a web view hands to a scheme handler, seen from the handler:
// the request, and the two ways to end it.
//
// A task ends once. Answering a task that has already ended, or that its web
// view no longer wants, throws (std::logic_error); the scheme handler catches
// that at its boundary and logs it. Both calls come on the main thread.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Error.h>
#include <zv/scheme/URLRequest.h>
#include <zv/scheme/URLResponse.h>

namespace zv {

class ZV_EXPORT URLSchemeTask {
public:
    virtual ~URLSchemeTask() = default;

    virtual const URLRequest& request() const = 0;
    // Hands over the response and then the body (none when `data` is null),
    // and ends the load.
    virtual void respond(const URLResponse& response, const Data* data) = 0;
    virtual void fail(const Error& error) = 0;
};

}  // namespace zv
