// Page windows: what includes cost, in one run.
//
// 1. show: from loadURL to the page controller's did-load of a page whose ten
//    <include> elements come from a loopback HTTP server, against the same
//    page written out whole and served the same way;
// 2. fetch: the ten include files fetched the way the window fetches them
//    (three at a time), against fetching them one after another.
// The server answers each include after DELAY ms (0 and 20 by default), to
// stand for a server that is not on the same machine.
//
// usage: page_bench [REPETITIONS] [DELAY_MS...]
// Needs a display (scripts/run-benchmarks runs it under xvfb-run -a).
#include <zv/foundation/OperationQueue.h>
#include <zv/page/ZVWebWindowController.h>

#include <gtk/gtk.h>
#include <libsoup/soup.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kIncludes = 10;

bool spinUntil(const std::function<bool()>& done) {
    auto deadline = Clock::now() + 60s;
    while (!done()) {
        if (Clock::now() > deadline) return false;
        if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(100us);
    }
    return true;
}

// Serves fixed bodies; paths under /include/ after the delay.
class Server {
public:
    Server() : server_(soup_server_new(nullptr, nullptr)) {
        soup_server_add_handler(server_, nullptr, handle, this, nullptr);
        soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
        GSList* uris = soup_server_get_uris(server_);
        port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
        g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    }
    ~Server() { g_object_unref(server_); }
    void serve(const std::string& path, std::string body) { bodies_[path] = std::move(body); }
    std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
    unsigned delayMs = 0;

private:
    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer data) {
        auto* self = static_cast<Server*>(data);
        auto found = self->bodies_.find(path);
        if (found == self->bodies_.end()) {
            soup_server_message_set_status(message, 404, nullptr);
            return;
        }
        soup_server_message_set_response(message, "text/html; charset=utf-8", SOUP_MEMORY_COPY, found->second.data(),
                                         found->second.size());
        soup_server_message_set_status(message, 200, nullptr);
        if (!self->delayMs || !std::string_view(path).starts_with("/include/")) return;
        soup_server_message_pause(message);
        g_timeout_add_once(
            self->delayMs, [](gpointer m) { soup_server_message_unpause(static_cast<SoupServerMessage*>(m)); }, message);
    }

    SoupServer* server_;
    int port_ = 0;
    std::map<std::string, std::string> bodies_;
};

std::string includeBody(int i) {
    std::string body = "<section><h2>Part " + std::to_string(i) + " of ${title}</h2>";
    for (int p = 0; p < 6; ++p)
        body += "<p>Paragraph " + std::to_string(p) + " of an included part, with <b>some</b> markup in it.</p>";
    return body + "</section>";
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double showPage(zv::ZVWebWindowController& window, int& loads, const zv::URL& url) {
    int before = loads;
    auto start = Clock::now();
    window.pageController()->loadURL(url);
    if (!spinUntil([&] { return loads > before; })) std::exit(1);
    return msSince(start);
}

// Fetches every URL, `concurrent` at a time, and waits for all.
double fetchAll(const std::vector<zv::URL>& urls, int concurrent) {
    std::atomic<int> fetched = 0;
    auto start = Clock::now();
    zv::OperationQueue::withSetup(
        [&](zv::OperationQueue& queue) {
            queue.setMaxConcurrentOperationCount(concurrent);
            for (const zv::URL& url : urls)
                queue.addSignallingOperation([&fetched, url](zv::Operation operation) {
                    zv::ZVWebWindowController::fetchHTMLAtURL(url, [&fetched, operation](auto html, auto) {
                        if (html) ++fetched;
                        operation.signal();
                    });
                });
        },
        {});
    if (!spinUntil([&] { return fetched.load() == int(urls.size()); })) std::exit(1);
    return msSince(start);
}

}  // namespace

int main(int argc, char** argv) {
    setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", 0);
    if (!gtk_init_check()) {
        std::fprintf(stderr, "page_bench: no display\n");
        return 1;
    }
    int repetitions = argc > 1 ? std::atoi(argv[1]) : 15;
    std::vector<unsigned> delays;
    for (int i = 2; i < argc; ++i) delays.push_back(unsigned(std::atoi(argv[i])));
    if (delays.empty()) delays = {0, 20};

    Server server;
    std::string withIncludes = "<html><body><h1>Help</h1>", whole = withIncludes;
    std::vector<zv::URL> includeURLs;
    for (int i = 0; i < kIncludes; ++i) {
        std::string path = "/include/part" + std::to_string(i) + ".html";
        server.serve(path, includeBody(i));
        includeURLs.push_back(*zv::URL::parse(server.url(path)));
        withIncludes += "<include src='" + path.substr(1) + "' title='Help'></include>";
        std::string part = includeBody(i);
        part.replace(part.find("${title}"), 8, "Help");
        whole += part;
    }
    server.serve("/with-includes.html", withIncludes + "</body></html>");
    server.serve("/whole.html", whole + "</body></html>");

    auto window = zv::ZVWebWindowController::create();
    int loads = 0;
    window->pageController()->setPageLoadedCompletion([&](std::optional<zv::Error> error) {
        if (error) std::exit(1);
        ++loads;
    });
    // One load each first, so the web process is up before timing.
    showPage(*window, loads, *zv::URL::parse(server.url("/whole.html")));

    std::printf("delay_ms,show_includes_ms,show_whole_ms,fetch_3_at_a_time_ms,fetch_one_at_a_time_ms\n");
    for (unsigned delay : delays) {
        server.delayMs = delay;
        std::vector<double> includes, wholePage, parallel, serial;
        for (int r = 0; r < repetitions; ++r) {
            includes.push_back(showPage(*window, loads, *zv::URL::parse(server.url("/with-includes.html"))));
            wholePage.push_back(showPage(*window, loads, *zv::URL::parse(server.url("/whole.html"))));
            parallel.push_back(fetchAll(includeURLs, 3));
            serial.push_back(fetchAll(includeURLs, 1));
        }
        std::printf("%u,%.1f,%.1f,%.1f,%.1f\n", delay, median(includes), median(wholePage), median(parallel),
                    median(serial));
    }
    return 0;
}
