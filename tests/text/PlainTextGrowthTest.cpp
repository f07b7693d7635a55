// The plain text of a citation around a deep chain of divs: each empty-break
// div gets its quote marker, and the selector queries behind it grow with
// the chain, not with its square.
#include <zv/html/HTMLDocument.h>
#include "HTMLWorkCounters.h"
#include <zv/text/PlainText.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace zv::html;

#if !defined(ZV_WORK_COUNTERS)
TEST(PlainTextGrowth, NeedsTheWorkCounters) {
    GTEST_SKIP() << "zvhtml built without -DZV_WORK_COUNTERS=ON (make asan builds with them)";
}
#else

namespace {

TEST(PlainTextGrowth, NestedEmptyBreakDivsInACitationCostTheirCount) {
    auto queried = [](int depth) {
        std::string html = "<!DOCTYPE html><body><blockquote type=cite>";
        for (int i = 0; i < depth; ++i) html += "<div>";
        html += "<br>";
        for (int i = 0; i < depth; ++i) html += "</div>";
        html += "<p>x</p></blockquote>";
        Ref<HTMLDocument> doc = HTMLDocument::documentWithString(html);
        uint64_t before = htmlWorkCounters().elementsEnteredByQueries;
        std::string text = zv::plainText(*doc->documentElement());
        // Every div but the innermost holds one child and the one break: a
        // marker each, all on the innermost div; the paragraph has its own.
        EXPECT_EQ(std::count(text.begin(), text.end(), '>'), depth);
        return double(htmlWorkCounters().elementsEnteredByQueries - before);
    };
    double small = queried(1000), large = queried(4000);
    EXPECT_LE(large / small, 4.5);
}

}  // namespace

#endif
