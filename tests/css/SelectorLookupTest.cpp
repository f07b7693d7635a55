// The inliner finds the elements of a selector through an index of the body;
// what it finds must be what querySelectorAll on the body finds, in the same
// order. Checked against that plain lookup over tricky selectors and over
// every HTML document of the mail corpus.
#include <zv/css/CSSRuleExtraction.h>
#include <zv/css/HeadCSSInlining.h>

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using zv::html::HTMLDocument;
using zv::html::Ref;

// The inlining done the plain way: one querySelectorAll on the body per selector.
void inlineByQueries(HTMLDocument& document) {
    zv::html::HTMLElement* body = document.body();
    if (!body) return;
    zv::CSSRulesBySelector rules = zv::extractCSSBySelectors(document, {});
    for (const std::string& selector : rules.selectors)
        for (zv::html::HTMLElement* element : body->querySelectorAll(selector)) {
            const std::string* old = element->attribute("style");
            element->setAttribute("style", (old ? *old : "") + " " + rules.declarations[selector]);
        }
}

void expectSameAsQueries(const std::string& html) {
    Ref<HTMLDocument> expected = HTMLDocument::documentWithString(html);
    inlineByQueries(*expected);
    Ref<HTMLDocument> actual = HTMLDocument::documentWithString(html);
    zv::applyHeadCSSToContentAndPurge(*actual, false, {}, {});
    EXPECT_EQ(zv::html::serializeNode(*actual), zv::html::serializeNode(*expected));
}

// Each selector gets its own declaration, so the result shows which
// selectors found which elements, in which order.
const char* kSelectors[] = {
    "p", "P", ".x", ".X", "#a", "#A", "*", "*.x", "p.x.y", "p#a.x", "[id=a]", "p[class~='x']",
    "a[href^='x]y']", "td > p", "td p + p", "p ~ p", "html body p", ":root p", ":scope > div", "div:not(.x) p",
    "p::before", "p:first-child", "svg", "foreignObject", "foreignobject", "svg|rect", "x-custom", "X-CUSTOM",
    ".a\\:b", "#\xC3\xA4", ".\xC3\xA4", "[style]", "[style] p", "p[style*=\"rule-\"]", "body", "body > div",
    "div\n p", "template p", "head ~ body p", "a:hover", "div:not(:hover) p", "p:focus", ".nothere p",
    "#nothere > p", "title ~ p",
};

std::string trickySheet() {
    std::string sheet;
    int n = 0;
    for (const char* selector : kSelectors) sheet += std::string(selector) + " { rule-" + std::to_string(n++) + ": 1; }\n";
    return sheet;
}

const char* kTrickyBody =
    "<div class='x y'><p id=a class='x y x'>1</p><p class=X>2</p><p id=A>3</p></div>"
    "<table><tr><td><p>4</p><p class=a:b>5</p></td></tr></table>"
    "<svg><rect class=x /><foreignObject><p id=\xC3\xA4 class=\xC3\xA4>6</p></foreignObject></svg>"
    "<x-custom class=x></x-custom><a href='x]y'>7</a><template><p>8</p></template>"
    "<div style='color: red'><p>9</p></div>";

TEST(SelectorLookup, TrickySelectorsFindWhatQueriesFind) {
    const std::string sheet = trickySheet();
    SCOPED_TRACE(sheet);
    // Quirks mode makes classes and ids case-insensitive.
    expectSameAsQueries("<!DOCTYPE html><head><style>" + sheet + "</style></head><body>" + kTrickyBody);
    expectSameAsQueries("<head><style>" + sheet + "</style></head><body>" + kTrickyBody);
}

TEST(SelectorLookup, EveryCorpusDocumentGivesWhatQueriesGive) {
    const char* corpus = std::getenv("ZV_MAIL_CORPUS");
    if (!corpus || !fs::is_directory(corpus)) GTEST_SKIP() << "ZV_MAIL_CORPUS is not a folder; corpus not run";
    size_t documents = 0;
    for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
        const std::string extension = entry.path().extension().string();
        if (!entry.is_regular_file() || (extension != ".html" && extension != ".htm")) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::ostringstream html;
        html << in.rdbuf();
        SCOPED_TRACE(entry.path().string());
        expectSameAsQueries(html.str());
        ++documents;
    }
    EXPECT_GT(documents, 0u);
}

}  // namespace
