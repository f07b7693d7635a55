#include "HTMLTreeBuilder.h"

#include "ASCIIText.h"
#include "HTMLForeignContent.h"
#include "HTMLQuirks.h"

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocumentType.h>

#include <algorithm>
#include <unordered_set>

namespace zv::html {

namespace {

using Type = HTMLTokenType;
using namespace category;
constexpr size_t npos = size_t(-1);

std::string_view& textOf(HTMLToken& token) { return static_cast<HTMLCharacterToken&>(token).characters; }
HTMLTagToken& tagOf(HTMLToken& token) { return static_cast<HTMLTagToken&>(token); }

size_t leadingWhitespace(std::string_view text) {
    size_t n = 0;
    while (n < text.size() && isASCIIWhitespace(text[n])) ++n;
    return n;
}

bool isAllWhitespace(std::string_view text) { return leadingWhitespace(text) == text.size(); }

// An HTML element of the token's name; unknown names compare as strings.
bool hasTokenName(const HTMLElementStack::Entry& entry, const HTMLTagToken& token) {
    if (!entry.isHTML() || entry.tag != token.tag) return false;
    return token.tag != Tag::Unknown || entry.element->localName() == token.tagName;
}

bool isHiddenInput(const HTMLTagToken& token) {
    const std::string* type = token.attribute("type");
    return type && equalsIgnoringASCIICase(*type, "hidden");
}

// A new element with the same name, namespace and attributes: "create an
// element for the token for which the element was created".
Ref<HTMLElement> shallowCopy(const HTMLElement& element) {
    Ref<HTMLElement> copy = element.tag() != Tag::Unknown
                                ? make<HTMLElement>(element.tag(), element.htmlNamespace())
                                : make<HTMLElement>(element.localName(), element.htmlNamespace());
    copy->reserveAttributes(element.attributes().size());
    for (const auto& attribute : element.attributes()) copy->appendAttribute(attribute);
    return copy;
}

HTMLNode* nextInSubtree(HTMLNode* node, const HTMLNode* root) {
    if (HTMLNode* child = node->firstChild()) return child;
    for (; node && node != root; node = node->parentNode())
        if (HTMLNode* next = node->nextSibling()) return next;
    return nullptr;
}

}  // namespace

HTMLTreeBuilder::HTMLTreeBuilder(HTMLTokenizer& tokenizer, const HTMLParserOptions& options,
                                 std::vector<HTMLParseError>* errors)
    : tokenizer_(tokenizer), options_(options), errors_(errors) {}

HTMLTreeBuilder::~HTMLTreeBuilder() = default;

void HTMLTreeBuilder::buildDocument(HTMLDocument& document) {
    document_ = &document;
    run();
}

void HTMLTreeBuilder::buildFragment(const HTMLElement& context, HTMLDocumentFragment& fragment) {
    Ref<HTMLDocument> document = HTMLDocument::create();
    if (const HTMLDocument* owner = context.ownerDocument()) document->setQuirksMode(owner->quirksMode());
    document_ = document.get();
    context_ = &context;
    contextEntry_ = HTMLElementStack::entryFor(const_cast<HTMLElement&>(context));

    if (context.htmlNamespace() == Namespace::HTML) {
        switch (context.tag()) {
        case Tag::title:
        case Tag::textarea:
            tokenizer_.setState(HTMLTokenizerState::RCDATA);
            break;
        case Tag::style:
        case Tag::xmp:
        case Tag::iframe:
        case Tag::noembed:
        case Tag::noframes:
            tokenizer_.setState(HTMLTokenizerState::RAWTEXT);
            break;
        case Tag::script:
            tokenizer_.setState(HTMLTokenizerState::ScriptData);
            break;
        case Tag::noscript:
            if (options_.scripting) tokenizer_.setState(HTMLTokenizerState::RAWTEXT);
            break;
        case Tag::plaintext:
            tokenizer_.setState(HTMLTokenizerState::PLAINTEXT);
            break;
        default:
            break;
        }
    }

    Ref<HTMLElement> root = make<HTMLElement>(Tag::html);
    document->appendNode(root);
    push(*root);
    if (context.is(Tag::template_)) templateModes_.push_back(InsertionMode::InTemplate);
    resetInsertionMode();
    for (const HTMLNode* node = &context; node; node = node->parentNode()) {
        const auto* element = node->as<HTMLElement>();
        if (element && element->is(Tag::form)) {
            form_ = const_cast<HTMLElement*>(element);
            break;
        }
    }
    run();
    root->reparentChildNodesIntoNode(&fragment);
}

// ---------------------------------------------------------------------------
// Driving the tokenizer

void HTMLTreeBuilder::run() {
    bool allowCDATA = false;
    for (;;) {
        // Whether "<![CDATA[" opens a section depends on where the next token
        // goes; a fragment in an SVG context starts out foreign.
        bool foreign = !stack_.empty() && !adjustedCurrentNode().isHTML();
        if (foreign != allowCDATA) {
            allowCDATA = foreign;
            tokenizer_.setAllowCDATA(foreign);
        }
        // Tokens belong to the tokenizer until the next call; the builder moves
        // attribute strings and comment data out of them rather than copying.
        auto* token = const_cast<HTMLToken*>(tokenizer_.nextToken());
        if (!token) break;
        if (token->type == Type::ParseError) continue;
        if (skipNextNewline_) {
            skipNextNewline_ = false;
            if (token->type == Type::Character) {
                std::string_view& text = textOf(*token);
                if (!text.empty() && text.front() == '\n') {
                    text.remove_prefix(1);
                    if (text.empty()) continue;
                }
            }
        }
        processToken(*token);
        if (token->type == Type::EndOfFile) break;
    }
    stopParsing();
}

void HTMLTreeBuilder::stopParsing() {
    if (sawSelectedContent_) {
        while (!stack_.empty()) pop();
    }
    stack_.clear();
    formatting_.clear();
}

void HTMLTreeBuilder::parseError(const char* code) {
    if (errors_) errors_->push_back(HTMLParseError{code, 0, 0});
}

void HTMLTreeBuilder::processToken(HTMLToken& token) {
    if (usesHTMLRules(token))
        processInMode(mode_, token);
    else
        foreignContent(token);
}

// The tree construction dispatcher: HTML rules unless the adjusted current
// node is foreign and the token is not one its integration point lets through.
bool HTMLTreeBuilder::usesHTMLRules(const HTMLToken& token) const {
    if (stack_.empty()) return true;
    const Entry& node = adjustedCurrentNode();
    if (node.isHTML()) return true;
    switch (token.type) {
    case Type::StartTag: {
        Tag tag = static_cast<const HTMLTagToken&>(token).tag;
        if (node.has(MathMLTextIntegrationPoint) && tag != Tag::mglyph && tag != Tag::malignmark) return true;
        if (node.ns == Namespace::MathML && node.tag == Tag::annotation_xml && tag == Tag::svg) return true;
        return node.has(HTMLIntegrationPoint);
    }
    case Type::Character:
        return node.has(MathMLTextIntegrationPoint | HTMLIntegrationPoint);
    case Type::EndOfFile:
        return true;
    default:
        return false;
    }
}

void HTMLTreeBuilder::processInMode(InsertionMode mode, HTMLToken& token) {
    switch (mode) {
    case InsertionMode::Initial: return initialMode(token);
    case InsertionMode::BeforeHTML: return beforeHTMLMode(token);
    case InsertionMode::BeforeHead: return beforeHeadMode(token);
    case InsertionMode::InHead: return inHeadMode(token);
    case InsertionMode::InHeadNoscript: return inHeadNoscriptMode(token);
    case InsertionMode::AfterHead: return afterHeadMode(token);
    case InsertionMode::InBody: return inBodyMode(token);
    case InsertionMode::Text: return textMode(token);
    case InsertionMode::InTable: return inTableMode(token);
    case InsertionMode::InTableText: return inTableTextMode(token);
    case InsertionMode::InCaption: return inCaptionMode(token);
    case InsertionMode::InColumnGroup: return inColumnGroupMode(token);
    case InsertionMode::InTableBody: return inTableBodyMode(token);
    case InsertionMode::InRow: return inRowMode(token);
    case InsertionMode::InCell: return inCellMode(token);
    case InsertionMode::InTemplate: return inTemplateMode(token);
    case InsertionMode::AfterBody: return afterBodyMode(token);
    case InsertionMode::InFrameset: return inFramesetMode(token);
    case InsertionMode::AfterFrameset: return afterFramesetMode(token);
    case InsertionMode::AfterAfterBody: return afterAfterBodyMode(token);
    case InsertionMode::AfterAfterFrameset: return afterAfterFramesetMode(token);
    }
}

// ---------------------------------------------------------------------------
// The insertion modes up to the body

void HTMLTreeBuilder::initialMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        text.remove_prefix(leadingWhitespace(text));
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::DOCTYPE: {
        auto& doctype = static_cast<HTMLDOCTYPEToken&>(token);
        if (doctype.name != "html" || doctype.publicIdentifier ||
            (doctype.systemIdentifier && *doctype.systemIdentifier != "about:legacy-compat"))
            parseError("non-conforming-doctype");
        document_->appendNode(HTMLDocumentType::create(doctype.name.value_or(""),
                                                       doctype.publicIdentifier.value_or(""),
                                                       doctype.systemIdentifier.value_or("")));
        document_->setQuirksMode(quirksModeForDoctype(doctype));
        mode_ = InsertionMode::BeforeHTML;
        return;
    }
    default:
        break;
    }
    parseError("missing-doctype");
    document_->setQuirksMode(HTMLQuirksMode::Quirks);
    mode_ = InsertionMode::BeforeHTML;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::beforeHTMLMode(HTMLToken& token) {
    switch (token.type) {
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::Character: {
        std::string_view& text = textOf(token);
        text.remove_prefix(leadingWhitespace(text));
        if (text.empty()) return;
        break;
    }
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) {
            Ref<HTMLElement> html = createElement(tagOf(token), Namespace::HTML);
            document_->appendNode(html);
            push(*html);
            mode_ = InsertionMode::BeforeHead;
            return;
        }
        break;
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::head:
        case Tag::body:
        case Tag::html:
        case Tag::br:
            break;
        default:
            return parseError("unexpected-end-tag");
        }
        break;
    default:
        break;
    }
    Ref<HTMLElement> html = make<HTMLElement>(Tag::html);
    document_->appendNode(html);
    push(*html);
    mode_ = InsertionMode::BeforeHead;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::beforeHeadMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        text.remove_prefix(leadingWhitespace(text));
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        if (tagOf(token).tag == Tag::head) {
            head_ = insertElement(tagOf(token));
            mode_ = InsertionMode::InHead;
            return;
        }
        break;
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::head:
        case Tag::body:
        case Tag::html:
        case Tag::br:
            break;
        default:
            return parseError("unexpected-end-tag");
        }
        break;
    default:
        break;
    }
    head_ = insertElement(Tag::head);
    mode_ = InsertionMode::InHead;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inHeadMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) insertCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::base:
        case Tag::basefont:
        case Tag::bgsound:
        case Tag::link:
        case Tag::meta:
            insertElement(tag);
            pop();
            return;
        case Tag::title:
            return parseRawText(tag, HTMLTokenizerState::RCDATA);
        case Tag::noscript:
            if (options_.scripting) return parseRawText(tag, HTMLTokenizerState::RAWTEXT);
            insertElement(tag);
            mode_ = InsertionMode::InHeadNoscript;
            return;
        case Tag::noframes:
        case Tag::style:
            return parseRawText(tag, HTMLTokenizerState::RAWTEXT);
        case Tag::script:
            return parseRawText(tag, HTMLTokenizerState::ScriptData);
        case Tag::template_:
            insertElement(tag);
            formatting_.pushMarker();
            framesetOK_ = false;
            mode_ = InsertionMode::InTemplate;
            templateModes_.push_back(InsertionMode::InTemplate);
            return;
        case Tag::head:
            return parseError("unexpected-start-tag");
        default:
            break;
        }
        break;
    }
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::head:
            pop();
            mode_ = InsertionMode::AfterHead;
            return;
        case Tag::body:
        case Tag::html:
        case Tag::br:
            break;
        case Tag::template_:
            return endTemplate();
        default:
            return parseError("unexpected-end-tag");
        }
        break;
    default:
        break;
    }
    pop();
    mode_ = InsertionMode::AfterHead;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inHeadNoscriptMode(HTMLToken& token) {
    switch (token.type) {
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::Comment:
        return inHeadMode(token);
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) insertCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::basefont:
        case Tag::bgsound:
        case Tag::link:
        case Tag::meta:
        case Tag::noframes:
        case Tag::style:
            return inHeadMode(token);
        case Tag::head:
        case Tag::noscript:
            return parseError("unexpected-start-tag");
        default:
            break;
        }
        break;
    case Type::EndTag:
        if (tagOf(token).tag == Tag::noscript) {
            pop();
            mode_ = InsertionMode::InHead;
            return;
        }
        if (tagOf(token).tag != Tag::br) return parseError("unexpected-end-tag");
        break;
    default:
        break;
    }
    parseError("unexpected-token-in-noscript");
    pop();
    mode_ = InsertionMode::InHead;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::afterHeadMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) insertCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::body:
            insertElement(tag);
            framesetOK_ = false;
            mode_ = InsertionMode::InBody;
            return;
        case Tag::frameset:
            insertElement(tag);
            mode_ = InsertionMode::InFrameset;
            return;
        case Tag::base:
        case Tag::basefont:
        case Tag::bgsound:
        case Tag::link:
        case Tag::meta:
        case Tag::noframes:
        case Tag::script:
        case Tag::style:
        case Tag::template_:
        case Tag::title: {
            parseError("unexpected-start-tag-after-head");
            HTMLElement* head = head_;
            push(*head);
            inHeadMode(token);
            if (size_t i = stack_.indexOf(head); i != npos) removeFromStack(i);
            return;
        }
        case Tag::head:
            return parseError("unexpected-start-tag");
        default:
            break;
        }
        break;
    }
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::template_:
            return inHeadMode(token);
        case Tag::body:
        case Tag::html:
        case Tag::br:
            break;
        default:
            return parseError("unexpected-end-tag");
        }
        break;
    default:
        break;
    }
    insertElement(Tag::body);
    mode_ = InsertionMode::InBody;
    processInMode(mode_, token);
}

