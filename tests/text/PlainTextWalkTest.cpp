// The walk that computes plainText, held to the literal pipeline it stands
// for: wherever the walk answers, both must give the same text. Run over
// hand-picked markup, every document of the mail corpus (ZV_MAIL_CORPUS) and
// every input of html5lib's tree-construction tests (ZV_HTML5LIB_TESTS),
// each also with its blockquotes made citations, a reply separator and a
// note-body marker added, so that every variant of the pipeline is compared.
#include "PlainTextPasses.h"
#include "PlainTextWalk.h"

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>

#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace zv::html;

struct Tally {
    size_t compared = 0;
    size_t walked = 0;
    size_t mismatches = 0;
};

// Where two texts part, for a readable failure on long documents.
std::string difference(const std::string& walked, const std::string& reference) {
    size_t at = 0;
    while (at < walked.size() && at < reference.size() && walked[at] == reference[at]) ++at;
    const size_t from = at > 40 ? at - 40 : 0;
    return "at byte " + std::to_string(at) + "\n  walked:    \"" + walked.substr(from, 100) + "\"\n  reference: \"" +
           reference.substr(from, 100) + "\"";
}

void compare(const HTMLElement& element, const std::string& label, Tally& tally) {
    ++tally.compared;
    std::optional<std::string> walked = zv::plainTextByWalking(element);
    if (!walked) return;
    ++tally.walked;
    const std::string reference = zv::plainTextByRewriting(element);
    if (*walked == reference) return;
    // The first few are enough to find the fault; the rest are counted.
    if (++tally.mismatches <= 20) ADD_FAILURE() << label << ": " << difference(*walked, reference);
}

// The document compared as it is, then with its blockquotes quoting and a
// separator in the middle, then as a note body too. Each variant is taken
// from the document element and from the body.
void compareVariants(HTMLDocument& document, const std::string& label, Tally& tally) {
    auto compareRoots = [&](const std::string& variant) {
        if (HTMLElement* root = document.documentElement()) compare(*root, label + " (" + variant + ")", tally);
        if (HTMLElement* body = document.body()) compare(*body, label + " (" + variant + ", body)", tally);
    };
    compareRoots("as it is");
    std::vector<HTMLElement*> elements = document.querySelectorAll("*");
    if (elements.empty()) return;
    for (HTMLElement* e : elements)
        if (e->is(Tag::blockquote)) e->setAttribute("type", "cite");
    // Not in a table's own structure, where the separator's line would be
    // foster-parented and the walk rightly gives up.
    std::vector<HTMLElement*> lines;
    for (HTMLElement* e : elements) {
        const HTMLElement* parent = e->parentElement();
        if (parent && !parent->is(Tag::table) && !parent->is(Tag::tbody) && !parent->is(Tag::tr)) lines.push_back(e);
    }
    if (!lines.empty()) lines[lines.size() / 2]->setAttribute("id", "zv-reply-separator");
    compareRoots("citations, separator");
    HTMLElement* div = nullptr;
    for (HTMLElement* e : elements)
        if (e->is(Tag::div) && !div) div = e;
    if (div) {
        div->setAttribute("zv-note", "");
    } else if (HTMLElement* body = document.body()) {
        body->appendNode(HTMLElement::create("div"))->as<HTMLElement>()->setAttribute("zv-note", "");
    }
    compareRoots("note body");
}

void compareDocument(std::string_view html, const std::string& label, Tally& tally) {
    Ref<HTMLDocument> document = HTMLDocument::documentWithString(html);
    compareVariants(*document, label, tally);
}

void compareFragment(std::string_view html, Ref<HTMLElement> context, const std::string& label, Tally& tally) {
    Ref<HTMLDocumentFragment> fragment = HTMLParser(html).parseFragment(*context);
    for (HTMLNode* node = fragment->firstChild(); node; node = node->nextSibling())
        if (HTMLElement* element = node->as<HTMLElement>()) compare(*element, label + " (fragment)", tally);
}

void report(const char* corpus, const Tally& tally) {
    std::cout << corpus << ": " << tally.compared << " elements compared, " << tally.walked
              << " walked, the others left to the literal pipeline\n";
}

