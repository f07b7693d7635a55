// Routing, answers, bookkeeping and resources of the scheme handler, driven
// through its task interface without a web view.
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include "LoopbackServer.h"
#include "SchemeTestSupport.h"

#include <zv/scheme/IconThemeSymbols.h>

#include <gtest/gtest.h>

#include <thread>

namespace zv {
namespace {

using test::FailureNotifications;
using test::kAnswerTimeout;
using test::RecordingTask;
using test::Reports;
using test::resource;
using Handler = ZVWebViewURLSchemeHandler;

bool waitForAnswer(const RecordingTask& task) {
    return spinMainContextUntil([&] { return task.answered(); }, kAnswerTimeout);
}

class SchemeHandlerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { useIconThemeSymbols(); }

    int view_ = 0;  // stands for a web view: only its address is used
};

TEST_F(SchemeHandlerTest, RoutesByTheLowerCasedSchemeOfTheURL) {
    auto handler = Handler::create();
    std::vector<std::string> routed;
    handler->registerScheme("demo", [&](const URLRequest& request, Handler::Completion completion) {
        routed.push_back(request.url);
        completion(URLResponse::forData(request.url, "text/plain", 2), Data{'o', 'k'}, std::nullopt, true);
    });
    auto task = std::make_shared<RecordingTask>("DEMO:thing");
    handler->startURLSchemeTask(&view_, task);
    ASSERT_EQ(routed, std::vector<std::string>{"DEMO:thing"});
    EXPECT_EQ(task->answers, 1);
    EXPECT_EQ(task->response->mimeType, "text/plain");
    EXPECT_EQ(task->data, (Data{'o', 'k'}));
    EXPECT_TRUE(handler->completedLoads().empty());  // untracked

    // A name registered with capitals is stored as given and never found.
    handler->registerScheme("Upper", [&](const URLRequest&, Handler::Completion) { FAIL() << "found by capitals"; });
    EXPECT_EQ(handler->schemeHandlers()->count("Upper"), 1u);
    FailureNotifications failures(&view_);
    auto upper = std::make_shared<RecordingTask>("upper:x");
    handler->startURLSchemeTask(&view_, upper);
    ASSERT_TRUE(upper->error);
    EXPECT_EQ(upper->error->code, 2112);
    EXPECT_EQ(failures.userInfos.size(), 1u);
}

TEST_F(SchemeHandlerTest, NothingAnsweredFailsWith2112AndPostsOnce) {
    auto handler = Handler::create();
    Reports reports;
    handler->setDelegate(reports.delegate);
    FailureNotifications failures(&view_);
    auto task = std::make_shared<RecordingTask>("nowhere:a");
    handler->startURLSchemeTask(&view_, task);

    ASSERT_EQ(task->answers, 1);
    ASSERT_TRUE(task->error);
    EXPECT_EQ(task->error->domain, kZVWebKitErrorDomain);
    EXPECT_EQ(task->error->code, 2112);
    EXPECT_EQ(task->error->message, "Why are we getting this error?");
    ASSERT_EQ(failures.userInfos.size(), 1u);
    EXPECT_EQ(failures.userInfos[0], (Value{{"URL", "nowhere:a"}}));
    // Tracked: counted as completed, with progress.
    EXPECT_EQ(handler->completedLoads(), std::vector<std::string>{"nowhere:a"});
    EXPECT_EQ(reports.completed, std::vector<std::string>{"nowhere:a"});
    EXPECT_EQ(reports.progress, std::vector<double>{1.0});
}

TEST_F(SchemeHandlerTest, AnswersFromOtherThreadsArriveOnTheMainThread) {
    auto handler = Handler::create();
    std::thread worker;
    handler->registerScheme("later", [&](const URLRequest& request, Handler::Completion completion) {
        worker = std::thread([url = request.url, completion] {
            completion(URLResponse::forData(url, "image/png", 0), Data{}, std::nullopt, false);
        });
    });
    auto task = std::make_shared<RecordingTask>("later:x");
    handler->startURLSchemeTask(&view_, task);
    worker.join();
    EXPECT_FALSE(task->answered());  // never before the main loop runs
    ASSERT_TRUE(waitForAnswer(*task));
    EXPECT_TRUE(task->answeredOnMainThread);
    EXPECT_EQ(handler->completedLoads(), std::vector<std::string>{"later:x"});
}

TEST_F(SchemeHandlerTest, AStoppedTaskSilencesEveryLaterAnswerButNotTheBookkeeping) {
    auto handler = Handler::create();
    Reports reports;
    handler->setDelegate(reports.delegate);
    handler->registerScheme("x", [](const URLRequest& request, Handler::Completion completion) {
        completion(URLResponse::forData(request.url, "text/plain", 0), Data{}, std::nullopt, false);
    });
    auto stopped = std::make_shared<RecordingTask>("x:1");
    EXPECT_FALSE(handler->cancelled());
    handler->stopURLSchemeTask(&view_, stopped);
    EXPECT_TRUE(handler->cancelled());

    FailureNotifications failures(&view_);
    auto later = std::make_shared<RecordingTask>("x:2");
    auto unrouted = std::make_shared<RecordingTask>("none:3");
    handler->startURLSchemeTask(&view_, later);
    handler->startURLSchemeTask(&view_, unrouted);
    handler->sendForbiddenResponseForTask(later, "x:2");
    EXPECT_FALSE(later->answered());
    EXPECT_FALSE(unrouted->answered());
    EXPECT_TRUE(failures.userInfos.empty());
    EXPECT_EQ(handler->completedLoads(), (std::vector<std::string>{"x:2", "none:3"}));
    EXPECT_EQ(reports.progress, (std::vector<double>{1.0, 1.0}));
    EXPECT_TRUE(handler->cancelled());  // for good
}

TEST_F(SchemeHandlerTest, ATaskThatThrowsIsLoggedAtTheBoundary) {
    auto handler = Handler::create();
    handler->registerScheme("twice", [](const URLRequest& request, Handler::Completion completion) {
        completion(URLResponse::forData(request.url, "text/plain", 0), std::nullopt, std::nullopt, true);
        completion(URLResponse::forData(request.url, "text/plain", 0), std::nullopt, std::nullopt, true);
    });
    test::LogCapture log;
    auto task = std::make_shared<RecordingTask>("twice:a");
    handler->startURLSchemeTask(&view_, task);
    EXPECT_EQ(task->answers, 2);  // the second was refused by the task
    auto lines = log.linesStartingWith("Exception in -[ZVWebViewURLSchemeHandler webView:startURLSchemeTask:]:");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["MESSAGE"],
              "Exception in -[ZVWebViewURLSchemeHandler webView:startURLSchemeTask:]:task already answered");