// ---------------------------------------------------------------------------
// In body

void HTMLTreeBuilder::inBodyMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
        return inBodyCharacters(textOf(token));
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        return inBodyStartTag(tagOf(token));
    case Type::EndTag:
        return inBodyEndTag(tagOf(token));
    case Type::EndOfFile:
        return inBodyEndOfFile(token);
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::inBodyCharacters(std::string_view text) {
    if (text.empty()) return;
    if (text.front() == '\0') return parseError("unexpected-null-character");
    reconstructActiveFormattingElements();
    insertCharacters(text);
    if (framesetOK_ && !isAllWhitespace(text)) framesetOK_ = false;
}

void HTMLTreeBuilder::inBodyStartTag(HTMLTagToken& token) {
    switch (token.tag) {
    case Tag::html:
        parseError("unexpected-start-tag");
        if (!stack_.contains(Tag::template_)) addMissingAttributes(*stack_[0].element, token);
        return;
    case Tag::base:
    case Tag::basefont:
    case Tag::bgsound:
    case Tag::link:
    case Tag::meta:
    case Tag::noframes:
    case Tag::script:
    case Tag::style:
    case Tag::template_:
    case Tag::title:
        return inHeadMode(token);
    case Tag::body:
        parseError("unexpected-start-tag");
        if (stack_.size() == 1 || !stack_[1].is(Tag::body) || stack_.contains(Tag::template_)) return;
        framesetOK_ = false;
        addMissingAttributes(*stack_[1].element, token);
        return;
    case Tag::frameset: {
        parseError("unexpected-start-tag");
        if (stack_.size() == 1 || !stack_[1].is(Tag::body) || !framesetOK_) return;
        Ref<HTMLElement> body = stack_[1].element;
        while (stack_.size() > 1) pop();
        // The body's subtree goes away; nothing may point into it afterwards.
        formatting_.clear();
        body->removeFromParentNode();
        insertElement(token);
        mode_ = InsertionMode::InFrameset;
        return;
    }
    case Tag::address:
    case Tag::article:
    case Tag::aside:
    case Tag::blockquote:
    case Tag::center:
    case Tag::details:
    case Tag::dialog:
    case Tag::dir:
    case Tag::div:
    case Tag::dl:
    case Tag::fieldset:
    case Tag::figcaption:
    case Tag::figure:
    case Tag::footer:
    case Tag::header:
    case Tag::hgroup:
    case Tag::main:
    case Tag::menu:
    case Tag::nav:
    case Tag::ol:
    case Tag::p:
    case Tag::search:
    case Tag::section:
    case Tag::summary:
    case Tag::ul:
        closePElementInButtonScope();
        insertElement(token);
        return;
    case Tag::h1:
    case Tag::h2:
    case Tag::h3:
    case Tag::h4:
    case Tag::h5:
    case Tag::h6:
        closePElementInButtonScope();
        if (stack_.current().isHTML() && stack_.current().has(NumberedHeading)) {
            parseError("nested-heading");
            pop();
        }
        insertElement(token);
        return;
    case Tag::pre:
    case Tag::listing:
        closePElementInButtonScope();
        insertElement(token);
        skipNextNewline_ = true;
        framesetOK_ = false;
        return;
    case Tag::form: {
        bool templateOpen = stack_.contains(Tag::template_);
        if (form_ && !templateOpen) return parseError("nested-form");
        closePElementInButtonScope();
        HTMLElement* form = insertElement(token);
        if (!templateOpen) form_ = form;
        return;
    }
    case Tag::li:
    case Tag::dd:
    case Tag::dt:
        return inBodyListItemStartTag(token);
    case Tag::plaintext:
        closePElementInButtonScope();
        insertElement(token);
        tokenizer_.setState(HTMLTokenizerState::PLAINTEXT);
        return;
    case Tag::button:
        if (stack_.hasInScope(Tag::button)) {
            parseError("nested-button");
            generateImpliedEndTags();
            popUntil(Tag::button);
        }
        reconstructActiveFormattingElements();
        insertElement(token);
        framesetOK_ = false;
        return;
    case Tag::a:
        if (size_t i = formatting_.lastIndexAfterMarker(Tag::a); i != npos) {
            HTMLElement* previous = formatting_[i].element;
            parseError("nested-anchor");
            runAdoptionAgency(token);
            if (size_t j = formatting_.indexOf(previous); j != npos) {
                if (formatting_.isOpen(formatting_[j], stack_)) removeFromStack(formatting_[j].stackIndex);
                formatting_.erase(j);
            }
        }
        reconstructActiveFormattingElements();
        pushFormattingElement(*insertElement(token));
        return;
    case Tag::b:
    case Tag::big:
    case Tag::code:
    case Tag::em:
    case Tag::font:
    case Tag::i:
    case Tag::s:
    case Tag::small:
    case Tag::strike:
    case Tag::strong:
    case Tag::tt:
    case Tag::u:
        reconstructActiveFormattingElements();
        pushFormattingElement(*insertElement(token));
        return;
    case Tag::nobr:
        reconstructActiveFormattingElements();
        if (stack_.hasInScope(Tag::nobr)) {
            parseError("nested-nobr");
            if (!runAdoptionAgency(token)) inBodyAnyOtherEndTag(token);
            reconstructActiveFormattingElements();
        }
        pushFormattingElement(*insertElement(token));
        return;
    case Tag::applet:
    case Tag::marquee:
    case Tag::object:
        reconstructActiveFormattingElements();
        insertElement(token);
        formatting_.pushMarker();
        framesetOK_ = false;
        return;
    case Tag::table:
        if (document_->quirksMode() != HTMLQuirksMode::Quirks) closePElementInButtonScope();
        insertElement(token);
        framesetOK_ = false;
        mode_ = InsertionMode::InTable;
        return;
    case Tag::area:
    case Tag::br:
    case Tag::embed:
    case Tag::img:
    case Tag::keygen:
    case Tag::wbr:
        reconstructActiveFormattingElements();
        insertElement(token);
        pop();
        framesetOK_ = false;
        return;
    case Tag::input: {
        if (isFragmentWithSelectContext()) return parseError("input-in-select");
        if (stack_.hasInScope(Tag::select)) {
            parseError("input-in-select");
            popUntil(Tag::select);
        }
        bool hidden = isHiddenInput(token);
        reconstructActiveFormattingElements();
        insertElement(token);
        pop();
        if (!hidden) framesetOK_ = false;
        return;
    }
    case Tag::param:
    case Tag::source:
    case Tag::track:
        insertElement(token);
        pop();
        return;
    case Tag::hr:
        closePElementInButtonScope();
        if (stack_.hasInScope(Tag::select)) {
            generateImpliedEndTags();
            if (stack_.hasInScope(Tag::option) || stack_.hasInScope(Tag::optgroup)) parseError("hr-in-option");
        }
        insertElement(token);
        pop();
        framesetOK_ = false;
        return;
    case Tag::image:
        parseError("image-start-tag");
        token.tag = Tag::img;
        token.tagName = "img";
        return inBodyStartTag(token);
    case Tag::textarea:
        skipNextNewline_ = true;
        framesetOK_ = false;
        return parseRawText(token, HTMLTokenizerState::RCDATA);
    case Tag::xmp:
        closePElementInButtonScope();
        reconstructActiveFormattingElements();
        framesetOK_ = false;
        return parseRawText(token, HTMLTokenizerState::RAWTEXT);
    case Tag::iframe:
        framesetOK_ = false;
        return parseRawText(token, HTMLTokenizerState::RAWTEXT);
    case Tag::noembed:
        return parseRawText(token, HTMLTokenizerState::RAWTEXT);
    case Tag::noscript:
        if (options_.scripting) return parseRawText(token, HTMLTokenizerState::RAWTEXT);
        break;
    case Tag::select:
        if (isFragmentWithSelectContext()) return parseError("nested-select");
        if (stack_.hasInScope(Tag::select)) {
            parseError("nested-select");
            popUntil(Tag::select);
            return;
        }
        reconstructActiveFormattingElements();
        insertElement(token);
        framesetOK_ = false;
        return;
    case Tag::option:
        if (stack_.hasInScope(Tag::select)) {
            generateImpliedEndTags(Tag::optgroup);
            if (stack_.hasInScope(Tag::option)) parseError("nested-option");
        } else if (stack_.current().is(Tag::option)) {
            pop();
        }
        reconstructActiveFormattingElements();
        insertElement(token);
        return;
    case Tag::optgroup:
        if (stack_.hasInScope(Tag::select)) {
            generateImpliedEndTags();
            if (stack_.hasInScope(Tag::option) || stack_.hasInScope(Tag::optgroup)) parseError("nested-optgroup");
        } else if (stack_.current().is(Tag::option)) {
            pop();
        }
        reconstructActiveFormattingElements();
        insertElement(token);
        return;
    case Tag::rb:
    case Tag::rtc:
        if (stack_.hasInScope(Tag::ruby)) {
            generateImpliedEndTags();
            if (!stack_.current().is(Tag::ruby)) parseError("unexpected-ruby-child");
        }
        insertElement(token);
        return;
    case Tag::rp:
    case Tag::rt:
        if (stack_.hasInScope(Tag::ruby)) {
            generateImpliedEndTags(Tag::rtc);
            if (!stack_.current().is(Tag::rtc) && !stack_.current().is(Tag::ruby))
                parseError("unexpected-ruby-child");
        }
        insertElement(token);
        return;
    case Tag::math:
    case Tag::svg:
        reconstructActiveFormattingElements();
        insertElement(token, token.tag == Tag::math ? Namespace::MathML : Namespace::SVG);
        if (token.selfClosing) pop();
        return;
    case Tag::caption:
    case Tag::col:
    case Tag::colgroup:
    case Tag::frame:
    case Tag::head:
    case Tag::tbody:
    case Tag::td:
    case Tag::tfoot:
    case Tag::th:
    case Tag::thead:
    case Tag::tr:
        return parseError("unexpected-start-tag");
    default:
        break;
    }
    reconstructActiveFormattingElements();
    insertElement(token);
}

