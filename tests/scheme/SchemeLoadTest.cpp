// A thousand requests through the framework's schemes at once: fifty views
// of one web process, each loading a page of twenty images from the URL
// cache, the loopback server (some answers slow, stalled, failed, reset or
// cut short), message parts, the missing-part placeholder, symbols and an
// excluded URL. Every request must be answered exactly once, every image end
// as its source says, and every handler be let go once its view is gone.
// The host is set up as a mail reader's: the views stacked in one window's
// scrolling column, with a message's settings, in a web process started
// before any of them loads.
//
// The session keeps six connections per host, so a stalled request holds one
// of them: only three views stall, leaving the others room to load.
//
// The test prints what it saw (wall time, the main thread's CPU time, the
// longest main-loop stall, answer latencies); docs/RELIABILITY.md reports the
// figures. Only the bounds on the waits are asserted.
#include <zv/scheme/WebKitSchemeBinding.h>

#include "LoopbackServer.h"
#include "SchemeTestSupport.h"
#include "WebViewHarness.h"

#include <zv/scheme/URLCache.h>
#include <zv/webview/ZVWebView.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>

namespace zv {
namespace {

using namespace std::chrono_literals;
using Handler = ZVWebViewURLSchemeHandler;
using Clock = std::chrono::steady_clock;

constexpr int kViews = 50;
constexpr int kStallingViews = 3;  // views 0, 1 and 2
constexpr std::chrono::milliseconds kLoadBound = 120s;

// Every task a routine was given, and when and how often it was answered.
// Completions may come from any thread.
class Ledger {
public:
    struct Task {
        std::string url;
        Clock::time_point started;
        Clock::time_point answered;
        int answers = 0;
        std::string error;  // the first answer's, if it was one
    };

    // Wraps every routine of `handler` so its tasks are recorded here.
    void watch(Handler& handler) {
        const auto table = handler.schemeHandlers();
        for (const auto& [scheme, routine] : *table)
            handler.registerScheme(scheme, [this, routine](const URLRequest& request, Handler::Completion completion) {
                size_t index = start(request.url);
                routine(request, [this, index, completion](auto response, auto data, auto error, bool untracked) {
                    answer(index, error ? error->message : std::string());
                    completion(std::move(response), std::move(data), std::move(error), untracked);
                });
            });
    }

    std::vector<Task> tasks() const {
        std::lock_guard lock(mutex_);
        return tasks_;
    }

private:
    size_t start(const std::string& url) {
        std::lock_guard lock(mutex_);
        tasks_.push_back({url, Clock::now(), {}, 0, {}});
        return tasks_.size() - 1;
    }
    void answer(size_t index, std::string error) {
        std::lock_guard lock(mutex_);
        if (tasks_[index].answers++ != 0) return;
        tasks_[index].answered = Clock::now();
        tasks_[index].error = std::move(error);
    }

