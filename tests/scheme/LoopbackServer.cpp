#include "LoopbackServer.h"

#include <cairo.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <stdexcept>

namespace zv::test {

namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

void respondWith(SoupServerMessage* message, unsigned status, const char* type, const Data& body) {
    soup_server_message_set_status(message, status, nullptr);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, reinterpret_cast<const char*>(body.data()),
                                     body.size());
}

// Writes `raw` on the connection itself and closes it, bypassing HTTP.
void writeRawAndClose(SoupServerMessage* message, std::string_view raw) {
    GIOStream* stream = soup_server_message_steal_connection(message);
    if (!stream) return;
    if (!raw.empty())
        g_output_stream_write_all(g_io_stream_get_output_stream(stream), raw.data(), raw.size(), nullptr, nullptr, nullptr);
    g_io_stream_close(stream, nullptr, nullptr);
    g_object_unref(stream);
}

// Chunks of 1 MiB, the next written as soon as the last has gone out, for as
// long as the client reads; none of them kept.
void respondEndlessly(SoupServerMessage* message) {
    static const Data chunk(1024 * 1024, 'x');
    auto more = +[](SoupServerMessage* message, gpointer) {
        soup_message_body_append(soup_server_message_get_response_body(message), SOUP_MEMORY_STATIC, chunk.data(),
                                 chunk.size());
    };
    soup_server_message_set_status(message, 200, nullptr);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
    soup_message_headers_set_content_type(headers, "image/png", nullptr);
    soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
    g_signal_connect(message, "wrote-chunk", G_CALLBACK(more), nullptr);
    more(message, nullptr);
}

Surface surfaceOf(const Data& png) {
    struct Reader {
        const Data* data;
        size_t at = 0;
    } reader{&png};
    auto read = [](void* closure, unsigned char* out, unsigned int length) -> cairo_status_t {
        auto* r = static_cast<Reader*>(closure);
        if (r->at + length > r->data->size()) return CAIRO_STATUS_READ_ERROR;
        std::memcpy(out, r->data->data() + r->at, length);
        r->at += length;
        return CAIRO_STATUS_SUCCESS;
    };
    return Surface(cairo_image_surface_create_from_png_stream(read, &reader), cairo_surface_destroy);
}

}  // namespace

LoopbackServer::LoopbackServer() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
    std::promise<void> listening;
    std::future<void> listened = listening.get_future();
    thread_ = std::thread([this, &listening] { run(listening); });
    try {
        listened.get();
    } catch (...) {
        thread_.join();
        g_main_loop_unref(loop_);
        g_main_context_unref(context_);
        throw;
    }
}

// The server's thread: listens with its context as the thread default, so
// libsoup answers there, then runs that context until the server goes.
void LoopbackServer::run(std::promise<void>& listening) {
    g_main_context_push_thread_default(context_);
    server_ = soup_server_new(nullptr, nullptr);
    soup_server_add_handler(server_, nullptr, handle, this, nullptr);
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
        std::string reason = error->message;
        g_error_free(error);
        g_object_unref(server_);
        g_main_context_pop_thread_default(context_);
        listening.set_exception(std::make_exception_ptr(std::runtime_error("cannot listen on 127.0.0.1: " + reason)));
        return;
    }
    GSList* uris = soup_server_get_uris(server_);
    port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    listening.set_value();
    g_main_loop_run(loop_);

    for (GSource* timer : timers_) {
        g_source_destroy(timer);
        g_source_unref(timer);
    }
    answerStalled();
    soup_server_disconnect(server_);
    g_object_unref(server_);
    // Lets what the server let go of (connections closing) finish.
    while (g_main_context_iteration(context_, FALSE)) {
    }
    g_main_context_pop_thread_default(context_);
}