// <li>, <dd> and <dt> close an open item of their kind unless a special
// element other than address, div or p stands between.
void HTMLTreeBuilder::inBodyListItemStartTag(HTMLTagToken& token) {
    framesetOK_ = false;
    for (size_t i = stack_.size(); i-- > 0;) {
        const Entry& node = stack_[i];
        Tag closes = Tag::Unknown;
        if (token.tag == Tag::li && node.is(Tag::li)) closes = Tag::li;
        if (token.tag != Tag::li && (node.is(Tag::dd) || node.is(Tag::dt))) closes = node.tag;
        if (closes != Tag::Unknown) {
            generateImpliedEndTags(closes);
            if (!stack_.current().is(closes)) parseError("unclosed-list-item");
            popUntil(closes);
            break;
        }
        if (node.has(Special) && !node.is(Tag::address) && !node.is(Tag::div) && !node.is(Tag::p)) break;
    }
    closePElementInButtonScope();
    insertElement(token);
}

void HTMLTreeBuilder::inBodyEndTag(HTMLTagToken& token) {
    switch (token.tag) {
    case Tag::template_:
        return inHeadMode(token);
    case Tag::body:
    case Tag::html:
        if (!stack_.hasInScope(Tag::body)) return parseError("unexpected-end-tag");
        if (errors_) {
            for (size_t i = 0; i < stack_.size(); ++i)
                if (!stack_[i].has(OpenAtEndOfBody)) {
                    parseError("end-tag-with-unclosed-elements");
                    break;
                }
        }
        mode_ = InsertionMode::AfterBody;
        if (token.tag == Tag::html) processInMode(mode_, token);
        return;
    case Tag::address:
    case Tag::article:
    case Tag::aside:
    case Tag::blockquote:
    case Tag::button:
    case Tag::center:
    case Tag::details:
    case Tag::dialog:
    case Tag::dir:
    case Tag::div:
    case Tag::dl:
    case Tag::fieldset:
    case Tag::figcaption:
    case Tag::figure:
    case Tag::footer:
    case Tag::header:
    case Tag::hgroup:
    case Tag::listing:
    case Tag::main:
    case Tag::menu:
    case Tag::nav:
    case Tag::ol:
    case Tag::pre:
    case Tag::search:
    case Tag::section:
    case Tag::summary:
    case Tag::ul:
        if (!stack_.hasInScope(token.tag)) return parseError("unexpected-end-tag");
        generateImpliedEndTags();
        if (!stack_.current().is(token.tag)) parseError("end-tag-with-unclosed-elements");
        popUntil(token.tag);
        return;
    case Tag::form:
        if (!stack_.contains(Tag::template_)) {
            HTMLElement* form = form_;
            form_ = nullptr;
            if (!form || !stack_.hasInScope(form)) return parseError("unexpected-end-tag");
            generateImpliedEndTags();
            if (stack_.currentElement() != form) parseError("end-tag-with-unclosed-elements");
            if (size_t i = stack_.indexOf(form); i != npos) removeFromStack(i);
            return;
        }
        if (!stack_.hasInScope(Tag::form)) return parseError("unexpected-end-tag");
        generateImpliedEndTags();
        if (!stack_.current().is(Tag::form)) parseError("end-tag-with-unclosed-elements");
        popUntil(Tag::form);
        return;
    case Tag::p:
        if (!stack_.hasInScope(Tag::p, ButtonScopeBoundary)) {
            parseError("unexpected-end-tag");
            insertElement(Tag::p);
        }
        closePElement();
        return;
    case Tag::li:
    case Tag::dd:
    case Tag::dt:
        if (!stack_.hasInScope(token.tag, token.tag == Tag::li ? ListItemScopeBoundary : ScopeBoundary))
            return parseError("unexpected-end-tag");
        generateImpliedEndTags(token.tag);
        if (!stack_.current().is(token.tag)) parseError("end-tag-with-unclosed-elements");
        popUntil(token.tag);
        return;
    case Tag::h1:
    case Tag::h2:
    case Tag::h3:
    case Tag::h4:
    case Tag::h5:
    case Tag::h6:
        if (!stack_.hasNumberedHeadingInScope()) return parseError("unexpected-end-tag");
        generateImpliedEndTags();
        if (!stack_.current().is(token.tag)) parseError("end-tag-with-unclosed-elements");
        popUntilNumberedHeading();
        return;
    case Tag::a:
    case Tag::b:
    case Tag::big:
    case Tag::code:
    case Tag::em:
    case Tag::font:
    case Tag::i:
    case Tag::nobr:
    case Tag::s:
    case Tag::small:
    case Tag::strike:
    case Tag::strong:
    case Tag::tt:
    case Tag::u:
        if (!runAdoptionAgency(token)) inBodyAnyOtherEndTag(token);
        return;
    case Tag::applet:
    case Tag::marquee:
    case Tag::object:
        if (!stack_.hasInScope(token.tag)) return parseError("unexpected-end-tag");
        generateImpliedEndTags();
        if (!stack_.current().is(token.tag)) parseError("end-tag-with-unclosed-elements");
        popUntil(token.tag);
        formatting_.clearToLastMarker();
        return;
    case Tag::br:
        parseError("unexpected-end-tag");
        reconstructActiveFormattingElements();
        insertElement(Tag::br);
        pop();
        framesetOK_ = false;
        return;
    case Tag::select:
        if (!stack_.hasInScope(Tag::select)) return parseError("unexpected-end-tag");
        popUntil(Tag::select);
        return;
    default:
        return inBodyAnyOtherEndTag(token);
    }
}

