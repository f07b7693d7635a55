// The page window: includes from a loopback server and from files, sizing
// and titling from the strings table, finding pages by language, links.
#include "PageTestSupport.h"

#include <zv/webview/FrameworkResources.h>

#include <LogCapture.h>
#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;
using namespace std::chrono_literals;

class WebWindowControllerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initGtkOnce(); }
    void SetUp() override {
        window = ZVWebWindowController::create();
        page = window->pageController();
        page->setPageLoadedCompletion(record.completion());
    }

    std::string script(const std::string& expression) {
        std::optional<Value> value = evaluateIn(*window, "JSON.stringify(" + expression + ")");
        return value && value->is_string() ? value->get<std::string>() : "(no answer)";
    }

    PageFolder folder;
    std::shared_ptr<ZVWebWindowController> window;
    std::shared_ptr<ZVWebPageController> page;
    LoadRecord record;
};

TEST_F(WebWindowControllerTest, IncludesLandAtTheirOwnPlacesWhateverOrderTheirFetchesFinish) {
    DelayedServer server;
    // The first include in the page is the last to arrive.
    server.serve("/slow.html", "<p>slow ${Name} ${NAME} ${src}</p>", 400ms);
    server.serve("/fast.html", "<p>fast</p><p>second</p>");
    folder.write("parts/local.html", "loose text <p>file</p><include src=nested.html></include>");
    folder.write("page.html",
                 "<body><div id=a><include src='" + server.url("/slow.html") +
                     "' name=X></include></div><div id=b><include src='" + server.url("/fast.html") +
                     "'></include></div><div id=c>before<include src='parts/local.html'></include>after</div>"
                     "<div id=d><include src='" + server.url("/missing.html") +
                     "'></include>kept</div><div id=e><include src='none.html'></include></div></body>");
    page->loadURL(folder.url("page.html"));
    ASSERT_TRUE(record.waitFor(1));
    EXPECT_EQ(script("['a', 'b', 'c', 'd', 'e'].map(id => document.getElementById(id).innerHTML)"),
              "[\"<p>slow X X ${src}</p>\",\"<p>fast</p><p>second</p>\","
              "\"before<p>file</p><include src=\\\"nested.html\\\"></include>after\",\"kept\",\"\"]");
}

TEST_F(WebWindowControllerTest, WindowTakesItsSizeAndTitleFromThePageStrings) {
    folder.write("en.lproj/sized.html", "<title localizationkey=t>x</title><p localizationkey=hello>x</p>");
    folder.write("en.lproj/sized.html.strings",
                 "\"@WindowSize\" = \"{400, 300}\";\n\"@WindowTitle\" = \"From the table\";\n\"hello\" = \"Hello\";");
    folder.write("en.lproj/plain.html", "<title localizationkey=t>x</title><p>plain</p>");
    auto bundle = std::make_shared<Bundle>(folder.path(), std::vector<std::string>{"en"});
    window->setResourceBundle(bundle);
    page->setLocalizationBundle(bundle);

    struct Case {
        const char* file;
        const char* size;
        const char* title;
    } cases[] = {{"sized", "[400,300]", "From the table"}, {"plain", "[800,600]", "T"}};
    for (const Case& c : cases) {
        size_t before = record.outcomes.size();
        page->setPageSize({800, 600});
        window->loadFile(c.file, "html");
        ASSERT_TRUE(record.waitFor(before + 1)) << c.file;
        bool sized = spinUntil([&] { return script("[window.innerWidth, window.innerHeight]") == c.size; }, 5s);
        EXPECT_TRUE(sized) << c.file << ": " << script("[window.innerWidth, window.innerHeight]");
        EXPECT_STREQ(gtk_window_get_title(window->window()), c.title);
        EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window->window())));
    }
    EXPECT_EQ(script("document.querySelector('p').textContent"), "\"plain\"");
    // The page gets no context menu of its own.
    EXPECT_EQ(script("document.body.getAttribute('oncontextmenu')"), "\"event.preventDefault();\"");
}

