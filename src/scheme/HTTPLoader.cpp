#include "HTTPLoader.h"

#include <zv/foundation/GObjectRef.h>
#include <zv/foundation/MainThread.h>

#include <libsoup/soup.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <strings.h>
#include <utility>
#include <vector>

namespace zv {

namespace {

constexpr unsigned kConnectionsPerHost = 6;
constexpr size_t kMaximumBodySize = 64 * 1024 * 1024;
constexpr size_t kReadSize = 64 * 1024;

SoupSession* newSession(unsigned timeoutSeconds) {
    return soup_session_new_with_options("timeout", timeoutSeconds, "max-conns-per-host", kConnectionsPerHost,
                                         "max-conns", kConnectionsPerHost * 4, nullptr);
}

// Created on first use on the loader's thread and kept for the life of the process.
SoupSession* sharedSession() {
    static SoupSession* session = newSession(unsigned(URLRequest::kDefaultTimeoutInterval));
    return session;
}

int64_t urlErrorCode(const GError* error) {
    if (error->domain == G_IO_ERROR) {
        switch (error->code) {
        case G_IO_ERROR_TIMED_OUT: return kURLErrorTimedOut;
        case G_IO_ERROR_CANCELLED: return kURLErrorCancelled;
        case G_IO_ERROR_CONNECTION_REFUSED:
        case G_IO_ERROR_HOST_UNREACHABLE:
        case G_IO_ERROR_NETWORK_UNREACHABLE: return kURLErrorCannotConnectToHost;
        case G_IO_ERROR_CONNECTION_CLOSED:
        case G_IO_ERROR_PARTIAL_INPUT: return kURLErrorNetworkConnectionLost;
        default: return kURLErrorUnknown;
        }
    }
    if (error->domain == G_RESOLVER_ERROR) return kURLErrorCannotFindHost;
    if (error->domain == SOUP_SESSION_ERROR) return kURLErrorBadServerResponse;
    return kURLErrorUnknown;
}

const char* versionText(SoupHTTPVersion version) {
    switch (version) {
    case SOUP_HTTP_1_0: return "HTTP/1.0";
    case SOUP_HTTP_1_1: return "HTTP/1.1";
    case SOUP_HTTP_2_0: return "HTTP/2";
    }
    return "HTTP/1.1";
}

URLResponse responseOf(SoupMessage* message) {
    HTTPHeaderFields fields;
    SoupMessageHeadersIter iter;
    soup_message_headers_iter_init(&iter, soup_message_get_response_headers(message));
    const char* name;
    const char* value;
    while (soup_message_headers_iter_next(&iter, &name, &value)) fields.emplace_back(name, value);
    char* url = g_uri_to_string(soup_message_get_uri(message));
    URLResponse response = URLResponse::http(url, int(soup_message_get_status(message)),
                                             versionText(soup_message_get_http_version(message)), std::move(fields));
    g_free(url);
    return response;
}

// What one load owns until its body is read or it fails.
struct Load {
    GObjectRef<SoupSession> session;
    GObjectRef<SoupMessage> message;
    GObjectRef<GInputStream> stream;
    HTTPCompletion completion;
    std::string host;  // "scheme://host:port" for a load of the shared session, else empty
    Data body;
    std::vector<std::uint8_t> buffer;  // sized once the answer comes: a waiting load holds none
};

void send(std::unique_ptr<Load> load);

// Loads of the shared session beyond what a host can take at once wait
// here, in the order asked, rather than in libsoup's queue: libsoup walks every
// waiting message on each step of each connection, so a conversation asking
// one host for hundreds of images cost the loader time quadratic in their
// number. A host that answers over HTTP/2 carries its loads on one
// connection, as many at once as servers are asked to allow streams (100).
class Admission {
public:
    static Admission& shared() {
        static Admission admission;  // used on the loader's thread only
        return admission;
    }
    void admitOrWait(std::unique_ptr<Load> load) {
        Host& host = hosts_[load->host];
        if (host.running < host.capacity()) return begin(host, std::move(load));
        host.waiting.push_back(std::move(load));
    }
    void answeredOverHTTP2(const std::string& name) {
        Host& host = hosts_.at(name);  // the load that tells is running
        host.multiplexed = true;
        admitWaiting(host);
    }
    // Called once a load's stream and message are gone, so that its connection is free.
    void finished(const std::string& name) {
        auto found = hosts_.find(name);
        Host& host = found->second;
        --host.running;
        admitWaiting(host);
        // Forgotten once idle, HTTP/2 or not: a reader meets hosts without end.
        if (host.running == 0) hosts_.erase(found);
    }

private:
    static constexpr unsigned kStreamsPerHTTP2Connection = 100;
    struct Host {
        unsigned running = 0;
        bool multiplexed = false;
        std::deque<std::unique_ptr<Load>> waiting;
        unsigned capacity() const { return multiplexed ? kStreamsPerHTTP2Connection : kConnectionsPerHost; }
    };

    void begin(Host& host, std::unique_ptr<Load> load) {
        ++host.running;
        send(std::move(load));
    }
    void admitWaiting(Host& host) {
        while (!host.waiting.empty() && host.running < host.capacity()) {
            std::unique_ptr<Load> load = std::move(host.waiting.front());
            host.waiting.pop_front();
            begin(host, std::move(load));
        }
    }

