// The search commands of ZVWebView against the search script in a real page.
#include "FindTestSupport.h"

#include <zv/find/TextMatchCount.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace zv::test;

// Text content: "Invoice invoice INVOICE invoices preinvoice. Die Rechnung; Vorrechnung."
// with the second "invoice" split over three elements.
constexpr char kBody[] =
    "<p>Invoice in<b>voi</b><i>ce</i> INVOICE invoices preinvoice.</p>"
    "<p style='margin-top:900px'>Die Rechnung; Vorrechnung.</p>";
constexpr char kText[] = "Invoice invoice INVOICE invoices preinvoice.Die Rechnung; Vorrechnung.";
// The ranges the page highlights, in order, and how many of them are current.
const std::string kMatchRanges = "[...(CSS.highlights.get('zv-find-match') || [])]";
constexpr char kCurrentRanges[] = "(CSS.highlights.get('zv-find-current') || new Set()).size";

// The count the page reports for its current search; -2 when it gave none.
int64_t resultCount(zv::ZVWebView& view) {
    std::optional<int64_t> answer;
    view.getFindResultCount([&](int64_t n) { answer = n; });
    EXPECT_TRUE(spinUntil([&] { return answer.has_value(); }, kScriptTimeout));
    return answer.value_or(-2);
}

class FindInPageTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { page = std::make_unique<MessageView>(makeMessageView(kBody)); }
    static void TearDownTestSuite() { page.reset(); }

    static int64_t count(const std::string& text, int64_t options) {
        page->view->highlightOccurrencesOfString(text, options);
        return resultCount(*page->view);
    }
    static double step(bool forward) {
        std::optional<double> position;
        auto done = [&](double y) { position = y; };
        if (forward) page->view->findNextWithCompletion(done);
        else page->view->findPreviousWithCompletion(done);
        EXPECT_TRUE(spinUntil([&] { return position.has_value(); }, kScriptTimeout));
        return position.value_or(-1);
    }

    static inline std::unique_ptr<MessageView> page;
};

TEST_F(FindInPageTest, ScriptElementsPointAtFilesThatLoad) {
    auto elements = zv::ZVWebView::searchScriptElements();
    ASSERT_EQ(elements.size(), 2u);
    const std::string* mark = elements[0]->attribute("src");
    ASSERT_TRUE(mark);
    EXPECT_TRUE(mark->ends_with("mark.min.js"));
    for (const auto& element : elements) {
        EXPECT_EQ(*element->attribute("charset"), "utf-8");
        EXPECT_TRUE(std::filesystem::exists(*element->attribute("src")));
    }
    EXPECT_EQ(page->window->evaluate("typeof Mark + typeof WKWebView_AtLast").value, "functionfunction");
}