TEST_F(WebWindowControllerTest, PagesAreFoundByLanguageThenUnlocalized) {
    folder.write("en.lproj/page.html", "en");
    folder.write("page.html", "top");
    folder.write("de.lproj/only.html", "de");
    window->setResourceBundle(std::make_shared<Bundle>(folder.path(), std::vector<std::string>{"fr", "de", "en"}));
    struct Case {
        std::optional<std::string> preferred;
        const char* name;
        std::string expected;
    } cases[] = {
        {"de", "page", "/page.html"},   // no German copy: the unlocalized one, not English
        {"en", "page", "/en.lproj/page.html"},
        {std::nullopt, "only", "/de.lproj/only.html"},
        {std::nullopt, "page", "/en.lproj/page.html"},
        {"en", "only", ""},
    };
    for (const Case& c : cases) {
        window->setPreferredLocalization(c.preferred);
        window->loadFile(c.name, "html");
        EXPECT_EQ(window->filePath(), c.expected.empty() ? "" : folder.path() + c.expected)
            << c.preferred.value_or("(none)") << " " << c.name;
    }
}

TEST_F(WebWindowControllerTest, WebLinksGoToTheOpenerAndFileLinksNavigateInPlace) {
    std::vector<std::string> opened;
    window->setURLOpener([&](const URL& url) { opened.push_back(url.string()); });
    folder.write("first.html", "<a id=web href='https://example.invalid/x?y'>w</a><a id=file href='second.html'>f</a>");
    folder.write("second.html", "<p>second</p>");
    page->loadURL(folder.url("first.html"));
    ASSERT_TRUE(record.waitFor(1));

    evaluateIn(*window, "document.getElementById('web').click(); true");
    ASSERT_TRUE(spinUntil([&] { return !opened.empty(); }, kScriptTimeout));
    EXPECT_EQ(opened, std::vector<std::string>{"https://example.invalid/x?y"});
    EXPECT_EQ(script("location.href"), "\"" + folder.url("first.html").string() + "\"");

    evaluateIn(*window, "document.getElementById('file').click(); true");
    ASSERT_TRUE(record.waitFor(2));
    EXPECT_EQ(script("location.href"), "\"" + folder.url("second.html").string() + "\"");
    EXPECT_EQ(opened.size(), 1u);
}

TEST_F(WebWindowControllerTest, FileSchemeServesImagesAndUTF8StyleSheetsBesideThePage) {
    GError* error = nullptr;
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 3, 2);
    folder.write("img/dot.png", "");
    ASSERT_TRUE(gdk_pixbuf_save(pixbuf, (folder.path() + "/img/dot.png").c_str(), "png", &error, nullptr));
    g_object_unref(pixbuf);
    folder.write("style.css", "p { color: rgb(1, 2, 3); }");
    folder.write("latin1.css", "p { color: rgb(9, 9, 9); } /* \xe9 */");
    folder.write("page.html", "<link rel=stylesheet href=style.css><img id=i src='img/dot.png'><p>x</p>");
    page->loadURL(folder.url("page.html"));
    ASSERT_TRUE(record.waitFor(1));
    EXPECT_EQ(script("document.getElementById('i').src"),
              "\"" + URL::parse("zvfile://" + folder.path() + "/img/dot.png")->string() + "\"");
    EXPECT_TRUE(spinUntil([&] { return script("document.getElementById('i').naturalWidth") == "3"; }, 5s));
    EXPECT_EQ(script("getComputedStyle(document.querySelector('p')).color"), "\"rgb(1, 2, 3)\"");

    // A sheet that is not UTF-8 is left unanswered, so it never applies.
    evaluateIn(*window, "var l = document.createElement('link'); l.rel = 'stylesheet';"
                        "l.href = document.getElementById('i').src.replace('img/dot.png', 'latin1.css');"
                        "document.head.appendChild(l); true");
    spinFor(kQuietPeriod);
    EXPECT_EQ(script("getComputedStyle(document.querySelector('p')).color"), "\"rgb(1, 2, 3)\"");
}

