// Resource schemes, end to end: remote images through "wren-http" on their
// first and second display (network, then the URL cache), beside the same
// images loaded by WebKit itself over plain http; message parts through
// "cid"; symbol images drawn from the icon theme; and the longest the main
// loop stalls while a page of N cached and N uncached remote images loads.
//
// usage: scheme_bench [--images N] [--repetitions R]
// Needs a display (scripts/run-benchmarks runs it under xvfb-run). Prints
// one JSON object: seconds are medians over the repetitions.
#include <zv/scheme/IconThemeSymbols.h>
#include <zv/scheme/URLCache.h>
#include <zv/scheme/WebKitSchemeBinding.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include "LoopbackServer.h"
#include "WebViewHarness.h"

#include <zv/foundation/MainThread.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using zv::ZVWebViewURLSchemeHandler;

double secondsOf(const std::function<void()>& work) {
    auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A task that only counts its answers.
class CountingTask final : public zv::URLSchemeTask {
public:
    CountingTask(std::string url, int& answered) : answered_(answered) { request_.url = std::move(url); }
    const zv::URLRequest& request() const override { return request_; }
    void respond(const zv::URLResponse&, const zv::Data* data) override {
        ++answered_;
        if (!data || data->empty()) std::abort();
    }
    void fail(const zv::Error& error) override {
        std::fprintf(stderr, "scheme_bench: %s failed: %s\n", request_.url.c_str(), error.message.c_str());
        std::abort();
    }

private:
    zv::URLRequest request_;
    int& answered_;
};

// Starts every URL at once, as a page does, and waits for all answers.
double loadThroughHandler(const std::vector<std::string>& urls) {
    auto handler = ZVWebViewURLSchemeHandler::create();
    handler->setupHTTPOverrides();
    int answered = 0;
    int view = 0;
    return secondsOf([&] {
        for (const auto& url : urls) handler->startURLSchemeTask(&view, std::make_shared<CountingTask>(url, answered));
        if (!zv::spinMainContextUntil([&] { return answered == int(urls.size()); }, 120s)) std::abort();
    });
}

std::string imagePage(const std::vector<std::string>& urls) {
    std::string html = "<!doctype html><body>";
    for (const auto& url : urls) html += "<img width=4 height=3 src='" + url + "'>";
    return html;
}

// A fresh view (so WebKit's own page cache has nothing) loading the page to
// its end, every image included. `asked` counts the loads that reached the
// handler, to show that WebKit did not answer them itself.
double loadInWebView(const std::vector<std::string>& urls, const std::string& base, int& asked) {
    zv::test::WebViewWindow window;
    auto handler = ZVWebViewURLSchemeHandler::create();
    handler->setupHTTPOverrides();
    auto remote = handler->schemeHandlers()->at(zv::ZVWebViewInternalHTTPSchemeKey);
    handler->registerScheme(zv::ZVWebViewInternalHTTPSchemeKey,
                            [remote, &asked](const zv::URLRequest& request, ZVWebViewURLSchemeHandler::Completion done) {
                                ++asked;
                                remote(request, std::move(done));
                            });
    setURLSchemeHandler(window.webView(), handler);
    std::string html = imagePage(urls);
    // A first page starts the web process, which is not what is measured.
    window.loadHTML("<p>warm</p>", base.c_str());
    double seconds = secondsOf([&] {
        if (!window.loadHTML(html, base.c_str(), 120s)) std::abort();
    });
    auto loaded = window.evaluate("Array.from(document.images).filter(i => i.naturalWidth == 4).length");
    if (!loaded.ok() || loaded.value != nlohmann::json(urls.size())) {
        std::fprintf(stderr, "scheme_bench: not every image loaded\n");
        std::abort();
    }
    return seconds;
}

// Measures the longest gap between runs of a 1 ms timer on the main loop.
struct StallMeter {
    Clock::time_point last = Clock::now();
    Clock::duration longest{};
    guint timer = g_timeout_add_full(G_PRIORITY_HIGH, 1, [](gpointer data) -> gboolean {
        auto* meter = static_cast<StallMeter*>(data);
        auto now = Clock::now();
        meter->longest = std::max(meter->longest, now - meter->last);
        meter->last = now;
        return G_SOURCE_CONTINUE;
    }, this, nullptr);

    double stop() {
        g_source_remove(timer);
        return std::chrono::duration<double>(longest).count();
    }
};

// The longest main-loop stall, in seconds, while the handler answers `urls`
// started one per main-loop iteration, as WebKit hands requests over.
double handlerStall(const std::vector<std::string>& urls) {
    auto handler = ZVWebViewURLSchemeHandler::create();
    handler->setupHTTPOverrides();
    int answered = 0;
    int view = 0;
    size_t next = 0;
    StallMeter meter;
    auto starter = [&] {
        handler->startURLSchemeTask(&view, std::make_shared<CountingTask>(urls[next++], answered));
        return next < urls.size();
    };
    using Starter = decltype(starter);
    g_idle_add([](gpointer data) -> gboolean { return (*static_cast<Starter*>(data))(); }, &starter);
    if (!zv::spinMainContextUntil([&] { return answered == int(urls.size()); }, 300s)) std::abort();
    return meter.stop();
}

// The longest the main loop went without running a 1 ms timer, in seconds,
// while a fresh view loaded a page of `urls` to its end.
double longestStall(const std::vector<std::string>& urls, const std::string& base) {
    zv::test::WebViewWindow window;
    auto handler = ZVWebViewURLSchemeHandler::create();
    handler->setupHTTPOverrides();
    setURLSchemeHandler(window.webView(), handler);
    window.loadHTML("<p>warm</p>", base.c_str());
    StallMeter meter;
    if (!window.loadHTML(imagePage(urls), base.c_str(), 120s)) std::abort();
    return meter.stop();
}

std::vector<std::string> urls(const zv::test::LoopbackServer& server, const std::string& scheme,
                              const std::string& tag, int count) {
    std::vector<std::string> list;
    for (int i = 0; i < count; ++i) {
        std::string url = server.url("/image-" + tag + "-" + std::to_string(i) + ".png");
        list.push_back(scheme.empty() ? url : scheme + url.substr(4));
    }
    return list;
}

}  // namespace

