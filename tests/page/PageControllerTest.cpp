// The page controller in a real page window: the script bridge, loads and
// their completion, modal runs, class names and DOM access.
#include "PageTestSupport.h"

#include <zv/foundation/NotificationCenter.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/page/PageControllerRegistry.h>

#include <LogCapture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

using namespace zv;
using namespace zv::test;

std::string bodyOf(const Notification& n) { return n.userInfo["ScriptMessage"]["body"].dump(); }

class RecordingPage : public ZVWebPageController {
public:
    RecordingPage() { registerAction("both", &RecordingPage::both); }
    void both(const Notification& n) {
        calls.push_back("own:" + bodyOf(n));
        objects.push_back(n.object);
    }
    void pageDidLoad() override { ++didLoadHooks; }

    std::vector<std::string> calls;
    std::vector<const void*> objects;
    int didLoadHooks = 0;
};

struct NotAPage {};

class PageControllerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initGtkOnce(); }
    void SetUp() override {
        window = ZVWebWindowController::create();
        folder.write("p.html", "<body><p id=t>text</p></body>");
    }

    // Loads p.html into `page` and waits for the completion.
    void loadPage(const std::shared_ptr<ZVWebPageController>& page, LoadRecord& record) {
        size_t before = record.outcomes.size();
        page->loadURL(folder.url("p.html"), record.completion());
        ASSERT_TRUE(record.waitFor(before + 1));
    }

    PageFolder folder;
    std::shared_ptr<ZVWebWindowController> window;
};

TEST_F(PageControllerTest, BridgePostsNoneOrOneArgumentAndDispatchesOwnThenDelegateThenHandler) {
    auto page = std::make_shared<RecordingPage>();
    window->setPageController(page);
    auto delegate = std::make_shared<ZVPageDelegate>();
    for (const char* name : {"both", "delegateOnly", "late"})
        delegate->actions[name] = [&, name](const Notification& n) {
            page->calls.push_back(std::string("delegate:") + name + ":" + bodyOf(n));
        };
    page->setDelegate(delegate);
    for (const char* name : {"both", "delegateOnly", "handlerOnly", "args"})
        page->registerJavascriptFunctionName(name, [&, name](const Notification& n) {
            page->calls.push_back(std::string("handler:") + name + ":" + bodyOf(n));
        });
    LoadRecord record;
    loadPage(page, record);

    evaluateIn(*window, "PageController.args(); PageController.args('one'); PageController.args(1, 2);"
                        "PageController.args({a: [1, true]}); PageController.both(7);"
                        "PageController.delegateOnly('d'); PageController.handlerOnly(null); true");
    const std::vector<std::string> expected = {
        "handler:args:null",        "handler:args:\"one\"",   "handler:args:{\"a\":[1,true]}", "own:7",
        "delegate:delegateOnly:\"d\"", "handler:handlerOnly:null"};
    ASSERT_TRUE(spinUntil([&] { return page->calls.size() >= expected.size(); }, kScriptTimeout));
    spinFor(kQuietPeriod);
    EXPECT_EQ(page->calls, expected);
    EXPECT_EQ(page->objects, std::vector<const void*>{page.get()});

    // A method registered after the load is served at once, under its name without outer colons.
    page->calls.clear();
    page->registerJavascriptMethod("::late:");
    evaluateIn(*window, "window.webkit.messageHandlers.late.postMessage('now'); true");
    ASSERT_TRUE(spinUntil([&] { return !page->calls.empty(); }, kScriptTimeout));
    EXPECT_EQ(page->calls, std::vector<std::string>{"delegate:late:\"now\""});
}

TEST_F(PageControllerTest, EachLoadReplacesTheHandlerOfANameAndAddsScriptsAgain) {
    auto page = ZVWebPageController::create();
    window->setPageController(page);
    std::vector<std::string> calls;
    page->registerJavascriptFunctionName("f", [&](const Notification&) { calls.push_back("first"); });
    page->registerJavascriptFunctionName("f", [&](const Notification&) { calls.push_back("last"); });
    LoadRecord record;
    loadPage(page, record);
    size_t scriptsAfterOne = window->webView()->userScripts().size();
    loadPage(page, record);
    EXPECT_EQ(window->webView()->userScripts().size(), 2 * scriptsAfterOne);

    evaluateIn(*window, "PageController.f(1); true");
    ASSERT_TRUE(spinUntil([&] { return !calls.empty(); }, kScriptTimeout));
    spinFor(kQuietPeriod);
    EXPECT_EQ(calls, std::vector<std::string>{"last"});
}

