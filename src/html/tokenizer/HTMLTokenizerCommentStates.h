// The markup declaration open state, the comment states and the bogus comment state.
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The bogus comment state.
inline void HTMLTokenizer::Impl::bogusCommentState() {
    size_t start = consumeOrdinary<BogusCommentStops>();
    comment.data.append(input.data() + start, pos - start);
    int c = next();
    if (c == '>') {
        state = State::Data;
        emit(&comment);
    } else if (c == '\0') {
        error("unexpected-null-character");
        comment.data += kReplacementCharacter;
    } else {
        emitBeforeEndOfFile(&comment);
    }
}

// The markup declaration open state.
inline void HTMLTokenizer::Impl::markupDeclarationOpenState() {
    ensureAvailable(7);
    std::string_view ahead = inputView(pos, pos + 7);
    if (ahead.starts_with("--")) {
        pos += 2;
        beginComment();
        state = State::CommentStart;
    } else if (equalsIgnoringASCIICase(ahead, "doctype")) {
        pos += 7;
        state = State::DOCTYPE;
    } else if (ahead == "[CDATA[") {
        pos += 7;
        if (allowCDATA) {
            state = State::CDATASection;
        } else {
            error("cdata-in-html-content");
            beginComment("[CDATA[");
            state = State::BogusComment;
        }
    } else {
        error("incorrectly-opened-comment");
        beginComment();
        state = State::BogusComment;
    }
}

// The comment start state.
inline void HTMLTokenizer::Impl::commentStartState() {
    int c = next();
    if (c == '-') {
        state = State::CommentStartDash;
    } else if (c == '>') {
        error("abrupt-closing-of-empty-comment");
        state = State::Data;
        emit(&comment);
    } else {
        reconsume(c, State::Comment);
    }
}

// The comment start dash state.
inline void HTMLTokenizer::Impl::commentStartDashState() {
    int c = next();
    if (c == '-') {
        state = State::CommentEnd;
    } else if (c == '>') {
        error("abrupt-closing-of-empty-comment");
        state = State::Data;
        emit(&comment);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-comment");
        emitBeforeEndOfFile(&comment);
    } else {
        comment.data += '-';
        reconsume(c, State::Comment);
    }
}

// The comment state.
inline void HTMLTokenizer::Impl::commentState() {
    size_t start = consumeOrdinary<CommentStops>();
    comment.data.append(input.data() + start, pos - start);
    int c = next();
    if (c == '<') {
        comment.data += '<';
        state = State::CommentLessThanSign;
    } else if (c == '-') {
        state = State::CommentEndDash;
    } else if (c == '\0') {
        error("unexpected-null-character");
        comment.data += kReplacementCharacter;
    } else {
        endOfFileError("eof-in-comment");
        emitBeforeEndOfFile(&comment);
    }
}

// The comment less than sign state.
inline void HTMLTokenizer::Impl::commentLessThanSignState() {
    int c = next();
    if (c == '!') {
        comment.data += '!';
        state = State::CommentLessThanSignBang;
    } else if (c == '<') {
        comment.data += '<';
    } else {
        reconsume(c, State::Comment);
    }
}

// The comment less than sign bang state.
inline void HTMLTokenizer::Impl::commentLessThanSignBangState() {
    int c = next();
    if (c == '-')
        state = State::CommentLessThanSignBangDash;
    else
        reconsume(c, State::Comment);
}

// The comment less than sign bang dash state.
inline void HTMLTokenizer::Impl::commentLessThanSignBangDashState() {
    int c = next();
    if (c == '-')
        state = State::CommentLessThanSignBangDashDash;
    else
        reconsume(c, State::CommentEndDash);
}

// The comment less than sign bang dash dash state.
inline void HTMLTokenizer::Impl::commentLessThanSignBangDashDashState() {
    int c = next();
    if (c != '>' && c != kEndOfFile) error("nested-comment");
    reconsume(c, State::CommentEnd);
}

// The comment end dash state.
inline void HTMLTokenizer::Impl::commentEndDashState() {
    int c = next();
    if (c == '-') {
        state = State::CommentEnd;
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-comment");
        emitBeforeEndOfFile(&comment);
    } else {
        comment.data += '-';
        reconsume(c, State::Comment);
    }
}

// The comment end state.
inline void HTMLTokenizer::Impl::commentEndState() {
    int c = next();
    if (c == '>') {
        state = State::Data;
        emit(&comment);
    } else if (c == '!') {
        state = State::CommentEndBang;
    } else if (c == '-') {
        comment.data += '-';
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-comment");
        emitBeforeEndOfFile(&comment);
    } else {
        comment.data += "--";
        reconsume(c, State::Comment);
    }
}

// The comment end bang state.
inline void HTMLTokenizer::Impl::commentEndBangState() {
    int c = next();
    if (c == '-') {
        comment.data += "--!";
        state = State::CommentEndDash;
    } else if (c == '>') {
        error("incorrectly-closed-comment");
        state = State::Data;
        emit(&comment);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-comment");
        emitBeforeEndOfFile(&comment);
    } else {
        comment.data += "--!";
        reconsume(c, State::Comment);
    }
}

}  // namespace zv::html
