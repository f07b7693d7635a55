#include "HTTPLoader.h"

#include <zv/foundation/GObjectRef.h>
#include <zv/foundation/MainThread.h>

#include <libsoup/soup.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <strings.h>
#include <utility>

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
    Data body;
    std::array<std::uint8_t, kReadSize> buffer;
};

void fail(std::unique_ptr<Load> load, GError* error) {
    Error failure{kURLErrorDomain, urlErrorCode(error), error->message};
    g_error_free(error);
    load->completion(std::nullopt, std::nullopt, std::move(failure));
}

// Dropping the stream unread makes libsoup close the connection.
void failAsTooLarge(std::unique_ptr<Load> load) {
    char* url = g_uri_to_string(soup_message_get_uri(load->message.get()));
    Error failure{kURLErrorDomain, kURLErrorDataLengthExceedsMaximum,
                  std::string("response body larger than 64 MiB: ") + url};
    g_free(url);
    load->completion(std::nullopt, std::nullopt, std::move(failure));
}

void readMore(std::unique_ptr<Load> load);

void chunkRead(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Load> load(static_cast<Load*>(data));
    GError* error = nullptr;
    gssize read = g_input_stream_read_finish(G_INPUT_STREAM(source), result, &error);
    if (read < 0) return fail(std::move(load), error);
    if (read == 0) {
        load->completion(responseOf(load->message.get()), std::move(load->body), std::nullopt);
        return;
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
    SoupSession* session;
    if (request.timeoutInterval == URLRequest::kDefaultTimeoutInterval) {
        session = SOUP_SESSION(g_object_ref(sharedSession()));
    } else {
        double seconds = std::ceil(std::max(request.timeoutInterval, 1.0));
        session = newSession(unsigned(std::min(seconds, 86400.0)));
    }
    auto* load = new Load{GObjectRef<SoupSession>::adopt(session), GObjectRef<SoupMessage>::adopt(message), {},
                          std::move(completion), {}, {}};
    soup_session_send_async(session, message, G_PRIORITY_DEFAULT, nullptr, sent, load);
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
