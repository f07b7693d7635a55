#include <zv/text/TextSnippet.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace zv;

struct Case {
    std::string html;
    long maxLength;
    unsigned options;
    std::optional<std::string> expected;
};

void expectSnippets(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "html: " << c.html << " max: " << c.maxLength << " options: " << c.options);
        EXPECT_EQ(textSnippetForHTML(c.html, c.maxLength, c.options), c.expected);
    }
}

constexpr unsigned kWholeWords = ZVTextSnippetKeepWholeWords;
constexpr unsigned kInvisible = ZVTextSnippetInvisibleSpacesAsWhitespace;
constexpr unsigned kBreaks = ZVTextSnippetPreserveLineBreaks;

// Which text is collected: tags, visibility, markup the tokenizer reads raw.
TEST(TextSnippet, MarkupDecidesWhatIsCollected) {
    const char* page = "<html><head><title>Subject</title><meta charset=utf-8>Head text</head><body>Body</body>";
    expectSnippets({
        {"<p>Hello</p><p>World</p>", 0, 0, "Hello World"},
        // p is not in the short list kept when preserving line breaks.
        {"<p>Hello</p><p>World</p>", 0, kBreaks, "HelloWorld"},
        {"<div>a</div><div>b</div>", 0, 0, "a b"},
        {"<div>a</div><div>b</div>", 0, kBreaks, "a\nb\n"},
        {"one<br>two<img src=x>three<hr>four", 0, 0, "onetwothreefour"},
        // A stray </br> is an end tag in the list, so it does separate.
        {"one</br>two", 0, 0, "one two"},
        {"<table><tr><td>a</td><td>b</td></tr></table>c", 0, 0, "ab c"},
        {"a<script>var x = '<b>no</b>';</script><style>p { }</style>b", 0, 0, "ab"},
        {"a<div style='display: None !important'>x<b>y</b></div>b", 0, 0, "ab"},
        {"a<span style='VISIBILITY:hidden'>x</span>b", 0, 0, "ab"},
        {"a<span style='opacity:0'>x<span style='opacity:1'>y</span></span>b", 0, 0, "ab"},
        // Only the exact text "0" hides.
        {"a<span style='opacity:0.0'>x</span><span style='opacity:0%'>y</span>", 0, 0, "axy"},
        // A pre inherits and is never tested; display:block elsewhere is visible.
        {"a<pre style='display:none'>x</pre><p style='display:block'>y</p>", 0, 0, "axy"},
        // Hidden state ends with the element, not earlier and not later.
        {"<div style='display:none'><div>x</div>y</div>z", 0, 0, "z"},
        {"<div style='display:none'>x</span>y</div>z", 0, 0, "z"},
        {"<script>x", 0, 0, std::nullopt},
        {page, 0, 0, "SubjectHead textBody"},
        {page, 0, ZVTextSnippetSkipTitle, "Head textBody"},
        {page, 0, ZVTextSnippetSkipHead, "Body"},
        // Script, style and the other raw-text elements hold no tags, only text up to their own end tag.
        {"<script>if (a<b) x();</script>visible", 0, 0, "visible"},
        {"<style>/* a<b */</style>visible", 0, 0, "visible"},
        {"<SCRIPT>document.write('</scr'+'ipt><b>')</Script >visible", 0, 0, "visible"},
        {"<title>a<b>&amp;</title>c", 0, 0, "a<b>&c"},
        {"<title>a<b>&amp;</title>c", 0, ZVTextSnippetSkipTitle, "c"},
        {"<textarea><p>x</p></textarea>y", 0, 0, "<p>x</p>y"},
        {"<xmp><i>x</i></xmp><iframe><b>y</b></iframe><noembed>z<</noembed>", 0, 0, "<i>x</i><b>y</b>z<"},
        {"<noframes><p>a</p></noframes><plaintext>b</plaintext><p>c", 0, 0, "<p>a</p>b</plaintext><p>c"},
        // Inside <svg> or <math> they are foreign elements, unless HTML comes back.
        {"<svg><title>a<b>b</b></title></svg>c", 0, 0, "abc"},
        {"<svg><foreignObject><style>a<b</style></foreignObject></svg>c", 0, 0, "c"},
        {"<math><mi><textarea><i>a</i></textarea></mi></math>", 0, 0, "<i>a</i>"},
        {"<svg><p><style>a<b</style></p></svg>c", 0, 0, "c"},
        // Malformed markup is taken as it comes; NUL goes as the tree builder drops it.
        {"</b></div>a</p>b<p>c", 0, 0, "a bc"},
        {"<div><span>a</div>b</span>", 0, 0, "a b"},
        {"<div<p>x", 0, 0, "x"},
        {std::string("<p>a\0b</p>", 10), 0, 0, "ab"},
        {std::string("<svg>a\0b</svg>", 14), 0, 0, "a\uFFFDb"},
        {std::string("<title>a\0b</title>", 18), 0, 0, "a\uFFFDb"},
    });
    std::string deep;
    for (int i = 0; i < 20000; ++i) deep += "<span>";
    for (int i = 0; i < 20000; ++i) deep += "</div>";
    deep += "end";
    EXPECT_EQ(textSnippetForHTML(deep, 0, 0), "end");
}

