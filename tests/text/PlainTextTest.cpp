// Mail HTML to plain text: plainText, and the passes of its pipeline one at a
// time. Expected texts are worked out from the pipeline's rules: citations,
// separator, removal, break cleaning, the rewrites of the serialized
// markup, then the text content.
#include "PlainTextPasses.h"

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>
#include <zv/text/SquireCleanup.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace zv::html;
using zv::plainText;

// The body of a document parsed from `html`; documents keep their trees alive.
struct Page {
    explicit Page(std::string_view html) : document(HTMLDocument::documentWithString(html)) {}
    HTMLElement& body() const { return *document->body(); }
    Ref<HTMLDocument> document;
};

std::string bodyText(std::string_view html) { return plainText(Page(html).body()); }

Ref<HTMLDocumentFragment> fragment(std::string_view html) {
    HTMLParser parser(html);
    Ref<HTMLElement> context = HTMLElement::create("body");
    return parser.parseFragment(*context);
}

// The first element of a fragment, for the passes that take one element.
Ref<HTMLElement> element(std::string_view html) {
    Ref<HTMLDocumentFragment> nodes = fragment(html);
    return Ref<HTMLElement>(nodes->firstElementChild());
}

TEST(PlainTextQuotes, EachLevelAddsAMarkerAndParagraphTrimmingEatsTheSpace) {
    // The citation pass puts "> " before the text; the break cleaning that
    // runs later trims the paragraph's text nodes, that one included.
    EXPECT_EQ(bodyText("<blockquote type=cite><p>a</p></blockquote>"), ">a");
    EXPECT_EQ(bodyText("<blockquote type=cite><p>a</p>"
                       "<blockquote type=cite><p>b</p>"
                       "<blockquote type=cite><p>c</p></blockquote></blockquote></blockquote>"),
              ">a\n>>b\n>>>c");
    // Text already starting with ">" gets ">" alone; spaces inside the text stay.
    EXPECT_EQ(bodyText("<blockquote type=cite><p>&gt; said</p></blockquote>"), ">> said");
    // Leading white space is not ">": a full marker, then trimmed.
    EXPECT_EQ(bodyText("<blockquote type=cite><p> &gt;x</p></blockquote>"), ">>x");
    // A paragraph starting with an element: the marker is trimmed, the
    // element stops the trimming.
    EXPECT_EQ(bodyText("<blockquote type=cite><p><b>bold</b> text </p></blockquote><p>after</p>"),
              ">bold text \nafter");
    // Only type=cite blockquotes quote (type is matched case-insensitively in HTML).
    EXPECT_EQ(bodyText("<blockquote><p>a</p></blockquote><blockquote type=CITE><p>b</p></blockquote>"), "a\n>b");
}

TEST(PlainTextQuotes, OnlyEmptyBreakDivsOfACitationGetAMarker) {
    // Div lines with text get none; the empty line keeps its "> " since
    // divs are not break-cleaned.
    EXPECT_EQ(bodyText("<blockquote type=cite><div>one</div><div><br></div><div>two</div></blockquote>"),
              "one\n\n> \ntwo");
    // The marker goes after the break, inside the element holding it.
    Ref<HTMLElement> quote = element("<blockquote type=cite><div><span><br></span></div></blockquote>");
    zv::preprocessBlockquoteCitations(*quote);
    EXPECT_EQ(quote->innerHTML(), "<div><span><br>&gt; </span></div>");
    // The outer level's marker makes the div no longer an empty break for the
    // inner level: one marker, whatever the depth.
    Ref<HTMLElement> nested =
        element("<blockquote type=cite><blockquote type=cite><div><br></div></blockquote></blockquote>");
    zv::preprocessBlockquoteCitations(*nested);
    zv::preprocessBlockquoteCitations(*nested->querySelector("blockquote"));
    EXPECT_EQ(nested->innerHTML(), "<blockquote type=\"cite\"><div><br>&gt; </div></blockquote>");
}