void HTMLTreeBuilder::inBodyAnyOtherEndTag(const HTMLTagToken& token) {
    for (size_t i = stack_.size(); i-- > 0;) {
        const Entry& node = stack_[i];
        if (hasTokenName(node, token)) {
            while (stack_.current().has(ImpliedEndTag) && !hasTokenName(stack_.current(), token)) pop();
            if (i != stack_.size() - 1) parseError("end-tag-with-unclosed-elements");
            popUntilPopped(i);
            return;
        }
        if (node.has(Special)) return parseError("unexpected-end-tag");
    }
}

void HTMLTreeBuilder::inBodyEndOfFile(HTMLToken& token) {
    if (!templateModes_.empty()) return inTemplateMode(token);
    if (errors_) {
        for (size_t i = 0; i < stack_.size(); ++i)
            if (!stack_[i].has(OpenAtEndOfBody)) return parseError("eof-with-unclosed-elements");
    }
}

// ---------------------------------------------------------------------------
// Text, tables and templates

void HTMLTreeBuilder::textMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
        return insertCharacters(textOf(token));
    case Type::EndOfFile:
        parseError("eof-in-element-that-can-contain-only-text");
        pop();
        mode_ = originalMode_;
        return processInMode(mode_, token);
    case Type::EndTag:
        pop();
        mode_ = originalMode_;
        return;
    default:
        return;
    }
}