// How collected text is written: white space, invisible spaces, text-transform, references.
TEST(TextSnippet, CollectedTextIsCollapsedTransformedAndDecoded) {
    expectSnippets({
        {"  a   <b> b </b>\t\n c  ", 0, 0, "a b c"},
        {"<p> x </p>  <p>\n y</p>", 0, 0, "x y"},
        {"a\r\nb\x0B" "c", 0, 0, "a b c"},
        {"<pre>a\n\n  b</pre>", 0, 0, "a b"},
        {"<pre>a\n\n  b</pre>", 0, kBreaks, "a\nb"},
        // Not trimmed when line breaks are kept; leading white space never gets in.
        {"\n\n<div> x </div>", 0, kBreaks, "x \n"},
        {"a&nbsp;b", 0, 0, "a\u00A0b"},
        {"a&nbsp;b", 0, kInvisible, "a b"},
        {"a &nbsp; &nbsp;b", 0, kInvisible, "a b"},
        // U+200C joins the sequence before it, which is classed by its first character.
        {"x&zwnj;y", 0, 0, "x\u200Cy"},
        {"&zwnj;x", 0, 0, "\u200Cx"},
        {"&zwnj;x", 0, kInvisible, "x"},
        {"a&zwnj;&nbsp;&zwnj;&nbsp;b", 0, kInvisible, "a\u200C b"},
        {"a&zwnj;&nbsp;&zwnj;&nbsp;b", 0, 0, "a\u200C\u00A0\u200C\u00A0b"},
        {"<span style='text-transform:uppercase'>ab <b>cd</b> ef</span>", 0, 0, "AB cd EF"},
        {"<span style='text-transform: LowerCase'>AB Straße</span>", 0, 0, "ab straße"},
        // Full case mapping: one ß becomes two letters.
        {"<span style='text-transform:uppercase'>straße</span>", 0, 0, "STRASSE"},
        {"<span style='text-transform:capitalize'>hello WORLD, it's élan</span>", 0, 0, "Hello World, It's Élan"},
        {"<pre style='text-transform:uppercase'>ab</pre>", 0, 0, "ab"},
        {"<span style='text-transform:uppercase'><pre>ab</pre>cd</span>", 0, 0, "abCD"},
        {"<span style='text-transform:none'>Ab</span>", 0, 0, "Ab"},
        // References are decoded twice, the second time as in an attribute value.
        {"&amp;lt;b&amp;gt; &amp;amp;", 0, 0, "<b> &"},
        {"caf&eacute; &amp;eacute;", 0, 0, "café é"},
        {"&lt;p&gt;", 0, 0, "<p>"},
        {"?a=1&amp;param=2&amp;copy=4", 0, 0, "?a=1&param=2&copy=4"},
        {"&amp;copy 2024 &amp;notit", 0, 0, "\u00A9 2024 &notit"},
        {"&amp;copy;2024", 0, 0, "\u00A92024"},
        // No collected text gives nothing; a no-break space trimmed away gives "".
        {"", 0, 0, std::nullopt},
        {"<html><body> \n\t </body></html>", 0, 0, std::nullopt},
        {"<!-- comment --><!DOCTYPE html><img src=x>", 0, 0, std::nullopt},
        {"&nbsp;", 0, 0, ""},
    });
}

