// The schemes served to a real WebKitGTK web view: pages whose images come
// through "cid", "wren-http", "wren-exclude-https" and "wren-symbol", with a
// server on 127.0.0.1 behind the remote ones.
#include <zv/scheme/WebKitSchemeBinding.h>

#include "LoopbackServer.h"
#include "SchemeTestSupport.h"
#include "WebViewHarness.h"

#include <zv/scheme/URLCache.h>
#include <zv/webview/ZVWebView.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace zv {
namespace {

using namespace std::chrono_literals;
using Handler = ZVWebViewURLSchemeHandler;

struct ImageState {
    int width = 0;
    int height = 0;
    bool failed = false;
    bool complete = false;
};

class WebViewSchemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        test::initGtkOnce();
        zvView_ = ZVWebView::create();
        window_ = std::make_unique<test::WebViewWindow>(zvView_->webView());
        handler_ = Handler::create(provider_);
        handler_->setupHTTPOverrides();
        handler_->setDelegate(reports_.delegate);
        setURLSchemeHandler(view(), handler_);
        failures_ = std::make_unique<test::FailureNotifications>(zvView_.get());
    }

    void TearDown() override {
        failures_.reset();
        window_.reset();
        zvView_.reset();
    }

    WebKitWebView* view() const { return window_->webView(); }

    // Loads a page of <img> elements, one per id and URL, and waits for all of them to end.
    bool loadImages(const std::vector<std::pair<std::string, std::string>>& images) {
        std::string html = "<!doctype html><body>";
        for (const auto& [id, url] : images)
            html += "<img id='" + id + "' src='" + url + "' onerror='this.dataset.failed=1'>";
        return window_->loadHTML(html, server_.url("/").c_str());
    }

    // An empty page, not waited for.
    void loadBlankPage() { window_->loadHTML("<!doctype html><body>", server_.url("/").c_str()); }

    // Adds an image of `url` to the page as the global `name`, without waiting for it.
    void addImage(const std::string& name, const std::string& url) {
        window_->evaluate("var " + name + " = new Image(); " + name + ".src = " + test::jsString(url) +
                          "; document.body.append(" + name + "); 0");
    }

    std::map<std::string, ImageState> images() {
        auto outcome = window_->evaluate(
            "Array.from(document.images).map(i => [i.id, i.naturalWidth, i.naturalHeight, !!i.dataset.failed, i.complete])");
        std::map<std::string, ImageState> states;
        if (!outcome.ok() || !outcome.value) return states;
        for (const auto& row : *outcome.value)
            states[row[0].get<std::string>()] = {row[1].get<int>(), row[2].get<int>(), row[3].get<bool>(), row[4].get<bool>()};
        return states;
    }

    static void expectImage(const ImageState& state, int width, int height) {
        EXPECT_FALSE(state.failed);
        EXPECT_EQ(state.width, width);
        EXPECT_EQ(state.height, height);
    }

    struct Provider : ZVWebViewResourceProvider {
        void resourceDataForURL(const std::string& url, Completion completion) override {
            if (url == "cid:store@host")
                completion("image/png", test::pngImage(6, 2, 0, 1, 0));
            else
                completion(std::nullopt, std::nullopt);
        }
    };

    test::SharedCacheFolder folder_;
    test::LoopbackServer server_;
    std::shared_ptr<ZVWebView> zvView_;
    std::unique_ptr<test::WebViewWindow> window_;
    std::shared_ptr<Provider> provider_ = std::make_shared<Provider>();
    std::shared_ptr<Handler> handler_;
    test::Reports reports_;
    std::unique_ptr<test::FailureNotifications> failures_;
};