void HTMLTreeBuilder::inTableMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
        if (stack_.current().isHTML() && stack_.current().has(TableTextTarget)) {
            pendingTableText_.clear();
            pendingTableTextIsWhitespace_ = true;
            originalMode_ = mode_;
            mode_ = InsertionMode::InTableText;
            return inTableTextMode(token);
        }
        break;
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::caption:
            clearStackBackTo(TableContext);
            formatting_.pushMarker();
            insertElement(tag);
            mode_ = InsertionMode::InCaption;
            return;
        case Tag::colgroup:
            clearStackBackTo(TableContext);
            insertElement(tag);
            mode_ = InsertionMode::InColumnGroup;
            return;
        case Tag::col:
            clearStackBackTo(TableContext);
            insertElement(Tag::colgroup);
            mode_ = InsertionMode::InColumnGroup;
            return processInMode(mode_, token);
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            clearStackBackTo(TableContext);
            insertElement(tag);
            mode_ = InsertionMode::InTableBody;
            return;
        case Tag::td:
        case Tag::th:
        case Tag::tr:
            clearStackBackTo(TableContext);
            insertElement(Tag::tbody);
            mode_ = InsertionMode::InTableBody;
            return processInMode(mode_, token);
        case Tag::table:
            parseError("nested-table");
            if (!stack_.hasInScope(Tag::table, TableScopeBoundary)) return;
            popUntil(Tag::table);
            resetInsertionMode();
            return processInMode(mode_, token);
        case Tag::style:
        case Tag::script:
        case Tag::template_:
            return inHeadMode(token);
        case Tag::input:
            if (!isHiddenInput(tag)) break;
            parseError("unexpected-start-tag-in-table");
            insertElement(tag);
            pop();
            return;
        case Tag::form:
            parseError("unexpected-start-tag-in-table");
            if (stack_.contains(Tag::template_) || form_) return;
            form_ = insertElement(tag);
            pop();
            return;
        default:
            break;
        }
        break;
    }
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::table:
            if (!stack_.hasInScope(Tag::table, TableScopeBoundary)) return parseError("unexpected-end-tag");
            popUntil(Tag::table);
            resetInsertionMode();
            return;
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndOfFile:
        return inBodyMode(token);
    default:
        return;
    }
    parseError("unexpected-token-in-table");
    processAsTableAnythingElse(token);
}

// Content that does not belong in a table goes in front of it.
void HTMLTreeBuilder::processAsTableAnythingElse(HTMLToken& token) {
    fosterParenting_ = true;
    inBodyMode(token);
    fosterParenting_ = false;
}

void HTMLTreeBuilder::inTableTextMode(HTMLToken& token) {
    if (token.type == Type::Character) {
        std::string_view text = textOf(token);
        if (text.empty()) return;
        if (text.front() == '\0') return parseError("unexpected-null-character");
        pendingTableText_.append(text);
        if (pendingTableTextIsWhitespace_ && !isAllWhitespace(text)) pendingTableTextIsWhitespace_ = false;
        return;
    }
    flushPendingTableText();
    mode_ = originalMode_;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::flushPendingTableText() {
    if (pendingTableText_.empty()) return;
    if (pendingTableTextIsWhitespace_) {
        insertCharacters(pendingTableText_);
    } else {
        parseError("unexpected-character-in-table");
        fosterParenting_ = true;
        inBodyCharacters(pendingTableText_);
        fosterParenting_ = false;
    }
    pendingTableText_.clear();
}

void HTMLTreeBuilder::inCaptionMode(HTMLToken& token) {
    if (token.type == Type::StartTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-start-tag");
            closeCaption();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-end-tag");
            return closeCaption();
        case Tag::table:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeCaption();
            return processInMode(mode_, token);
        case Tag::body:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inBodyMode(token);
}

void HTMLTreeBuilder::inColumnGroupMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) insertCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::col:
            insertElement(tagOf(token));
            pop();
            return;
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::colgroup:
            if (!stack_.current().is(Tag::colgroup)) return parseError("unexpected-end-tag");
            pop();
            mode_ = InsertionMode::InTable;
            return;
        case Tag::col:
            return parseError("unexpected-end-tag");
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndOfFile:
        return inBodyMode(token);
    default:
        return;
    }
    if (!stack_.current().is(Tag::colgroup)) return parseError("unexpected-token-in-column-group");
    pop();
    mode_ = InsertionMode::InTable;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inTableBodyMode(HTMLToken& token) {
    auto closeTableBody = [&] {
        if (!stack_.hasInScope(Tag::tbody, TableScopeBoundary) && !stack_.hasInScope(Tag::thead, TableScopeBoundary) &&
            !stack_.hasInScope(Tag::tfoot, TableScopeBoundary))
            return parseError("unexpected-token-in-table-body");
        clearStackBackTo(TableBodyContext);
        pop();
        mode_ = InsertionMode::InTable;
        processInMode(mode_, token);
    };
    if (token.type == Type::StartTag) {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::tr:
            clearStackBackTo(TableBodyContext);
            insertElement(tag);
            mode_ = InsertionMode::InRow;
            return;
        case Tag::th:
        case Tag::td:
            parseError("cell-outside-row");
            clearStackBackTo(TableBodyContext);
            insertElement(Tag::tr);
            mode_ = InsertionMode::InRow;
            return processInMode(mode_, token);
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            return closeTableBody();
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            clearStackBackTo(TableBodyContext);
            pop();
            mode_ = InsertionMode::InTable;
            return;
        case Tag::table:
            return closeTableBody();
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::td:
        case Tag::th:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inTableMode(token);
}

void HTMLTreeBuilder::inRowMode(HTMLToken& token) {
    auto closeRow = [&] {
        clearStackBackTo(TableRowContext);
        pop();
        mode_ = InsertionMode::InTableBody;
    };
    if (token.type == Type::StartTag) {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::th:
        case Tag::td:
            clearStackBackTo(TableRowContext);
            insertElement(tag);
            mode_ = InsertionMode::InCell;
            formatting_.pushMarker();
            return;
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-start-tag");
            closeRow();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::tr:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-end-tag");
            return closeRow();
        case Tag::table:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeRow();
            return processInMode(mode_, token);
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return;
            closeRow();
            return processInMode(mode_, token);
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::td:
        case Tag::th:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inTableMode(token);
}

void HTMLTreeBuilder::inCellMode(HTMLToken& token) {
    if (token.type == Type::StartTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::td, TableScopeBoundary) && !stack_.hasInScope(Tag::th, TableScopeBoundary))
                return parseError("unexpected-start-tag");
            closeCell();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::td:
        case Tag::th:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            generateImpliedEndTags();
            if (!stack_.current().is(tag)) parseError("end-tag-with-unclosed-elements");
            popUntil(tag);
            formatting_.clearToLastMarker();
            mode_ = InsertionMode::InRow;
            return;
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
            return parseError("unexpected-end-tag");
        case Tag::table:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeCell();
            return processInMode(mode_, token);
        default:
            break;
        }
    }
    inBodyMode(token);
}