int main(int argc, char** argv) {
    int images = 1000;
    int repetitions = 3;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string option = argv[i];
        if (option == "--images") images = std::atoi(argv[i + 1]);
        if (option == "--repetitions") repetitions = std::atoi(argv[i + 1]);
    }
    images = std::max(images, 1);
    repetitions = std::max(repetitions, 1);
    zv::test::initGtkOnce();
    zv::useIconThemeSymbols();

    char* folder = g_dir_make_tmp("zv-scheme-bench-XXXXXX", nullptr);
    std::string cacheFolder = folder;
    g_free(folder);
    zv::test::LoopbackServer server;
    const std::string base = server.url("/");
    nlohmann::json result{{"images", images}, {"repetitions", repetitions}};

    // The handler alone: first load (network, stored) and second (cache).
    std::vector<double> first, second, viewFirst, viewSecond, viewHTTP, stalls, handlerStalls, largeStalls;
    int asked = 0;
    for (int r = 0; r < repetitions; ++r) {
        zv::URLCache::setShared(zv::URLCache::open(cacheFolder + "/run-" + std::to_string(r) + ".sqlite"));
        auto remote = urls(server, "wren-http", "h" + std::to_string(r), images);
        first.push_back(loadThroughHandler(remote));
        second.push_back(loadThroughHandler(remote));

        auto page = urls(server, "wren-http", "v" + std::to_string(r), images);
        viewFirst.push_back(loadInWebView(page, base, asked));
        viewSecond.push_back(loadInWebView(page, base, asked));
        viewHTTP.push_back(loadInWebView(urls(server, "", "p" + std::to_string(r), images), base, asked));

        // Half the page already in the cache, half not, interleaved.
        auto cached = urls(server, "wren-http", "c" + std::to_string(r), images);
        auto fresh = urls(server, "wren-http", "f" + std::to_string(r), images);
        loadThroughHandler(cached);
        std::vector<std::string> mixed;
        for (int i = 0; i < images; ++i) mixed.insert(mixed.end(), {cached[i], fresh[i]});
        stalls.push_back(longestStall(mixed, base));

        // The handler alone, small images and then 2 MiB ones (a twentieth of
        // the 64 MiB cache is the most it keeps, and 25 of them fit): half
        // cached, half not.
        for (auto [tag, path, count, into] : {std::tuple{"s", "/image-", images, &handlerStalls},
                                              std::tuple{"l", "/large-", std::max(images / 40, 1), &largeStalls}}) {
            std::vector<std::string> cachedSet, mixedSet;
            for (int i = 0; i < count; ++i) {
                std::string stem = "wren-" + server.url(path + std::string(tag) + std::to_string(r) + "-");
                cachedSet.push_back(stem + "c" + std::to_string(i));
                mixedSet.insert(mixedSet.end(), {cachedSet.back(), stem + "f" + std::to_string(i)});
            }
            loadThroughHandler(cachedSet);
            into->push_back(handlerStall(mixedSet));
        }
    }
    result["handler"] = {{"firstSeconds", median(first)},
                         {"secondSeconds", median(second)},
                         {"longestStallSecondsCachedAndUncached", median(handlerStalls)},
                         {"longestStallSecondsLarge", median(largeStalls)},
                         {"largeImages", std::max(images / 40, 1)}};
    result["webView"] = {{"firstSeconds", median(viewFirst)},
                         {"secondSeconds", median(viewSecond)},
                         {"plainHTTPSeconds", median(viewHTTP)},
                         {"requestsToHandlerPerDisplay", double(asked) / (2.0 * repetitions)},
                         {"longestStallSecondsCachedAndUncached", median(stalls)},
                         {"longestStallSecondsWorst", *std::max_element(stalls.begin(), stalls.end())}};

    // Message parts from the resource table.
    {
        auto handler = ZVWebViewURLSchemeHandler::create();
        handler->setupHTTPOverrides();
        auto part = std::make_shared<zv::ZVMimeResource>();
        part->MIMEType = "image/png";
        part->data = zv::test::LoopbackServer::png();
        std::vector<std::string> parts;
        for (int i = 0; i < images; ++i) {
            parts.push_back("cid:part" + std::to_string(i) + "@bench");
            handler->addResource(part, parts.back());
        }
        const int rounds = 20;
        std::vector<double> times;
        for (int r = 0; r < repetitions; ++r) {
            int answered = 0;
            int view = 0;
            times.push_back(secondsOf([&] {
                for (int round = 0; round < rounds; ++round) {
                    for (const auto& url : parts)
                        handler->startURLSchemeTask(&view, std::make_shared<CountingTask>(url, answered));
                }
            }));
        }
        result["cid"] = {{"requests", rounds * images}, {"requestsPerSecond", rounds * images / median(times)}};

        std::vector<double> pageTimes;
        for (int r = 0; r < repetitions; ++r) {
            zv::test::WebViewWindow window;
            setURLSchemeHandler(window.webView(), handler);
            window.loadHTML("<p>warm</p>", base.c_str());
            std::string html = imagePage(parts);
            pageTimes.push_back(secondsOf([&] {
                if (!window.loadHTML(html, base.c_str(), 120s)) std::abort();
            }));
        }
        result["cid"]["webViewPageSeconds"] = median(pageTimes);
    }

    // Symbols: a 36-point paperclip (72 pixels), and the placeholder.
    for (const auto& [name, url] : {std::pair{"paperclip", "wren-symbol:paperclip?size=36&color=%23ff0000&weight=bold"},
                                    std::pair{"placeholder", "wren-symbol:questionmark.square.dashed?size=36&color=%233584e4&weight=light"}}) {
        auto request = zv::symbolImageRequestFromURL(url);
        const int renders = 500;
        std::vector<double> times;
        for (int r = 0; r < repetitions; ++r) {
            times.push_back(secondsOf([&] {
                for (int i = 0; i < renders; ++i) {
                    if (!zv::renderIconThemeSymbol(*request)) std::abort();
                }
            }));
        }
        result["symbols"][name] = {{"renders", renders}, {"rendersPerSecond", renders / median(times)}};
    }

    zv::URLCache::setShared(nullptr);
    std::string command = "rm -rf '" + cacheFolder + "'";
    if (std::system(command.c_str()) != 0) std::fprintf(stderr, "scheme_bench: %s left behind\n", cacheFolder.c_str());
    std::cout << result.dump(2) << std::endl;
    return 0;
}
