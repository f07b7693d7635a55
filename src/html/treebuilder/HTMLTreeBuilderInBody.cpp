// The in body insertion mode, by token type, and its start tags by group.

#include "HTMLTreeBuilder.h"

#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

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
        return inBodyHTMLStartTag(token);
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
        return inBodyBodyStartTag(token);
    case Tag::frameset:
        return inBodyFramesetStartTag(token);
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
        return inBodyHeadingStartTag(token);
    case Tag::pre:
    case Tag::listing:
        return inBodyPreStartTag(token);
    case Tag::form:
        return inBodyFormStartTag(token);
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
        return inBodyButtonStartTag(token);
    case Tag::a:
        return inBodyAnchorStartTag(token);
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
        return inBodyNobrStartTag(token);
    case Tag::applet:
    case Tag::marquee:
    case Tag::object:
        reconstructActiveFormattingElements();
        insertElement(token);
        formatting_.pushMarker();
        framesetOK_ = false;
        return;
    case Tag::table:
        return inBodyTableStartTag(token);
    case Tag::area:
    case Tag::br:
    case Tag::embed:
    case Tag::img:
    case Tag::keygen:
    case Tag::wbr:
    case Tag::input:
        return inBodyVoidStartTag(token);
    case Tag::param:
    case Tag::source:
    case Tag::track:
        insertElement(token);
        pop();
        return;
    case Tag::hr:
        return inBodyHRStartTag(token);
    case Tag::image:
        parseError("image-start-tag");
        token.tag = Tag::img;
        token.tagName = "img";
        return inBodyStartTag(token);
    case Tag::textarea:
    case Tag::xmp:
    case Tag::iframe:
    case Tag::noembed:
        return inBodyRawTextStartTag(token);
    case Tag::noscript:
        if (options_.scripting) return inBodyRawTextStartTag(token);
        break;
    case Tag::select:
        return inBodySelectStartTag(token);
    case Tag::option:
    case Tag::optgroup:
        return inBodyOptionStartTag(token);
    case Tag::rb:
    case Tag::rtc:
    case Tag::rp:
    case Tag::rt:
        return inBodyRubyStartTag(token);
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

// A second <html> or <body> lends the first its attributes.
void HTMLTreeBuilder::inBodyHTMLStartTag(const HTMLTagToken& token) {
    parseError("unexpected-start-tag");
    if (!stack_.contains(Tag::template_)) addMissingAttributes(*stack_[0].element, token);
}

void HTMLTreeBuilder::inBodyBodyStartTag(const HTMLTagToken& token) {
    parseError("unexpected-start-tag");
    if (stack_.size() == 1 || !stack_[1].is(Tag::body) || stack_.contains(Tag::template_)) return;
    framesetOK_ = false;
    addMissingAttributes(*stack_[1].element, token);
}

// A <frameset> while the body still may be replaced by one replaces it.
void HTMLTreeBuilder::inBodyFramesetStartTag(HTMLTagToken& token) {
    parseError("unexpected-start-tag");
    if (stack_.size() == 1 || !stack_[1].is(Tag::body) || !framesetOK_) return;
    Ref<HTMLElement> body = stack_[1].element;
    while (stack_.size() > 1) pop();
    // The body's subtree goes away; nothing may point into it afterwards.
    formatting_.clear();
    body->removeFromParentNode();
    insertElement(token);
    mode_ = InsertionMode::InFrameset;
}

// A heading closes a heading it would otherwise nest in.
void HTMLTreeBuilder::inBodyHeadingStartTag(HTMLTagToken& token) {
    closePElementInButtonScope();
    if (stack_.current().isHTML() && stack_.current().has(NumberedHeading)) {
        parseError("nested-heading");
        pop();
    }
    insertElement(token);
}

// <pre> and <listing> drop a newline straight after the start tag.
void HTMLTreeBuilder::inBodyPreStartTag(HTMLTagToken& token) {
    closePElementInButtonScope();
    insertElement(token);
    skipNextNewline_ = true;
    framesetOK_ = false;
}

void HTMLTreeBuilder::inBodyFormStartTag(HTMLTagToken& token) {
    bool templateOpen = stack_.contains(Tag::template_);
    if (form_ && !templateOpen) return parseError("nested-form");
    closePElementInButtonScope();
    HTMLElement* form = insertElement(token);
    if (!templateOpen) form_ = form;
}

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

void HTMLTreeBuilder::inBodyButtonStartTag(HTMLTagToken& token) {
    if (stack_.hasInScope(Tag::button)) {
        parseError("nested-button");
        generateImpliedEndTags();
        popUntil(Tag::button);
    }
    reconstructActiveFormattingElements();
    insertElement(token);
    framesetOK_ = false;
}