void HTMLTreeBuilder::inTemplateMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
    case Type::Comment:
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::base:
        case Tag::basefont:
        case Tag::bgsound:
        case Tag::link:
        case Tag::meta:
        case Tag::noframes:
        case Tag::script:
        case Tag::style:
        case Tag::template_:
        case Tag::title:
            return inHeadMode(token);
        case Tag::caption:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            switchTemplateMode(InsertionMode::InTable);
            break;
        case Tag::col:
            switchTemplateMode(InsertionMode::InColumnGroup);
            break;
        case Tag::tr:
            switchTemplateMode(InsertionMode::InTableBody);
            break;
        case Tag::td:
        case Tag::th:
            switchTemplateMode(InsertionMode::InRow);
            break;
        default:
            switchTemplateMode(InsertionMode::InBody);
            break;
        }
        return processInMode(mode_, token);
    case Type::EndTag:
        if (tagOf(token).tag == Tag::template_) return inHeadMode(token);
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
        if (!stack_.contains(Tag::template_)) return;
        parseError("eof-in-template");
        popUntil(Tag::template_);
        formatting_.clearToLastMarker();
        templateModes_.pop_back();
        resetInsertionMode();
        return processInMode(mode_, token);
    case Type::ParseError:
        return;
    }
}

// ---------------------------------------------------------------------------
// After the body, and framesets

void HTMLTreeBuilder::afterBodyMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token, *stack_[0].element);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        break;
    case Type::EndTag:
        if (tagOf(token).tag == Tag::html) {
            if (context_) return parseError("unexpected-end-tag");
            mode_ = InsertionMode::AfterAfterBody;
            return;
        }
        break;
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
    parseError("unexpected-token-after-body");
    mode_ = InsertionMode::InBody;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        std::string whitespace;
        for (char c : text)
            if (isASCIIWhitespace(c)) whitespace.push_back(c);
        if (whitespace.size() != text.size()) parseError("unexpected-character-in-frameset");
        if (!whitespace.empty()) insertCharacters(whitespace);
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::frameset:
            insertElement(tagOf(token));
            return;
        case Tag::frame:
            insertElement(tagOf(token));
            pop();
            return;
        case Tag::noframes:
            return inHeadMode(token);
        default:
            return parseError("unexpected-start-tag");
        }
    case Type::EndTag:
        if (tagOf(token).tag != Tag::frameset) return parseError("unexpected-end-tag");
        if (stack_.size() == 1) return parseError("unexpected-end-tag");
        pop();
        if (!context_ && !stack_.current().is(Tag::frameset)) mode_ = InsertionMode::AfterFrameset;
        return;
    case Type::EndOfFile:
        if (stack_.size() != 1) parseError("eof-in-frameset");
        return;
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::afterFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        std::string whitespace;
        for (char c : text)
            if (isASCIIWhitespace(c)) whitespace.push_back(c);
        if (whitespace.size() != text.size()) parseError("unexpected-character-after-frameset");
        if (!whitespace.empty()) insertCharacters(whitespace);
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        if (tagOf(token).tag == Tag::noframes) return inHeadMode(token);
        return parseError("unexpected-start-tag");
    case Type::EndTag:
        if (tagOf(token).tag == Tag::html) {
            mode_ = InsertionMode::AfterAfterFrameset;
            return;
        }
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::afterAfterBodyMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        break;
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    default:
        break;
    }
    parseError("unexpected-token-after-body");
    mode_ = InsertionMode::InBody;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::afterAfterFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::Character: {
        std::string_view text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        if (n != text.size()) parseError("unexpected-character-after-frameset");
        return;
    }
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        if (tagOf(token).tag == Tag::noframes) return inHeadMode(token);
        return parseError("unexpected-start-tag");
    case Type::EndTag:
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

// ---------------------------------------------------------------------------
// Foreign content

void HTMLTreeBuilder::foreignContent(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        if (text.empty()) return;
        if (text.front() == '\0') {
            parseError("unexpected-null-character");
            std::string replacement;
            for (size_t i = 0; i < text.size(); ++i) replacement += "\xEF\xBF\xBD";
            return insertCharacters(replacement);
        }
        insertCharacters(text);
        if (framesetOK_ && !isAllWhitespace(text)) framesetOK_ = false;
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        if (breaksOutOfForeignContent(tag)) {
            parseError("html-start-tag-in-foreign-content");
            while (!stack_.current().isHTML() &&
                   !stack_.current().has(MathMLTextIntegrationPoint | HTMLIntegrationPoint))
                pop();
            return processInMode(mode_, token);
        }
        insertElement(tag, adjustedCurrentNode().ns);
        if (tag.selfClosing) pop();
        return;
    }
    case Type::EndTag:
        return foreignContentEndTag(token);
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::foreignContentEndTag(HTMLToken& token) {
    HTMLTagToken& tag = tagOf(token);
    if (tag.tag == Tag::br || tag.tag == Tag::p) {
        parseError("html-end-tag-in-foreign-content");
        while (!stack_.current().isHTML() && !stack_.current().has(MathMLTextIntegrationPoint | HTMLIntegrationPoint))
            pop();
        return processInMode(mode_, token);
    }
    const Entry& current = stack_.current();
    if (tag.tag == Tag::script && current.ns == Namespace::SVG && current.tag == Tag::script) return pop();

    size_t i = stack_.size() - 1;
    if (!equalsIgnoringASCIICase(stack_[i].element->localName(), tag.tagName)) parseError("unexpected-end-tag");
    for (;;) {
        if (i == 0) return;
        if (equalsIgnoringASCIICase(stack_[i].element->localName(), tag.tagName)) return popUntilPopped(i);
        --i;
        if (stack_[i].isHTML()) return processInMode(mode_, token);
    }
}

// ---------------------------------------------------------------------------
// Shared algorithms