LoopbackServer::~LoopbackServer() {
    onServerThread([this] { g_main_loop_quit(loop_); });
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void LoopbackServer::onServerThread(const std::function<void()>& work) {
    std::promise<void> done;
    struct Call {
        const std::function<void()>* work;
        std::promise<void>* done;
    } call{&work, &done};
    g_main_context_invoke(
        context_,
        [](gpointer data) -> gboolean {
            auto* call = static_cast<Call*>(data);
            (*call->work)();
            call->done->set_value();
            return G_SOURCE_REMOVE;
        },
        &call);
    done.get_future().wait();
}

std::string LoopbackServer::url(std::string_view path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

int LoopbackServer::hits(const std::string& path) const {
    std::lock_guard lock(mutex_);
    auto found = hits_.find(path);
    return found == hits_.end() ? 0 : found->second;
}

std::map<std::string, int> LoopbackServer::allHits() const {
    std::lock_guard lock(mutex_);
    return hits_;
}

size_t LoopbackServer::stalledCount() const {
    std::lock_guard lock(mutex_);
    return stalled_.size();
}

void LoopbackServer::setSlowDelay(std::chrono::milliseconds delay) {
    std::lock_guard lock(mutex_);
    slowDelay_ = delay;
}

void LoopbackServer::releaseStalled() {
    onServerThread([this] { answerStalled(); });
}

void LoopbackServer::answerStalled() {
    std::vector<SoupServerMessage*> stalled;
    {
        std::lock_guard lock(mutex_);
        stalled = std::exchange(stalled_, {});
    }
    for (SoupServerMessage* message : stalled) {
        respondWith(message, 200, "image/png", png());
        soup_server_message_unpause(message);
        g_object_unref(message);
    }
}

const Data& LoopbackServer::png() {
    static const Data image = pngImage(4, 3, 1, 0, 0);
    return image;
}

void LoopbackServer::handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
    static_cast<LoopbackServer*>(self)->answer(message, path);
}

void LoopbackServer::answer(SoupServerMessage* message, const std::string& path) {
    std::chrono::milliseconds slowDelay;
    {
        std::lock_guard lock(mutex_);
        ++hits_[path];
        slowDelay = slowDelay_;
    }
    if (path.starts_with("/image")) {
        respondWith(message, 200, "image/png", png());
    } else if (path.starts_with("/large")) {
        static const Data large = [] {
            Data bytes = png();
            bytes.resize(2 * 1024 * 1024);  // decoders stop at the image's end
            return bytes;
        }();
        respondWith(message, 200, "image/png", large);
    } else if (path.starts_with("/text")) {
        respondWith(message, 200, "text/plain; charset=utf-8", Data{'h', 'e', 'l', 'l', 'o'});
    } else if (path.starts_with("/stall")) {
        soup_server_message_pause(message);
        std::lock_guard lock(mutex_);
        stalled_.push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
    } else if (path.starts_with("/slow")) {
        soup_server_message_pause(message);
        g_object_ref(message);
        struct Later {
            LoopbackServer* server;
            SoupServerMessage* message;
        };
        GSource* timer = g_timeout_source_new(guint(slowDelay.count()));
        g_source_set_callback(
            timer,
            [](gpointer data) -> gboolean {
                auto* later = static_cast<Later*>(data);
                respondWith(later->message, 200, "image/png", png());
                soup_server_message_unpause(later->message);
                GSource* self = g_main_current_source();
                std::erase(later->server->timers_, self);
                g_source_unref(self);
                return G_SOURCE_REMOVE;
            },
            new Later{this, message},
            [](gpointer data) {
                auto* later = static_cast<Later*>(data);
                g_object_unref(later->message);
                delete later;
            });
        g_source_attach(timer, context_);
        timers_.push_back(timer);
    } else if (path.starts_with("/echo")) {
        // What arrived, as "METHOD content-type body", for any page origin.
        SoupMessageBody* body = soup_server_message_get_request_body(message);
        GBytes* bytes = soup_message_body_flatten(body);
        const char* type = soup_message_headers_get_content_type(soup_server_message_get_request_headers(message), nullptr);
        std::string text = std::string(soup_server_message_get_method(message)) + " " + (type ? type : "-") + " ";
        text.append(static_cast<const char*>(g_bytes_get_data(bytes, nullptr)), g_bytes_get_size(bytes));
        g_bytes_unref(bytes);
        soup_message_headers_replace(soup_server_message_get_response_headers(message), "Access-Control-Allow-Origin", "*");
        respondWith(message, 200, "text/plain", Data(text.begin(), text.end()));
    } else if (path.starts_with("/status500")) {
        respondWith(message, 500, "text/plain", Data{'b', 'r', 'o', 'k', 'e', 'n'});
    } else if (path.starts_with("/truncated")) {
        writeRawAndClose(message, "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 100\r\n\r\n0123456789");
    } else if (path.starts_with("/reset")) {
        writeRawAndClose(message, "");
    } else if (path.starts_with("/oversized")) {
        writeRawAndClose(message, "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: 4294967296\r\n\r\n0123");
    } else if (path.starts_with("/endless")) {
        respondEndlessly(message);
    } else {
        respondWith(message, 404, "text/plain", Data{});
    }
}

Data pngImage(int width, int height, double r, double g, double b) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), cairo_surface_destroy);
    cairo_t* cr = cairo_create(surface.get());
    cairo_set_source_rgb(cr, r, g, b);
    cairo_paint(cr);
    cairo_destroy(cr);
    Data bytes;
    cairo_surface_write_to_png_stream(
        surface.get(),
        [](void* closure, const unsigned char* data, unsigned int length) -> cairo_status_t {
            auto* out = static_cast<Data*>(closure);
            out->insert(out->end(), data, data + length);
            return CAIRO_STATUS_SUCCESS;
        },
        &bytes);
    return bytes;
}

std::optional<PNGPixel> pngPixel(const Data& png, int x, int y) {
    Surface surface = surfaceOf(png);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
    PNGPixel pixel;
    pixel.width = cairo_image_surface_get_width(surface.get());
    pixel.height = cairo_image_surface_get_height(surface.get());
    if (x >= pixel.width || y >= pixel.height) return pixel;
    const unsigned char* row = cairo_image_surface_get_data(surface.get()) + y * cairo_image_surface_get_stride(surface.get());
    uint32_t argb;
    std::memcpy(&argb, row + 4 * x, 4);
    pixel.a = int(argb >> 24);
    auto unpremultiply = [&](int channel) { return pixel.a ? (channel * 255 + pixel.a / 2) / pixel.a : 0; };
    pixel.r = unpremultiply(int((argb >> 16) & 0xff));
    pixel.g = unpremultiply(int((argb >> 8) & 0xff));
    pixel.b = unpremultiply(int(argb & 0xff));
    return pixel;
}

std::pair<int, int> pngCoverage(const Data& png) {
    Surface surface = surfaceOf(png);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return {0, 0};
    int width = cairo_image_surface_get_width(surface.get());
    int height = cairo_image_surface_get_height(surface.get());
    int stride = cairo_image_surface_get_stride(surface.get());
    const unsigned char* data = cairo_image_surface_get_data(surface.get());
    int largest = 0, covered = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint32_t argb;
            std::memcpy(&argb, data + y * stride + 4 * x, 4);
            int alpha = int(argb >> 24);
            largest = std::max(largest, alpha);
            if (alpha) ++covered;
        }
    }
    return {largest, covered};
}

}  // namespace zv::test
