#include <zv/html/HTMLParser.h>

#include "HTMLTreeBuilder.h"

#include <zv/html/HTMLEncoding.h>

namespace zv::html {

HTMLParser::HTMLParser(std::string_view html, HTMLParserOptions options)
    : input_(html), tokenizer_(std::make_unique<HTMLTokenizer>(input_)), options_(options) {}

HTMLParser::~HTMLParser() = default;

std::unique_ptr<HTMLParser> HTMLParser::parserForBytes(std::string_view bytes, std::string_view transportEncoding,
                                                       std::string_view defaultEncoding, HTMLParserOptions options) {
    SniffedEncoding sniffed = sniffEncoding(bytes, transportEncoding, defaultEncoding);
    bytes.remove_prefix(std::min(sniffed.bomLength, bytes.size()));
    // The tokenizer repairs malformed UTF-8 itself; decoding UTF-8 would only copy.
    if (sniffed.encoding == "UTF-8") return std::make_unique<HTMLParser>(bytes, options);
    auto parser = std::make_unique<HTMLParser>(std::string_view(), options);
    parser->input_ = decodeToUTF8(bytes, sniffed.encoding);
    parser->tokenizer_ = std::make_unique<HTMLTokenizer>(parser->input_);
    parser->encoding_ = std::move(sniffed.encoding);
    return parser;
}

Ref<HTMLDocument> HTMLParser::parseDocument() {
    if (document_) return document_;
    document_ = HTMLDocument::create();
    if (fragment_) return document_;  // this parser's input went into a fragment
    if (options_.collectErrors)
        tokenizer_->setParseErrorCallback([this](const HTMLParseError& error) { errors_.push_back(error); });
    HTMLTreeBuilder builder(*tokenizer_, options_, options_.collectErrors ? &errors_ : nullptr);
    builder.buildDocument(*document_);
    return document_;
}

Ref<HTMLDocumentFragment> HTMLParser::parseFragment(const HTMLElement& context) {
    if (fragment_) return fragment_;
    fragment_ = HTMLDocumentFragment::create();
    if (document_) return fragment_;  // this parser's input went into a document
    if (options_.collectErrors)
        tokenizer_->setParseErrorCallback([this](const HTMLParseError& error) { errors_.push_back(error); });
    HTMLTreeBuilder builder(*tokenizer_, options_, options_.collectErrors ? &errors_ : nullptr);
    builder.buildFragment(context, *fragment_);
    return fragment_;
}

// The parse ends before the caller's text can, so the tokenizer reads it in
// place instead of the copy an HTMLParser keeps.
Ref<HTMLDocument> HTMLDocument::documentWithString(std::string_view html) {
    HTMLTokenizer tokenizer(html);
    Ref<HTMLDocument> document = HTMLDocument::create();
    HTMLTreeBuilder(tokenizer, HTMLParserOptions{}, nullptr).buildDocument(*document);
    return document;
}

void HTMLElement::setInnerHTML(std::string_view html) {
    Ref<HTMLDocumentFragment> fragment = HTMLParser(html).parseFragment(*this);
    HTMLNode* target = is(Tag::template_) ? static_cast<HTMLNode*>(templateContent()) : this;
    target->removeAllChildNodes();
    fragment->reparentChildNodesIntoNode(target);
}

}  // namespace zv::html