// Every scheme, and every way a server can fail, on one page: each image
// ends as its source says and each tracked load is reported exactly once.
TEST_F(WebViewSchemeTest, EverySchemeAndServerFaultEndsItsImageExactlyOnce) {
    test::LogCapture log;
    server_.setSlowDelay(300ms);
    handler_->addResource(test::resource("image/png", test::pngImage(5, 4, 0, 0, 1)), "cid:table@host");
    const std::string excluded = "wren-exclude-https://127.0.0.1/pixel.gif";
    std::string unreachable;
    {
        test::LoopbackServer gone;
        unreachable = gone.wrenURL("/image.png");
    }
    const struct {
        const char* id;
        std::string url;
        int width, height;  // 0: the image fails
        bool tracked;       // a network load, a refusal or an unknown symbol
    } rows[] = {
        {"table", "cid:table@host", 5, 4, false},
        {"store", "cid:store@host", 6, 2, false},
        {"missing", "cid:missing@host", 72, 72, false},
        {"remote", server_.wrenURL("/image.png"), 4, 3, true},
        {"excluded", excluded, 0, 0, true},
        {"symbol", "wren-symbol:paperclip", 96, 96, false},
        {"small", "wren-symbol:paperclip?size=10&weight=bold&color=%23ff0000", 20, 20, false},
        {"unknown", "wren-symbol:no.such.symbol", 0, 0, true},
        {"error", server_.wrenURL("/status500"), 0, 0, true},  // a 500 answer that is no image
        {"reset", server_.wrenURL("/reset"), 0, 0, true},
        {"truncated", server_.wrenURL("/truncated"), 0, 0, true},
        {"gone", unreachable, 0, 0, true},  // a network error is not "nothing answered"
        {"slow", server_.wrenURL("/slow"), 4, 3, true},
        {"stall", server_.wrenURL("/stall"), 4, 3, true},
    };
    std::vector<std::pair<std::string, std::string>> page;
    std::multiset<std::string> tracked;
    for (const auto& row : rows) {
        page.emplace_back(row.id, row.url);
        if (row.tracked) tracked.insert(row.url);
    }
    // The stalled request is let go once the page is waiting for it.
    guint timer = g_timeout_add(50, [](gpointer data) -> gboolean {
        auto* server = static_cast<test::LoopbackServer*>(data);
        if (server->stalledCount() == 0) return G_SOURCE_CONTINUE;
        server->releaseStalled();
        return G_SOURCE_REMOVE;
    }, &server_);
    const bool loaded = loadImages(page);
    const bool released = server_.stalledCount() == 0;
    if (!released) g_source_remove(timer);
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(released);

    auto states = images();
    ASSERT_EQ(states.size(), std::size(rows));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        if (row.width == 0) EXPECT_TRUE(states[row.id].failed);
        else expectImage(states[row.id], row.width, row.height);
    }
    EXPECT_EQ(std::multiset<std::string>(reports_.completed.begin(), reports_.completed.end()), tracked);
    ASSERT_EQ(reports_.progress.size(), tracked.size());
    EXPECT_EQ(reports_.progress.back(), 1.0);
    EXPECT_EQ(failures_->userInfos, (std::vector<Value>{Value{{"URL", excluded}}}));
    EXPECT_TRUE(handler_->pendingLoads().empty());
    EXPECT_TRUE(log.linesStartingWith("Exception in").empty());
}

TEST_F(WebViewSchemeTest, ASecondDisplayComesFromTheCache) {
    const std::string remote = server_.wrenURL("/image-again.png");
    ASSERT_TRUE(loadImages({{"first", remote}}));
    expectImage(images()["first"], 4, 3);
    ASSERT_EQ(reports_.completed.size(), 1u);

    // The message shown again, in a new view (a view of its own would answer
    // from its page cache before asking any handler).
    test::LogCapture log;
    test::WebViewWindow again;
    auto handler = Handler::create();
    handler->setupHTTPOverrides();
    setURLSchemeHandler(again.webView(), handler);
    ASSERT_TRUE(again.loadHTML("<img src='" + remote + "'>", server_.url("/").c_str()));
    auto size = again.evaluate("[document.images[0].naturalWidth, document.images[0].naturalHeight]");
    ASSERT_TRUE(size.ok());
    EXPECT_EQ(*size.value, (nlohmann::json{4, 3}));
    EXPECT_EQ(server_.hits("/image-again.png"), 1);
    EXPECT_TRUE(handler->completedLoads().empty());  // untracked
    EXPECT_EQ(log.linesStartingWith("RequestCache: returning cached response for " + server_.url("/image-again.png")).size(),
              1u);
}

TEST_F(WebViewSchemeTest, StoppingTheLoadCancelsTheHandlerForGood) {
    test::LogCapture log;
    loadBlankPage();
    addImage("img", server_.wrenURL("/stall"));
    ASSERT_TRUE(test::spinUntil([&] { return server_.stalledCount() == 1; }, 10s));
    EXPECT_FALSE(handler_->cancelled());

    webkit_web_view_stop_loading(view());
    ASSERT_TRUE(test::spinUntil([&] { return handler_->cancelled(); }, 10s));

    // The answer that comes afterwards is dropped, and counted.
    server_.releaseStalled();
    ASSERT_TRUE(test::spinUntil([&] { return reports_.completed.size() == 1; }, 10s));

    // Later loads of the same handler get no answer either.
    handler_->addResource(test::resource("image/png", test::pngImage(2, 2, 0, 0, 0)), "cid:late@host");
    addImage("late", "cid:late@host");
    test::spinFor(test::kQuietPeriod);
    auto late = window_->evaluate("[late.complete, late.naturalWidth]");
    ASSERT_TRUE(late.ok());
    EXPECT_EQ(*late.value, (nlohmann::json{false, 0}));
    EXPECT_TRUE(log.linesStartingWith("Exception in").empty());
}