TEST(TextSnippet, TheLimitIsTestedBeforeEachStepSoOneUTF16UnitMayPass) {
    expectSnippets({
        {"abcdefgh", 5, 0, "abcdef"},
        {"abc", 3, 0, "abc"},
        {"abc defgh", 5, 0, "abc de"},
        {"abcdefgh ijk", 5, kWholeWords, "abcdefgh"},
        {"ab cd ef", 4, kWholeWords, "ab cd"},
        // No limit at zero or below.
        {"abcdefgh", 0, 0, "abcdefgh"},
        {"abcdefgh", -3, 0, "abcdefgh"},
        // A second white space past the limit stops at once, so no separator follows.
        {"<div>abcdef  </div>x", 6, kBreaks, "abcdef "},
        {"<div>abcdef </div>x", 6, kBreaks, "abcdef \n"},
        // The stop ends the walk across tags too.
        {"abc<b>def</b><i>ghi</i>", 4, 0, "abcde"},
        // Each emoji is two units: 0 → 2 → 4 > 3 stops.
        {"😀😀😀", 3, 0, "😀😀"},
        {"😀😀😀", 1, 0, "😀"},
        // e + COMBINING ACUTE is one step of two units, never cut apart.
        {"e\u0301e\u0301e\u0301", 2, 0, "e\u0301e\u0301"},
        {"ae\u0301", 1, 0, "ae\u0301"},
        // A flag is one sequence of four units.
        {"🇫🇷🇫🇷", 2, 0, "🇫🇷"},
        {"日本語のテキスト", 3, 0, "日本語の"},
        // A mark riding on a space goes with it.
        {"a \u0301 b", 0, 0, "a b"},
    });
}

TEST(TextSnippet, InstanceAndErrorFormsAgreeAndNeverReportAnError) {
    const std::string html = "<p>Hello</p> <b>there</b>";
    HTMLSnippetParser parser(html);
    std::error_code error = std::make_error_code(std::errc::invalid_argument);
    EXPECT_EQ(parser.extractTextWithMaxLength(0, 0, &error), "Hello there");
    EXPECT_FALSE(error);
    // Each call reads the text afresh.
    EXPECT_EQ(parser.textSnippetWithMaxLength(3, 0), "Hell");

    error = std::make_error_code(std::errc::invalid_argument);
    EXPECT_EQ(parser.textSnippetWithMaxLength(0, 0, &error), "Hello there");
    EXPECT_TRUE(error);  // left alone, by design

    error = std::make_error_code(std::errc::invalid_argument);
    EXPECT_EQ(extractTextFromHTML(html, 0, 0, &error), "Hello there");
    EXPECT_FALSE(error);
    EXPECT_EQ(extractTextFromHTML(html, 0, 0, nullptr), "Hello there");
}

TEST(TextSnippet, ThreadsGetTheSameSnippets) {
    const std::vector<std::string> inputs = {"<p>é\u0301 😀 text</p><div>more</div>", "<b style='text-transform:capitalize'>a b</b>",
                                             "<p style='display:none'>x</p>y&amp;amp;", "<pre>n\nm</pre>"};
    std::vector<std::optional<std::string>> expected;
    for (const auto& input : inputs) expected.push_back(textSnippetForHTML(input, 10, kInvisible));
    std::vector<std::thread> threads;
    std::vector<int> mismatches(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 200; ++round)
                for (size_t i = 0; i < inputs.size(); ++i)
                    if (textSnippetForHTML(inputs[i], 10, kInvisible) != expected[i]) ++mismatches[t];
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
