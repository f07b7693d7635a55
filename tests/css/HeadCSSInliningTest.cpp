// Head CSS appended to inline styles: append order and format, exclusions,
// scopes and the purge.
#include <zv/css/HeadCSSInlining.h>

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

namespace {

using zv::html::HTMLDocument;
using zv::html::Ref;

Ref<HTMLDocument> message(const std::string& sheets, const std::string& body) {
    return HTMLDocument::documentWithString("<head>" + sheets + "</head><body>" + body + "</body>");
}

// The "style" attribute of the element with this id; "(none)" when absent.
std::string styleOf(const HTMLDocument& document, const std::string& id) {
    const auto* element = document.querySelector("#" + id);
    if (!element) return "(no element)";
    const std::string* style = element->attribute("style");
    return style ? *style : "(none)";
}

void apply(HTMLDocument& document, const std::vector<std::string>& exclusions = {}, bool purge = false,
           const std::vector<std::string>& scopes = {}) {
    zv::applyHeadCSSToContentAndPurge(document, purge, exclusions, scopes);
}

// Each row: the head's sheets, the body, the exclusions, and the style
// attribute each named element ends with.
TEST(HeadCSSInlining, RulesAreAppendedSelectorBySelectorUnlessExcluded) {
    struct Case {
        const char* what;
        std::string sheets, body;
        std::vector<std::string> exclusions;
        std::vector<std::pair<std::string, std::string>> styles;
    } cases[] = {
        // No ";" is put in between, so b's two declarations fuse into one.
        {"after the element's own style", "<style>p { color: red; }</style>",
         "<p id=a style='color: blue;'>a</p><p id=b style='color: blue'>b</p><p id=c>c</p>", {},
         {{"a", "color: blue; color: red;"}, {"b", "color: blue color: red;"}, {"c", " color: red;"}}},
        {"in order of first appearance whatever the specificity",
         "<style>#x { a: 1; } p { b: 2; }</style><style>#x { c: 3; } h1, h2 { d: 4; }</style>",
         "<p id=x>x</p><h1 id=h1>h</h1><div><h2 id=h2>h</h2></div>", {},
         {{"x", " a: 1;c: 3; b: 2;"}, {"h1", " d: 4;"}, {"h2", " d: 4;"}}},
        // "div,\np" gives the selector "\np": its second line starts with "p".
        {"exclusions are case-insensitive and anchored at lines",
         "<style>p { a: 1; } P.x { b: 2; } div p { c: 3; } div,\np { d: 4; }</style>",
         "<div id=d><p id=p class=x>t</p></div>", {"^p"}, {{"p", " c: 3;"}, {"d", " d: 4;"}}},
        {"exclusions see selectors not groups", "<style>body, BODY > p, div body, span { x: 1; }</style>",
         "<p id=p>t</p><span id=s>u</span>", {"^body"}, {{"p", "(none)"}, {"s", " x: 1;"}}},
        // ".😀 b" is five UTF-16 units but four characters: "b" lies outside the
        // search, and "$" matches where the search ends.
        {"exclusions search as many units as the selector has characters",
         "<style>.\xF0\x9F\x98\x80 b { x: 1; } .y b { z: 2; }</style>",
         "<div class='\xF0\x9F\x98\x80 y'><b id=b>t</b></div>", {"b$"}, {{"b", " x: 1;"}}},
        {"an exclusion's end is where the characters end", "<style>.\xF0\x9F\x98\x80 b { x: 1; }</style>",
         "<div class='\xF0\x9F\x98\x80'><b id=b>t</b></div>", {" $"}, {{"b", "(none)"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto document = message(c.sheets, c.body);
        apply(*document, c.exclusions);
        for (const auto& [id, style] : c.styles) EXPECT_EQ(styleOf(*document, id), style) << id;
    }
}

TEST(HeadCSSInlining, ApplyingTwiceAppendsTwice) {
    auto document = message("<style>p { x: 1; }</style>", "<p id=p>t</p>");
    apply(*document);
    apply(*document);
    EXPECT_EQ(styleOf(*document, "p"), " x: 1; x: 1;");
}

TEST(HeadCSSInlining, SelectorsTheEngineRejectsChangeNothing) {
    const std::string body = "<p id=\"p\">t</p><div id=\"d\">u</div>";
    auto document = message("<style>@media screen { p { color: red; } } a, , b { x: 1; } p:hover { y: 2; }</style>",
                            body);
    apply(*document);
    EXPECT_EQ(zv::html::serializeChildren(*document->body()), body);
}

TEST(HeadCSSInlining, AnExclusionThatDoesNotCompileIsReportedOnStandardOutputAndSkipped) {
    auto document = message("<style>p { x: 1; } h1 { y: 2; }</style>", "<p id=p>t</p><h1 id=h>h</h1>");
    testing::internal::CaptureStdout();
    apply(*document, {"(", "^h1$"});
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(styleOf(*document, "p"), " x: 1;");
    EXPECT_EQ(styleOf(*document, "h"), "(none)");
    const std::string prefix = "Ignoring exclusion: ( \xE2\x80\x93 ";
    EXPECT_EQ(out.substr(0, prefix.size()), prefix);
    EXPECT_GT(out.size(), prefix.size() + 1) << "the engine's description follows";
    EXPECT_EQ(out.find('\n'), out.size() - 1) << "one line";
}

TEST(HeadCSSInlining, ScopesChooseTheSheetsButThePurgeTakesThemAll) {
    const std::string sheets =
        "<style zv-scope=print>p { a: 1; }</style><style>p { b: 2; }</style>"
        "<style zv-scope=required>p { c: 3; }</style><link rel=stylesheet href=x.css>";
    auto document = message(sheets, "<p id=p>t</p><style>q { d: 4; }</style>");
    apply(*document, {}, true, {"print"});
    EXPECT_EQ(styleOf(*document, "p"), " a: 1;");
    EXPECT_EQ(document->head()->querySelectorAll("style").size(), 0u);
    EXPECT_NE(document->head()->querySelector("link"), nullptr);
    EXPECT_EQ(document->body()->querySelectorAll("style").size(), 1u);

    auto kept = message(sheets, "<p id=p>t</p>");
    apply(*kept);
    // One selector: its rules from all sheets run together, appended once.
    EXPECT_EQ(styleOf(*kept, "p"), " a: 1;b: 2;c: 3;");
    EXPECT_EQ(kept->head()->querySelectorAll("style").size(), 3u);
}

TEST(HeadCSSInlining, EmptyOrMissingSheetsChangeNoStyleButThePurgeRuns) {
    auto document = message("<style></style><style>/* nothing */</style>", "<p id=p style='x: 1'>t</p>");
    apply(*document, {}, true);
    EXPECT_EQ(styleOf(*document, "p"), "x: 1");
    EXPECT_EQ(document->querySelectorAll("style").size(), 0u);

    auto headless = HTMLDocument::documentWithString("<p id=p>t</p>");
    headless->documentElement()->removeChildNode(headless->head());
    apply(*headless, {}, true);
    EXPECT_EQ(styleOf(*headless, "p"), "(none)");
}

TEST(HeadCSSInlining, ADocumentWithoutABodyIsLeftWhole) {
    auto bodiless = HTMLDocument::documentWithString("<head><style>p { y: 2; }</style></head><p>t</p>");
    bodiless->documentElement()->appendNode(bodiless->body()->firstChild());
    bodiless->documentElement()->removeChildNode(bodiless->body());
    ASSERT_EQ(bodiless->body(), nullptr);
    const std::string before = zv::html::serializeNode(*bodiless);
    apply(*bodiless, {}, true);
    EXPECT_EQ(zv::html::serializeNode(*bodiless), before);
    apply(*HTMLDocument::create(), {"("}, true);
}

}  // namespace