TEST_F(PageControllerTest, CompletionHearsTheFailureAndEveryLaterLoad) {
    auto page = std::make_shared<RecordingPage>();
    window->setPageController(page);
    std::vector<std::string> finished;
    ObserverToken token = NotificationCenter::defaultCenter().addObserver(
        kPageControllerDidFinishLoadingPageNotification, page.get(),
        [&](const Notification& n) { finished.push_back(n.userInfo["url"].get<std::string>()); });
    LoadRecord record;
    page->loadURL(folder.url("missing.html"), record.completion());
    ASSERT_TRUE(record.waitFor(1));
    page->loadURL(folder.url("p.html"));
    ASSERT_TRUE(record.waitFor(2));
    NotificationCenter::defaultCenter().removeObserver(token);

    ASSERT_TRUE(record.outcomes[0].has_value());
    EXPECT_EQ(record.outcomes[0]->domain, "com.quillmere.PageController");
    EXPECT_EQ(record.outcomes[0]->code, 1);
    EXPECT_EQ(record.outcomes[0]->message, "") << "the error carries nothing more";
    EXPECT_FALSE(record.outcomes[1].has_value());
    EXPECT_EQ(finished, std::vector<std::string>{folder.url("p.html").string()});
    EXPECT_EQ(page->didLoadHooks, 1);
}

TEST_F(PageControllerTest, DelegateAnswersOnlyVariablesNoTableHolds) {
    auto page = ZVWebPageController::create();
    auto delegate = std::make_shared<ZVPageDelegate>();
    std::vector<std::string> asked;
    delegate->expandVariable = [&](const std::string& name, ZVWebPageController& controller, const std::string& key) {
        EXPECT_EQ(&controller, page.get());
        asked.push_back(name);
        return std::optional<std::string>(name + "@" + key);
    };
    page->setValueForVariable("T", "t");
    EXPECT_EQ(page->expandVariables("${t}${x}", "k"), "T");
    page->setDelegate(delegate);
    EXPECT_EQ(page->expandVariables("${t}${x}", "k"), "Tx@k");
    EXPECT_EQ(asked, std::vector<std::string>{"x"});
    delegate.reset();  // held weakly: gone, so unknown variables vanish again
    EXPECT_EQ(page->expandVariables("${t}${x}", "k"), "T");
}

TEST_F(PageControllerTest, ModalRunEndsWhenATimerStopsIt) {
    auto page = ZVWebPageController::create();
    window->setPageController(page);
    for (bool onMainThread : {true, false}) {
        bool safetyFired = false;
        struct Stop {
            ZVWebPageController* page;
            bool* flag;
        } stop{page.get(), nullptr}, safety{page.get(), &safetyFired};
        auto stopper = [](gpointer data) {
            auto* s = static_cast<Stop*>(data);
            if (s->flag) *s->flag = true;
            s->page->stopModal();
        };
        guint timer = g_timeout_add_once(100, stopper, &stop);
        guint safetyTimer = g_timeout_add_once(5000, stopper, &safety);
        if (onMainThread) {
            page->runModal();
        } else {
            std::atomic<bool> returned = false;
            std::thread runner([&] {
                page->runModal();
                returned = true;
            });
            EXPECT_TRUE(spinUntil([&] { return returned.load(); }, std::chrono::seconds(6)));
            if (!returned) page->stopModal(), spinUntil([&] { return returned.load(); }, std::chrono::seconds(1));
            runner.join();
        }
        EXPECT_FALSE(page->isModal());
        EXPECT_FALSE(safetyFired) << (onMainThread ? "main thread" : "other thread");
        g_source_remove(safetyTimer);
        (void)timer;
    }
}

TEST_F(PageControllerTest, ClassNamesAttachOnlyRegisteredPageControllers) {
    registerPageControllerClass<RecordingPage>("RecordingPage");
    registerPageControllerClass<NotAPage>("NotAPage");
    auto original = window->pageController();
    for (const char* name : {"Unknown", "NotAPage"}) {
        window->setPageControllerClassName(name);
        EXPECT_EQ(window->pageController(), original) << name;
    }
    // The page asks for it through the window's script method.
    window->exposeWindowMethodsToPage();
    LoadRecord record;
    loadPage(original, record);
    evaluateIn(*window, "WindowController.setPageControllerClassName('RecordingPage'); true");
    ASSERT_TRUE(spinUntil([&] { return window->pageController() != original; }, kScriptTimeout));
    auto made = std::dynamic_pointer_cast<RecordingPage>(window->pageController());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->didLoadHooks, 1);
    EXPECT_EQ(made->webView(), window->webView());
    EXPECT_EQ(made->windowController(), window);
    EXPECT_EQ(original->windowController(), nullptr);
}