    std::map<std::string, Host> hosts_;
};

void finish(std::unique_ptr<Load> load, std::optional<URLResponse> response, std::optional<Data> data,
            std::optional<Error> error) {
    HTTPCompletion completion = std::move(load->completion);
    std::string host = std::move(load->host);
    load.reset();
    if (!host.empty()) Admission::shared().finished(host);
    completion(std::move(response), std::move(data), std::move(error));
}

void fail(std::unique_ptr<Load> load, GError* error) {
    Error failure{kURLErrorDomain, urlErrorCode(error), error->message};
    g_error_free(error);
    finish(std::move(load), std::nullopt, std::nullopt, std::move(failure));
}

// Dropping the stream unread makes libsoup close the connection.
void failAsTooLarge(std::unique_ptr<Load> load) {
    char* url = g_uri_to_string(soup_message_get_uri(load->message.get()));
    Error failure{kURLErrorDomain, kURLErrorDataLengthExceedsMaximum,
                  std::string("response body larger than 64 MiB: ") + url};
    g_free(url);
    finish(std::move(load), std::nullopt, std::nullopt, std::move(failure));
}

void readMore(std::unique_ptr<Load> load);

void chunkRead(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Load> load(static_cast<Load*>(data));
    GError* error = nullptr;
    gssize read = g_input_stream_read_finish(G_INPUT_STREAM(source), result, &error);
    if (read < 0) return fail(std::move(load), error);
    if (read == 0) {
        URLResponse response = responseOf(load->message.get());
        Data body = std::move(load->body);
        return finish(std::move(load), std::move(response), std::move(body), std::nullopt);
    }
    if (load->body.size() + size_t(read) > kMaximumBodySize) return failAsTooLarge(std::move(load));
    load->body.insert(load->body.end(), load->buffer.begin(), load->buffer.begin() + read);
    readMore(std::move(load));
}

void readMore(std::unique_ptr<Load> load) {
    Load* reading = load.release();
    g_input_stream_read_async(reading->stream.get(), reading->buffer.data(), reading->buffer.size(),
                              G_PRIORITY_DEFAULT, nullptr, chunkRead, reading);
}

void sent(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Load> load(static_cast<Load*>(data));
    GError* error = nullptr;
    GInputStream* stream = soup_session_send_finish(SOUP_SESSION(source), result, &error);
    if (!stream) return fail(std::move(load), error);
    load->stream = GObjectRef<GInputStream>::adopt(stream);
    load->buffer.resize(kReadSize);
    if (!load->host.empty() && soup_message_get_http_version(load->message.get()) == SOUP_HTTP_2_0)
        Admission::shared().answeredOverHTTP2(load->host);
    SoupMessageHeaders* headers = soup_message_get_response_headers(load->message.get());
    if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CONTENT_LENGTH) {
        goffset declared = soup_message_headers_get_content_length(headers);
        if (declared > goffset(kMaximumBodySize)) return failAsTooLarge(std::move(load));
        load->body.reserve(size_t(declared));
    }
    readMore(std::move(load));
}

void start(const URLRequest& request, HTTPCompletion completion) {
    SoupMessage* message = soup_message_new(request.httpMethod.c_str(), request.url.c_str());
    if (!message) {
        // libsoup takes only absolute http and https URLs with a host.
        bool wellFormed = g_uri_is_valid(request.url.c_str(), G_URI_FLAGS_NONE, nullptr);
        completion(std::nullopt, std::nullopt,
                   Error{kURLErrorDomain, wellFormed ? kURLErrorUnsupportedURL : kURLErrorBadURL,
                         (wellFormed ? "unsupported URL: " : "bad URL: ") + request.url});
        return;
    }
    if (!request.httpBody.empty()) {
        // The type comes with the header fields below.
        GBytes* body = g_bytes_new(request.httpBody.data(), request.httpBody.size());
        soup_message_set_request_body_from_bytes(message, nullptr, body);
        g_bytes_unref(body);
    }
    SoupMessageHeaders* headers = soup_message_get_request_headers(message);
    for (const auto& [name, value] : request.headerFields) {
        if (strcasecmp(name.c_str(), "Host") != 0) soup_message_headers_replace(headers, name.c_str(), value.c_str());
    }
    auto load = std::make_unique<Load>();
    load->message = GObjectRef<SoupMessage>::adopt(message);
    load->completion = std::move(completion);
    if (request.timeoutInterval != URLRequest::kDefaultTimeoutInterval) {
        // A session of its own has no other loads to wait for.
        double seconds = std::ceil(std::max(request.timeoutInterval, 1.0));
        load->session = GObjectRef<SoupSession>::adopt(newSession(unsigned(std::min(seconds, 86400.0))));
        return send(std::move(load));
    }
    load->session = GObjectRef<SoupSession>::ref(sharedSession());
    GUri* uri = soup_message_get_uri(message);
    load->host = std::string(g_uri_get_scheme(uri)) + "://" + g_uri_get_host(uri) + ":" +
                 std::to_string(g_uri_get_port(uri));
    Admission::shared().admitOrWait(std::move(load));
}

void send(std::unique_ptr<Load> load) {
    Load* sending = load.release();
    soup_session_send_async(sending->session.get(), sending->message.get(), G_PRIORITY_DEFAULT, nullptr, sent,
                            sending);
}

gpointer runLoader(gpointer data) {
    GMainContext* context = static_cast<GMainContext*>(data);
    // Thread default, so that every session made here does its I/O here.
    g_main_context_push_thread_default(context);
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    g_main_loop_run(loop);
    return nullptr;
}

// Started on first use and never stopped: the shared session lives as long.
GMainContext* loaderContext() {
    static GMainContext* context = [] {
        GMainContext* created = g_main_context_new();
        g_thread_unref(g_thread_new("zv-http", runLoader, created));
        return created;
    }();
    return context;
}

}  // namespace

void loadHTTP(const URLRequest& request, HTTPCompletion completion) {
    // Later, never at once: a completion on the loader's thread may ask for another load.
    dispatchAsync(loaderContext(), [request, completion = std::move(completion)]() mutable {
        start(request, std::move(completion));
    });
}

}  // namespace zv