// Returns false when there is no formatting element of the token's name, and
// the caller treats the token as "any other end tag".
bool HTMLTreeBuilder::runAdoptionAgency(const HTMLTagToken& token) {
    const Tag subject = token.tag;
    if (stack_.current().is(subject) && formatting_.indexOf(stack_.currentElement()) == npos) {
        pop();
        return true;
    }
    for (int outer = 0; outer < 8; ++outer) {
        size_t formattingIndex = formatting_.lastIndexAfterMarker(subject);
        if (formattingIndex == npos) return false;
        HTMLElement* formattingElement = formatting_[formattingIndex].element;
        if (!formatting_.isOpen(formatting_[formattingIndex], stack_)) {
            parseError("formatting-element-not-open");
            formatting_.erase(formattingIndex);
            return true;
        }
        const size_t formattingStackIndex = formatting_[formattingIndex].stackIndex;
        if (!stack_.hasInScope(formattingElement)) {
            parseError("formatting-element-not-in-scope");
            return true;
        }
        if (formattingElement != stack_.currentElement()) parseError("misnested-formatting-element");

        size_t furthestIndex = npos;
        for (size_t i = formattingStackIndex + 1; i < stack_.size(); ++i) {
            if (stack_[i].has(Special)) {
                furthestIndex = i;
                break;
            }
        }
        if (furthestIndex == npos) {
            popUntilPopped(formattingStackIndex);
            formatting_.erase(formattingIndex);
            return true;
        }

        const Entry commonAncestor = stack_[formattingStackIndex - 1];
        HTMLElement* furthestBlock = stack_[furthestIndex].element;
        size_t bookmark = formattingIndex;
        Ref<HTMLElement> lastNode = furthestBlock;
        size_t nodeIndex = furthestIndex;
        for (int inner = 1;; ++inner) {
            --nodeIndex;
            HTMLElement* node = stack_[nodeIndex].element;
            if (node == formattingElement) break;
            size_t nodeFormattingIndex = formatting_.indexOf(node);
            if (inner > 3 && nodeFormattingIndex != npos) {
                formatting_.erase(nodeFormattingIndex);
                if (nodeFormattingIndex < bookmark) --bookmark;
                nodeFormattingIndex = npos;
            }
            if (nodeFormattingIndex == npos) {
                removeFromStack(nodeIndex);
                continue;
            }
            Ref<HTMLElement> replacement = shallowCopy(*node);
            stack_.replace(nodeIndex, *replacement);
            formatting_.replace(nodeFormattingIndex, *replacement, nodeIndex);
            if (lastNode.get() == furthestBlock) bookmark = nodeFormattingIndex + 1;
            replacement->insertParsedNode(lastNode, nullptr);
            lastNode = std::move(replacement);
        }

        insertAt(appropriatePlace(commonAncestor), lastNode);

        Ref<HTMLElement> newElement = shallowCopy(*formattingElement);
        furthestBlock->reparentChildNodesIntoNode(newElement.get());
        furthestBlock->insertParsedNode(newElement, nullptr);

        removeFromStack(stack_.indexOf(formattingElement));
        insertIntoStack(stack_.indexOf(furthestBlock) + 1, *newElement);
        size_t oldIndex = formatting_.indexOf(formattingElement);
        formatting_.erase(oldIndex);
        if (oldIndex < bookmark) --bookmark;
        formatting_.insert(std::min(bookmark, formatting_.size()), *newElement, stack_.indexOf(newElement.get()));
    }
    return true;
}

void HTMLTreeBuilder::reconstructActiveFormattingElements() {
    const size_t count = formatting_.size();
    if (count == 0) return;
    auto settled = [&](const HTMLFormattingElementList::Entry& e) {
        return e.isMarker() || formatting_.isOpen(e, stack_);
    };
    if (settled(formatting_[count - 1])) return;
    size_t i = count - 1;
    while (i > 0 && !settled(formatting_[i - 1])) --i;
    for (; i < count; ++i) {
        InsertionLocation location = appropriatePlace();
        Ref<HTMLElement> copy = shallowCopy(*formatting_[i].element);
        HTMLElement& element = *copy;
        insertAt(location, std::move(copy));
        push(element);
        formatting_.replace(i, element, stack_.size() - 1);
    }
}

void HTMLTreeBuilder::resetInsertionMode() {
    for (size_t i = stack_.size(); i-- > 0;) {
        const bool last = i == 0;
        const Entry& node = last && context_ ? contextEntry_ : stack_[i];
        if (node.isHTML()) {
            switch (node.tag) {
            case Tag::td:
            case Tag::th:
                if (!last) {
                    mode_ = InsertionMode::InCell;
                    return;
                }
                break;
            case Tag::tr:
                mode_ = InsertionMode::InRow;
                return;
            case Tag::tbody:
            case Tag::thead:
            case Tag::tfoot:
                mode_ = InsertionMode::InTableBody;
                return;
            case Tag::caption:
                mode_ = InsertionMode::InCaption;
                return;
            case Tag::colgroup:
                mode_ = InsertionMode::InColumnGroup;
                return;
            case Tag::table:
                mode_ = InsertionMode::InTable;
                return;
            case Tag::template_:
                mode_ = templateModes_.empty() ? InsertionMode::InBody : templateModes_.back();
                return;
            case Tag::head:
                if (!last) {
                    mode_ = InsertionMode::InHead;
                    return;
                }
                break;
            case Tag::body:
                mode_ = InsertionMode::InBody;
                return;
            case Tag::frameset:
                mode_ = InsertionMode::InFrameset;
                return;
            case Tag::html:
                mode_ = head_ ? InsertionMode::AfterHead : InsertionMode::BeforeHead;
                return;
            default:
                break;
            }
        }
        if (last) {
            mode_ = InsertionMode::InBody;
            return;
        }
    }
}

void HTMLTreeBuilder::generateImpliedEndTags(Tag except) {
    while (stack_.current().has(ImpliedEndTag) && !stack_.current().is(except)) pop();
}

void HTMLTreeBuilder::generateImpliedEndTagsThoroughly() {
    while (stack_.current().has(ThoroughlyImpliedEndTag)) pop();
}

void HTMLTreeBuilder::closePElement() {
    generateImpliedEndTags(Tag::p);
    if (!stack_.current().is(Tag::p)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::p);
}

void HTMLTreeBuilder::closePElementInButtonScope() {
    if (stack_.hasInScope(Tag::p, ButtonScopeBoundary)) closePElement();
}

void HTMLTreeBuilder::closeCell() {
    generateImpliedEndTags();
    if (!stack_.current().is(Tag::td) && !stack_.current().is(Tag::th)) parseError("end-tag-with-unclosed-elements");
    while (!stack_.empty()) {
        bool cell = stack_.current().is(Tag::td) || stack_.current().is(Tag::th);
        pop();
        if (cell) break;
    }
    formatting_.clearToLastMarker();
    mode_ = InsertionMode::InRow;
}

void HTMLTreeBuilder::closeCaption() {
    generateImpliedEndTags();
    if (!stack_.current().is(Tag::caption)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::caption);
    formatting_.clearToLastMarker();
    mode_ = InsertionMode::InTable;
}

void HTMLTreeBuilder::endTemplate() {
    if (!stack_.contains(Tag::template_)) return parseError("unexpected-end-tag");
    generateImpliedEndTagsThoroughly();
    if (!stack_.current().is(Tag::template_)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::template_);
    formatting_.clearToLastMarker();
    if (!templateModes_.empty()) templateModes_.pop_back();
    resetInsertionMode();
}

void HTMLTreeBuilder::clearStackBackTo(uint32_t context) {
    while (!(stack_.current().isHTML() && stack_.current().has(context))) pop();
}

// The generic raw text and RCDATA element parsing algorithms (and <script>).
void HTMLTreeBuilder::parseRawText(HTMLTagToken& token, HTMLTokenizerState state) {
    insertElement(token);
    tokenizer_.setState(state);
    tokenizer_.setLastStartTagName(token.tagName);
    originalMode_ = mode_;
    mode_ = InsertionMode::Text;
}

void HTMLTreeBuilder::switchTemplateMode(InsertionMode mode) {
    if (!templateModes_.empty()) templateModes_.pop_back();
    templateModes_.push_back(mode);
    mode_ = mode;
}

bool HTMLTreeBuilder::isFragmentWithSelectContext() const { return context_ && context_->is(Tag::select); }

// ---------------------------------------------------------------------------
// The stack of open elements

void HTMLTreeBuilder::push(HTMLElement& element) { stack_.push(element); }

void HTMLTreeBuilder::pop() {
    Entry entry = stack_.pop();
    if (sawSelectedContent_ && entry.is(Tag::option)) cloneSelectedOption(*entry.element);
}

void HTMLTreeBuilder::popUntil(Tag tag) {
    while (!stack_.empty()) {
        bool found = stack_.current().is(tag);
        pop();
        if (found) return;
    }
}