TEST_F(PageControllerTest, DomAccessWritesQuotedStringsAndReadsFromAnyThread) {
    auto page = ZVWebPageController::create();
    window->setPageController(page);
    LoadRecord record;
    loadPage(page, record);

    page->setContentOfElementId("t", "say \"hi\"\nthen go");
    page->setValueForDOMPath("red", "#t.style.color");
    page->setValueForDOMPath("ignored", "t.title");
    page->setHidden(false, "t");  // the string "false" is truthy: the element hides
    EXPECT_EQ(page->contentOfElementId("t"), Value("say \"hi\"\nthen go"));
    EXPECT_EQ(page->valueForDOMPath("#t.style.color"), Value("red"));
    EXPECT_EQ(page->valueForDOMPath("t.title"), std::nullopt);
    EXPECT_EQ(page->valueForAttribute("title", "t"), Value(""));
    EXPECT_TRUE(page->hiddenOnElementId("t"));
    EXPECT_EQ(page->heightOfElementId("missing"), 0.0);
    // The engine writes a style attribute lazily, so its place in the list varies.
    std::vector<std::string> names = page->attributeNamesforElementId("t");
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::string>{"hidden", "id", "style"}));

    std::optional<Value> fromThread;
    std::atomic<bool> done = false;
    std::thread reader([&] {
        fromThread = page->htmlOfElementId("t");
        done = true;
    });
    EXPECT_TRUE(spinUntil([&] { return done.load(); }, kScriptTimeout));
    reader.join();
    EXPECT_EQ(fromThread, Value("say \"hi\"<br>then go"));
}

TEST_F(PageControllerTest, WriteScriptsAndTheirErrorsOnlyWhenAskedAndShortPathsAreProgrammingErrors) {
    // Line ends and quotes escaped, a backslash left as it is.
    EXPECT_EQ(ZVWebPageController::attributeWriteScript("a\nb\r\"c\\", "style.color", "x"),
              "var elmnt =document.getElementById(\"x\");\n if (elmnt){ elmnt.style.color = \"a\\nb\\r\\\"c\\\";}\n"
              " else {throw new Error(\"element 'x' not found\");}");

    auto page = ZVWebPageController::create();
    window->setPageController(page);
    LoadRecord record;
    loadPage(page, record);
    captureLogLines();
    const struct {
        std::vector<const char*> arguments;
        bool logged;
    } cases[] = {{{"zvpage_tests"}, false}, {{"zvpage_tests", "-logZVWebKitErrors", "YES"}, true}};
    for (const auto& c : cases) {
        UserDefaults::standard().setLaunchArguments(int(c.arguments.size()), c.arguments.data());
        page->setContentOfElementId("missing", "x");
        spinFor(kQuietPeriod);
        std::vector<std::string> lines = takeLogLines();
        ASSERT_EQ(lines.size(), c.logged ? 1u : 0u);
        if (c.logged) {
            EXPECT_EQ(lines[0], "Error setting attribute value for element: Error: element 'missing' not found");
        }
    }
    const char* none[] = {"zvpage_tests"};
    UserDefaults::standard().setLaunchArguments(1, none);

#ifdef NDEBUG
    page->setValueForDOMPath("x", "#a");
    EXPECT_EQ(page->valueForDOMPath("#a"), std::nullopt);
    EXPECT_EQ(takeLogLines(), std::vector<std::string>(2, "CRITICAL: Insufficient DOMPath"));
#else
    EXPECT_DEATH(page->valueForDOMPath("#a"), "Insufficient DOMPath");
#endif
}

TEST_F(PageControllerTest, SubframesGetTheFunctionsButNoObjectToHoldThem) {
    auto page = ZVWebPageController::create();
    window->setPageController(page);
    page->registerJavascriptFunctionName("f", [](const Notification&) {});
    folder.write("framed.html", "<iframe srcdoc='<p>inner</p>'></iframe>");
    LoadRecord record;
    page->loadURL(folder.url("framed.html"), record.completion());
    ASSERT_TRUE(record.waitFor(1));
    ASSERT_TRUE(spinUntil([&] { return evaluateIn(*window, "frames[0].document.readyState") == Value("complete"); },
                          kScriptTimeout));
    EXPECT_EQ(evaluateIn(*window, "[typeof PageController.f, typeof frames[0].PageController].join()"),
              Value("function,undefined"));
}

}  // namespace
