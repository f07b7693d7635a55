// Find across a conversation of 50 mail messages, each in its own web view
// sharing one web process (related views), in one run beside WebKitGTK's own
// WebKitFindController:
//
// 1. total: from the find controller's search (highlight in every page) to
//    the final total, i.e. until every page has reported its count (the
//    host's count for each message is a sentinel that only the page's
//    answer replaces); against count_matches of the same query on the same
//    50 views, until all 50 have answered;
// 2. step: from findNext at the last match of one message to the host's
//    "found" call for the first match of the next message with matches, and
//    a step inside a message; the 99th percentile of all the steps.
//
// usage: find_bench [--composited] [--gl] [--fresh] [--after TEXT] CORPUS_DIR [QUERY] [MESSAGES] [REPETITIONS]
//   CORPUS_DIR holds the .html documents bench/extract_corpus_html.py writes
//   (OUT/corpus); the first MESSAGES (50) of them under 200 KB, in name order.
//   The views are set up as the mail viewer sets up its message views:
//   without composited layers (a message is a still page); --composited
//   leaves WebKit's default, which paints every page with the GPU (on a
//   machine without one, with OpenGL in software). The window is drawn as
//   the viewer draws its own, with cairo where OpenGL is a software
//   rasteriser; --gl leaves GTK's choice.
//   A page searched again for the same text while it has not changed keeps
//   its matches; --fresh changes every page and changes it back before each
//   timed search (untimed), so that the search removes the old highlights,
//   reads the page and finds and paints its matches again, as a new text on a
//   new page would. --after TEXT searches TEXT (untimed) before each timed
//   search: the pages keep what they read for it, as when a reader types
//   the next letter of a search ("th", then "the").
// Needs a display (run it under xvfb-run -a). Remote content goes to a dead
// proxy: the corpus holds live URLs, and the network is not what is measured.
#include <zv/find/FindOptions.h>
#include <zv/find/ZVWebViewFindController.h>
#include <zv/foundation/MainThread.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>
#include <zv/webview/ZVWebView.h>

#ifdef ZV_FIND_BENCH_VIEWER_RENDERER
#include <viewer/SoftwareGL.h>
#endif

#include <gtk/gtk.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
constexpr int64_t kSentinel = 1'000'000;

// Waits in the main loop's poll, as an application does: polling it in a
// loop took a share of a core from the web process on a two-core machine.
bool spinUntil(const std::function<bool()>& done, std::chrono::seconds bound = 60s) {
    return zv::spinMainContextUntil(done, bound);
}

// Runs the main loop for a while untimed, so that what the web process still
// paints for the last operation (highlights of 37 pages take it about 10 to 40
// ms) is not counted in the next one, ours or the peer's.
void settle() {
    const auto until = Clock::now() + 150ms;
    spinUntil([&] { return Clock::now() >= until; });
}

double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// Nearest rank: the smallest value at or above `share` of them.
double percentile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    size_t rank = static_cast<size_t>(std::ceil(share * static_cast<double>(values.size())));
    return values[std::clamp<size_t>(rank, 1, values.size()) - 1];
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

std::string searchable(const std::string& html) {
    zv::html::HTMLParser parser(html);
    auto document = parser.parseDocument();
    for (auto& element : zv::ZVWebView::searchScriptElements()) document->head()->insertNode(element, nullptr);
    return zv::html::serializeNode(*document);
}

struct Message : zv::ZVWKConversationMessageItem {
    std::string key;
    std::shared_ptr<zv::ZVWebView> view;
    std::optional<std::string> scriptIdentifier() const override { return key; }
    std::shared_ptr<zv::ZVWebView> webView() const override { return view; }
    int64_t findCountForStrings(const std::vector<std::string>&) const override { return kSentinel; }
};

struct Thread : zv::ZVWKConversationThread {
    std::vector<std::shared_ptr<Message>> messages;
    std::vector<zv::ZVWKConversationMessageItemRef> visibleConversationMessageItems() const override {
        return {messages.begin(), messages.end()};
    }
};

std::vector<std::string> pickMessages(const std::string& folder, size_t count) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".html" && entry.file_size() < 200 * 1024) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> pages;
    for (const auto& path : paths) {
        if (pages.size() == count) break;
        std::ifstream in(path, std::ios::binary);
        std::stringstream bytes;
        bytes << in.rdbuf();
        pages.push_back(searchable(bytes.str()));
    }
    return pages;
}

struct PeerCount {
    int answered = 0;
    uint64_t total = 0;
    static void counted(WebKitFindController*, guint count, gpointer self) {
        static_cast<PeerCount*>(self)->answered++;
        static_cast<PeerCount*>(self)->total += count;
    }
};

