// The message web view against a plain WebKitWebView, in one run:
//
// 1. load: from loadHTMLDocument (a parsed mail, a ZVWebView with an event
//    delegate and its page script) to the navigation's end, against
//    webkit_web_view_load_html of the same mail's bytes in a plain web view;
// 2. event round trip: from a click dispatched in the page to the delegate's
//    call, against the round trip of a bare script evaluation; and a script
//    whose answer the caller waits for (evaluateJavaScriptAndWait, what the
//    page controller's synchronous calls do), against the same bare round trip;
// 3. resident memory (VmRSS) of this process and of its WebKit child
//    processes with 1 and with 20 views showing the mail.
//
// usage: webview_bench timing TYPICAL.html LARGE.html [REPETITIONS]
//        webview_bench memory zvwebview|plain COUNT MAIL.html
// (one memory figure per process, so none includes another's views).
// Needs a display (scripts/run-benchmarks runs it under xvfb-run -a). Remote
// content is refused through a dead proxy: the corpus holds live phishing
// URLs, and remote loads would measure the network, not the view.
#include <zv/foundation/MainThread.h>
#include <zv/html/HTMLParser.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/WebViewContent.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kBound = 60s;

// Waits in the main loop's poll, as an application does, so a reply is
// handled the moment it arrives.
bool spinUntil(const std::function<bool()>& done) { return zv::spinMainContextUntil(done, kBound); }

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string readFile(const char* path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "webview_bench: %s: cannot read\n", path);
        std::exit(1);
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Counts the navigations a view finishes.
struct LoadCounter {
    unsigned finished = 0;
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self) {
        if (event == WEBKIT_LOAD_FINISHED) ++static_cast<LoadCounter*>(self)->finished;
    }
    void watch(WebKitWebView* view) { g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), this); }
    bool waitForLoad(const std::function<void()>& start) {
        unsigned before = finished;
        start();
        return spinUntil([&] { return finished != before; });
    }
};

zv::GObjectRef<WebKitNetworkSession> offlineSession() {
    auto session = zv::GObjectRef<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral());
    WebKitNetworkProxySettings* proxy = webkit_network_proxy_settings_new("http://127.0.0.1:9", nullptr);
    webkit_network_session_set_proxy_settings(session.get(), WEBKIT_NETWORK_PROXY_MODE_CUSTOM, proxy);
    webkit_network_proxy_settings_free(proxy);
    return session;
}

GtkWindow* windowWith(WebKitWebView* view) {
    GtkWindow* window = GTK_WINDOW(gtk_window_new());
    gtk_window_set_default_size(window, 900, 700);
    gtk_window_set_child(window, GTK_WIDGET(view));
    gtk_window_present(window);
    return window;
}

// One message view with a delegate that listens to clicks, as a mail client has it.
struct MessageView {
    std::shared_ptr<zv::ZVWebView> view;
    std::shared_ptr<zv::ZVWebViewEventDelegate> delegate = std::make_shared<zv::ZVWebViewEventDelegate>();
    std::function<void()> onEvent;
    LoadCounter loads;
    GtkWindow* window = nullptr;

    explicit MessageView(const zv::GObjectRef<WebKitNetworkSession>& session) {
        zv::ZVWebViewConfiguration configuration;
        configuration.networkSession = session;
        view = zv::ZVWebView::create(configuration);
        delegate->webViewDOMSelectorsForEventType = [](zv::EventType type) {
            return type == zv::EventType::LeftMouseUp ? std::vector<std::string>{"a", "img", "#target"}
                                                      : std::vector<std::string>{};
        };
        delegate->webViewEvent = [this](const zv::Event&) {
            if (onEvent) onEvent();
        };
        delegate->webViewReceivedKeyDown = [](zv::ZVWebView&, const zv::Event&) {};
        view->setEventDelegate(delegate);
        loads.watch(view->webView());
        window = windowWith(view->webView());
    }
    ~MessageView() { gtk_window_destroy(window); }
};

struct PlainView {
    zv::GObjectRef<WebKitWebView> view;
    LoadCounter loads;
    GtkWindow* window = nullptr;

