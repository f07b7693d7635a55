// An HTTP server on 127.0.0.1 for the scheme tests, on libsoup's SoupServer,
// answering on a thread and main context of its own, so that a test's main
// loop runs only the code under test and the server answers while it is
// blocked. Members are safe from any thread.
//
// Paths, by prefix:
//   /image...    a 4 by 3 PNG (image/png)
//   /large...    the PNG padded to 2 MiB (image/png)
//   /text...     "hello" (text/plain; charset=utf-8)
//   /slow...     the PNG, after the delay set with setSlowDelay (500 ms)
//   /stall...    nothing until releaseStalled() (or the server goes)
//   /echo...     "METHOD content-type body" of the request (text/plain, any origin)
//   /status500   500 with a short text body
//   /truncated   a head promising 100 bytes, 10 bytes, then the connection closes
//   /reset       the connection closes before any answer
//   /oversized   a head promising 4 GiB, 4 bytes, then the connection closes
//   /endless     a chunked body that never ends
// Every request is counted by its path.
#pragma once

#include <zv/scheme/URLResponse.h>

#include <libsoup/soup.h>

#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zv::test {

class LoopbackServer {
public:
    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // "http://127.0.0.1:PORT" + path, and the same under "wren-http".
    std::string url(std::string_view path) const;
    std::string wrenURL(std::string_view path) const { return "wren-" + url(path); }

    int hits(const std::string& path) const;
    // Every path asked for so far, with its count.
    std::map<std::string, int> allHits() const;
    size_t stalledCount() const;
    // Answers every stalled request with the PNG; returns once they are answered.
    void releaseStalled();
    void setSlowDelay(std::chrono::milliseconds delay);

    static const Data& png();

private:
    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self);
    void run(std::promise<void>& listening);
    // Runs `work` on the server's thread and waits for it.
    void onServerThread(const std::function<void()>& work);
    void answer(SoupServerMessage* message, const std::string& path);
    void answerStalled();

    GMainContext* context_;
    GMainLoop* loop_;
    // The rest belong to the server's thread, but for what mutex_ guards.
    SoupServer* server_ = nullptr;
    int port_ = 0;
    std::vector<GSource*> timers_;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::map<std::string, int> hits_;
    std::vector<SoupServerMessage*> stalled_;
    std::chrono::milliseconds slowDelay_{500};
};

// PNG bytes of a width by height image filled with one colour.
Data pngImage(int width, int height, double r, double g, double b);

// The size of a PNG and the colour of one of its pixels, straight (not
// premultiplied) RGBA from 0 to 255; nothing for bytes that are not a PNG.
struct PNGPixel {
    int width = 0;
    int height = 0;
    int r = 0, g = 0, b = 0, a = 0;
};
std::optional<PNGPixel> pngPixel(const Data& png, int x, int y);
// The largest alpha of any pixel and how many pixels are not fully transparent.
std::pair<int, int> pngCoverage(const Data& png);

}  // namespace zv::test