TEST(PlainTextSeparator, ParagraphBodiesGetALineFeedBeforeTheDashesWhichRunIntoTheNextBlock) {
    // A span separator: its text, the line feed before the inserted br, "----".
    EXPECT_EQ(bodyText("<p>Reply<span id=zv-reply-separator>On Mon, A wrote:</span></p><p>x</p>"),
              "ReplyOn Mon, A wrote:\n----\nx");
    // A div separator adds the line feed of its closing tag; the quote that
    // follows runs on after the dashes.
    EXPECT_EQ(bodyText("<p>Reply</p><div id=zv-reply-separator>On Mon, A wrote:</div>"
                       "<blockquote type=cite><p>x</p></blockquote>"),
              "Reply\nOn Mon, A wrote:\n\n---->x");
    // The separator as the last child: br and dashes are appended after it.
    EXPECT_EQ(bodyText("<div><span id=zv-reply-separator>sep</span></div>"), "sep\n----");
    // Only the first element with the id counts.
    EXPECT_EQ(bodyText("<p><i id=zv-reply-separator>1</i></p><p><i id=zv-reply-separator>2</i></p>"), "1\n----\n2");
    // br and "----" go between the separator and its next sibling; nothing
    // ends the dashes' line before the paragraph's text.
    EXPECT_EQ(bodyText("<div id=zv-reply-separator>s</div><p>next</p>"), "s\n\n----next");
}

TEST(PlainTextSeparator, NoteBodiesGetNoLineFeedForTheBreak) {
    EXPECT_EQ(bodyText("<div zv-note>Reply <span id=zv-reply-separator>On Mon</span></div>"), "Reply On Mon----");
    // A closing div between separator and dashes gives the line break.
    EXPECT_EQ(bodyText("<div zv-note>Reply</div><div id=zv-reply-separator>On Mon</div>"
                       "<blockquote type=cite><div>x</div></blockquote>"),
              "Reply\nOn Mon\n----x");
}

TEST(PlainTextBreaks, TrailingBreaksGoAndTextIsTrimmedUpToTheFirstOtherElement) {
    EXPECT_EQ(bodyText("<p>text<br><br></p><p>next</p>"), "text\nnext");
    EXPECT_EQ(bodyText("<p>text<br><b>x</b><br></p><p>next</p>"), "text\nx\nnext");
    // Trimming stops at <b>: the space before it goes, the ones after stay.
    EXPECT_EQ(bodyText("<p>  lead <b>b</b>  tail  </p><p>n</p>"), "leadb  tail  \nn");
    // An empty paragraph line survives as an empty line.
    EXPECT_EQ(bodyText("<p>a</p><p><br></p><p>b</p>"), "a\n\nb");
    // White-space-only text is neither trimmed nor a reason to keep a break.
    EXPECT_EQ(bodyText("<p>x<br> <br></p><p>y</p>"), "x \ny");
    // A break kept by cleaning but followed only by white space before </p>
    // is dropped by the rewrite of the markup.
    EXPECT_EQ(bodyText("<p><b>x</b><br> </p><p>y</p>"), "x\ny");
}

TEST(PlainTextBreaks, CleanBreaksOnItsOwn) {
    struct Case {
        const char* html;
        const char* after;
    };
    const Case cases[] = {
        {"<p>text<br><br></p>", "text"},
        {"<p>text<br><b>x</b><br></p>", "text<br><b>x</b>"},
        {"<div>a<span>s</span><br>b<br></div>", "a<span>s</span><br>b"},
        {"<p> a <br> b <br>\n</p>", "a<br>b\n"},
        {"<p><br></p>", ""},
        {"<p><!-- c --><br>x</p>", "<!-- c --><br>x"},
        {"<p>x<BR></p>", "x"},
        {"<div><span>s</span> <br> </div>", "<span>s</span> <br> "},
        {"<p></p>", ""},
    };
    for (const Case& c : cases) {
        Ref<HTMLElement> block = element(c.html);
        zv::cleanBreaks(*block);
        EXPECT_EQ(block->innerHTML(), c.after) << c.html;
    }
}

TEST(PlainTextBreaks, TheDivPassIsCleanBreaksOnEveryDiv) {
    Ref<HTMLElement> root = element("<section><div>a<br></div><p>b<br><i>i</i><br></p><div><div> c </div><br></div></section>");
    zv::preprocessBreaksInDIVs(*root);
    EXPECT_EQ(root->innerHTML(), "<div>a</div><p>b<br><i>i</i><br></p><div><div>c</div></div>");
    zv::preprocessBreaksInPs(*root);
    EXPECT_EQ(root->querySelector("p")->innerHTML(), "b<br><i>i</i>");
}

