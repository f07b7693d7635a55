// The tag open, tag name and attribute states.
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The attribute value (double-quoted) and (single-quoted) states.
template <char Quote, typename StopBytes>
inline void HTMLTokenizer::Impl::attributeValueQuoted() {
    size_t start = consumeOrdinary<StopBytes>();
    attribute().value.append(input.data() + start, pos - start);
    int c = next();
    if (c == Quote) {
        state = State::AfterAttributeValueQuoted;
    } else if (c == '&') {
        beginCharacterReference(state);
    } else if (c == '\0') {
        error("unexpected-null-character");
        attribute().value += kReplacementCharacter;
    } else {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    }
}

// The tag open state.
inline void HTMLTokenizer::Impl::tagOpenState() {
    int c = next();
    if (c == '!') {
        state = State::MarkupDeclarationOpen;
    } else if (c == '/') {
        state = State::EndTagOpen;
    } else if (isASCIIAlpha(c)) {
        beginTag(startTag);
        reconsume(c, State::TagName);
    } else if (c == '?') {
        error("unexpected-question-mark-instead-of-tag-name");
        beginComment();
        reconsume(c, State::BogusComment);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-before-tag-name");
        emitRange(markupStart, markupStart + 1);
        emitEndOfFile();
    } else {
        error("invalid-first-character-of-tag-name");
        emitRange(markupStart, markupStart + 1);
        reconsume(c, State::Data);
    }
}

// The end tag open state.
inline void HTMLTokenizer::Impl::endTagOpenState() {
    int c = next();
    if (isASCIIAlpha(c)) {
        beginTag(endTag);
        reconsume(c, State::TagName);
    } else if (c == '>') {
        error("missing-end-tag-name");
        state = State::Data;
    } else if (c == kEndOfFile) {
        endOfFileError("eof-before-tag-name");
        emitRange(markupStart, markupStart + 2);
        emitEndOfFile();
    } else {
        error("invalid-first-character-of-tag-name");
        beginComment();
        reconsume(c, State::BogusComment);
    }
}

// The tag name state.
inline void HTMLTokenizer::Impl::tagNameState() {
    size_t start = consumeOrdinary<TagNameStops>();
    appendLowercased(tag->tagName, input.data() + start, pos - start);
    int c = next();
    if (isWhitespace(c)) {
        state = State::BeforeAttributeName;
    } else if (c == '/') {
        state = State::SelfClosingStartTag;
    } else if (c == '>') {
        state = State::Data;
        emitTag();
    } else if (c == '\0') {
        error("unexpected-null-character");
        tag->tagName += kReplacementCharacter;
    } else {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    }
}

// The before attribute name state.
inline void HTMLTokenizer::Impl::beforeAttributeNameState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    if (c == '/' || c == '>' || c == kEndOfFile) {
        reconsume(c, State::AfterAttributeName);
    } else if (c == '=') {
        error("unexpected-equals-sign-before-attribute-name");
        startAttribute();
        attribute().name = '=';
        state = State::AttributeName;
    } else {
        startAttribute();
        reconsume(c, State::AttributeName);
    }
}

// The attribute name state.
inline void HTMLTokenizer::Impl::attributeNameState() {
    size_t start = consumeOrdinary<AttributeNameStops>();
    appendLowercased(attribute().name, input.data() + start, pos - start);
    int c = next();
    if (isWhitespace(c) || c == '/' || c == '>' || c == kEndOfFile) {
        finishAttributeName();
        reconsume(c, State::AfterAttributeName);
    } else if (c == '=') {
        finishAttributeName();
        state = State::BeforeAttributeValue;
    } else if (c == '\0') {
        error("unexpected-null-character");
        attribute().name += kReplacementCharacter;
    } else {
        error("unexpected-character-in-attribute-name");
        attribute().name += char(c);
    }
}

// The after attribute name state.
inline void HTMLTokenizer::Impl::afterAttributeNameState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    if (c == '/') {
        state = State::SelfClosingStartTag;
    } else if (c == '=') {
        state = State::BeforeAttributeValue;
    } else if (c == '>') {
        state = State::Data;
        emitTag();
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    } else {
        startAttribute();
        reconsume(c, State::AttributeName);
    }
}

// The before attribute value state.
inline void HTMLTokenizer::Impl::beforeAttributeValueState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    if (c == '"') {
        state = State::AttributeValueDoubleQuoted;
    } else if (c == '\'') {
        state = State::AttributeValueSingleQuoted;
    } else if (c == '>') {
        error("missing-attribute-value");
        state = State::Data;
        emitTag();
    } else {
        reconsume(c, State::AttributeValueUnquoted);
    }
}

// The attribute value unquoted state.
inline void HTMLTokenizer::Impl::attributeValueUnquotedState() {
    size_t start = consumeOrdinary<UnquotedValueStops>();
    attribute().value.append(input.data() + start, pos - start);
    int c = next();
    if (isWhitespace(c)) {
        state = State::BeforeAttributeName;
    } else if (c == '&') {
        beginCharacterReference(State::AttributeValueUnquoted);
    } else if (c == '>') {
        state = State::Data;
        emitTag();
    } else if (c == '\0') {
        error("unexpected-null-character");
        attribute().value += kReplacementCharacter;
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    } else {
        error("unexpected-character-in-unquoted-attribute-value");
        attribute().value += char(c);
    }
}

// The after attribute value quoted state.
inline void HTMLTokenizer::Impl::afterAttributeValueQuotedState() {
    int c = next();
    if (isWhitespace(c)) {
        state = State::BeforeAttributeName;
    } else if (c == '/') {
        state = State::SelfClosingStartTag;
    } else if (c == '>') {
        state = State::Data;
        emitTag();
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    } else {
        error("missing-whitespace-between-attributes");
        reconsume(c, State::BeforeAttributeName);
    }
}

// The self closing start tag state.
inline void HTMLTokenizer::Impl::selfClosingStartTagState() {
    int c = next();
    if (c == '>') {
        tag->selfClosing = true;
        state = State::Data;
        emitTag();
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-tag");
        emitEndOfFile();
    } else {
        error("unexpected-solidus-in-tag");
        reconsume(c, State::BeforeAttributeName);
    }
}

}  // namespace zv::html
