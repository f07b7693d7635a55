#include "WebKitURLSchemeTask.h"

#include <zv/foundation/MainThread.h>

#include <libsoup/soup.h>

#include <stdexcept>
#include <strings.h>

namespace zv {

// What the toggle notification needs. It lives apart from the task so that a
// notification arriving while the task is being destroyed finds it intact.
struct WebKitURLSchemeTask::Hold {
    WebKitURISchemeRequest* request;
    std::function<void()> stopped;
    bool ended = false;
    bool orphaned = false;  // its task is gone, unanswered: only the stop is left to report

    static void toggled(gpointer data, GObject*, gboolean isLastReference) {
        auto* hold = static_cast<Hold*>(data);
        if (!isLastReference || hold->ended) return;
        hold->ended = true;
        // Moved out first: the report may drop the last owner of the task.
        auto stopped = std::move(hold->stopped);
        if (stopped) stopped();
        // Not from inside GLib's unref that called us.
        if (hold->orphaned) dispatchMainAsync([hold] { release(hold); });
    }

    // On the main thread. A request that was answered, or stopped, is let
    // go; one that was neither stays held until WebKit stops it, so that the
    // stop is still reported.
    static void retire(Hold* hold) {
        if (hold->ended) {
            release(hold);
            return;
        }
        hold->orphaned = true;
    }

    static void release(Hold* hold) {
        g_object_remove_toggle_ref(G_OBJECT(hold->request), toggled, hold);
        delete hold;
    }
};

namespace {

// WebKit hands the body over already in memory (form data), so reading it
// through does not wait on anything.
Data bodyOf(WebKitURISchemeRequest* request) {
    Data body;
    GInputStream* stream = webkit_uri_scheme_request_get_http_body(request);
    if (!stream) return body;
    std::uint8_t chunk[16384];
    gssize count;
    while ((count = g_input_stream_read(stream, chunk, sizeof chunk, nullptr, nullptr)) > 0)
        body.insert(body.end(), chunk, chunk + count);
    g_object_unref(stream);
    return body;
}

URLRequest requestOf(WebKitURISchemeRequest* request) {
    URLRequest result;
    result.url = webkit_uri_scheme_request_get_uri(request);
    if (const char* method = webkit_uri_scheme_request_get_http_method(request)) result.httpMethod = method;
    if (SoupMessageHeaders* headers = webkit_uri_scheme_request_get_http_headers(request)) {
        SoupMessageHeadersIter iter;
        soup_message_headers_iter_init(&iter, headers);
        const char* name;
        const char* value;
        while (soup_message_headers_iter_next(&iter, &name, &value)) result.headerFields.emplace_back(name, value);
    }
    result.httpBody = bodyOf(request);
    return result;
}

// Fields that describe the wire, not the body handed over: libsoup has
// already decoded and measured it.
bool describesTransfer(const std::string& name) {
    for (const char* field : {"Content-Encoding", "Content-Length", "Transfer-Encoding", "Connection", "Keep-Alive"}) {
        if (strcasecmp(name.c_str(), field) == 0) return true;
    }
    return false;
}

WebKitURISchemeResponse* schemeResponse(const URLResponse& response, const Data* data) {
    GBytes* bytes = data ? g_bytes_new(data->data(), data->size()) : g_bytes_new(nullptr, 0);
    GInputStream* stream = g_memory_input_stream_new_from_bytes(bytes);
    WebKitURISchemeResponse* result = webkit_uri_scheme_response_new(stream, gint64(g_bytes_get_size(bytes)));
    g_object_unref(stream);
    g_bytes_unref(bytes);

    if (!response.mimeType.empty()) {
        std::string type = response.mimeType;
        if (!response.textEncodingName.empty()) type += "; charset=" + response.textEncodingName;
        webkit_uri_scheme_response_set_content_type(result, type.c_str());
    }
    if (response.isHTTP()) {
        webkit_uri_scheme_response_set_status(result, unsigned(response.statusCode), nullptr);
        SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
        for (const auto& [name, value] : response.headerFields) {
            if (!describesTransfer(name)) soup_message_headers_append(headers, name.c_str(), value.c_str());
        }
        webkit_uri_scheme_response_set_http_headers(result, headers);  // takes the headers
    }
    return result;
}

}  // namespace

WebKitURLSchemeTask::WebKitURLSchemeTask(WebKitURISchemeRequest* request, std::function<void()> stopped)
    : request_(requestOf(request)), hold_(new Hold{request, std::move(stopped)}) {
    g_object_add_toggle_ref(G_OBJECT(request), Hold::toggled, hold_);
}

WebKitURLSchemeTask::~WebKitURLSchemeTask() {
    Hold* hold = hold_;
    if (isMainThread())
        Hold::retire(hold);
    else
        dispatchMainAsync([hold] { Hold::retire(hold); });
}

WebKitURISchemeRequest* WebKitURLSchemeTask::endOrThrow() {
    if (hold_->ended) throw std::logic_error("the load of " + request_.url + " has already ended");
    hold_->ended = true;
    hold_->stopped = nullptr;
    return hold_->request;
}

void WebKitURLSchemeTask::respond(const URLResponse& response, const Data* data) {
    WebKitURISchemeRequest* request = endOrThrow();
    WebKitURISchemeResponse* answer = schemeResponse(response, data);
    webkit_uri_scheme_request_finish_with_response(request, answer);
    g_object_unref(answer);
}

void WebKitURLSchemeTask::fail(const Error& error) {
    WebKitURISchemeRequest* request = endOrThrow();
    GError* failure = g_error_new_literal(g_quark_from_string(error.domain.c_str()), int(error.code), error.message.c_str());
    webkit_uri_scheme_request_finish_error(request, failure);
    g_error_free(failure);
}

}  // namespace zv