TEST(PlainTextBreaks, EmptyBreakDivs) {
    EXPECT_TRUE(zv::isEmptyBreakDIV(*element("<div><br></div>")));
    EXPECT_TRUE(zv::isEmptyBreakDIV(*element("<div><span><br></span></div>")));
    EXPECT_FALSE(zv::isEmptyBreakDIV(*element("<div><br><br></div>")));
    EXPECT_FALSE(zv::isEmptyBreakDIV(*element("<div> <br></div>")));
    EXPECT_FALSE(zv::isEmptyBreakDIV(*element("<div><span><br><br></span></div>")));
    EXPECT_FALSE(zv::isEmptyBreakDIV(*element("<div>x</div>")));
    EXPECT_FALSE(zv::isEmptyBreakDIV(*element("<div></div>")));
}

TEST(PlainTextLines, ParagraphBodies) {
    // Closing p and div tags end lines, a line feed already there is taken
    // into the one written, and every br starts a line.
    EXPECT_EQ(bodyText("<div>a</div>\n<div>b</div>"), "a\nb");
    EXPECT_EQ(bodyText("<div>a<br>b<br>c</div>"), "a\nb\nc");
    EXPECT_EQ(bodyText("<p>a</p><p>b</p>"), "a\nb");
    // An "empty" div of no-break spaces is a line holding a space.
    EXPECT_EQ(bodyText("<div><div>one</div><div>&nbsp;</div><div>two<br></div></div>"), "one\n \ntwo");
    // Inline markup does not break lines.
    EXPECT_EQ(bodyText("<div>a <b>b</b> <a href=x>c</a></div>"), "a b c");
    // The rewrite looks for the markup "<br>": a br with attributes, as mail
    // programs write <br clear="all">, starts no line.
    EXPECT_EQ(bodyText("<div>a<br clear=all>b<BR>c<br class=x>d</div>"), "ab\ncd");
}

TEST(PlainTextLines, NoteBodies) {
    EXPECT_EQ(bodyText("<div zv-note><div>one</div><div>&nbsp;</div><div>two<br></div></div>"), "one\n\ntwo");
    EXPECT_EQ(bodyText("<div zv-note></div><div>a</div><div></div><div>b</div>"), "a\n\nb");
    // Neither paragraphs nor breaks end lines in a note body.
    EXPECT_EQ(bodyText("<div zv-note><p>a<br>b</p><p>c</p></div>"), "abc");
    // The marker is found anywhere below the element.
    EXPECT_EQ(bodyText("<section><div><div zv-note=yes>x</div></div></section><p>y</p>"), "x\n\ny");
}

TEST(PlainTextLines, TheRewritesOnTheirOwn) {
    Ref<HTMLElement> div = element("<div><p>a<br> \n</p><div>b</div>\n<br></div>");
    const std::string before = div->outerHTML();
    EXPECT_EQ(zv::plainTextForParagraphs(*div)->innerHTML(), "<div><p>a</p>\n<div>b</div>\n\n<br></div>\n");
    EXPECT_EQ(zv::plainTextForDivs(*div)->innerHTML(), "<div><p>a<br> \n</p><div>b</div>\n<br></div>\n");
    EXPECT_EQ(div->outerHTML(), before);

    // Attributes of an empty line survive; several no-break spaces are still empty.
    Ref<HTMLElement> note = element("<div><div class=\"x\">&nbsp;&nbsp;</div><div></div></div>");
    EXPECT_EQ(zv::plainTextForDivs(*note)->innerHTML(),
              "<div><div class=\"x\"><br></div>\n<div><br></div>\n</div>\n");
}

TEST(PlainTextLines, FinalPreprocessCleansTheReceiverAndPicksTheVariant) {
    Ref<HTMLElement> body = element("<div><p>a<br></p><div>b<br>c</div></div>");
    Ref<HTMLElement> lines = zv::finalPreprocess(*body);
    EXPECT_EQ(body->innerHTML(), "<p>a</p><div>b<br>c</div>");
    EXPECT_EQ(lines->innerHTML(), "<div><p>a</p>\n<div>b\n<br>c</div>\n</div>\n");

    Ref<HTMLElement> note = element("<div><div zv-note>x<br>y</div></div>");
    EXPECT_EQ(zv::finalPreprocess(*note)->innerHTML(), "<div><div zv-note=\"\">x<br>y</div>\n</div>\n");
}

TEST(PlainTextContent, HiddenElementsGiveNoText) {
    Ref<HTMLDocument> page = HTMLDocument::documentWithString(
        "<html><head><title>Title</title><style>p { color: red }</style></head>"
        "<body><script>var secret;</script><p>shown</p><style>.x{}</style>"
        "<svg><script>svg script</script><style>svg style</style></svg>"
        "<svg><script><script>nested</script></script></svg></body></html>");
    EXPECT_EQ(plainText(*page->documentElement()), "shown");
}

