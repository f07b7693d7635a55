#include "HTMLFetch.h"

#include <libsoup/soup.h>

#include <fstream>
#include <iterator>
#include <thread>

namespace zv {

namespace {

constexpr guint kTimeoutSeconds = 5;

std::optional<std::string> utf8Text(std::string bytes) {
    if (!g_utf8_validate_len(bytes.data(), gssize(bytes.size()), nullptr)) return std::nullopt;
    return bytes;
}

std::optional<std::string> readFile(const URL& url) {
    std::optional<std::string> path = url.filePath();
    if (!path) return std::nullopt;
    std::ifstream in(*path, std::ios::binary);
    if (!in) return std::nullopt;
    return utf8Text(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()));
}

// Runs on a thread of its own, with a session and main context of its own.
std::optional<std::string> download(const URL& url) {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    // A session without a SoupCache never answers from local data.
    SoupSession* session = soup_session_new_with_options("timeout", kTimeoutSeconds, "idle-timeout", kTimeoutSeconds,
                                                          nullptr);
    std::optional<std::string> text;
    if (SoupMessage* message = soup_message_new(SOUP_METHOD_GET, url.string().c_str())) {
        GError* error = nullptr;
        GBytes* body = soup_session_send_and_read(session, message, nullptr, &error);
        if (body && !error && soup_message_get_status(message) == SOUP_STATUS_OK) {
            gsize size = 0;
            const char* data = static_cast<const char*>(g_bytes_get_data(body, &size));
            text = utf8Text(std::string(data ? data : "", size));
        }
        if (body) g_bytes_unref(body);
        g_clear_error(&error);
        g_object_unref(message);
    }
    soup_session_abort(session);
    g_object_unref(session);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    return text;
}

}  // namespace

void fetchHTML(const URL& url, HTMLFetchCompletion completion) {
    if (url.isFileURL()) {
        completion(readFile(url));
        return;
    }
    std::thread([url, completion = std::move(completion)] { completion(download(url)); }).detach();
}

}  // namespace zv
