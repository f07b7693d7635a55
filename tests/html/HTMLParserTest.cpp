// What the html5lib corpus does not reach: the public entry points around the
// tree builder (innerHTML, documentWithString, byte input), error collection,
// very deep documents, and serialize-then-reparse stability.
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>
#include "HTMLTreeDump.h"

#include <gtest/gtest.h>

#include <string>

using namespace zv::html;

namespace {

// How each context shapes a fragment is the tree-construction corpus's; what
// innerHTML adds: scripting is off, so <noscript> content is markup, and CDATA
// sections are open from the first token of a foreign context.
TEST(HTMLParserFragments, InnerHTMLParsesWithoutScriptingInTheContextsNamespace) {
    Ref<HTMLElement> noscript = HTMLElement::create("noscript");
    noscript->setInnerHTML("<b>x");
    EXPECT_EQ(dumpTree(*noscript), "| <b>\n|   \"x\"\n");
    Ref<HTMLElement> path = HTMLElement::create("path", Namespace::SVG);
    path->setInnerHTML("<![CDATA[a<b>]]>");
    EXPECT_EQ(dumpTree(*path), "| \"a<b>\"\n");
}

// The context's document gives the quirks mode and any form around it; the
// element stays where it is and only its children change.
TEST(HTMLParserFragments, InnerHTMLReplacesChildrenInTheContextsDocument) {
    struct Case {
        const char* document;  // null: a detached <div>
        const char* context;
        const char* html;
        const char* children;
    };
    const Case cases[] = {
        {"<div><p>old</p>text</div>", "div", "<i>new</i>", "<i>new</i>"},
        {"<div></div>", "div", "<p><table></table>", "<p><table></table></p>"},
        {"<!DOCTYPE html><div></div>", "div", "<p><table></table>", "<p></p><table></table>"},
        {"<form><div></div></form>", "form > div", "<form id=inner><input></form>", "<input>"},
        {nullptr, "", "<form id=inner><input></form>", "<form id=\"inner\"><input></form>"},
    };
    for (const Case& c : cases) {
        Ref<HTMLDocument> document = HTMLDocument::documentWithString(c.document ? c.document : "");
        Ref<HTMLElement> context = c.document ? document->querySelector(c.context) : HTMLElement::create("div");
        ASSERT_TRUE(context) << c.document;
        HTMLNode* parent = context->parentNode();
        context->setInnerHTML(c.html);
        EXPECT_EQ(serializeChildren(*context), c.children) << c.document << " / " << c.html;
        EXPECT_EQ(context->parentNode(), parent);
    }
}

TEST(HTMLParserFragments, InnerHTMLOfATemplateFillsItsContents) {
    Ref<HTMLElement> tmpl = HTMLElement::create("template");
    tmpl->setInnerHTML("<tr><td>cell</td></tr>");
    EXPECT_FALSE(tmpl->hasChildNodes());
    ASSERT_TRUE(tmpl->templateContent());
    EXPECT_EQ(dumpTree(*tmpl->templateContent()), "| <tr>\n|   <td>\n|     \"cell\"\n");
    tmpl->setInnerHTML("<col>");
    EXPECT_EQ(dumpTree(*tmpl->templateContent()), "| <col>\n");
}

TEST(HTMLParserDocuments, DocumentWithStringBuildsHeadBodyAndTitle) {
    Ref<HTMLDocument> document = HTMLDocument::documentWithString("<title>  Mail   from\nBob </title><p>Hi");
    ASSERT_TRUE(document->head());
    ASSERT_TRUE(document->body());
    EXPECT_EQ(document->title(), "Mail from Bob");
    EXPECT_EQ(serializeChildren(*document->body()), "<p>Hi</p>");
    EXPECT_EQ(document->quirksMode(), HTMLQuirksMode::Quirks);

    // Empty input still has the three implied elements.
    Ref<HTMLDocument> empty = HTMLDocument::documentWithString("");
    EXPECT_EQ(dumpTree(*empty), "| <html>\n|   <head>\n|   <body>\n");
}

TEST(HTMLParserDocuments, DoctypeDecidesTheQuirksMode) {
    struct Case {
        const char* doctype;
        HTMLQuirksMode mode;
    };
    const Case cases[] = {
        {"<!DOCTYPE html>", HTMLQuirksMode::NoQuirks},
        {"<!doctype HTML system 'about:legacy-compat'>", HTMLQuirksMode::NoQuirks},
        {"<!DOCTYPE>", HTMLQuirksMode::Quirks},  // no name: force-quirks
        {"<!DOCTYPE svg>", HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html PUBLIC '-//W3C//DTD HTML 4.01//EN' 'http://www.w3.org/TR/html4/strict.dtd'>",
         HTMLQuirksMode::NoQuirks},
        {"<!DOCTYPE html PUBLIC '-//W3C//DTD HTML 4.01 Transitional//EN'>", HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html PUBLIC '-//W3C//DTD HTML 4.01 Transitional//EN' 'http://www.w3.org/TR/html4/loose.dtd'>",
         HTMLQuirksMode::LimitedQuirks},
        {"<!DOCTYPE html PUBLIC '-//w3c//dtd html 4.0 transitional//en'>", HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html PUBLIC '-//W3O//DTD W3 HTML Strict 3.0//EN//'>", HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html PUBLIC '-//W3O//DTD W3 HTML Strict 3.0//EN//x'>", HTMLQuirksMode::NoQuirks},
        {"<!DOCTYPE html PUBLIC '-//SoftQuad Software//DTD HoTMetaL PRO 6.0::19990601::extensions to HTML "
         "4.0//EN'>",
         HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html SYSTEM 'http://www.ibm.com/data/dtd/v11/ibmxhtml1-transitional.dtd'>",
         HTMLQuirksMode::Quirks},
        {"<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Frameset//EN' 'x'>", HTMLQuirksMode::LimitedQuirks},
        {"<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\" \"x\">", HTMLQuirksMode::LimitedQuirks},
    };
    for (const auto& c : cases)
        EXPECT_EQ(HTMLDocument::documentWithString(c.doctype)->quirksMode(), c.mode) << c.doctype;
}

TEST(HTMLParserDocuments, NoahsArkKeepsThreeIdenticalFormattingElements) {
    // Attribute order does not make entries different, so the earliest of the
    // four identical <b>s is not reopened after the </p>; the x=9 one is.
    Ref<HTMLDocument> document =
        HTMLDocument::documentWithString("<!DOCTYPE html><p><b x=1 y=2><b y=2 x=1><b x=1 y=2><b y=2 x=1><b x=9></p>z");
    EXPECT_EQ(serializeChildren(*document->body()),
              "<p><b x=\"1\" y=\"2\"><b y=\"2\" x=\"1\"><b x=\"1\" y=\"2\"><b y=\"2\" x=\"1\"><b x=\"9\">"
              "</b></b></b></b></b></p>"
              "<b y=\"2\" x=\"1\"><b x=\"1\" y=\"2\"><b y=\"2\" x=\"1\"><b x=\"9\">z</b></b></b></b>");
}

TEST(HTMLParserDocuments, EachParserParsesOnce) {
    HTMLParser parser("<p>x");
    Ref<HTMLDocument> first = parser.parseDocument();
    EXPECT_EQ(parser.parseDocument(), first);
    // The input went into the document; a fragment from the same parser is empty.
    Ref<HTMLElement> div = HTMLElement::create("div");
    EXPECT_FALSE(parser.parseFragment(*div)->hasChildNodes());
}

TEST(HTMLParserBytes, BytesAreDecodedInTheSniffedEncoding) {
    struct Case {
        std::string bytes;
        const char* transport;
        const char* fallback;
        const char* encoding;
        const char* body;
    };
    const Case cases[] = {
        // A byte order mark is used, and is not part of the text.
        {"\xEF\xBB\xBF<p>\xC3\xA9", "", "windows-1252", "UTF-8", "<p>\xC3\xA9</p>"},
        {std::string("\xFF\xFE<\0p\0>\0\xE9\0", 10), "", "windows-1252", "UTF-16LE", "<p>\xC3\xA9</p>"},
        // The transport's charset, a <meta> one or the default decodes the text.
        {"<meta charset=utf-8><p>\xB1", "iso-8859-2", "windows-1252", "ISO-8859-2", "<p>\xC4\x85</p>"},
        {"<meta charset=iso-8859-2><p>\xB1", "", "UTF-8", "ISO-8859-2", "<p>\xC4\x85</p>"},
        {"<p>\xE9\x80", "", "windows-1252", "windows-1252", "<p>\xC3\xA9\xE2\x82\xAC</p>"},
    };
    for (const Case& c : cases) {
        auto parser = HTMLParser::parserForBytes(c.bytes, c.transport, c.fallback);
        EXPECT_EQ(parser->encoding(), c.encoding) << c.bytes;
        EXPECT_EQ(serializeChildren(*parser->parseDocument()->body()), c.body) << c.bytes;
    }
}

TEST(HTMLParserBytes, TheParserKeepsItsOwnCopyOfTheInput) {
    std::string html = "<p>kept</p>";
    HTMLParser parser(html);
    html.assign(html.size(), 'x');
    EXPECT_EQ(serializeChildren(*parser.parseDocument()->body()), "<p>kept</p>");
}

// Depth of the last-child chain below `node`, and where it ends.
size_t lastChildDepth(const HTMLNode& node, const HTMLNode** deepest = nullptr) {
    size_t depth = 0;
    const HTMLNode* last = &node;
    for (const HTMLNode* n = node.lastChild(); n; n = n->lastChild()) {
        ++depth;
        last = n;
    }
    if (deepest) *deepest = last;
    return depth;
}

TEST(HTMLParserDeepNesting, HundredThousandLevelsParseAndFreeWithoutRecursion) {
    constexpr size_t kDepth = 100000;
    std::string divs;
    for (size_t i = 0; i < kDepth; ++i) divs += "<div>";
    divs += "x";
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(divs);
    EXPECT_EQ(lastChildDepth(*document->body()), kDepth + 1);  // the divs and the text

    std::string bolds;
    for (size_t i = 0; i < kDepth; ++i) bolds += "<b>";
    bolds += "x</p>y";
    document = HTMLDocument::documentWithString(bolds);
    EXPECT_EQ(lastChildDepth(*document->body()), kDepth + 1);

    // Tables and formatting elements nested deep.
    std::string tables;
    for (size_t i = 0; i < 20000; ++i) tables += "<table><tr><td><b><i>";
    tables += "x";
    document = HTMLDocument::documentWithString(tables);
    EXPECT_EQ(lastChildDepth(*document->body()), 20000u * 6 + 1);

    // The adoption agency moving a subtree 50,000 deep.
    std::string misnested = "<b>";
    for (size_t i = 0; i < 50000; ++i) misnested += "<div>";
    misnested += "</b>x";
    document = HTMLDocument::documentWithString(misnested);
    const HTMLNode* deepest = nullptr;
    EXPECT_GT(lastChildDepth(*document->body(), &deepest), 50000u);
    ASSERT_TRUE(deepest->isText());
    EXPECT_EQ(static_cast<const HTMLText*>(deepest)->data(), "x");
}

TEST(HTMLParserErrors, CollectedOnlyWhenAskedFor) {
    const char* html = "<p>unclosed <b>bold</p></i><div id=a id=b>";
    HTMLParser quiet(html);
    quiet.parseDocument();
    EXPECT_TRUE(quiet.parseErrors().empty());

    HTMLParserOptions options;
    options.collectErrors = true;
    HTMLParser loud(html, options);
    Ref<HTMLDocument> document = loud.parseDocument();
    const auto& errors = loud.parseErrors();
    auto has = [&](std::string_view code) {
        for (const auto& e : errors)
            if (e.code == code) return true;
        return false;
    };
    EXPECT_TRUE(has("missing-doctype"));           // tree construction
    EXPECT_TRUE(has("duplicate-attribute"));       // tokenizer
    EXPECT_TRUE(has("unexpected-end-tag"));        // the stray </i>
    EXPECT_TRUE(has("eof-with-unclosed-elements"));
    for (const auto& e : errors) {
        if (e.code == "duplicate-attribute") {
            EXPECT_EQ(e.line, 1u);
        }
    }
    // Errors do not change the tree.
    EXPECT_EQ(dumpTree(*document), dumpTree(*HTMLDocument::documentWithString(html)));
}

TEST(HTMLParserRoundTrip, ReparsingTheSerializationGivesTheSameTree) {
    const char* inputs[] = {
        "<b><i>x</b>y</i>z",
        "<table>text<tr><td>cell<td>two</table>after",
        "<pre>\nfirst newline dropped</pre><textarea>\nt</textarea><listing>\nl</listing>",
        "<svg viewBox='0 0 1 1'><foreignObject><p>x</p></foreignObject><use xlink:href='#a'/></svg>",
        "<math><mi>x</mi><annotation-xml encoding='text/html'><div>y</div></annotation-xml></math>",
        "<template><tr><td>x</td></tr></template><p>a<p>b",
        "<!DOCTYPE html><!-- c --><select><option selected>x<option>y</select>",
        "<a href=1><div><a href=2>nested</a></div></a>",
        "<ul><li>one<li>two</ul><dl><dt>t<dd>d</dl>",
        "<p>1 &lt; 2 &amp; 3&nbsp;4</p><script>if (a < b) {}</script><style>a>b{}</style>",
    };
    for (const char* input : inputs) {
        Ref<HTMLDocument> first = HTMLDocument::documentWithString(input);
        const std::string serialized = serializeChildren(*first);
        Ref<HTMLDocument> second = HTMLDocument::documentWithString(serialized);
        EXPECT_EQ(dumpTree(*second), dumpTree(*first)) << input << "\nserialized: " << serialized;
    }
}

}  // namespace