// A comment added to each page and removed again: the text is as it was, but
// the page has changed, so its search script cannot reuse what it found.
bool touchEveryPage(const Thread& thread) {
    int touched = 0;
    for (const auto& message : thread.messages)
        webkit_web_view_evaluate_javascript(
            message->view->webView(), "{ const c = document.createComment(''); document.body.append(c); c.remove(); }",
            -1, nullptr, nullptr, nullptr,
            +[](GObject* view, GAsyncResult* result, gpointer n) {
                g_autoptr(JSCValue) value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, nullptr);
                ++*static_cast<int*>(n);
            },
            &touched);
    return spinUntil([&] { return touched == static_cast<int>(thread.messages.size()); });
}

}  // namespace

int main(int argc, char** argv) {
    bool composited = false, fresh = false, unknown = false;
    [[maybe_unused]] bool gl = false;  // without the viewer, GTK chooses anyway
    std::string after;
    for (; argc > 1 && std::string(argv[1]).starts_with("--"); --argc, ++argv) {
        const std::string flag = argv[1];
        if (flag == "--after" && argc > 2) {
            after = argv[2];
            --argc, ++argv;
            continue;
        }
        composited |= flag == "--composited";
        gl |= flag == "--gl";
        fresh |= flag == "--fresh";
        unknown |= flag != "--composited" && flag != "--gl" && flag != "--fresh";
    }
    if (argc < 2 || unknown) {
        std::fprintf(stderr, "usage: find_bench [--composited] [--gl] [--fresh] [--after TEXT] CORPUS_DIR [QUERY] "
                             "[MESSAGES] [REPETITIONS]\n");
        return 2;
    }
    const std::string query = argc > 2 ? argv[2] : "the";
    const size_t count = argc > 3 ? std::stoul(argv[3]) : 50;
    const int repetitions = argc > 4 ? std::stoi(argv[4]) : 5;
    gtk_init();
    bool cairo = false;
#ifdef ZV_FIND_BENCH_VIEWER_RENDERER
    if (!gl) cairo = zvwk::viewer::preferCairoOnSoftwareOpenGL(gdk_display_get_default());
#endif
    std::printf("renderer: %s\n", cairo ? "cairo, chosen for software OpenGL as the viewer does" : "GTK's choice");
    // Contains, ignoring case: what count_matches with CASE_INSENSITIVE does.
    zv::UserDefaults::standard().setInteger(zv::ZVSearchStyleKey, zv::SearchContains);
    zv::UserDefaults::standard().setBool(zv::ZVSearchIgnoreCaseKey, true);

    std::vector<std::string> pages = pickMessages(argv[1], count);
    if (pages.size() < count) {
        std::fprintf(stderr, "find_bench: %s has only %zu usable documents\n", argv[1], pages.size());
        return 1;
    }

    auto session = zv::GObjectRef<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral());
    WebKitNetworkProxySettings* proxy = webkit_network_proxy_settings_new("http://127.0.0.1:9", nullptr);
    webkit_network_session_set_proxy_settings(session.get(), WEBKIT_NETWORK_PROXY_MODE_CUSTOM, proxy);
    webkit_network_proxy_settings_free(proxy);

    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 900, 700);
    GtkWidget* scroller = gtk_scrolled_window_new();
    GtkWidget* list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), list);
    gtk_window_set_child(GTK_WINDOW(window), scroller);

    auto thread = std::make_shared<Thread>();
    int loaded = 0;
    auto started = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        zv::ZVWebViewConfiguration configuration;
        if (i == 0) configuration.networkSession = session;
        else configuration.relatedView = zv::GObjectRef<WebKitWebView>::ref(thread->messages[0]->view->webView());
        if (!composited) {
            configuration.settings = zv::GObjectRef<WebKitSettings>::adopt(webkit_settings_new());
            webkit_settings_set_hardware_acceleration_policy(configuration.settings.get(),
                                                             WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
        }
        auto message = std::make_shared<Message>();
        message->key = "message-" + std::to_string(i);
        message->view = zv::ZVWebView::create(configuration);
        gtk_widget_set_size_request(GTK_WIDGET(message->view->webView()), -1, 300);
        gtk_box_append(GTK_BOX(list), GTK_WIDGET(message->view->webView()));
        g_signal_connect(message->view->webView(), "load-changed",
                         G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer n) {
                             if (event == WEBKIT_LOAD_FINISHED) ++*static_cast<int*>(n);
                         }),
                         &loaded);
        webkit_web_view_load_html(message->view->webView(), pages[i].c_str(), "file:///");
        thread->messages.push_back(message);
    }
    gtk_window_present(GTK_WINDOW(window));
    if (!spinUntil([&] { return loaded == static_cast<int>(count); })) {
        std::fprintf(stderr, "find_bench: only %d of %zu pages loaded\n", loaded, count);
        return 1;
    }
    std::printf("loaded %zu messages in %.0f ms (one web process)\n", count, ms(Clock::now() - started));

    std::vector<std::string> found;
    auto delegate = std::make_shared<zv::ZVWebviewFindDelegate>();
    delegate->foundResultInMessageItem = [&](zv::ZVWebViewFindController&, const zv::ZVWKConversationMessageItemRef& item,
                                             zv::Point, bool) { found.push_back(*item->scriptIdentifier()); };
    auto controller = zv::ZVWebViewFindController::create(thread, delegate);
    gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), query.c_str());

    std::vector<double> ours, peer;
    int64_t ourTotal = 0;
    uint64_t peerTotal = 0;
    // The first round of each (engine warming up its JIT) is not counted.
    for (int r = -1; r < repetitions; ++r) {
        if (fresh && !touchEveryPage(*thread)) return 1;
        if (!after.empty()) {
            settle();
            gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), after.c_str());
            controller->findNow();
            if (!spinUntil([&] { return controller->currentCount() < kSentinel; })) return 1;
            gtk_editable_set_text(GTK_EDITABLE(controller->searchField()), query.c_str());
        }
        settle();
        auto start = Clock::now();
        controller->findNow();
        if (!spinUntil([&] { return controller->currentCount() < kSentinel; })) return 1;
        if (r >= 0) ours.push_back(ms(Clock::now() - start));
        ourTotal = controller->currentCount();

        PeerCount counts;
        std::vector<gulong> handlers;
        settle();
        start = Clock::now();
        for (const auto& message : thread->messages) {
            WebKitFindController* find = webkit_web_view_get_find_controller(message->view->webView());
            handlers.push_back(g_signal_connect(find, "counted-matches", G_CALLBACK(PeerCount::counted), &counts));
            webkit_find_controller_count_matches(find, query.c_str(), WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE, G_MAXUINT);
        }
        if (!spinUntil([&] { return counts.answered == static_cast<int>(count); })) return 1;
        if (r >= 0) peer.push_back(ms(Clock::now() - start));
        peerTotal = counts.total;
        for (size_t i = 0; i < count; ++i)
            g_signal_handler_disconnect(webkit_web_view_get_find_controller(thread->messages[i]->view->webView()),
                                        handlers[i]);
    }
    std::printf("query \"%s\": total %lld (WebKitFindController: %llu)\n", query.c_str(),
                static_cast<long long>(ourTotal), static_cast<unsigned long long>(peerTotal));
    // Rounds alternate the two, so the ratio within a round sees the same load.
    std::vector<double> ratios;
    for (size_t i = 0; i < ours.size(); ++i) ratios.push_back(ours[i] / peer[i]);
    std::printf("total, ms (median of %d): find controller %.1f, WebKitFindController %.1f; "
                "median ratio of the rounds %.2f\n",
                repetitions, median(ours), median(peer), median(ratios));

    // Steps into the next message: from the last match of each message with
    // matches, once the last search's highlights are painted, as a reader's
    // first key press comes after them; the steps then follow each other.
    settle();
    std::vector<double> across, inside;
    for (const auto& message : thread->messages) {
        int64_t n = controller->countForKey(message->key);
        if (n <= 0) continue;
        controller->setCurrentItem(message);
        controller->setIndex(message->key, n - 1);
        size_t before = found.size();
        auto start = Clock::now();
        controller->findNext();
        if (!spinUntil([&] { return found.size() > before; }, 10s)) return 1;
        if (found.back() != message->key) across.push_back(ms(Clock::now() - start));
        // And one step inside the message just entered.
        spinUntil([&] { return controller->indexForKey(found.back()) == 0; }, 2s);
        if (controller->countForKey(found.back()) > 1) {
            before = found.size();
            start = Clock::now();
            controller->findNext();
            if (!spinUntil([&] { return found.size() > before; }, 10s)) return 1;
            inside.push_back(ms(Clock::now() - start));
        }
    }
    std::printf("step to the next message, ms: median %.2f, max %.2f (%zu steps)\n", median(across),
                across.empty() ? 0 : *std::max_element(across.begin(), across.end()), across.size());
    std::printf("step inside a message, ms: median %.2f (%zu steps)\n", median(inside), inside.size());
    std::vector<double> steps = across;
    steps.insert(steps.end(), inside.begin(), inside.end());
    std::printf("every step, ms: 99th percentile %.2f (%zu steps)\n", percentile(steps, 0.99), steps.size());
    return 0;
}