TEST(PlainTextWalk, AnswersAsTheLiteralPipelineOnTrickyMarkup) {
    // Markup that the rewrites, the reparse or the passes treat specially;
    // `walks` says whether the walk is expected to answer on its own.
    struct Case {
        const char* html;
        bool walks;
    };
    const Case cases[] = {
        {"<p>a</p>\n<p>b</p>\n\n<div>c</div>\nd<div>e</div>", true},
        {"<pre>\n\nx</pre><listing>\ny</listing><textarea>\n\nz</textarea>", true},
        {"<pre><br>x</pre><pre><!-- c -->\nx</pre><pre><script>s</script>\ny</pre>", true},
        {"<p><b>x</b><br> </p><p><b>x</b><br> <br></p><p><b>x</b><br>&nbsp;</p><p><i>x</i><br class=c> </p>", true},
        {"<p>x<br> <br></p><p> a <br> b <br>\n</p><p><br></p><p><script>s</script><b>b</b><br><style></style></p>", true},
        {"<p><!-- c --><br>x</p><p>x<br><!-- c --></p>", true},
        {"<div>a<br clear=all>b<br>c</div><div>\u00A0</div><div></div>", true},
        {"<table><tr><td>a</td></tr>\n</table><table><caption>c</caption><colgroup><col></colgroup></table>", true},
        {"<table><tr><td>a<table>x</table>", true},
        {"<p>a<table><tr><td>b</td></tr></table>c</p>", true},
        {"<p><button><p>x<br></p></button><br> </p>", true},
        {"<a>1<a>2</a></a><b>x<p>y</b>z</p>", true},
        {"<select><option>a<option>b</select><textarea>t</textarea><title>\nt</title>", true},
        {"<o:p>x</o:p><custom-el>y</custom-el>", true},
        {"<blockquote type=cite><p>a</p><div><br></div><blockquote type=cite><p>b</p></blockquote></blockquote>", true},
        {"<div zv-note><div>a</div><div>&nbsp;</div><div></div><p>b<br>c</p></div>", true},
        {"<div zv-note><div><script>s</script>&nbsp;</div></div>", false},
        {"<div zv-note><div><!-- <div --></div>&nbsp;</div>", false},
        {"<p id=zv-reply-separator>s</p>x<table><tr id=zv-reply-separator><td>t</td></tr></table>", true},
        {"x<template><p>t</p></template>", false},
        {"<plaintext></p>x", false},
        {"<p>a&#13;b</p>", false},  // the reparse would read the CR as a line feed
        {"<p>a&#0;b</p>", true},    // a reference to NUL is read as U+FFFD
        {"<divx>&nbsp;</divx>", false},
        {"<span a<div=1>&nbsp;</span>", true},
        {"<div zv-note><br a<div=1>&nbsp;</div>", false},
        {"<div zv-note><!-- <div> --><p>&nbsp;</p><!-- <div --></div>", false},
        {"<svg><text>s<tspan>t</tspan></text><foreignObject><p>f<br>g</p></foreignObject></svg>x", true},
        {"<math><mi>m</mi><annotation-xml encoding=text/html><div>d</div></annotation-xml></math>", true},
        {"<noframes>no <b>frames</b></noframes><xmp>a < b</xmp><iframe></p>\n</p><br></iframe>", true},
        {"<xmp></xmp<br></xmp>", false},
        {"<script>a<b</script>", true},  // removed: nothing to read back
        {"<div zv-note><xmp><div>&nbsp;</div><div</xmp></div>", false},
        {"<div zv-note><xmp><div>&nbsp;</div></xmp></div>", true},
        {"<p><br><br>x</p>\t<div>\u200B\u200C\uFFFC\u00A0</div>", true},
    };
    for (const Case& c : cases) {
        Ref<HTMLDocument> document = HTMLDocument::documentWithString(c.html);
        const HTMLElement& body = *document->body();
        std::optional<std::string> walked = zv::plainTextByWalking(body);
        EXPECT_EQ(walked.has_value(), c.walks) << c.html;
        if (walked) {
            EXPECT_EQ(*walked, zv::plainTextByRewriting(body)) << c.html;
        }
        Tally tally;
        compareVariants(*document, c.html, tally);
        EXPECT_EQ(tally.mismatches, 0u) << c.html;
    }
}

TEST(PlainTextWalk, GivesUpOnTreesNoMarkupWrites) {
    // Built through the DOM: the serialized markup would parse otherwise.
    Ref<HTMLElement> root = HTMLElement::create("div");
    root->appendNode(HTMLElement::create("DIV"))->appendNode(HTMLText::create("x"));
    EXPECT_FALSE(zv::plainTextByWalking(*root));

    Ref<HTMLElement> table = HTMLElement::create("table");
    table->appendNode(HTMLText::create("foster"));
    EXPECT_FALSE(zv::plainTextByWalking(*table));

    Ref<HTMLElement> line = HTMLElement::create("div");
    line->appendNode(HTMLElement::create("br"))->appendNode(HTMLText::create("lost"));
    EXPECT_FALSE(zv::plainTextByWalking(*line));

    Ref<HTMLElement> invalid = HTMLElement::create("p");
    invalid->appendNode(HTMLText::create("\xFF"));
    EXPECT_FALSE(zv::plainTextByWalking(*invalid));
    EXPECT_EQ(zv::plainText(*invalid), "\xEF\xBF\xBD");

    // A foreign element straight under HTML would be read back as HTML.
    Ref<HTMLElement> title = HTMLElement::create("div");
    title->appendNode(HTMLElement::create("title", Namespace::SVG))->appendNode(HTMLElement::create("b"));
    EXPECT_FALSE(zv::plainTextByWalking(*title));

    Ref<HTMLElement> comment = HTMLElement::create("div");
    comment->appendNode(HTMLComment::create("a-->b"));
    EXPECT_FALSE(zv::plainTextByWalking(*comment));
    EXPECT_EQ(zv::plainText(*comment), "b-->");
}

