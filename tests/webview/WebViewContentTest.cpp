// Loading parsed documents, the body height scripts, the selection script
// and the debug dumps, on a plain web view.
#include "WebViewTestSupport.h"

#include <zv/html/HTMLParser.h>
#include <zv/webview/WebViewContent.h>

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

// No blank between the body's children: which of them the height scripts
// measure depends on every node.
const char kSizedPage[] =
    "<body style='margin:0'><div id=a style='height:100px'></div><div id=b style='height:40px'></div>"
    "<div id=c style='height:7px'></div></body>";

class WebViewContentTest : public SharedWindowTest {
protected:
    static WebKitWebView* webView() { return window->webView(); }

    // The scroll-height script waits for the page itself.
    static ScriptAnswer scrollHeight() {
        ScriptAnswer answer;
        Watchdog guard("fetchBodyScrollHeight");
        fetchBodyScrollHeight(webView(), answer.completion());
        return answer;
    }
    static ScriptAnswer answerOf(void (*fetch)(WebKitWebView*, ScriptCompletion)) {
        ScriptAnswer answer;
        fetch(webView(), answer.completion());
        EXPECT_TRUE(spinUntil([&] { return answer.called; }, kScriptTimeout));
        return answer;
    }
};

TEST_F(WebViewContentTest, LoadsTheDocumentElementWithoutTheDoctype) {
    auto document = html::HTMLParser("<!DOCTYPE html><title>T</title><p class=x>Body &amp; text</p>").parseDocument();
    auto base = URL::parse("https://mail.example/msg/1");
    ASSERT_TRUE(window->waitForLoad([&] { loadHTMLDocument(webView(), *document, base); }));
    EXPECT_EQ(window->evaluate("document.doctype === null").value, true);
    // Without a doctype the page renders in quirks mode.
    EXPECT_EQ(window->evaluate("document.compatMode").value, "BackCompat");
    EXPECT_EQ(window->evaluate("document.querySelector('p.x').textContent").value, "Body & text");
    EXPECT_EQ(window->evaluate("document.baseURI").value, "https://mail.example/msg/1");
}

TEST_F(WebViewContentTest, HeightScriptsMeasureTheFirstElementLeftInTheClone) {
    ASSERT_TRUE(window->loadHTML(kSizedPage));
    // The scroll-height script's bodyClone is declared by nobody yet.
    ScriptAnswer scroll = scrollHeight();
    ASSERT_TRUE(scroll.called);  // it waited for the page
    EXPECT_TRUE(scroll.error);
    EXPECT_FALSE(scroll.value);

    // The loop over the live child list moves a and c into the wrapper,
    // which goes last: the first element child of the clone is b.
    ScriptAnswer client = answerOf(fetchBodyClientHeight);
    EXPECT_FALSE(client.error);
    EXPECT_EQ(client.value, Value(40));

    // Now bodyClone is a page global, and the scroll height (15 short) works.
    ScriptAnswer again = scrollHeight();
    EXPECT_FALSE(again.error);
    EXPECT_EQ(again.value, Value(25));
    // The real body is back in place each time.
    EXPECT_EQ(window->evaluate("document.body.children.length + ':' + document.body.firstElementChild.id").value, "3:a");
}

TEST_F(WebViewContentTest, ScrollHeightWorksOnAPageThatDeclaresBodyClone) {
    ASSERT_TRUE(window->loadHTML(std::string("<script>var bodyClone = 0;</script>") + kSizedPage));
    ScriptAnswer scroll = scrollHeight();
    EXPECT_FALSE(scroll.error);
    EXPECT_EQ(scroll.value, Value(25));
}

TEST_F(WebViewContentTest, SelectionGivesTheBodyWhenCollapsedElseTheRangesContents) {
    ASSERT_TRUE(window->loadHTML("<body><p id=p>Hello <b>bold</b> world</p></body>"));
    const std::string body = window->evaluate("document.body.innerHTML").value->get<std::string>();
    const std::pair<std::string, std::string> cases[] = {
        {"", body},  // nothing selected
        {"r.setStart(p.firstChild, 1); r.setEnd(p.firstChild, 4);", "ell"},
        {"r.setStart(p.firstChild, 3); r.setEnd(p.lastChild, 3);", "lo <b>bold</b> wo"},
    };
    for (const auto& [range, expected] : cases) {
        SCOPED_TRACE(range);
        if (!range.empty()) {
            ASSERT_TRUE(window
                            ->evaluate("var p = document.getElementById('p'); var r = document.createRange();" + range +
                                       "getSelection().removeAllRanges(); getSelection().addRange(r);")
                            .ok());
        }
        EXPECT_EQ(answerOf(fetchHTMLContentsOfSelection).value, Value(expected));
    }
}

TEST_F(WebViewContentTest, DebugDumps) {
    ASSERT_TRUE(window->loadHTML("<body><p>one</p><p>two</p></body>"));
    std::string sizing;
    {
        Watchdog guard("debugSizingHTML");
        sizing = debugSizingHTML(webView());
    }
    EXPECT_NE(sizing.find("sizingDiv"), std::string::npos) << sizing;
    EXPECT_EQ(window->evaluate("document.body.children.length").value, 2);

    std::string html;
    {
        Watchdog guard("debugCurrentHTML");
        html = debugCurrentHTML(webView());
    }
    EXPECT_EQ(html, "<html><head></head><body><p>one</p><p>two</p></body></html>");
}

}  // namespace