TEST_F(WebViewSchemeTest, NavigatingAwayStopsAPendingLoad) {
    loadBlankPage();
    addImage("img", server_.wrenURL("/stall-away"));
    ASSERT_TRUE(test::spinUntil([&] { return server_.stalledCount() == 1; }, 10s));
    ASSERT_TRUE(window_->loadHTML("<p>elsewhere</p>", server_.url("/").c_str()));
    EXPECT_TRUE(test::spinUntil([&] { return handler_->cancelled(); }, 10s));
}

TEST_F(WebViewSchemeTest, ATaskDroppedUnansweredIsStillReportedStopped) {
    handler_->registerScheme("drop", [](const URLRequest&, Handler::Completion) {});
    setURLSchemeHandler(view(), handler_, "drop");
    loadBlankPage();
    addImage("img", "drop:1");
    test::spinFor(test::kQuietPeriod);
    EXPECT_EQ(ZVWebView::owning(view()), zvView_);
    EXPECT_FALSE(handler_->cancelled());
    ASSERT_TRUE(window_->loadHTML("<p>elsewhere</p>", server_.url("/").c_str()));
    EXPECT_TRUE(test::spinUntil([&] { return handler_->cancelled(); }, 10s));
}

TEST_F(WebViewSchemeTest, APostGoesOutWithItsBodyAndNeverThroughTheCache) {
    ASSERT_TRUE(window_->loadHTML("<!doctype html><body>", server_.url("/").c_str()));
    auto post = [&](const std::string& body) {
        window_->evaluate("window.answer = null; fetch(" + test::jsString(server_.wrenURL("/echo")) +
                          ", {method: 'POST', headers: {'Content-Type': 'application/x-www-form-urlencoded'}, body: " +
                          test::jsString(body) + "}).then(r => r.text()).then(t => window.answer = t, " +
                          "e => window.answer = 'failed: ' + e); 0");
        test::spinUntil([&] { return window_->evaluate("window.answer !== null").value == true; }, 10s);
        return window_->evaluate("window.answer").value.value_or(nullptr);
    };
    EXPECT_EQ(post("to=ann&n=1"), "POST application/x-www-form-urlencoded to=ann&n=1");
    EXPECT_EQ(post("to=bob&n=2"), "POST application/x-www-form-urlencoded to=bob&n=2");
    EXPECT_EQ(server_.hits("/echo"), 2);
    EXPECT_FALSE(URLCache::shared()->cachedResponse(server_.url("/echo")));
}

TEST_F(WebViewSchemeTest, ACorruptCacheFileIsNoObstacle) {
    const std::string path = folder_.path() + "/corrupt/URLCache.sqlite";
    g_mkdir_with_parents((folder_.path() + "/corrupt").c_str(), 0700);
    std::ofstream(path, std::ios::binary) << std::string(4096, '\x01');
    URLCache::setShared(URLCache::open(path));

    const std::string remote = server_.wrenURL("/image-corrupt.png");
    ASSERT_TRUE(loadImages({{"remote", remote}}));
    expectImage(images()["remote"], 4, 3);
    EXPECT_TRUE(URLCache::shared()->isOnDisk());
    // Stored off the main thread, soon after the answer.
    EXPECT_TRUE(test::spinUntil([&] { return URLCache::shared()->cachedResponse(server_.url("/image-corrupt.png")).has_value(); }, 10s));
}

TEST_F(WebViewSchemeTest, ViewsWithoutAHandlerForTheSchemeAreRefused) {
    test::WebViewWindow other;
    // A URL no earlier page loaded: WebKit may reuse a web process with its memory cache.
    ASSERT_TRUE(other.loadHTML("<img src='cid:refused@host' onerror='this.dataset.failed=1'>", server_.url("/").c_str()));
    auto failed = other.evaluate("!!document.images[0].dataset.failed");
    ASSERT_TRUE(failed.ok());
    EXPECT_EQ(*failed.value, true);
    EXPECT_EQ(urlSchemeHandler(view(), "CID"), handler_);
    EXPECT_FALSE(urlSchemeHandler(other.webView(), "cid"));
}

}  // namespace
}  // namespace zv
