// Loads over HTTP with libsoup, for the internal HTTP schemes: the request's
// method, header fields and body go out as they are.
//
// All libsoup work runs on one thread of the loader's own, started on first
// use, with a main context of its own, so that a busy main loop does not hold
// up a load and reading answers does not cost the main loop. loadHTTP may be
// called from any thread and returns at once; the load starts on the
// loader's thread and its completion comes there, always after loadHTTP has
// returned, even for a URL refused at once. A completion holds up every
// other load while it runs: it does what must follow the answer at once
// (handing the body on, queueing a cache write) and sends anything that
// touches the main thread's objects, such as a WebKit task, to the main
// thread. There is no cancelling a load.
//
// Requests with the default time-out of 60 seconds share one process-wide
// session: six connections per host, as browsers allow, or up to 100 loads
// on its one connection for a host that answers over HTTP/2 (known while it
// has loads in flight). Loads beyond that wait in the loader, in the order
// asked, each host apart from the others. Any other time-out gets a session
// of its own, dropped when its load ends. libsoup counts time-outs in whole
// seconds, so a fraction is rounded up.
//
// A body is read into memory, at most 64 MiB of it: a server that announces
// or sends more fails the load with -1103 (data length exceeds maximum) and
// loses its connection, since a remote image in hostile mail could otherwise
// stream until the reader's memory runs out (libsoup's time-out only ends a
// connection that goes quiet).
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