    handler->sendForbiddenResponseForTask(task, "twice:a");
    EXPECT_EQ(log.linesStartingWith("Exception in -[ZVWebViewURLSchemeHandler sendForbiddenResponseTask:URL:]:").size(),
              1u);
}

TEST_F(SchemeHandlerTest, ForbiddenResponseIsABare403) {
    auto handler = Handler::create();
    auto task = std::make_shared<RecordingTask>("wren-https://host/a.png");
    handler->sendForbiddenResponseForTask(task, "https://host/a.png");
    ASSERT_EQ(task->answers, 1);
    ASSERT_TRUE(task->response);
    EXPECT_EQ(task->response->url, "https://host/a.png");
    EXPECT_EQ(task->response->statusCode, 403);
    EXPECT_EQ(task->response->httpVersion, "HTTP/1.1");
    EXPECT_TRUE(task->response->headerFields.empty());
    EXPECT_FALSE(task->data);
}

TEST_F(SchemeHandlerTest, TablesAreReplacedWholeSoReadersKeepWhatTheyHold) {
    Handler::ResourceTable initial{{"cid:a", resource("image/png", Data{1})}};
    auto handler = Handler::create(initial);
    auto before = handler->messageResources();
    handler->addResource(resource("image/gif", Data{2}), "cid:a");
    handler->addResource(resource("text/plain", Data{3}), "cid:b");
    EXPECT_EQ(before->at("cid:a")->MIMEType, "image/png");
    EXPECT_EQ(before->size(), 1u);
    EXPECT_EQ(handler->messageResources()->at("cid:a")->MIMEType, "image/gif");
    EXPECT_EQ(handler->messageResources()->size(), 2u);
    handler->removeCurrentResources();
    EXPECT_TRUE(handler->messageResources()->empty());

    auto schemes = handler->schemeHandlers();
    handler->setupHTTPOverrides();
    EXPECT_TRUE(schemes->empty());
    EXPECT_EQ(handler->schemeHandlers()->size(), 6u);
}

TEST_F(SchemeHandlerTest, DelegateAndProviderAreHeldWeaklyAndOptional) {
    auto handler = Handler::create();
    handler->setupHTTPOverrides();
    {
        Reports reports;
        handler->setDelegate(reports.delegate);
        EXPECT_EQ(handler->delegate(), reports.delegate);
    }
    EXPECT_FALSE(handler->delegate());
    // A delegate that implements nothing is not called.
    auto silent = std::make_shared<ZVWebViewURLSchemeHandlerDelegate>();
    handler->setDelegate(silent);
    auto task = std::make_shared<RecordingTask>("wren-exclude-http://host/x");
    handler->startURLSchemeTask(&view_, task);
    EXPECT_EQ(task->error->code, 2112);

    struct Provider : ZVWebViewResourceProvider {
        void resourceDataForURL(const std::string&, Completion completion) override { completion("a/b", Data{}); }
    };
    auto provider = std::make_shared<Provider>();
    handler->setResourceProvider(provider);
    EXPECT_EQ(handler->resourceProvider(), provider);
    provider.reset();
    EXPECT_FALSE(handler->resourceProvider());
}