TEST_F(FindInPageTest, EachStyleWithAndWithoutCase) {
    const struct {
        const char* text;
        int64_t options;
        int64_t expected;
    } cases[] = {
        {"invoice", 1, 3},   {"invoice", 257, 5}, {"invoice", 2, 2},  {"invoice", 258, 4},
        {"invoice", 4, 1},   {"invoice", 260, 3}, {"in?vo[a-z]ce", 8, 3}, {"in?vo[a-z]ce", 264, 5},
        {"rechnung", 257, 2}, {"rechnung", 258, 1}, {"Rechnung", 4, 1}, {"nothing", 257, 0},
        {"(", 8, 0},          {"[a-", 264, 0},      {"", 257, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(count(c.text, c.options), c.expected) << c.text << " with options " << c.options;
        EXPECT_EQ(zv::countMatchesInText(kText, {c.text}, c.options), c.expected)
            << "the host counts as the page does: " << c.text << " with options " << c.options;
    }
    EXPECT_EQ(zv::countMatchesInText(kText, {"invoice", "rechnung"}, 257), 7);
    EXPECT_EQ(count("invoice", 257), 5);
    EXPECT_EQ(page->window->evaluate(kMatchRanges + ".map(r => r.toString()).join()").value,
              "Invoice,invoice,INVOICE,invoice,invoice")
        << "one range per match, the split one too, and the old highlights are gone";
    EXPECT_EQ(page->window->evaluate("document.querySelectorAll('mark').length").value, 0) << "the DOM is left alone";
}

// An engine without the highlight registry gets mark elements instead, with the same counts.
TEST(FindInPageWithoutHighlights, MarksTheMatches) {
    auto fresh = makeMessageView(kBody);
    ASSERT_TRUE(fresh.window->evaluate("window.Highlight = undefined; true").ok());
    fresh.view->highlightOccurrencesOfString("invoice", 257);
    EXPECT_EQ(resultCount(*fresh.view), 5);
    EXPECT_EQ(fresh.window->evaluate("document.querySelectorAll('mark').length").value, 7)
        << "the split match is marked in three pieces";
    fresh.view->replaceAll("x");
    EXPECT_EQ(fresh.window->evaluate("document.body.textContent").value,
              "x x x xs prex.Die Rechnung; Vorrechnung.");
    EXPECT_EQ(fresh.window->evaluate("document.querySelectorAll('mark').length").value, 0);
}

// JavaScript's rules on both sides, counted by hand: \w, \d and \b are ASCII (written
// with doubled backslashes: the call hands the text over as a template literal); ignoring
// case never makes "ß" match "ss"; "ſ" folds to "s" only in the word styles (which
// need Unicode mode), and "ß" to nothing but itself. The host counts first, on the main
// thread and before any web view exists, as a viewer counts the messages it has not
// loaded: the page must load all the same.
TEST(FindInPageAndHost, CountTheSameWordsDigitsBoundariesAndFolding) {
    constexpr char kFolding[] = "Straße STRASSE ſtraße 42 ٤٢ naïve café_1";
    const struct {
        const char* text;
        int64_t options;
        int64_t expected;
    } cases[] = {
        {"ss", 257, 1},     {"s", 257, 4},    {"s", 258, 3},   {"straße", 260, 2},
        {"strasse", 260, 1}, {"\\\\w+", 264, 10}, {"\\\\d", 8, 3}, {"a\\\\b", 8, 3},
        {"\\d", 8, 0},  // the call's template literal makes it "d"
    };
    for (const auto& c : cases)
        EXPECT_EQ(zv::countMatchesInText(kFolding, {c.text}, c.options), c.expected)
            << "host: " << c.text << " with options " << c.options;
    auto view = makeMessageView(std::string("<p>") + kFolding + "</p>");
    for (const auto& c : cases) {
        view.view->highlightOccurrencesOfString(c.text, c.options);
        EXPECT_EQ(resultCount(*view.view), c.expected) << "page: " << c.text << " with options " << c.options;
    }
}

TEST_F(FindInPageTest, TheCallCarriesTheTextUnescapedBetweenBackquotes) {
    page->view->setScriptIdent("msg-3");
    ASSERT_TRUE(page->window->evaluate("var seen; var real = WKWebView_HighlightOccurencesOfStrings;"
                                       "WKWebView_HighlightOccurencesOfStrings = function() { seen = [...arguments]; }; true")
                    .ok());
    page->view->highlightOccurrencesOfString("in${1+1}voice", 257);
    EXPECT_TRUE(spinUntil([&] { return page->window->evaluate("JSON.stringify(seen)").value == zv::Value("[\"msg-3\",\"in2voice\",257]"); },
                          kScriptTimeout))
        << "a template literal: ${...} in the text is evaluated";
    page->window->evaluate("WKWebView_HighlightOccurencesOfStrings = real");
}

TEST_F(FindInPageTest, AnInvalidExpressionRaisesNothingInThePage) {
    auto outcome = page->window->evaluate("WKWebView_HighlightOccurencesOfStrings('k', '(((', 8)");
    EXPECT_TRUE(outcome.ok()) << outcome.error;
    EXPECT_EQ(outcome.value, 0);
    EXPECT_EQ(count("a`b", 1), 0) << "a backquote breaks the call; the page keeps no highlights of its own";
}

TEST_F(FindInPageTest, StepsWrapAndAnswerPositionsBelowTheVisibleTop) {
    ASSERT_EQ(count("rechnung", 257), 2);
    EXPECT_FALSE(page->view->atFirst());
    double first = step(true);
    EXPECT_TRUE(page->view->atFirst());
    EXPECT_GT(first, 800) << "the second paragraph starts 900 px down";
    step(true);
    EXPECT_TRUE(page->view->atLast());
    EXPECT_EQ(step(true), first) << "after the last comes the first";
    step(false);
    EXPECT_TRUE(page->view->atLast()) << "back from the first is the last";
    std::optional<double> selected;
    page->view->selectMatchAt(1, [&](double y) { selected = y; });
    ASSERT_TRUE(spinUntil([&] { return selected.has_value(); }, kScriptTimeout));
    EXPECT_TRUE(page->view->atLast());
    page->view->clearCurrentHighlight();
    EXPECT_FALSE(page->view->atLast());
    EXPECT_EQ(page->window->evaluate(kCurrentRanges).value, 0);
}

// Searching a page again for the same text forgets the current match, and sees
// what changed in the page since: in an earlier task, or just before the call.
TEST_F(FindInPageTest, TheSameSearchAgainStartsOverAndSeesChanges) {
    ASSERT_EQ(count("rechnung", 257), 2);
    step(true);
    ASSERT_TRUE(page->view->atFirst());
    EXPECT_EQ(count("rechnung", 257), 2);
    EXPECT_FALSE(page->view->atFirst());
    EXPECT_EQ(page->window->evaluate(kCurrentRanges).value, 0);

    auto fresh = makeMessageView("<p id='p'>one invoice, two in<b>voice</b></p>");
    fresh.view->highlightOccurrencesOfString("invoice", 257);
    ASSERT_EQ(resultCount(*fresh.view), 2);
    ASSERT_TRUE(fresh.window->evaluate("p.firstChild.data = 'one invoice, invoice, two in'; true").ok());
    fresh.view->highlightOccurrencesOfString("invoice", 257);
    EXPECT_EQ(resultCount(*fresh.view), 3);
    EXPECT_EQ(fresh.window->evaluate("document.body.append('Invoice'); "
                                     "WKWebView_HighlightOccurencesOfStrings('k', 'invoice', 257)")
                  .value,
              4);
    EXPECT_EQ(fresh.window->evaluate(kMatchRanges + ".map(r => r.toString()).join()").value,
              "invoice,invoice,invoice,Invoice");
    ASSERT_TRUE(fresh.window->evaluate("p.append(' and'); true").ok());
    fresh.view->highlightOccurrencesOfString("bill", 257);
    EXPECT_EQ(resultCount(*fresh.view), 0);
    EXPECT_EQ(fresh.window->evaluate("p.append(' a bill'); WKWebView_HighlightOccurencesOfStrings('k', 'bill', 257)")
                  .value,
              1)
        << "a text not found is looked for again once the page changes";
}

TEST_F(FindInPageTest, ReplaceOneThenAll) {
    auto fresh = makeMessageView("<p>one invoice, two in<b>voice</b>, three invoice</p>");
    fresh.view->highlightOccurrencesOfString("invoice", 257);
    fresh.view->replaceAndMoveToNext("bill");
    fresh.view->replaceAndMoveToNext("note");
    EXPECT_EQ(fresh.window->evaluate("document.body.textContent").value, "one bill, two note, three invoice");
    EXPECT_EQ(resultCount(*fresh.view), 1);
    fresh.view->replaceAll("x");
    EXPECT_EQ(fresh.window->evaluate("document.body.textContent").value, "one bill, two note, three x");
    EXPECT_EQ(fresh.window->evaluate(kMatchRanges + ".length").value, 0);
}

TEST(FindInPageWithPageScriptsOff, UserScriptsStillSearch) {
    initGtkOnce();
    auto settings = zv::GObjectRef<WebKitSettings>::adopt(webkit_settings_new());
    webkit_settings_set_enable_javascript_markup(settings.get(), FALSE);
    zv::ZVWebViewConfiguration configuration;
    configuration.settings = settings;
    auto view = zv::ZVWebView::create(configuration);
    ASSERT_TRUE(view->addSearchUserScripts());
    WebViewWindow window(view->webView());
    ASSERT_TRUE(window.loadHTML(searchablePage("<p>an invoice, an in<b>voice</b></p><script>document.title='ran'</script>"),
                                "file:///"));
    EXPECT_EQ(window.evaluate("document.title").value, "") << "the page's own script must not run";
    view->highlightOccurrencesOfString("invoice", 257);
    EXPECT_EQ(resultCount(*view), 2);
}

TEST(FindInPageWithoutScript, CountIsMinusOne) {
    initGtkOnce();
    auto view = zv::ZVWebView::create();
    WebViewWindow window(view->webView());
    ASSERT_TRUE(window.loadHTML("<p>plain</p>"));
    EXPECT_EQ(resultCount(*view), -1);
    EXPECT_FALSE(view->atLast());
}

}  // namespace