    mutable std::mutex mutex_;
    std::vector<Task> tasks_;
};

// The longest gap between two turns of a 5 ms timer on the main loop, and
// within it the main thread's CPU time and its time ready to run but waiting
// for a core (the scheduler's run-queue delay): on a machine shared with other
// jobs a gap is mostly waiting for a core, the CPU time is the work that held
// the loop, and what is left the thread spent blocked.
class StallMeter {
public:
    StallMeter() {
        last_ = Clock::now();
        lastCPU_ = firstCPU_ = threadCPU();
        lastWait_ = threadRunQueueWait();
        source_ = g_timeout_add(5, [](gpointer data) -> gboolean {
            static_cast<StallMeter*>(data)->tick();
            return G_SOURCE_CONTINUE;
        }, this);
    }
    ~StallMeter() {
        g_source_remove(source_);
        for (const auto& clock : frameClocks_) g_signal_handlers_disconnect_by_data(clock.get(), this);
    }
    // Counts the CPU time of `window`'s frames (layout and drawing) apart.
    void watchFrames(GtkWindow* window) {
        GdkFrameClock* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window));
        auto begin = +[](GdkFrameClock*, gpointer data) {
            static_cast<StallMeter*>(data)->frameStarted_ = threadCPU();
        };
        auto end = +[](GdkFrameClock*, gpointer data) {
            auto* self = static_cast<StallMeter*>(data);
            self->framesCPU_ += threadCPU() - self->frameStarted_;
        };
        g_signal_connect(clock, "before-paint", G_CALLBACK(begin), this);
        g_signal_connect(clock, "after-paint", G_CALLBACK(end), this);
        frameClocks_.push_back(GObjectRef<GdkFrameClock>::ref(clock));
    }
    double longestMilliseconds() const { return std::chrono::duration<double, std::milli>(longest_).count(); }
    double cpuOfLongestMilliseconds() const { return cpuOfLongest_ * 1e3; }
    double longestCPUMilliseconds() const { return longestCPU_ * 1e3; }
    // The same, leaving out the CPU time of the watched window's frames.
    double longestCPUBesideFramesMilliseconds() const { return longestCPUBesideFrames_ * 1e3; }
    double runQueueWaitOfLongestMilliseconds() const { return waitOfLongest_ * 1e3; }
    // The main thread's CPU time since the meter started.
    double cpuMilliseconds() const { return (threadCPU() - firstCPU_) * 1e3; }

private:
    // Seconds; 0 where the kernel keeps no scheduler statistics.
    static double threadRunQueueWait() {
        std::ifstream stat("/proc/thread-self/schedstat");
        unsigned long long onCPU = 0, waiting = 0;
        stat >> onCPU >> waiting;
        return double(waiting) / 1e9;
    }
    static double threadCPU() {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
    }
    void tick() {
        auto now = Clock::now();
        double cpu = threadCPU(), wait = threadRunQueueWait();
        if (now - last_ > longest_) {
            longest_ = now - last_;
            cpuOfLongest_ = cpu - lastCPU_;
            waitOfLongest_ = wait - lastWait_;
        }
        longestCPU_ = std::max(longestCPU_, cpu - lastCPU_);
        longestCPUBesideFrames_ = std::max(longestCPUBesideFrames_, cpu - lastCPU_ - (framesCPU_ - lastFramesCPU_));
        last_ = now;
        lastCPU_ = cpu;
        lastFramesCPU_ = framesCPU_;
        lastWait_ = wait;
    }

    guint source_ = 0;
    Clock::time_point last_;
    Clock::duration longest_{};
    double firstCPU_ = 0;
    double lastCPU_ = 0;
    double cpuOfLongest_ = 0;
    double longestCPU_ = 0;
    double lastWait_ = 0;
    double waitOfLongest_ = 0;
    std::vector<GObjectRef<GdkFrameClock>> frameClocks_;
    double frameStarted_ = 0;
    double framesCPU_ = 0;
    double lastFramesCPU_ = 0;
    double longestCPUBesideFrames_ = 0;
};

struct LoadedView {
    std::shared_ptr<ZVWebView> view;
    std::weak_ptr<Handler> handler;
    int loadsFinished = 0;
    int lastLoadEvent = -1;
    bool webProcessEnded = false;
    WebKitWebProcessTerminationReason endReason = WEBKIT_WEB_PROCESS_CRASHED;
};

struct Image {
    std::string id;
    std::string url;
    int width;  // 0: the image must fail
};

class SchemeLoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        server_.setSlowDelay(100ms);
        test::initGtkOnce();
        window_ = std::make_unique<test::ColumnWindow>();
    }

    // The twenty images of view `v`, every URL its own.
    std::vector<Image> page(int v) {
        const std::string n = std::to_string(v);
        std::vector<Image> images;
        for (int k = 0; k < 5; ++k) {
            const std::string path = "/image-cached-" + n + "-" + std::to_string(k);
            images.push_back({"cached" + std::to_string(k), server_.wrenURL(path), 2});
            cachedPaths_.push_back(path);
            images.push_back({"network" + std::to_string(k), server_.wrenURL("/image-" + n + "-" + std::to_string(k)), 4});
        }
        images.push_back({"error", server_.wrenURL("/status500?" + n), 0});
        images.push_back({"reset", server_.wrenURL("/reset?" + n), 0});
        images.push_back({"truncated", server_.wrenURL("/truncated?" + n), 0});
        images.push_back({"late", server_.wrenURL((v < kStallingViews ? "/stall-" : "/slow-") + n), 4});
        for (int k = 0; k < 3; ++k)
            images.push_back({"part" + std::to_string(k), "cid:part-" + n + "-" + std::to_string(k) + "@load", 3});
        images.push_back({"missing", "cid:missing-" + n + "@load", 72});
        const int size = 8 + v % 8;
        images.push_back({"symbol", "wren-symbol:paperclip?size=" + std::to_string(size) + "&view=" + n, 2 * size});
        images.push_back({"excluded", "wren-exclude-https://127.0.0.1/pixel-" + n + ".gif", 0});
        return images;
    }

    // Settings as a mail reader shows a message: a still page, no composited layers.
    static ZVWebViewConfiguration messageConfiguration() {
        ZVWebViewConfiguration configuration;
        configuration.settings = GObjectRef<WebKitSettings>::adopt(webkit_settings_new());
        webkit_settings_set_hardware_acceleration_policy(configuration.settings.get(), WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
        return configuration;
    }

    // The web process the views share, running before any of them loads, as a
    // reader starts it before it shows a conversation: with fifty related views
    // loading while it started, WebKit now and then never loaded some of their
    // pages, or its process panicked in its allocator.
    bool startWebProcess() {
        processView_ = ZVWebView::create(messageConfiguration());
        processWindow_ = std::make_unique<test::WebViewWindow>(processView_->webView(), 80, 60);
        return processWindow_->loadHTML("", "about:blank");
    }

    // A view in the shared web process, in the conversation's window, with a
    // handler of its own holding its parts; loadPage loads its page.
    void openView(int v) {
        ZVWebViewConfiguration configuration = messageConfiguration();
        configuration.relatedView = GObjectRef<WebKitWebView>::ref(processView_->webView());
        auto loaded = std::make_unique<LoadedView>();
        loaded->view = ZVWebView::create(configuration);
        window_->add(loaded->view->webView(), 240);
        auto handler = Handler::create();
        handler->setupHTTPOverrides();
        for (int k = 0; k < 3; ++k)
            handler->addResource(test::resource("image/png", test::pngImage(3, 2, 0, 0, 1)),
                                 "cid:part-" + std::to_string(v) + "-" + std::to_string(k) + "@load");
        ledger_.watch(*handler);
        setURLSchemeHandler(loaded->view->webView(), handler);
        loaded->handler = handler;
        g_signal_connect(loaded->view->webView(), "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer data) {
            static_cast<LoadedView*>(data)->lastLoadEvent = event;
            if (event == WEBKIT_LOAD_FINISHED) ++static_cast<LoadedView*>(data)->loadsFinished;
        }), loaded.get());
        g_signal_connect(loaded->view->webView(), "web-process-terminated",
                         G_CALLBACK(+[](WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer data) {
                             static_cast<LoadedView*>(data)->webProcessEnded = true;
                             static_cast<LoadedView*>(data)->endReason = reason;
                         }),
                         loaded.get());

        views_.push_back(std::move(loaded));
    }

    // True once the conversation's window has drawn a frame.
    bool windowDrawn() const {
        GdkFrameClock* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window_->window()));
        return clock && gdk_frame_clock_get_frame_counter(clock) > 0;
    }

    void loadPage(int v) {
        std::string html = "<!doctype html><body>";
        for (const Image& image : page(v))
            html += "<img id='" + image.id + "' src='" + image.url + "' onerror='this.dataset.failed=1'>";
        webkit_web_view_load_html(views_[v]->view->webView(), html.c_str(), server_.url("/").c_str());
    }

    // Images of view `v` that did not end as their source says, by id.
    std::vector<std::string> wrongImages(int v) {
        auto outcome = test::evaluateIn(views_[v]->view->webView(),
            "Object.fromEntries(Array.from(document.images).map(i => [i.id, i.dataset.failed ? 0 : i.naturalWidth]))");
        if (!outcome.ok() || !outcome.value) return {"(no answer)"};
        std::vector<std::string> wrong;
        for (const Image& image : page(v))
            if (outcome.value->value(image.id, -1) != image.width) wrong.push_back(image.id);
        return wrong;
    }

    // What a load that did not end was waiting for: per view, its last load
    // event and how many of its images never reached a routine (WebKit never
    // asked), and the stalled requests' answers.
    std::string stillLoading() {
        const std::vector<Ledger::Task> tasks = ledger_.tasks();
        const auto asked = [&](const std::string& url) {
            return std::any_of(tasks.begin(), tasks.end(), [&](const auto& task) { return task.url == url; });
        };
        std::string report = "views not finished:";
        for (int v = kStallingViews; v < kViews; ++v) {
            if (views_[v]->loadsFinished != 0) continue;
            const std::vector<Image> images = page(v);
            const auto neverAsked = std::count_if(images.begin(), images.end(), [&](const auto& image) { return !asked(image.url); });
            auto handler = views_[v]->handler.lock();
            report += " " + std::to_string(v) + " (last load event " + std::to_string(views_[v]->lastLoadEvent) + ", " +
                      std::to_string(neverAsked) + " images never asked for" +
                      (handler && handler->cancelled() ? ", a task stopped)" : ")");
        }
        report += "; stalled at the server: " + std::to_string(server_.stalledCount()) + "; unanswered:";
        for (const Ledger::Task& task : tasks)
            if (task.answers == 0) report += " " + task.url;
        report += "; stalled requests:";
        for (const Ledger::Task& task : tasks) {
            if (task.url.find("/stall-") == std::string::npos) continue;
            report += " " + task.url;
            if (task.answers) report += " (answered: " + (task.error.empty() ? "a response" : task.error) + ")";
        }
        return report;
    }

    void close(int v) {
        g_signal_handlers_disconnect_by_data(views_[v]->view->webView(), views_[v].get());
        window_->remove(views_[v]->view->webView());
        views_[v]->view.reset();
    }

    test::SharedCacheFolder folder_;
    test::LoopbackServer server_;
    Ledger ledger_;
    std::vector<std::unique_ptr<LoadedView>> views_;
    std::vector<std::string> cachedPaths_;
    std::shared_ptr<ZVWebView> processView_;
    std::unique_ptr<test::WebViewWindow> processWindow_;
    std::unique_ptr<test::ColumnWindow> window_;  // first to go, letting go of any view still shown
};

double percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size())))];
}

TEST_F(SchemeLoadTest, AThousandRequestsAcrossFiftyViewsAreEachAnsweredOnce) {
    test::LogCapture log;
    for (int v = 0; v < kViews; ++v) page(v);
    // Stored before any load, as an earlier reading of the message would have.
    for (const std::string& path : cachedPaths_) {
        CachedURLResponse cached;
        cached.response.url = server_.url(path);
        cached.response.mimeType = "image/png";
        cached.response.statusCode = 200;
        cached.response.httpVersion = "HTTP/1.1";
        cached.data = test::pngImage(2, 2, 1, 0, 0);
        URLCache::shared()->storeCachedResponse(server_.url(path), cached);
    }

    const auto start = Clock::now();
    ASSERT_TRUE(startWebProcess());
    for (int v = 0; v < kViews; ++v) openView(v);
    // The window's first frame sets up drawing (GL on a software renderer
    // takes a while): the test's work, so done first.
    ASSERT_TRUE(test::spinUntil([&] { return windowDrawn(); }, 20s));
    for (int v = 0; v < kViews; ++v) loadPage(v);
    // From here on the main loop is the framework's; making the views was the test's.
    StallMeter stalls;
    stalls.watchFrames(window_->window());
    const auto webProcessEnded = [&] {
        return std::any_of(views_.begin(), views_.end(), [](const auto& view) { return view->webProcessEnded; });
    };
    const auto endReasons = [&] {
        std::string reasons;
        for (const auto& view : views_) {
            if (!view->webProcessEnded) continue;
            const char* reason = view->endReason == WEBKIT_WEB_PROCESS_CRASHED ? "crashed"
                                 : view->endReason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT ? "over its memory limit"
                                                                                            : "ended through the API";
            if (reasons.find(reason) == std::string::npos) reasons += (reasons.empty() ? "" : ", ") + std::string(reason);
        }
        return reasons;
    };
    const bool loaded = test::spinUntil([&] {
        if (webProcessEnded()) return true;
        for (int v = kStallingViews; v < kViews; ++v)
            if (views_[v]->loadsFinished == 0) return false;
        return server_.stalledCount() == size_t(kStallingViews);
    }, kLoadBound);
    const double loadSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double loadCPUMilliseconds = stalls.cpuMilliseconds();
    // Say how it ended, to tell a crash (WebKit's allocator has panicked here) from the memory limit.
    ASSERT_FALSE(webProcessEnded()) << "the web process ended after " << loadSeconds << " s ("
                                    << endReasons() << ")";
    ASSERT_TRUE(loaded) << "pages still loading after " << loadSeconds << " s: " << stillLoading();

    for (int v = kStallingViews; v < kViews; ++v)
        EXPECT_EQ(wrongImages(v), std::vector<std::string>{}) << "view " << v;
    for (const std::string& path : cachedPaths_) EXPECT_EQ(server_.hits(path), 0) << path;

    // Two stalled views close; the third gets its answer once the server lets go.
    close(0);
    close(1);
    server_.releaseStalled();
    EXPECT_TRUE(test::spinUntil([&] { return views_[2]->loadsFinished > 0; }, 20s));
    EXPECT_EQ(wrongImages(2), std::vector<std::string>{});
    EXPECT_TRUE(test::spinUntil([&] { return views_[0]->handler.expired() && views_[1]->handler.expired(); }, 20s))
        << "a closed view's handler is still held";
    for (int v = 2; v < kViews; ++v) EXPECT_TRUE(views_[v]->handler.lock()->pendingLoads().empty()) << "view " << v;

    // Every task that reached a routine: the twenty of each view, answered once.
    const std::vector<Ledger::Task> tasks = ledger_.tasks();
    EXPECT_EQ(tasks.size(), size_t(kViews) * 20);
    std::vector<double> latencies;
    for (const Ledger::Task& task : tasks) {
        EXPECT_EQ(task.answers, 1) << task.url;
        if (task.answers == 1 && task.url.find("/stall-") == std::string::npos)
            latencies.push_back(std::chrono::duration<double, std::milli>(task.answered - task.started).count());
    }
    EXPECT_TRUE(log.linesStartingWith("Exception in").empty());

    for (int v = 2; v < kViews; ++v) close(v);
    EXPECT_TRUE(test::spinUntil([&] {
        return std::all_of(views_.begin(), views_.end(), [](const auto& view) { return view->handler.expired(); });
    }, 20s)) << "handlers outlive their views";

    std::printf("load: %zu tasks, pages loaded in %.2f s (main-thread CPU once the views were made %.0f ms), "
                "longest main-loop stall %.1f ms (%.1f ms of it on the CPU, %.1f ms waiting for a core), most CPU "
                "between two turns %.1f ms (%.1f ms beside the window's frames), answer latency p50 %.1f ms, "
                "p95 %.1f ms, p99 %.1f ms, max %.1f ms\n",
                tasks.size(), loadSeconds, loadCPUMilliseconds, stalls.longestMilliseconds(),
                stalls.cpuOfLongestMilliseconds(), stalls.runQueueWaitOfLongestMilliseconds(),
                stalls.longestCPUMilliseconds(), stalls.longestCPUBesideFramesMilliseconds(),
                percentile(latencies, 0.5), percentile(latencies, 0.95), percentile(latencies, 0.99),
                percentile(latencies, 1.0));
}

}  // namespace
}  // namespace zv
