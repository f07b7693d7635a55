// The internal HTTP schemes against a real server on 127.0.0.1: cache, time-outs
// and the ways a server can fail, each task ending exactly once.
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include "LoopbackServer.h"
#include "SchemeTestSupport.h"

#include <zv/scheme/URLCache.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <future>
#include <thread>

namespace zv {
namespace {

using test::kAnswerTimeout;
using test::RecordingTask;
using Handler = ZVWebViewURLSchemeHandler;

class HTTPOverridesTest : public ::testing::Test {
protected:
    void SetUp() override {
        handler_ = Handler::create();
        handler_->setupHTTPOverrides();
        handler_->setDelegate(reports_.delegate);
    }

    std::shared_ptr<RecordingTask> start(const std::string& url, double timeout = URLRequest::kDefaultTimeoutInterval) {
        auto task = std::make_shared<RecordingTask>(url, timeout);
        handler_->startURLSchemeTask(this, task);
        return task;
    }

    // Starts a load and waits for its one answer.
    std::shared_ptr<RecordingTask> load(const std::string& url, double timeout = URLRequest::kDefaultTimeoutInterval) {
        auto task = start(url, timeout);
        EXPECT_TRUE(spinMainContextUntil([&] { return task->answered(); }, kAnswerTimeout)) << url;
        // Nothing answers a second time later on.
        spinMainContextUntil([] { return false; }, std::chrono::milliseconds(20));
        EXPECT_EQ(task->answers, 1) << url;
        return task;
    }

    test::SharedCacheFolder folder_;
    std::shared_ptr<Handler> handler_;
    test::Reports reports_;
    test::LoopbackServer server_;
};

TEST_F(HTTPOverridesTest, FirstLoadGoesToTheNetworkTheSecondToTheCache) {
    test::LogCapture log;
    const std::string url = server_.wrenURL("/image.png");
    auto first = load(url);
    ASSERT_TRUE(first->response) << (first->error ? first->error->message : "");
    EXPECT_EQ(first->response->url, server_.url("/image.png"));
    EXPECT_EQ(first->response->statusCode, 200);
    EXPECT_EQ(first->response->mimeType, "image/png");
    EXPECT_EQ(first->data, test::LoopbackServer::png());
    EXPECT_EQ(reports_.started, std::vector<std::string>{url});
    EXPECT_EQ(reports_.completed, std::vector<std::string>{url});
    EXPECT_EQ(reports_.progress, std::vector<double>{1.0});
    EXPECT_TRUE(handler_->pendingLoads().empty());

    auto second = load(url);
    ASSERT_TRUE(second->response);
    EXPECT_EQ(second->response->statusCode, 200);
    EXPECT_EQ(second->response->mimeType, "image/png");
    EXPECT_EQ(second->data, test::LoopbackServer::png());
    EXPECT_TRUE(second->answeredOnMainThread);  // though read off it
    EXPECT_EQ(server_.hits("/image.png"), 1);
    // Untracked: no report, no count.
    EXPECT_EQ(reports_.completed.size(), 1u);
    EXPECT_EQ(handler_->completedLoads(), std::vector<std::string>{url});

    auto misses = log.linesStartingWith("RequestCache: no cached response for ");
    auto hits = log.linesStartingWith("RequestCache: returning cached response for ");
    ASSERT_EQ(misses.size(), 1u);
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0]["MESSAGE"], "RequestCache: returning cached response for " + server_.url("/image.png"));
    EXPECT_EQ(hits[0]["ZV_IDENTIFIER"], "com.quillmere.ZVFoundation");
    EXPECT_EQ(hits[0]["ZV_CATEGORY"], "URLHandling");
    EXPECT_EQ(misses[0]["ZV_CATEGORY"], "URLHandling");
}