// The built-in "cid" routine: table, provider, placeholder.
class ContentIdTest : public SchemeHandlerTest {
protected:
    struct Provider : ZVWebViewResourceProvider {
        std::map<std::string, std::pair<std::optional<std::string>, std::optional<Data>>> parts;
        std::vector<std::string> asked;
        std::vector<std::thread> threads;
        ~Provider() override {
            for (auto& thread : threads) thread.join();
        }
        void resourceDataForURL(const std::string& url, Completion completion) override {
            asked.push_back(url);
            auto part = parts.count(url) ? parts[url] : std::pair<std::optional<std::string>, std::optional<Data>>{};
            // The mail store answers from its own thread.
            threads.emplace_back([part, completion] { completion(part.first, part.second); });
        }
    };

    std::shared_ptr<RecordingTask> load(const std::shared_ptr<Handler>& handler, const std::string& url) {
        auto task = std::make_shared<RecordingTask>(url);
        handler->startURLSchemeTask(&view_, task);
        EXPECT_TRUE(waitForAnswer(*task)) << url;
        EXPECT_EQ(task->answers, 1) << url;
        return task;
    }

    static void expectPlaceholder(const RecordingTask& task) {
        ASSERT_TRUE(task.response);
        EXPECT_EQ(task.response->mimeType, "image/png");
        EXPECT_EQ(task.response->url.rfind("wren-symbol:questionmark.square.dashed?size=36&color=%23", 0), 0u);
        ASSERT_TRUE(task.data);
        EXPECT_EQ(task.response->expectedContentLength, std::int64_t(task.data->size()));
        auto pixel = test::pngPixel(*task.data, 0, 0);
        ASSERT_TRUE(pixel);
        EXPECT_EQ(pixel->width, 72);
        EXPECT_EQ(pixel->height, 72);
    }
};

TEST_F(ContentIdTest, ServesTableThenProviderThenPlaceholderWithOrWithoutAProvider) {
    auto provider = std::make_shared<Provider>();
    provider->parts["cid:fromStore"] = {"image/gif", Data{'G', 'I', 'F'}};
    provider->parts["cid:typeless"] = {std::nullopt, Data{1}};
    provider->parts["cid:empty"] = {"image/png", std::nullopt};
    auto handler = Handler::create(provider);
    handler->setupHTTPOverrides();
    Reports reports;
    handler->setDelegate(reports.delegate);
    handler->addResource(resource("image/jpeg", Data{0xff, 0xd8}), "cid:inTable@host");

    auto fromTable = load(handler, "cid:inTable@host");
    EXPECT_EQ(fromTable->response->mimeType, "image/jpeg");
    EXPECT_EQ(fromTable->response->expectedContentLength, 2);
    EXPECT_EQ(fromTable->response->textEncodingName, "");
    EXPECT_EQ(fromTable->data, (Data{0xff, 0xd8}));
    EXPECT_TRUE(provider->asked.empty());

    auto fromStore = load(handler, "cid:fromStore");
    EXPECT_EQ(fromStore->response->mimeType, "image/gif");
    EXPECT_EQ(fromStore->data, (Data{'G', 'I', 'F'}));
    EXPECT_TRUE(fromStore->answeredOnMainThread);

    expectPlaceholder(*load(handler, "cid:typeless"));
    expectPlaceholder(*load(handler, "cid:empty"));
    expectPlaceholder(*load(handler, "cid:unknown"));
    EXPECT_EQ(provider->asked.size(), 4u);

    // None of these is a network load.
    EXPECT_TRUE(handler->completedLoads().empty());
    EXPECT_TRUE(reports.completed.empty());
    EXPECT_TRUE(reports.progress.empty());

    // Without a provider a missing part is the placeholder too.
    auto bare = Handler::create();
    bare->setupHTTPOverrides();
    expectPlaceholder(*load(bare, "cid:missing"));
}

TEST_F(ContentIdTest, RoutinesDoNotKeepTheirHandlerAlive) {
    auto handler = Handler::create();
    handler->setupHTTPOverrides();
    auto routine = handler->schemeHandlers()->at("cid");
    std::weak_ptr<Handler> weak = handler;
    handler.reset();
    EXPECT_TRUE(weak.expired());
    // Called after its handler is gone, the routine answers with nothing.
    bool answeredNothing = false;
    URLRequest request;
    request.url = "cid:x";
    routine(request, [&](auto response, auto data, auto error, bool) {
        answeredNothing = !response && !data && !error;
    });
    EXPECT_TRUE(answeredNothing);
}

}  // namespace
}  // namespace zv
