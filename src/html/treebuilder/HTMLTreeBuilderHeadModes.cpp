// The insertion modes up to the body: initial, before html, before head, in
// head, in head noscript and after head.

#include "HTMLTreeBuilder.h"

#include "HTMLQuirks.h"
#include "HTMLTreeBuilderSupport.h"

#include <zv/html/HTMLDocumentType.h>

namespace zv::html {

using namespace treebuilder;

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

}  // namespace zv::html