// Stores queue apart from lookups: while another connection holds the
// database's write lock, a store waits for it, and the same URL asked again
// is answered from the store still on its way, not from the network.
TEST_F(HTTPOverridesTest, AnAnswerIsFoundWhileItsStoreWaitsForTheDatabase) {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open((folder_.path() + "/URLCache.sqlite").c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const std::string url = server_.wrenURL("/image-locked.png");
    load(url);
    auto again = load(url);
    sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    EXPECT_EQ(again->data, test::LoopbackServer::png());
    EXPECT_EQ(server_.hits("/image-locked.png"), 1);
}

TEST_F(HTTPOverridesTest, TheInternalPrefixIsCutWhateverFollows) {
    // "wren-" off the front: the secure scheme becomes https, which this
    // plain server cannot speak, so the load fails, but at the right place.
    auto secure = load("wren-https://127.0.0.1:1/image.png");
    ASSERT_TRUE(secure->error);
    EXPECT_EQ(secure->error->domain, kURLErrorDomain);
    // Not a URL once cut: a bad URL, still answered once.
    handler_->registerScheme("wrenx", [this](const URLRequest& request, Handler::Completion completion) {
        handler_->wrenHTTPHandler(request, std::move(completion));
    });
    auto odd = load("wrenx:no host");
    ASSERT_TRUE(odd->error);
    EXPECT_EQ(odd->error->code, kURLErrorBadURL);
}

TEST_F(HTTPOverridesTest, TextKeepsItsEncodingName) {
    auto text = load(server_.wrenURL("/text"));
    ASSERT_TRUE(text->response);
    EXPECT_EQ(text->response->mimeType, "text/plain");
    EXPECT_EQ(text->response->textEncodingName, "utf-8");
    EXPECT_EQ(text->response->expectedContentLength, 5);
}

TEST_F(HTTPOverridesTest, ExclusionFailsCountsAndNotifiesOnce) {
    test::FailureNotifications failures(this);
    auto task = load("wren-exclude-https://127.0.0.1/tracker.gif");
    ASSERT_TRUE(task->error);
    EXPECT_EQ(task->error->code, 2112);
    EXPECT_EQ(failures.userInfos, (std::vector<Value>{Value{{"URL", "wren-exclude-https://127.0.0.1/tracker.gif"}}}));
    EXPECT_EQ(handler_->completedLoads(), std::vector<std::string>{"wren-exclude-https://127.0.0.1/tracker.gif"});
    EXPECT_EQ(reports_.progress, std::vector<double>{1.0});
    EXPECT_EQ(server_.hits("/tracker.gif"), 0);
}

TEST_F(HTTPOverridesTest, ProgressCountsLoadsStillOnTheWire) {
    auto stalled = start(server_.wrenURL("/stall"));
    auto quick = start(server_.wrenURL("/image-quick.png"));
    ASSERT_TRUE(spinMainContextUntil([&] { return quick->answered(); }, kAnswerTimeout));
    EXPECT_EQ(handler_->pendingLoads(), std::vector<std::string>{server_.wrenURL("/stall")});
    EXPECT_EQ(reports_.progress, std::vector<double>{0.5});

    ASSERT_TRUE(spinMainContextUntil([&] { return server_.stalledCount() == 1; }, kAnswerTimeout));
    server_.releaseStalled();
    ASSERT_TRUE(spinMainContextUntil([&] { return stalled->answered(); }, kAnswerTimeout));
    EXPECT_EQ(reports_.progress, (std::vector<double>{0.5, 1.0}));
    EXPECT_TRUE(handler_->pendingLoads().empty());
    EXPECT_EQ(stalled->answers, 1);
}

TEST_F(HTTPOverridesTest, ATimeOutOtherThanSixtySecondsGetsASessionOfItsOwn) {
    server_.setSlowDelay(std::chrono::milliseconds(2500));
    auto start = std::chrono::steady_clock::now();
    auto hurried = load(server_.wrenURL("/slow-1"), 1);
    ASSERT_TRUE(hurried->error);
    EXPECT_EQ(hurried->error->domain, kURLErrorDomain);
    EXPECT_EQ(hurried->error->code, kURLErrorTimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2400));
    // The shared session's 60 seconds outlast the same delay.
    auto patient = load(server_.wrenURL("/slow-2"));
    ASSERT_TRUE(patient->response);
    EXPECT_EQ(patient->data, test::LoopbackServer::png());
}

TEST_F(HTTPOverridesTest, ANetworkFailureFailsTheTaskCountsItAndLogs) {
    test::LogCapture log;
    // A port nothing listens on: the server's own, once it has gone.
    std::string url;
    {
        test::LoopbackServer gone;
        url = gone.wrenURL("/image.png");
    }
    auto task = load(url);
    ASSERT_TRUE(task->error);
    EXPECT_EQ(task->error->domain, kURLErrorDomain);
    EXPECT_EQ(task->error->code, kURLErrorCannotConnectToHost);
    EXPECT_EQ(handler_->completedLoads(), std::vector<std::string>{url});
    EXPECT_EQ(reports_.completed, std::vector<std::string>{url});
    EXPECT_TRUE(handler_->pendingLoads().empty());
    auto lines = log.linesStartingWith("Error handling URL: ");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["ZV_CATEGORY"], "SchemeHandler");
    EXPECT_EQ(lines[0]["ZV_IDENTIFIER"], "com.quillmere.ZVFoundation");
    // A failure is not cached: the next attempt goes out again.
    EXPECT_FALSE(URLCache::shared()->cachedResponse(url.substr(5)));
}

struct Fault {
    const char* path;
    bool answered;        // with a response (else failed)
    int64_t code;         // the error code when failed, the status when answered
};

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.path; }

