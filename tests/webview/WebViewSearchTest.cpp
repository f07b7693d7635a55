// The simple search on a plain web view, with zvwk's search script as the
// host's.
#include "WebViewTestSupport.h"

#include <LogCapture.h>
#include <TemporaryFolder.h>

#include <zv/foundation/Bundle.h>
#include <zv/foundation/Value.h>
#include <zv/webview/WebViewSearch.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

namespace {

using namespace zv;
using namespace zv::test;

const char kPage[] =
    "<body><p id=a>The quick brown Fox jumps</p><p id=b>over the lazy dog. A <i>fox</i> again: FOX.</p>"
    "<script>var fox = 'not text';</script><textarea>fox</textarea></body>";

class WebViewSearchTest : public SharedWindowTest {
protected:
    void SetUp() override {
        Bundle::setMainBundlePath(ZVWK_RESOURCES_DIR);
        ASSERT_TRUE(window->loadHTML(kPage));
    }
    WebKitWebView* webView() { return window->webView(); }

    // An empty folder of this test's own as the main bundle.
    std::filesystem::path emptyBundle() {
        Bundle::setMainBundlePath(bundle_.path());
        return bundle_.path();
    }

    // The count the page reports, or nothing when the completion was not
    // called. Evaluations run in order, so the answer follows every call made before.
    std::optional<int64_t> count() {
        std::optional<int64_t> reported;
        bool called = false;
        handleSearchResultCount(webView(), [&](int64_t n) {
            reported = n;
            called = true;
        });
        // A marker evaluated after the count: once it answers, the count has too.
        window->evaluate("0");
        return called ? reported : std::nullopt;
    }
    Value page(const char* script) { return window->evaluate(script).value.value_or(Value()); }

    TemporaryFolder bundle_;
};

TEST_F(WebViewSearchTest, HighlightsCountsStepsAndRemoves) {
    std::string before = page("document.body.innerHTML").get<std::string>();
    highlightAllOccurencesOfString(webView(), "fox");
    EXPECT_EQ(count(), 3);
    EXPECT_EQ(page("Array.from(document.getElementsByClassName('WKWebView_Highlight')).map(e => e.textContent)"),
              (Value{"Fox", "fox", "FOX"}));

    searchNext(webView());
    searchNext(webView());
    EXPECT_EQ(page("WKWebView_SearchCurrentIndex"), 1);
    searchPrevious(webView());
    searchPrevious(webView());
    EXPECT_EQ(page("WKWebView_SearchCurrentIndex"), 2);

    // The script is evaluated again by each highlight call.
    highlightAllOccurencesOfString(webView(), "the");
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(page("WKWebView_SearchCurrentIndex"), -1);

    removeAllHighlights(webView());
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(page("document.body.innerHTML"), before);
}

TEST_F(WebViewSearchTest, CallsBeforeTheScriptIsLoadedDoNothing) {
    searchNext(webView());
    searchPrevious(webView());
    removeAllHighlights(webView());
    EXPECT_EQ(count(), std::nullopt);
    EXPECT_EQ(page("typeof WKWebView_SearchNext"), "undefined");
}

TEST_F(WebViewSearchTest, AnApostropheBreaksTheCallQuietly) {
    highlightAllOccurencesOfString(webView(), "fox");
    EXPECT_EQ(count(), 3);
    highlightAllOccurencesOfString(webView(), "dog's");
    // The script ran again (count reset); the broken call did not.
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(page("document.getElementsByClassName('WKWebView_Highlight').length"), 3);
}

TEST_F(WebViewSearchTest, TheCountMustBeANumber) {
    ASSERT_TRUE(window->evaluate("var WKWebView_SearchResultCount = 'three'").ok());
#ifdef NDEBUG
    captureLogLines();
    EXPECT_EQ(count(), std::nullopt);
    EXPECT_EQ(takeLogLines(), std::vector<std::string>{"CRITICAL: WKWebView_SearchResultCount is not a number: \"three\""});
#else
    EXPECT_DEATH(count(), "not a number");
#endif
    ASSERT_TRUE(window->evaluate("WKWebView_SearchResultCount = 3").ok());
    EXPECT_EQ(count(), 3);
}

TEST_F(WebViewSearchTest, AMissingScriptIsNotEvaluated) {
    emptyBundle();
    highlightAllOccurencesOfString(webView(), "fox");
    EXPECT_EQ(page("typeof WKWebView_HighlightAllOccurencesOfString"), "undefined");
}

TEST_F(WebViewSearchTest, AnUnreadableScriptIsReportedAndNotEvaluated) {
    auto script = emptyBundle() / "SearchWebView.js";
    std::filesystem::copy_file(std::filesystem::path(ZVWK_RESOURCES_DIR) / "SearchWebView.js", script);
    std::filesystem::permissions(script, std::filesystem::perms::none);
    if (access(script.c_str(), R_OK) == 0) GTEST_SKIP() << "running with the privilege to read any file";
    ::testing::internal::CaptureStdout();
    highlightAllOccurencesOfString(webView(), "fox");
    std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(page("typeof WKWebView_HighlightAllOccurencesOfString"), "undefined");
    EXPECT_TRUE(printed.starts_with("could not load javascript:")) << printed;
    EXPECT_TRUE(printed.ends_with("\n"));
}

}  // namespace