TEST_F(WebWindowControllerTest, NewWindowLinksAreDecidedAlikeAndFailedLoadsRunNoLoadedSteps) {
    std::vector<std::string> opened;
    window->setURLOpener([&](const URL& url) { opened.push_back(url.string()); });
    int downloads = 0;
    WebKitNetworkSession* session = webkit_web_view_get_network_session(window->webView()->webView());
    gulong downloadWatch = g_signal_connect(session, "download-started", G_CALLBACK(+[](WebKitNetworkSession*, WebKitDownload* d, int* n) {
                                                ++*n;
                                                webkit_download_cancel(d);
                                            }),
                                            &downloads);
    folder.write("first.html", "<a id=web target=_blank href='https://example.invalid/new'>w</a>"
                               "<a id=file target=_blank href='second.html'>f</a>");
    folder.write("second.html", "<a id=missing href='missing.html'>m</a><a id=binary href='data.bin'>b</a>");
    folder.write("data.bin", std::string("\x7f\x01\x02\x03" "binary", 10));
    captureLogLines();
    page->loadURL(folder.url("first.html"));
    ASSERT_TRUE(record.waitFor(1));
    EXPECT_TRUE(std::ranges::any_of(takeLogLines(), [](const std::string& line) {
        return line.starts_with("WebView showing window <GtkWindow: 0x") && line.ends_with("\" ");
    })) << "the window is named before it is shown";

    evaluateIn(*window, "document.getElementById('web').click(); true");
    ASSERT_TRUE(spinUntil([&] { return !opened.empty(); }, kScriptTimeout));
    EXPECT_EQ(opened, std::vector<std::string>{"https://example.invalid/new"});
    evaluateIn(*window, "document.getElementById('file').click(); true");
    ASSERT_TRUE(record.waitFor(2)) << "a page of its own opens in this window";
    EXPECT_EQ(script("location.href"), "\"" + folder.url("second.html").string() + "\"");

    evaluateIn(*window, "document.getElementById('missing').click(); true");
    spinFor(kQuietPeriod);
    EXPECT_EQ(record.outcomes.size(), 2u) << "a failed navigation is no loaded page";
    evaluateIn(*window, "document.getElementById('binary').click(); true");
    EXPECT_TRUE(record.waitFor(3)) << "every response is shown";
    EXPECT_EQ(script("location.href"), "\"" + folder.url("data.bin").string() + "\"");
    EXPECT_EQ(downloads, 0);
    g_signal_handler_disconnect(session, downloadWatch);
}

class HostPage : public ZVWebPageController {};

TEST_F(WebWindowControllerTest, StringsAndPagesComeFromTheBundleThatHoldsTheClass) {
    PageFolder own, delegated;
    auto bundleWith = [](const PageFolder& f, const std::string& value) {
        f.write("en.lproj/p.html.strings", "\"k\" = \"" + value + "\";");
        return std::make_shared<Bundle>(f.path(), std::vector<std::string>{"en"});
    };
    auto ownBundle = bundleWith(own, "own"), delegateBundle = bundleWith(delegated, "delegate"),
         windowBundle = bundleWith(folder, "window");
    auto delegate = std::make_shared<ZVPageDelegate>();
    page->setURL(folder.url("p.html"));
    const struct {
        std::shared_ptr<const Bundle> localization, delegate, window;
        bool hasDelegate;
        const char* expected;
    } cases[] = {
        {ownBundle, delegateBundle, windowBundle, true, "own"},
        {nullptr, delegateBundle, windowBundle, true, "delegate"},
        {nullptr, nullptr, windowBundle, true, "k"},  // the host's main bundle, which has no such table
        {nullptr, nullptr, windowBundle, false, "window"},
    };
    for (const auto& c : cases) {
        page->setLocalizationBundle(c.localization);
        delegate->bundle = c.delegate;
        page->setDelegate(c.hasDelegate ? delegate : nullptr);
        window->setResourceBundle(c.window);
        EXPECT_EQ(page->localizedStringForKey("k"), c.expected);
    }

    window->setResourceBundle(nullptr);
    EXPECT_EQ(page->classBundle()->resourcePath(), webKitResourceBundle()->resourcePath());
    EXPECT_EQ(window->resourceBundle()->resourcePath(), webKitResourceBundle()->resourcePath());
    window->setPageController(std::make_shared<HostPage>());
    EXPECT_EQ(window->pageController()->classBundle()->resourcePath(), Bundle::mainBundle()->resourcePath());
    EXPECT_EQ(window->resourceBundle()->resourcePath(), Bundle::mainBundle()->resourcePath());
}

}  // namespace
