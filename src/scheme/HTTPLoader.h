// Loads over HTTP with libsoup, for the internal HTTP schemes: the request's
// method, header fields and body go out as they are.
//
// All libsoup work runs on the main context: a load asked for on another
// thread starts there, and its completion always comes there. Requests with
// the default time-out of 60 seconds share one process-wide session (six
// connections per host, as browsers allow); any other time-out gets a
// session of its own, dropped when its load ends. libsoup counts time-outs
// in whole seconds, so a fraction is rounded up.
//
// Failures are reported in zv::kURLErrorDomain with the codes URL loaders
// use (-1001 timed out, -1004 cannot connect, -1005 connection lost, ...);
// the message is libsoup's or GLib's.
#pragma once

#include <zv/foundation/Error.h>
#include <zv/scheme/URLRequest.h>
#include <zv/scheme/URLResponse.h>

#include <functional>
#include <optional>

namespace zv {

// A response and its body, or an error.
using HTTPCompletion =
    std::function<void(std::optional<URLResponse> response, std::optional<Data> data, std::optional<Error> error)>;

void loadHTTP(const URLRequest& request, HTTPCompletion completion);

}  // namespace zv