TEST(PlainTextContent, InvisibleCharactersTabsAndTheEnds) {
    EXPECT_EQ(bodyText("<p>a&nbsp;b\u200Bc\u200Cd\uFFFCe\tf</p>"), "a bcdef");
    // Cleanup comes before trimming: a zero-width space does not shield a space.
    EXPECT_EQ(bodyText("<div>\u200B x&nbsp;\u200C</div>"), "x");
    // Unicode white space at both ends goes (ideographic space, em space).
    EXPECT_EQ(bodyText("<div>\u3000</div><div>x\u2003</div>"), "x");
    EXPECT_EQ(bodyText("<div>\t</div><div>\ty\t</div>"), "y");
    EXPECT_EQ(bodyText(""), "");
    EXPECT_EQ(plainText(*element("<div></div>")), "");
    // Characters joined by ZWJ (not in the list) are kept.
    EXPECT_EQ(bodyText("<p>a\u200Db</p>"), "a\u200Db");
}

TEST(PlainTextContent, TheCallersTreeIsNotChanged) {
    Page page("<blockquote type=cite><p>q<br><br></p></blockquote><div id=zv-reply-separator>s</div>"
              "<script>x</script><p>t<br></p>");
    const std::string before = page.document->outerHTML();
    EXPECT_EQ(plainText(page.body()), ">q\ns\n\n----t");
    EXPECT_EQ(page.document->outerHTML(), before);
}

TEST(PlainTextContent, TheReceiverItselfIsNotACitation) {
    // Queries look below the element: a citation given directly is not quoted.
    EXPECT_EQ(plainText(*element("<blockquote type=cite><p>a</p></blockquote>")), "a");
    // Nor is a script or style element given directly removed.
    EXPECT_EQ(plainText(*fragment("<script>var a;</script><style>p{}</style><div>b</div>")), "var a;p{}b");
}

TEST(PlainTextFragments, TopLevelNodesRunTogether) {
    EXPECT_EQ(plainText(*fragment("<div>a</div><div>b</div>")), "ab");
    EXPECT_EQ(plainText(*fragment("<div>a</div>\n  <div>b</div>")), "ab");
    // Text at the top is cleaned and trimmed; comments give nothing.
    EXPECT_EQ(plainText(*fragment("  hello\u200B <!-- c --><p>a<br>b</p> world&nbsp;")), "helloa\nbworld");
    // An element with no text still counts, as nothing.
    EXPECT_EQ(plainText(*fragment("<div></div><br><p>x</p>")), "x");
    EXPECT_EQ(plainText(*fragment("")), "");
    // Each element is its own pipeline: a quote inside one is quoted.
    EXPECT_EQ(plainText(*fragment("<div><blockquote type=cite><p>q</p></blockquote></div><p>r</p>")), ">qr");
}

TEST(PlainTextConcurrency, ThreadsEachWithTheirOwnTree) {
    const std::string html =
        "<blockquote type=cite><p>a</p></blockquote><div id=zv-reply-separator>s</div><p>t<br></p>";
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&, i] {
            for (int n = 0; n < 50; ++n) results[i] = bodyText(html);
        });
    for (std::thread& t : threads) t.join();
    for (const std::string& r : results) EXPECT_EQ(r, ">a\ns\n\n----t");
}

TEST(SquireCleanup, ReplacesAndDeletesTheFourCharactersOnly) {
    using zv::squireCleanup;
    EXPECT_EQ(squireCleanup("a\u00A0\u00A0b"), "a  b");
    EXPECT_EQ(squireCleanup("\u200Cx\u200By\uFFFC"), "xy");
    EXPECT_EQ(squireCleanup("\u200D\u2060\uFEFF\t"), "\u200D\u2060\uFEFF\t");
    EXPECT_EQ(squireCleanup("caf\u00E9 \u20AC \uFFFD"), "caf\u00E9 \u20AC \uFFFD");
    // Malformed UTF-8 passes through as bytes.
    EXPECT_EQ(squireCleanup("\xC2 \xE2\x80 \xEF\xBF"), "\xC2 \xE2\x80 \xEF\xBF");
    EXPECT_EQ(squireCleanup(""), "");
}

}  // namespace