void HTMLTreeBuilder::popUntilPopped(size_t stackIndex) {
    while (stack_.size() > stackIndex) pop();
}

void HTMLTreeBuilder::popUntilNumberedHeading() {
    while (!stack_.empty()) {
        bool found = stack_.current().isHTML() && stack_.current().has(NumberedHeading);
        pop();
        if (found) return;
    }
}

void HTMLTreeBuilder::removeFromStack(size_t stackIndex) {
    stack_.erase(stackIndex);
    formatting_.stackErased(stackIndex);
}

void HTMLTreeBuilder::insertIntoStack(size_t stackIndex, HTMLElement& element) {
    stack_.insert(stackIndex, element);
    formatting_.stackInserted(stackIndex);
}

const HTMLElementStack::Entry& HTMLTreeBuilder::adjustedCurrentNode() const {
    return context_ && stack_.size() == 1 ? contextEntry_ : stack_.current();
}

// ---------------------------------------------------------------------------
// Inserting nodes

HTMLTreeBuilder::InsertionLocation HTMLTreeBuilder::appropriatePlace(const Entry& target) const {
    if (fosterParenting_ && target.isHTML() && target.has(FosterParentTarget)) return fosterParentLocation();
    if (target.is(Tag::template_)) return {target.element->templateContent(), nullptr};
    return {target.element, nullptr};
}

HTMLTreeBuilder::InsertionLocation HTMLTreeBuilder::fosterParentLocation() const {
    size_t lastTemplate = npos;
    size_t lastTable = npos;
    bool seekTemplate = stack_.contains(Tag::template_);
    bool seekTable = stack_.contains(Tag::table);
    for (size_t i = stack_.size(); i-- > 0 && (seekTemplate || seekTable);) {
        if (seekTemplate && stack_[i].is(Tag::template_)) {
            lastTemplate = i;
            seekTemplate = false;
            if (lastTable == npos) break;  // the template is the more recent
        } else if (seekTable && stack_[i].is(Tag::table)) {
            lastTable = i;
            seekTable = false;
        }
    }
    if (lastTemplate != npos && (lastTable == npos || lastTemplate > lastTable))
        return {stack_[lastTemplate].element->templateContent(), nullptr};
    if (lastTable == npos) return {stack_[0].element, nullptr};
    HTMLElement* table = stack_[lastTable].element;
    if (HTMLNode* parent = table->parentNode()) return {parent, table};
    const Entry& previous = stack_[lastTable - 1];
    if (previous.is(Tag::template_)) return {previous.element->templateContent(), nullptr};
    return {previous.element, nullptr};
}

void HTMLTreeBuilder::insertAt(const InsertionLocation& location, Ref<HTMLNode> node) {
    location.parent->insertParsedNode(std::move(node), location.before);
}

Ref<HTMLElement> HTMLTreeBuilder::createElement(HTMLTagToken& token, Namespace ns) {
    Tag tag = token.tag;
    std::string_view name = token.tagName;
    if (ns == Namespace::SVG) {
        std::string_view adjusted = adjustedSVGTagName(name);
        if (adjusted.data() != name.data()) {
            name = adjusted;
            tag = tagFromName(adjusted);
        }
    } else if (ns == Namespace::HTML && tag == Tag::Unknown && name == "selectedcontent") {
        sawSelectedContent_ = true;
    }
    Ref<HTMLElement> element = tag != Tag::Unknown ? make<HTMLElement>(tag, ns) : make<HTMLElement>(name, ns);
    element->reserveAttributes(token.attributes.size());
    for (auto& attribute : token.attributes) {
        if (ns == Namespace::HTML)
            element->appendAttribute(HTMLAttribute{std::move(attribute.name), std::move(attribute.value)});
        else
            element->appendAttribute(adjustedForeignAttribute(std::move(attribute), ns));
    }
    return element;
}

HTMLElement* HTMLTreeBuilder::insertElement(HTMLTagToken& token, Namespace ns) {
    InsertionLocation location = appropriatePlace();
    Ref<HTMLElement> element = createElement(token, ns);
    HTMLElement& raw = *element;
    insertAt(location, std::move(element));
    push(raw);
    return &raw;
}

HTMLElement* HTMLTreeBuilder::insertElement(Tag tag) {
    InsertionLocation location = appropriatePlace();
    Ref<HTMLElement> element = make<HTMLElement>(tag);
    HTMLElement& raw = *element;
    insertAt(location, std::move(element));
    push(raw);
    return &raw;
}

void HTMLTreeBuilder::insertCharacters(std::string_view text) {
    InsertionLocation location = appropriatePlace();
    if (location.parent->nodeType() == HTMLNodeType::Document) return;
    HTMLNode* previous = location.before ? location.before->previousSibling() : location.parent->lastChild();
    if (previous && previous->isText()) {
        static_cast<HTMLText*>(previous)->appendData(text);
        return;
    }
    insertAt(location, HTMLText::create(std::string(text)));
}

void HTMLTreeBuilder::insertComment(HTMLToken& token) {
    insertAt(appropriatePlace(), HTMLComment::create(std::move(static_cast<HTMLCommentToken&>(token).data)));
}

void HTMLTreeBuilder::insertComment(HTMLToken& token, HTMLNode& parent) {
    parent.appendNode(HTMLComment::create(std::move(static_cast<HTMLCommentToken&>(token).data)));
}

void HTMLTreeBuilder::pushFormattingElement(HTMLElement& element) {
    formatting_.push(element, stack_.size() - 1);
}

// The names the element has go into a set first, so a second <html> or
// <body> with a hundred thousand attributes costs linear time.
void HTMLTreeBuilder::addMissingAttributes(HTMLElement& element, const HTMLTagToken& token) {
    std::unordered_set<std::string> present;
    for (const HTMLAttribute& attribute : element.attributes())
        if (attribute.ns == AttributeNamespace::None) present.insert(attribute.name);
    for (const auto& attribute : token.attributes)
        if (present.insert(attribute.name).second) element.appendAttribute(HTMLAttribute{attribute.name, attribute.value});
}

// A <selectedcontent> inside a <select> shows a copy of the selected option,
// made when that option is closed.
void HTMLTreeBuilder::cloneSelectedOption(HTMLElement& option) {
    HTMLElement* select = option.parentElement();
    while (select && !select->is(Tag::select)) select = select->parentElement();
    if (!select) return;
    HTMLElement* selectedContent = nullptr;
    HTMLElement* firstOption = nullptr;
    HTMLElement* lastSelected = nullptr;
    for (HTMLNode* node = select->firstChild(); node; node = nextInSubtree(node, select)) {
        auto* element = node->as<HTMLElement>();
        if (!element) continue;
        if (!selectedContent && element->htmlNamespace() == Namespace::HTML &&
            element->localName() == "selectedcontent")
            selectedContent = element;
        if (element->is(Tag::option)) {
            if (!firstOption) firstOption = element;
            if (element->hasAttribute("selected")) lastSelected = element;
        }
    }
    HTMLElement* selected = lastSelected ? lastSelected : firstOption;
    if (!selectedContent || selected != &option || selectedContent->containsNode(&option) ||
        option.containsNode(selectedContent))
        return;
    // Open elements may sit inside what is replaced; keep them alive.
    while (HTMLNode* child = selectedContent->firstChild()) {
        detached_.push_back(child);
        selectedContent->removeChildNode(child);
    }
    for (HTMLNode* child = option.firstChild(); child; child = child->nextSibling())
        selectedContent->appendNode(child->cloneNodeDeep(true));
}

}  // namespace zv::html