// An <a> inside an open <a> closes the outer one first.
void HTMLTreeBuilder::inBodyAnchorStartTag(HTMLTagToken& token) {
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
}

void HTMLTreeBuilder::inBodyNobrStartTag(HTMLTagToken& token) {
    reconstructActiveFormattingElements();
    if (stack_.hasInScope(Tag::nobr)) {
        parseError("nested-nobr");
        if (!runAdoptionAgency(token)) inBodyAnyOtherEndTag(token);
        reconstructActiveFormattingElements();
    }
    pushFormattingElement(*insertElement(token));
}

void HTMLTreeBuilder::inBodyTableStartTag(HTMLTagToken& token) {
    if (document_->quirksMode() != HTMLQuirksMode::Quirks) closePElementInButtonScope();
    insertElement(token);
    framesetOK_ = false;
    mode_ = InsertionMode::InTable;
}

// <area>, <br>, <embed>, <img>, <keygen>, <wbr> and <input>: elements with no
// content, so they are popped as soon as they are inserted.
void HTMLTreeBuilder::inBodyVoidStartTag(HTMLTagToken& token) {
    bool keepsFramesetOK = false;
    if (token.tag == Tag::input) {
        if (isFragmentWithSelectContext()) return parseError("input-in-select");
        if (stack_.hasInScope(Tag::select)) {
            parseError("input-in-select");
            popUntil(Tag::select);
        }
        keepsFramesetOK = isHiddenInput(token);
    }
    reconstructActiveFormattingElements();
    insertElement(token);
    pop();
    if (!keepsFramesetOK) framesetOK_ = false;
}

void HTMLTreeBuilder::inBodyHRStartTag(HTMLTagToken& token) {
    closePElementInButtonScope();
    if (stack_.hasInScope(Tag::select)) {
        generateImpliedEndTags();
        if (stack_.hasInScope(Tag::option) || stack_.hasInScope(Tag::optgroup)) parseError("hr-in-option");
    }
    insertElement(token);
    pop();
    framesetOK_ = false;
}

// <textarea> (RCDATA), and <xmp>, <iframe>, <noembed> and <noscript> with
// scripting on (raw text): their content is text up to their end tag.
void HTMLTreeBuilder::inBodyRawTextStartTag(HTMLTagToken& token) {
    switch (token.tag) {
    case Tag::textarea:
        skipNextNewline_ = true;
        framesetOK_ = false;
        return parseRawText(token, HTMLTokenizerState::RCDATA);
    case Tag::xmp:
        closePElementInButtonScope();
        reconstructActiveFormattingElements();
        framesetOK_ = false;
        break;
    case Tag::iframe:
        framesetOK_ = false;
        break;
    default:
        break;
    }
    parseRawText(token, HTMLTokenizerState::RAWTEXT);
}

void HTMLTreeBuilder::inBodySelectStartTag(HTMLTagToken& token) {
    if (isFragmentWithSelectContext()) return parseError("nested-select");
    if (stack_.hasInScope(Tag::select)) {
        parseError("nested-select");
        popUntil(Tag::select);
        return;
    }
    reconstructActiveFormattingElements();
    insertElement(token);
    framesetOK_ = false;
}

// <option> and <optgroup>: inside a <select> they close an open option (an
// optgroup also an open optgroup); elsewhere only a current <option>.
void HTMLTreeBuilder::inBodyOptionStartTag(HTMLTagToken& token) {
    bool option = token.tag == Tag::option;
    if (stack_.hasInScope(Tag::select)) {
        generateImpliedEndTags(option ? Tag::optgroup : Tag::Unknown);
        if (option) {
            if (stack_.hasInScope(Tag::option)) parseError("nested-option");
        } else if (stack_.hasInScope(Tag::option) || stack_.hasInScope(Tag::optgroup)) {
            parseError("nested-optgroup");
        }
    } else if (stack_.current().is(Tag::option)) {
        pop();
    }
    reconstructActiveFormattingElements();
    insertElement(token);
}

// <rb> and <rtc> close what is open inside a <ruby>; <rp> and <rt> all but an <rtc>.
void HTMLTreeBuilder::inBodyRubyStartTag(HTMLTagToken& token) {
    if (stack_.hasInScope(Tag::ruby)) {
        bool annotation = token.tag == Tag::rp || token.tag == Tag::rt;
        generateImpliedEndTags(annotation ? Tag::rtc : Tag::Unknown);
        const Entry& current = stack_.current();
        if (!current.is(Tag::ruby) && !(annotation && current.is(Tag::rtc))) parseError("unexpected-ruby-child");
    }
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

}  // namespace zv::html