// The HTML documents of a corpus file: an RFC 822 message gives its text/html
// parts decoded to UTF-8; every file is also taken as HTML as it is, which
// is what a mail client meets when a part is mislabelled.
std::vector<std::string> htmlPartsOf(const std::string& bytes) {
    std::vector<std::string> parts;
    GMimeStream* stream = g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size());
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    if (GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr)) {
        g_mime_message_foreach(
            message,
            [](GMimeObject*, GMimeObject* part, gpointer data) {
                if (!GMIME_IS_TEXT_PART(part)) return;
                if (!g_mime_content_type_is_type(g_mime_object_get_content_type(part), "text", "html")) return;
                if (char* text = g_mime_text_part_get_text(GMIME_TEXT_PART(part))) {
                    static_cast<std::vector<std::string>*>(data)->emplace_back(text);
                    g_free(text);
                }
            },
            &parts);
        g_object_unref(message);
    }
    g_object_unref(parser);
    g_object_unref(stream);
    return parts;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(PlainTextWalk, AnswersAsTheLiteralPipelineOnTheMailCorpus) {
    const char* corpus = std::getenv("ZV_MAIL_CORPUS");
    if (!corpus || !fs::is_directory(corpus)) GTEST_SKIP() << "ZV_MAIL_CORPUS is not a folder; corpus not run";
    g_mime_init();
    Tally tally;
    for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
        if (!entry.is_regular_file()) continue;
        const std::string bytes = readFile(entry.path());
        const std::string label = entry.path().string();
        compareDocument(bytes, label, tally);
        compareFragment(bytes, HTMLElement::create("body"), label, tally);
        for (const std::string& part : htmlPartsOf(bytes)) compareDocument(part, label + " (text/html part)", tally);
    }
    report("mail corpus", tally);
    EXPECT_EQ(tally.mismatches, 0u);
    // The walk is what makes plainText fast: it must answer for nearly all mail.
    EXPECT_GT(tally.walked * 10, tally.compared * 9);
}

struct TreeConstructionInput {
    std::string data;
    std::string context;  // empty for a document
};

// The "#data" sections of a tree-construction file, with the context of the
// fragment cases.
std::vector<TreeConstructionInput> readInputs(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<TreeConstructionInput> inputs;
    std::vector<std::string> lines;  // of the #data section being read
    std::string line;
    enum { Outside, Data, Context } section = Outside;
    auto endData = [&] {
        if (section != Data) return;
        for (size_t i = 0; i < lines.size(); ++i) inputs.back().data += (i ? "\n" : "") + lines[i];
        lines.clear();
    };
    while (std::getline(in, line)) {
        if (line.starts_with('#')) {
            endData();
            if (line == "#data") inputs.emplace_back();
            section = line == "#data" ? Data : line == "#document-fragment" ? Context : Outside;
        } else if (section == Data) {
            lines.push_back(line);
        } else if (section == Context) {
            inputs.back().context = line;
            section = Outside;
        }
    }
    endData();
    return inputs;
}

Ref<HTMLElement> contextElement(const std::string& name) {
    if (name.starts_with("svg ")) return HTMLElement::create(name.substr(4), Namespace::SVG);
    if (name.starts_with("math ")) return HTMLElement::create(name.substr(5), Namespace::MathML);
    return HTMLElement::create(name);
}

TEST(PlainTextWalk, AnswersAsTheLiteralPipelineOnTreeConstructionInputs) {
    const char* root = std::getenv("ZV_HTML5LIB_TESTS");
    const fs::path folder = root ? fs::path(root) / "tree-construction" : fs::path();
    if (!root || !fs::is_directory(folder)) GTEST_SKIP() << "ZV_HTML5LIB_TESTS is not an html5lib-tests checkout";
    Tally tally;
    size_t inputs = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".dat") continue;
        size_t index = 0;
        for (const TreeConstructionInput& input : readInputs(entry.path())) {
            const std::string label = entry.path().filename().string() + " #" + std::to_string(++index);
            compareDocument(input.data, label, tally);
            compareFragment(input.data, HTMLElement::create("body"), label, tally);
            if (!input.context.empty()) compareFragment(input.data, contextElement(input.context), label, tally);
            ++inputs;
        }
    }
    report("tree-construction inputs", tally);
    EXPECT_GT(inputs, 1000u);
    EXPECT_EQ(tally.mismatches, 0u);
}

}  // namespace