class ServerFaultTest : public HTTPOverridesTest, public ::testing::WithParamInterface<Fault> {};

TEST_P(ServerFaultTest, EveryTaskEndsExactlyOnce) {
    const Fault& fault = GetParam();
    auto task = load(server_.wrenURL(fault.path));
    if (fault.answered) {
        ASSERT_TRUE(task->response);
        EXPECT_EQ(task->response->statusCode, fault.code);
    } else {
        ASSERT_TRUE(task->error);
        EXPECT_EQ(task->error->domain, kURLErrorDomain);
        EXPECT_EQ(task->error->code, fault.code) << task->error->message;
    }
    EXPECT_EQ(handler_->completedLoads().size(), 1u);
    EXPECT_TRUE(handler_->pendingLoads().empty());
}

INSTANTIATE_TEST_SUITE_P(Faults, ServerFaultTest,
                         ::testing::Values(Fault{"/status500", true, 500}, Fault{"/reset", false, -1005},
                                           Fault{"/truncated", false, -1005}, Fault{"/oversized", false, -1103},
                                           Fault{"/endless", false, -1103}),
                         [](const auto& info) { return std::string(info.param.path + 1); });

// Six loads hold a host's connections; later ones for it wait their turn
// while another host answers, and a host gets its connections back from
// every way a load can end.
TEST_F(HTTPOverridesTest, LoadsBeyondAHostsConnectionsWaitAndAllEnd) {
    std::vector<std::shared_ptr<RecordingTask>> tasks;
    for (int i = 0; i < 6; ++i) tasks.push_back(start(server_.wrenURL("/stall-" + std::to_string(i))));
    ASSERT_TRUE(spinMainContextUntil([&] { return server_.stalledCount() == 6; }, kAnswerTimeout));
    auto waiting = start(server_.wrenURL("/image-waiting.png"));
    test::LoopbackServer other;
    auto elsewhere = load(other.wrenURL("/image-elsewhere.png"));
    EXPECT_EQ(elsewhere->data, test::LoopbackServer::png());
    EXPECT_FALSE(waiting->answered());
    EXPECT_EQ(server_.hits("/image-waiting.png"), 0);

    server_.releaseStalled();
    tasks.push_back(waiting);
    for (const char* path : {"/status500", "/reset", "/truncated", "/oversized", "/endless", "/image"})
        for (int i = 0; i < 4; ++i) tasks.push_back(start(server_.wrenURL(path + std::string("-") + std::to_string(i))));
    EXPECT_TRUE(spinMainContextUntil([&] {
        return std::all_of(tasks.begin(), tasks.end(), [](const auto& task) { return task->answered(); });
    }, kAnswerTimeout));
    for (const auto& task : tasks) EXPECT_EQ(task->answers, 1) << task->request().url;
    EXPECT_EQ(waiting->data, test::LoopbackServer::png());
    EXPECT_EQ(tasks.back()->data, test::LoopbackServer::png());
    EXPECT_TRUE(handler_->pendingLoads().empty());
}

TEST_F(HTTPOverridesTest, AnErrorStatusIsCachedLikeAnyAnswer) {
    load(server_.wrenURL("/status500"));
    auto again = load(server_.wrenURL("/status500"));
    ASSERT_TRUE(again->response);
    EXPECT_EQ(again->response->statusCode, 500);
    EXPECT_EQ(again->data, (Data{'b', 'r', 'o', 'k', 'e', 'n'}));
    EXPECT_EQ(server_.hits("/status500"), 1);
}

// The load runs on the loader's own thread: asked for from another thread, it
// reaches the server and answers the routine while the main thread is blocked.
TEST_F(HTTPOverridesTest, ALoadAnswersWhileTheMainThreadIsBlocked) {
    auto task = std::make_shared<RecordingTask>(server_.wrenURL("/image-thread.png"));
    URLRequest incoming = task->request();
    URLRequest rewritten = incoming;
    rewritten.url = server_.url("/image-thread.png");
    auto answered = std::make_shared<std::promise<bool>>();
    auto onMainThread = answered->get_future();
    std::thread([&] {
        handler_->handleRequest(incoming, rewritten, [task, answered](auto response, auto data, auto error, bool) {
            if (response) task->respond(*response, data ? &*data : nullptr);
            if (error) task->fail(*error);
            answered->set_value(isMainThread());
        });
    }).join();

    ASSERT_EQ(onMainThread.wait_for(kAnswerTimeout), std::future_status::ready);
    EXPECT_FALSE(onMainThread.get());
    EXPECT_EQ(task->data, test::LoopbackServer::png());
    EXPECT_EQ(server_.hits("/image-thread.png"), 1);
}

}  // namespace
}  // namespace zv
