// Serialization rules of the HTML standard on hand-built trees.
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

using namespace zv::html;

namespace {

Ref<HTMLElement> withText(std::string_view name, std::string text, Namespace ns = Namespace::HTML) {
    auto e = HTMLElement::create(name, ns);
    e->appendNode(HTMLText::create(std::move(text)));
    return e;
}

TEST(HTMLSerializer, EscapesTextAndAttributeValuesDifferently) {
    auto p = withText("p", "a & b < c > d \" ' \xC2\xA0 é");
    p->setAttribute("title", "x & y \" < > ' \xC2\xA0");
    EXPECT_EQ(p->outerHTML(),
              "<p title=\"x &amp; y &quot; &lt; &gt; ' &nbsp;\">"
              "a &amp; b &lt; c &gt; d \" ' &nbsp; é</p>");
}

TEST(HTMLSerializer, RawTextElementsAreNotEscaped) {
    for (auto name : {"style", "script", "xmp", "iframe", "noembed", "noframes", "plaintext"})
        EXPECT_EQ(withText(name, "a<b&c")->innerHTML(), "a<b&c") << name;
    EXPECT_EQ(withText("noscript", "a<b")->innerHTML(), "a&lt;b");
    EXPECT_EQ(withText("textarea", "a<b")->innerHTML(), "a&lt;b");
    // Only HTML elements of those names: an SVG <style> escapes.
    EXPECT_EQ(withText("style", "a<b", Namespace::SVG)->innerHTML(), "a&lt;b");
}

TEST(HTMLSerializer, VoidElementsHaveNoEndTagAndNoChildren) {
    auto div = HTMLElement::create("div");
    for (auto name : {"br", "img", "input", "hr", "meta", "link", "wbr", "col", "area", "embed",
                      "source", "track", "param", "base", "basefont", "bgsound", "frame", "keygen"})
        div->appendNode(HTMLElement::create(name));
    EXPECT_EQ(div->innerHTML(),
              "<br><img><input><hr><meta><link><wbr><col><area><embed><source><track>"
              "<param><base><basefont><bgsound><frame><keygen>");
    // A void element given children by the DOM still serializes as void.
    auto br = HTMLElement::create("br");
    br->appendNode(HTMLText::create("lost"));
    EXPECT_EQ(br->outerHTML(), "<br>");
    // The same names outside HTML are ordinary.
    EXPECT_EQ(HTMLElement::create("br", Namespace::SVG)->outerHTML(), "<br></br>");
}

TEST(HTMLSerializer, ForeignAttributesUseTheirPrefixes) {
    auto svg = HTMLElement::create("svg", Namespace::SVG);
    svg->appendAttribute({"xlink", "http://www.w3.org/1999/xlink", AttributeNamespace::XMLNS});
    svg->appendAttribute({"xmlns", "http://www.w3.org/2000/svg", AttributeNamespace::XMLNS});
    svg->appendAttribute({"lang", "en", AttributeNamespace::XML});
    auto use = HTMLElement::create("use", Namespace::SVG);
    use->appendAttribute({"href", "#a", AttributeNamespace::XLink});
    svg->appendNode(use);
    svg->appendNode(HTMLElement::create("foreignObject", Namespace::SVG));
    EXPECT_EQ(svg->outerHTML(),
              "<svg xmlns:xlink=\"http://www.w3.org/1999/xlink\" xmlns=\"http://www.w3.org/2000/svg\" "
              "xml:lang=\"en\"><use xlink:href=\"#a\"></use><foreignObject></foreignObject></svg>");
}

TEST(HTMLSerializer, CommentsDoctypeAndDocument) {
    auto doc = HTMLDocument::create();
    doc->appendNode(HTMLDocumentType::create("html", "ignored-public", "ignored-system"));
    doc->appendNode(HTMLComment::create(" c "));
    auto html = HTMLElement::create("html");
    html->appendNode(HTMLElement::create("head"));
    html->appendNode(HTMLElement::create("body"));
    doc->appendNode(html);
    EXPECT_EQ(serializeNode(*doc), "<!DOCTYPE html><!-- c --><html><head></head><body></body></html>");
    EXPECT_EQ(doc->innerHTML(), serializeNode(*doc));
    EXPECT_EQ(serializeNode(*HTMLComment::create("x")), "<!--x-->");
}

TEST(HTMLSerializer, TextNodeOnItsOwnEscapesByItsParent) {
    auto style = withText("style", "a>b");
    auto p = withText("p", "a>b");
    EXPECT_EQ(style->firstChild()->outerHTML(), "a>b");
    EXPECT_EQ(p->firstChild()->outerHTML(), "a&gt;b");
}

}  // namespace