    explicit PlainView(const zv::GObjectRef<WebKitNetworkSession>& session) {
        view = zv::GObjectRef<WebKitWebView>::adopt(
            WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", session.get(), nullptr)));
        loads.watch(view.get());
        window = windowWith(view.get());
    }
    ~PlainView() { gtk_window_destroy(window); }
};

// Three loads of one mail per repetition: ours; a plain view given the very
// markup loadHTMLDocument sends (the root element's outer HTML, no
// doctype), which isolates the view's own cost; and a plain view given the
// mail's bytes, as a client without the framework would load it.
void loadTimes(const char* label, const std::string& html, const zv::GObjectRef<WebKitNetworkSession>& session,
               int repetitions) {
    auto document = zv::html::HTMLParser(html).parseDocument();
    std::string serialized = document->documentElement()->outerHTML();
    MessageView ours(session);
    PlainView plain(session);
    std::vector<double> oursMs, sameMarkupMs, plainMs;
    auto timed = [](LoadCounter& loads, const std::function<void()>& start) {
        // The previous load's painting, in whichever view, settles first.
        auto idle = Clock::now();
        spinUntil([&] { return Clock::now() - idle > 50ms; });
        auto begin = Clock::now();
        if (!loads.waitForLoad(start)) {
            std::fprintf(stderr, "webview_bench: a load did not finish within the bound\n");
            std::exit(1);
        }
        return millisecondsSince(begin);
    };
    for (int i = 0; i < repetitions + 1; ++i) {
        double a = timed(ours.loads, [&] { zv::loadHTMLDocument(ours.view->webView(), *document); });
        double b = timed(plain.loads, [&] { webkit_web_view_load_html(plain.view.get(), serialized.c_str(), nullptr); });
        double c = timed(plain.loads, [&] { webkit_web_view_load_html(plain.view.get(), html.c_str(), nullptr); });
        if (i == 0) continue;  // the first load also starts the web processes
        oursMs.push_back(a);
        sameMarkupMs.push_back(b);
        plainMs.push_back(c);
    }
    std::printf("%-30s%11.1f%13.1f%11.1f%13.2f%11.2f\n", label, median(oursMs), median(sameMarkupMs),
                median(plainMs), median(oursMs) / median(sameMarkupMs), median(oursMs) / median(plainMs));
}

void roundTrips(const zv::GObjectRef<WebKitNetworkSession>& session, int repetitions) {
    MessageView ours(session);
    const char* page = "<body><p>Hello</p><a id=target href='#t'>link</a></body>";
    if (!ours.loads.waitForLoad([&] { webkit_web_view_load_html(ours.view->webView(), page, nullptr); })) std::exit(1);
    bool arrived = false;
    ours.onEvent = [&] { arrived = true; };
    const char* click =
        "document.getElementById('target').dispatchEvent(new MouseEvent('click', {bubbles: true, cancelable: true, "
        "clientX: 10, clientY: 30})); void 0";
    std::vector<double> bridgeMs, evaluateMs, waitedMs;
    for (int i = 0; i < repetitions + 1; ++i) {
        arrived = false;
        auto start = Clock::now();
        webkit_web_view_evaluate_javascript(ours.view->webView(), click, -1, nullptr, nullptr, nullptr, nullptr,
                                            nullptr);
        if (!spinUntil([&] { return arrived; })) std::exit(1);
        double bridge = millisecondsSince(start);

        bool answered = false;
        start = Clock::now();
        zv::evaluateJavaScript(ours.view->webView(), "1", [&](auto, auto) { answered = true; });
        if (!spinUntil([&] { return answered; })) std::exit(1);
        double evaluate = millisecondsSince(start);

        start = Clock::now();
        zv::evaluateJavaScriptAndWait(ours.view->webView(), "1", nullptr);
        double waited = millisecondsSince(start);
        if (i == 0) continue;
        bridgeMs.push_back(bridge);
        evaluateMs.push_back(evaluate);
        waitedMs.push_back(waited);
    }
    std::printf("\n%-30s%11s%13s%11s\n", "median ms", "click", "evaluate", "ratio");
    std::printf("%-30s%11.3f%13.3f%11.2f\n", "page event to delegate", median(bridgeMs), median(evaluateMs),
                median(bridgeMs) / median(evaluateMs));
    std::printf("%-30s%11.3f%13.3f%11.2f\n", "script waited for", median(waitedMs), median(evaluateMs),
                median(waitedMs) / median(evaluateMs));
}

// Resident kB of a process, from /proc/PID/status.
long residentKiB(const std::string& pid) {
    std::ifstream status("/proc/" + pid + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    return 0;
}

// Resident kB of this process's children, summed by their name.
std::map<std::string, std::pair<int, long>> childrenResidentKiB() {
    std::map<std::string, std::pair<int, long>> byName;
    DIR* proc = opendir("/proc");
    std::string self = std::to_string(getpid());
    while (dirent* entry = proc ? readdir(proc) : nullptr) {
        std::string pid = entry->d_name;
        if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream statFile("/proc/" + pid + "/stat");
        std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
        size_t close = stat.rfind(')');
        if (close == std::string::npos) continue;
        std::istringstream rest(stat.substr(close + 2));
        std::string state, parent;
        rest >> state >> parent;
        if (parent != self) continue;
        std::string name = stat.substr(stat.find('(') + 1, close - stat.find('(') - 1);
        auto& [count, kib] = byName[name];
        ++count;
        kib += residentKiB(pid);
    }
    if (proc) closedir(proc);
    return byName;
}

template <typename View>
void memory(const char* label, const std::string& html, const zv::GObjectRef<WebKitNetworkSession>& session,
            int count) {
    auto document = zv::html::HTMLParser(html).parseDocument();
    std::vector<std::unique_ptr<View>> views;
    for (int i = 0; i < count; ++i) {
        views.push_back(std::make_unique<View>(session));
        View& v = *views.back();
        bool loaded;
        if constexpr (std::is_same_v<View, MessageView>)
            loaded = v.loads.waitForLoad([&] { zv::loadHTMLDocument(v.view->webView(), *document); });
        else
            loaded = v.loads.waitForLoad([&] { webkit_web_view_load_html(v.view.get(), html.c_str(), nullptr); });
        if (!loaded) std::exit(1);
    }
    auto settle = Clock::now();
    spinUntil([&] { return Clock::now() - settle > 1s; });
    std::printf("%-20s %2d view(s): UI process %.1f MiB", label, count, residentKiB("self") / 1024.0);
    for (const auto& [name, usage] : childrenResidentKiB())
        std::printf(", %d x %s %.1f MiB", usage.first, name.c_str(), usage.second / 1024.0);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    std::string mode = argc > 1 ? argv[1] : "";
    if (!((mode == "timing" && argc >= 4) || (mode == "memory" && argc == 5))) {
        std::fprintf(stderr,
                     "usage: webview_bench timing TYPICAL.html LARGE.html [REPETITIONS]\n"
                     "       webview_bench memory zvwebview|plain COUNT MAIL.html\n");
        return 2;
    }
    // As in the tests: bubblewrap needs user namespaces that CI runners refuse.
    g_setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", FALSE);
    g_setenv("GTK_A11Y", "none", FALSE);
    if (!gtk_init_check()) {
        std::fprintf(stderr, "webview_bench: no display (run under xvfb-run -a)\n");
        return 1;
    }
    auto session = offlineSession();
    if (mode == "memory") {
        std::string mail = readFile(argv[4]);
        int count = std::atoi(argv[3]);
        if (std::string(argv[2]) == "plain")
            memory<PlainView>("plain WebKitWebView", mail, session, count);
        else
            memory<MessageView>("ZVWebView", mail, session, count);
        return 0;
    }
    std::string typical = readFile(argv[2]);
    std::string large = readFile(argv[3]);
    int repetitions = argc > 4 ? std::atoi(argv[4]) : 10;
    std::printf("%-30s%11s%13s%11s%13s%11s\n", "median ms", "ZVWebView", "plain, same", "plain", "ours/same",
                "ours/plain");
    loadTimes(("load, typical mail (" + std::to_string(typical.size() / 1024) + " KiB)").c_str(), typical, session,
              repetitions);
    loadTimes(("load, large mail (" + std::to_string(large.size() / 1024) + " KiB)").c_str(), large, session,
              repetitions);
    roundTrips(session, repetitions * 5);
    return 0;
}
