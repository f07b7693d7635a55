#include <zv/text/DOMConstruction.h>

#include <zv/html/HTMLDocument.h>

#include <gtest/gtest.h>

namespace {

using zv::html::HTMLElement;

TEST(DOMConstruction, AddElementSetsClassAndIdThenAttachesThenCallsBack) {
    auto document = zv::html::HTMLDocument::documentWithString("<body><p>first</p>");
    HTMLElement* body = document->body();
    bool called = false;
    HTMLElement* div = zv::addElement(*body, "div", "note", "n1", [&](HTMLElement& element) {
        called = true;
        // Already in the tree, so it can be filled in place.
        EXPECT_EQ(element.parentNode(), body);
        zv::addElement(element, "span", [](HTMLElement& span) { span.setTextContent("inside"); });
    });
    ASSERT_NE(div, nullptr);
    EXPECT_TRUE(called);
    EXPECT_EQ(body->lastChild(), div);
    EXPECT_EQ(div->outerHTML(), "<div class=\"note\" id=\"n1\"><span>inside</span></div>");
}

TEST(DOMConstruction, EmptyIdIsNotSetAndAbsentClassIsEmpty) {
    auto parent = HTMLElement::create("div");
    HTMLElement* child = zv::addElement(*parent, "p", {}, "");
    EXPECT_EQ(child->outerHTML(), "<p class=\"\"></p>");
    EXPECT_FALSE(child->hasAttribute("id"));

    HTMLElement* plain = zv::addElement(*parent, "hr");
    EXPECT_TRUE(plain->attributes().empty());
    EXPECT_EQ(parent->childNodesCount(), 2u);
}

TEST(DOMConstruction, NewWithTagMakesADetachedElementAndCallsBack) {
    zv::html::Ref<HTMLElement> image = zv::newWithTag("img", "logo", "", [](HTMLElement& element) {
        EXPECT_EQ(element.parentNode(), nullptr);
        zv::setSrc(element, "cid:logo@x");
    });
    EXPECT_EQ(image->parentNode(), nullptr);
    EXPECT_EQ(image->outerHTML(), "<img class=\"logo\" src=\"cid:logo@x\">");
    EXPECT_EQ(*zv::src(*image), "cid:logo@x");

    zv::html::Ref<HTMLElement> bare = zv::newWithTag("td");
    EXPECT_EQ(bare->outerHTML(), "<td></td>");
    EXPECT_EQ(zv::src(*bare), nullptr);
}

TEST(DOMConstruction, AParentThatCannotHaveChildrenGetsNone) {
    auto document = zv::html::HTMLDocument::documentWithString("<p>text</p>");
    zv::html::HTMLNode* text = document->body()->firstChild()->firstChild();
    ASSERT_TRUE(text->isText());
    bool called = false;
    EXPECT_EQ(zv::addElement(*text, "b", [&](HTMLElement&) { called = true; }), nullptr);
    EXPECT_FALSE(called);
    EXPECT_FALSE(text->hasChildNodes());
}

}  // namespace
