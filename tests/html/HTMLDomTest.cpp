// The DOM's mutation, cloning, text and lifetime rules, built by hand so the
// tests do not depend on the parser.
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include <gtest/gtest.h>

#include <thread>

using namespace zv::html;

namespace {

Ref<HTMLElement> el(std::string_view name) { return HTMLElement::create(name); }
Ref<HTMLText> text(std::string s) { return HTMLText::create(std::move(s)); }

std::string names(const HTMLNode& parent) {
    std::string out;
    for (HTMLNode* c : parent.childNodes()) out += (out.empty() ? "" : ",") + c->nodeName();
    return out;
}

TEST(HTMLDom, InsertAppendAndRemoveKeepSiblingLinksConsistent) {
    auto div = el("div");
    HTMLNode* a = div->appendNode(el("a"));
    HTMLNode* c = div->appendNode(el("c"));
    HTMLNode* b = div->insertNode(el("b"), c);
    div->prependNode(el("first"));
    EXPECT_EQ(names(*div), "first,a,b,c");
    EXPECT_EQ(b->previousSibling(), a);
    EXPECT_EQ(b->nextSibling(), c);
    EXPECT_EQ(div->lastChild(), c);
    EXPECT_EQ(div->indexOfChildNode(c), 3u);
    EXPECT_EQ(div->childNodeAtIndex(2), b);

    div->removeChildNode(b);
    EXPECT_EQ(names(*div), "first,a,c");
    EXPECT_EQ(a->nextSibling(), c);
    EXPECT_EQ(c->previousSibling(), a);

    a->removeFromParentNode();
    div->removeChildNode(div->firstChild());
    EXPECT_EQ(names(*div), "c");
    EXPECT_EQ(div->firstChild(), div->lastChild());
    div->removeAllChildNodes();
    EXPECT_FALSE(div->hasChildNodes());
}

TEST(HTMLDom, InsertingAnAttachedNodeMovesIt) {
    auto left = el("left"), right = el("right");
    Ref<HTMLNode> moving = el("x");
    left->appendNode(moving);
    left->appendNode(el("y"));
    right->appendNode(moving);
    EXPECT_EQ(names(*left), "y");
    EXPECT_EQ(names(*right), "x");
    EXPECT_EQ(moving->parentNode(), right.get());
    EXPECT_EQ(moving->refCount(), 2u);  // ours and right's: the old parent's reference is gone

    // Inserting a node before itself is a no-op, not a corruption.
    right->insertNode(moving, moving.get());
    EXPECT_EQ(names(*right), "x");
}

TEST(HTMLDom, RefusesCyclesAndImpossibleParents) {
    auto outer = el("outer");
    HTMLNode* inner = outer->appendNode(el("inner"));
    EXPECT_EQ(inner->appendNode(outer), nullptr);
    EXPECT_EQ(outer->appendNode(outer), nullptr);
    auto t = text("t");
    EXPECT_EQ(t->appendNode(el("b")), nullptr);
    EXPECT_EQ(outer->appendNode(HTMLDocument::create()), nullptr);
    EXPECT_EQ(outer->appendNode(HTMLDocumentType::create("html")), nullptr);
    EXPECT_EQ(outer->insertNode(el("b"), t.get()), nullptr);  // reference child elsewhere
    EXPECT_EQ(names(*outer), "inner");
}

TEST(HTMLDom, FragmentInsertionMovesItsChildren) {
    auto fragment = HTMLDocumentFragment::create();
    fragment->appendNode(el("a"));
    fragment->appendNode(text("t"));
    auto div = el("div");
    HTMLNode* end = div->appendNode(el("end"));
    div->insertNode(fragment, end);
    EXPECT_EQ(names(*div), "a,#text,end");
    EXPECT_FALSE(fragment->hasChildNodes());
}

TEST(HTMLDom, ReplaceAndReparent) {
    auto div = el("div");
    HTMLNode* old = div->appendNode(el("old"));
    div->appendNode(el("after"));
    div->replaceChildNode(old, el("new"));
    EXPECT_EQ(names(*div), "new,after");

    auto target = el("target");
    target->appendNode(el("kept"));
    div->reparentChildNodesIntoNode(target.get());
    EXPECT_EQ(names(*target), "kept,new,after");
    EXPECT_FALSE(div->hasChildNodes());

    // Not into its own subtree, and a doctype stays with its document.
    HTMLNode* inner = target->lastChild();
    target->reparentChildNodesIntoNode(inner);
    EXPECT_EQ(names(*target), "kept,new,after");
    auto doc = HTMLDocument::create();
    doc->appendNode(HTMLDocumentType::create("legacy"));
    doc->appendNode(el("html"));
    doc->reparentChildNodesIntoNode(target.get());
    EXPECT_EQ(names(*doc), "legacy");
    EXPECT_EQ(names(*target), "kept,new,after,html");
}

TEST(HTMLDom, RemovedNodeOutlivesItsParentWhileReferenced) {
    Ref<HTMLNode> kept;
    Ref<HTMLNode> keptBetweenSiblings;
    Ref<HTMLDocumentFragment> keptContents;
    {
        auto div = el("div");
        HTMLNode* span = div->appendNode(el("span"));
        span->appendNode(text("inside"));
        kept = span;
        // Deeper, between siblings that are freed with the tree, and a
        // template's contents held without the template.
        HTMLNode* section = div->appendNode(el("section"));
        section->appendNode(el("a"));
        keptBetweenSiblings = section->appendNode(el("b"));
        keptBetweenSiblings->appendNode(text("bold"));
        section->appendNode(el("i"))->appendNode(text("gone"));
        auto* tmpl = div->appendNode(el("template"))->as<HTMLElement>();
        tmpl->templateContent()->appendNode(el("p"))->appendNode(text("held"));
        keptContents = tmpl->templateContent();
    }
    EXPECT_EQ(kept->parentNode(), nullptr);
    EXPECT_EQ(kept->textContent(), "inside");
    EXPECT_EQ(keptBetweenSiblings->parentNode(), nullptr);
    EXPECT_EQ(keptBetweenSiblings->previousSibling(), nullptr);
    EXPECT_EQ(keptBetweenSiblings->nextSibling(), nullptr);
    EXPECT_EQ(keptBetweenSiblings->outerHTML(), "<b>bold</b>");
    EXPECT_EQ(keptContents->parentNode(), nullptr);
    EXPECT_EQ(keptContents->innerHTML(), "<p>held</p>");
}

TEST(HTMLDom, CloneCopiesAttributesAndOptionallyTheSubtree) {
    auto div = el("div");
    div->setAttribute("class", "x");
    div->setAttribute("data-k", "v");
    HTMLNode* p = div->appendNode(el("p"));
    p->appendNode(text("hello"));
    div->appendNode(HTMLComment::create("note"));

    auto shallow = div->cloneNodeDeep(false);
    EXPECT_FALSE(shallow->hasChildNodes());
    EXPECT_EQ(*shallow->as<HTMLElement>()->attribute("data-k"), "v");

    auto deep = div->cloneNodeDeep(true);
    EXPECT_EQ(deep->outerHTML(), div->outerHTML());
    EXPECT_EQ(deep->parentNode(), nullptr);
    // The copy is independent of the original.
    deep->as<HTMLElement>()->setAttribute("class", "y");
    deep->firstChild()->setTextContent("changed");
    EXPECT_EQ(div->outerHTML(), "<div class=\"x\" data-k=\"v\"><p>hello</p><!--note--></div>");
}

TEST(HTMLDom, CloneOfTemplateCopiesItsContents) {
    auto tmpl = el("template");
    tmpl->templateContent()->appendNode(el("b"))->appendNode(text("x"));
    auto copy = tmpl->cloneNodeDeep(true);
    auto* copied = copy->as<HTMLElement>();
    ASSERT_NE(copied->templateContent(), nullptr);
    EXPECT_NE(copied->templateContent(), tmpl->templateContent());
    // A template serializes its contents, which are not its children.
    EXPECT_EQ(copied->outerHTML(), "<template><b>x</b></template>");
    EXPECT_EQ(copied->innerHTML(), "<b>x</b>");
    EXPECT_EQ(el("div")->templateContent(), nullptr);
}

TEST(HTMLDom, AttributesKeepOrderAndReplaceInPlace) {
    auto a = el("a");
    a->setAttribute("href", "1");
    a->setAttribute("id", "n");
    a->setAttribute("href", "2");
    ASSERT_EQ(a->attributes().size(), 2u);
    EXPECT_EQ(a->attributes()[0].name, "href");
    EXPECT_EQ(a->attributes()[0].value, "2");
    EXPECT_EQ(a->elementId(), "n");
    EXPECT_EQ(a->className(), "");
    a->removeAttribute("href");
    EXPECT_FALSE(a->hasAttribute("href"));
    EXPECT_EQ(a->attribute("missing"), nullptr);
    a->appendToAttribute("style", " x: 1");
    a->appendToAttribute("id", "2");
    a->appendToAttribute("style", " y: 2");
    ASSERT_EQ(a->attributes().size(), 2u);
    EXPECT_EQ(a->elementId(), "n2");
    EXPECT_EQ(*a->attribute("style"), " x: 1 y: 2");

    auto use = HTMLElement::create("use", Namespace::SVG);
    use->appendAttribute({"href", "#i", AttributeNamespace::XLink});
    EXPECT_EQ(*use->attribute("xlink:href"), "#i");
    EXPECT_EQ(use->attribute("href"), nullptr);
}

TEST(HTMLDom, TextContentConcatenatesAndReplaces) {
    auto div = el("div");
    div->appendNode(text("a"));
    div->appendNode(el("b"))->appendNode(text("b"));
    div->appendNode(HTMLComment::create("not text"));
    div->appendNode(text("c"));
    EXPECT_EQ(div->textContent(), "abc");

    div->setTextContent("only");
    EXPECT_EQ(names(*div), "#text");
    EXPECT_EQ(div->textContent(), "only");
    div->setTextContent("");
    EXPECT_FALSE(div->hasChildNodes());
}

TEST(HTMLDom, DocumentAccessors) {
    auto doc = HTMLDocument::create();
    doc->appendNode(HTMLDocumentType::create("html"));
    HTMLNode* html = doc->appendNode(el("html"));
    HTMLNode* head = html->appendNode(el("head"));
    head->appendNode(el("title"))->appendNode(text("  Hello \n\t world  "));
    HTMLNode* body = html->appendNode(el("body"));
    EXPECT_EQ(doc->documentElement(), html);
    EXPECT_EQ(doc->head(), head);
    EXPECT_EQ(doc->body(), body);
    EXPECT_EQ(doc->title(), "Hello world");
    EXPECT_EQ(doc->documentType()->name(), "html");
    EXPECT_EQ(body->ownerDocument(), doc.get());
    EXPECT_EQ(el("x")->ownerDocument(), nullptr);
}

TEST(HTMLDom, IteratorVisitsDocumentOrderWithinTheRoot) {
    auto root = el("r");
    HTMLNode* a = root->appendNode(el("a"));
    a->appendNode(el("a1"));
    root->appendNode(el("b"));
    auto outside = el("outside");
    outside->appendNode(root);
    outside->appendNode(el("sibling-of-root"));

    std::string order;
    HTMLNodeIterator it(root.get());
    while (HTMLNode* n = it.nextNode()) order += n->nodeName() + " ";
    EXPECT_EQ(order, "r a a1 b ");
}

TEST(HTMLDom, DeepTreesAreClonedSerializedAndFreedWithoutRecursion) {
    constexpr int kDepth = 200000;
    auto root = el("div");
    HTMLNode* leaf = root.get();
    for (int i = 0; i < kDepth; ++i) leaf = leaf->appendNode(el(i % 2 ? "b" : "div"));
    leaf->appendNode(text("bottom"));
    EXPECT_EQ(root->textContent(), "bottom");
    auto copy = root->cloneNodeDeep(true);
    std::string html = copy->outerHTML();
    EXPECT_EQ(html.size(), root->outerHTML().size());
    EXPECT_NE(html.find("bottom"), std::string::npos);
    copy = nullptr;
    root = nullptr;  // must not overflow the stack
}

// Node memory is handed between threads: trees built on threads that have
// ended, freed on others while those build new trees from the same memory.
TEST(HTMLDom, TreesOutliveTheirThreadAndAreFreedOnAnother) {
    auto build = [](int tag) {
        auto root = el("div");
        for (int i = 0; i < 1500; ++i) root->appendNode(el("b"))->appendNode(text(std::to_string(tag + i)));
        return root;
    };
    auto expected = [](int tag) {
        std::string html = "<div>";
        for (int i = 0; i < 1500; ++i) html += "<b>" + std::to_string(tag + i) + "</b>";
        return html + "</div>";
    };
    std::vector<Ref<HTMLElement>> trees(40);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = t; i < 40; i += 4) trees[i] = build(i * 10000);
        });
    for (std::thread& thread : threads) thread.join();
    threads.clear();

    std::vector<char> rebuiltIntact(2);
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&, t] {
            bool intact = true;
            for (int i = t * 10; i < t * 10 + 10; ++i) {
                trees[i] = nullptr;
                auto tree = build(-i);
                intact = intact && tree->outerHTML() == expected(-i);
            }
            rebuiltIntact[t] = intact;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(rebuiltIntact[0] && rebuiltIntact[1]);
    for (int i = 20; i < 40; ++i) EXPECT_EQ(trees[i]->outerHTML(), expected(i * 10000)) << i;
    trees.clear();
    EXPECT_EQ(build(7)->outerHTML(), expected(7));
}

}  // namespace
