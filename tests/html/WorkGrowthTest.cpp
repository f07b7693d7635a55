// Paths whose work must grow in step with the input: each runs on an input
// and on one four times its size, and the work counters may grow about four
// times too, not sixteen. Counting steps instead of timing them keeps the
// check exact on a busy machine.
#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include "HTMLWorkCounters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

using namespace zv::html;

#if !defined(ZV_WORK_COUNTERS)
TEST(WorkGrowth, NeedsTheWorkCounters) {
    GTEST_SKIP() << "zvhtml built without -DZV_WORK_COUNTERS=ON (make asan builds with them)";
}
#else

namespace {

// The growth of `counter` from running `work` on size n to running it on 4n.
double growth(uint64_t HTMLWorkCounters::*counter, const std::function<void(int)>& work, int n) {
    auto count = [&](int size) {
        uint64_t before = htmlWorkCounters().*counter;
        work(size);
        return double(htmlWorkCounters().*counter - before);
    };
    double small = count(n), large = count(4 * n);
    return large / std::max(small, 1.0);
}

// n blocks side by side, each a citation as mail clients quote.
Ref<HTMLDocument> citations(int n) {
    std::string html = "<!DOCTYPE html><body>";
    for (int i = 0; i < n; ++i) html += "<div><blockquote type=cite><div><br></div><p>quoted</p></blockquote></div>";
    return HTMLDocument::documentWithString(html);
}

TEST(WorkGrowth, QueriesFromEveryCitationCostTheirSubtreeNotTheDocumentBefore) {
    // Selectors that reach above the query's root, and beside its ancestors.
    for (const char* selector : {"p", "blockquote p", "div > br", "body :is(div) p", "p:nth-child(2)", ":scope > p",
                                 "div + div p", "div ~ div > * > p"}) {
        SCOPED_TRACE(selector);
        CSSSelector compiled = CSSSelector::parse(selector);
        size_t found = 0;
        double ratio = growth(
            &HTMLWorkCounters::elementsEnteredByQueries,
            [&](int n) {
                Ref<HTMLDocument> doc = citations(n);
                for (HTMLElement* citation : doc->querySelectorAll("blockquote[type=cite]"))
                    found += citation->elementsMatchingSelector(compiled).size();
            },
            500);
        EXPECT_LE(ratio, 4.2);
        EXPECT_GT(found, 0u);
    }
}

TEST(WorkGrowth, MatchingElementsOfADeepTreeOneByOneNeedNoWalkToTheDocument) {
    CSSSelector selector = CSSSelector::parse(".note div");
    double ratio = growth(
        &HTMLWorkCounters::stepsTowardsDocument,
        [&](int n) {
            // No doctype: quirks mode, where class names ignore case.
            std::string html = "<body>";
            for (int i = 0; i < n; ++i) html += i % 2 ? "<div>" : "<div class=NOTE>";
            Ref<HTMLDocument> doc = HTMLDocument::documentWithString(html);
            HTMLQuirksMode mode = doc->quirksMode();
            size_t matched = 0;
            for (HTMLElement* div : doc->querySelectorAll("div")) matched += selector.matches(*div, mode);
            EXPECT_EQ(matched, size_t(n - 1));
        },
        2000);
    EXPECT_LE(ratio, 4.2);
}

TEST(WorkGrowth, DuplicateAttributesAreFoundInLinearTime) {
    double ratio = growth(
        &HTMLWorkCounters::attributeNamesCompared,
        [](int n) {
            // Every tenth attribute repeats an earlier name; the first value stays.
            auto repeatedName = [](int i) { return "a" + std::to_string(i / 20 * 10); };
            std::string html = "<p";
            for (int i = 0; i < n; ++i)
                html += i % 10 == 9 ? " " + repeatedName(i) + "=late" : " a" + std::to_string(i) + "=first";
            Ref<HTMLDocument> doc = HTMLDocument::documentWithString(html + ">");
            HTMLElement* p = doc->querySelector("p");
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(p->attributes().size(), size_t(n - n / 10));
            for (int i = 9; i < n; i += 10) {
                const std::string* repeated = p->attribute(repeatedName(i));
                ASSERT_NE(repeated, nullptr);
                ASSERT_EQ(*repeated, "first");
            }
        },
        5000);
    EXPECT_LE(ratio, 4.5);
}

}  // namespace

#endif
