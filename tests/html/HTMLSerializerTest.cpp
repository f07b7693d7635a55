// Serialization rules of the HTML standard on hand-built trees.
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

#include <tuple>

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

// Text in the raw text elements is written as it is, by the element and by
// the text node on its own; only HTML elements of those names: an SVG <style> escapes.
TEST(HTMLSerializer, RawTextElementsAreNotEscaped) {
    const std::tuple<const char*, Namespace, const char*> cases[] = {
        {"style", Namespace::HTML, "a<b&c>"},    {"script", Namespace::HTML, "a<b&c>"},
        {"xmp", Namespace::HTML, "a<b&c>"},      {"iframe", Namespace::HTML, "a<b&c>"},
        {"noembed", Namespace::HTML, "a<b&c>"},  {"noframes", Namespace::HTML, "a<b&c>"},
        {"plaintext", Namespace::HTML, "a<b&c>"}, {"noscript", Namespace::HTML, "a&lt;b&amp;c&gt;"},
        {"textarea", Namespace::HTML, "a&lt;b&amp;c&gt;"}, {"p", Namespace::HTML, "a&lt;b&amp;c&gt;"},
        {"style", Namespace::SVG, "a&lt;b&amp;c&gt;"},
    };
    for (const auto& [name, ns, serialized] : cases) {
        auto e = withText(name, "a<b&c>", ns);
        EXPECT_EQ(e->innerHTML(), serialized) << name;
        EXPECT_EQ(e->firstChild()->outerHTML(), serialized) << name;
    }
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

}  // namespace
