// An HTTP server on 127.0.0.1 for the scheme tests, on libsoup's SoupServer,
// answering on the default main context (tests spin it while they wait).
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
// Every request is counted by its path.
#pragma once

#include <zv/scheme/URLResponse.h>

#include <libsoup/soup.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
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
    const std::map<std::string, int>& allHits() const { return hits_; }
    size_t stalledCount() const { return stalled_.size(); }
    // Answers every stalled request with the PNG.
    void releaseStalled();
    void setSlowDelay(std::chrono::milliseconds delay) { slowDelay_ = delay; }

    static const Data& png();

private:
    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self);
    void answer(SoupServerMessage* message, const std::string& path);

    SoupServer* server_;
    int port_ = 0;
    std::map<std::string, int> hits_;
    std::vector<SoupServerMessage*> stalled_;
    std::vector<guint> timers_;
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
