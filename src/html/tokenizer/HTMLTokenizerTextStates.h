// The data, RCDATA, RAWTEXT, script data and PLAINTEXT states with their
// less-than sign, end tag and escape states: the text between tags.
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The RCDATA, RAWTEXT and script data less-than sign states.
inline void HTMLTokenizer::Impl::textLessThanSign(int c, State endTagOpen, State textState) {
    if (c == '/') {
        state = endTagOpen;
        return;
    }
    emitRange(markupStart, markupStart + 1);
    reconsume(c, textState);
}

// The RCDATA, RAWTEXT, script data and script data escaped end tag open states.
inline void HTMLTokenizer::Impl::textEndTagOpen(int c, State endTagName, State textState) {
    if (isASCIIAlpha(c)) {
        beginTag(endTag);
        reconsume(c, endTagName);
        return;
    }
    emitRange(markupStart, markupStart + 2);
    reconsume(c, textState);
}

// The RCDATA, RAWTEXT, script data and script data escaped end tag name
// states. The temporary buffer is the input after "</", so on a mismatch the
// whole "</name" is emitted straight from the input.
inline void HTMLTokenizer::Impl::textEndTagName(int c, State textState) {
    if (isASCIIAlpha(c)) {
        tag->tagName += toASCIILower(c);
        return;
    }
    if (isAppropriateEndTag()) {
        if (isWhitespace(c)) {
            state = State::BeforeAttributeName;
            return;
        }
        if (c == '/') {
            state = State::SelfClosingStartTag;
            return;
        }
        if (c == '>') {
            state = State::Data;
            emitTag();
            return;
        }
    }
    reconsume(c, textState);
    emitRange(markupStart, pos);
}

// The data state.
inline void HTMLTokenizer::Impl::dataState() {
    size_t start = consumeOrdinary<DataStops>();
    emitRange(start, pos);
    int c = next();
    if (c == '<') {
        markupStart = pos - 1;
        state = State::TagOpen;
    } else if (c == '&') {
        beginCharacterReference(State::Data);
    } else if (c == '\0') {
        error("unexpected-null-character");
        emit(&nullCharacter);
    } else {
        emitEndOfFile();
    }
}

// The RCDATA state.
inline void HTMLTokenizer::Impl::rcdataState() {
    size_t start = consumeOrdinary<RCDATAStops>();
    emitRange(start, pos);
    int c = next();
    if (c == '<') {
        markupStart = pos - 1;
        state = State::RCDATALessThanSign;
    } else if (c == '&') {
        beginCharacterReference(State::RCDATA);
    } else if (c == '\0') {
        error("unexpected-null-character");
        emitReplacementCharacter();
    } else {
        emitEndOfFile();
    }
}

// The RAWTEXT and script data states.
inline void HTMLTokenizer::Impl::rawtextAndScriptDataStates() {
    size_t start = consumeOrdinary<RawTextStops>();
    emitRange(start, pos);
    int c = next();
    if (c == '<') {
        markupStart = pos - 1;
        state = state == State::RAWTEXT ? State::RAWTEXTLessThanSign : State::ScriptDataLessThanSign;
    } else if (c == '\0') {
        error("unexpected-null-character");
        emitReplacementCharacter();
    } else {
        emitEndOfFile();
    }
}

// The PLAINTEXT state.
inline void HTMLTokenizer::Impl::plaintextState() {
    size_t start = consumeOrdinary<PlaintextStops>();
    emitRange(start, pos);
    if (next() == '\0') {
        error("unexpected-null-character");
        emitReplacementCharacter();
    } else {
        emitEndOfFile();
    }
}

// The script data less than sign state.
inline void HTMLTokenizer::Impl::scriptDataLessThanSignState() {
    int c = next();
    if (c == '!') {
        state = State::ScriptDataEscapeStart;
        emitRange(markupStart, pos);
    } else {
        textLessThanSign(c, State::ScriptDataEndTagOpen, State::ScriptData);
    }
}

// The script data escape start state.
inline void HTMLTokenizer::Impl::scriptDataEscapeStartState() {
    int c = next();
    if (c == '-') {
        state = State::ScriptDataEscapeStartDash;
        emitCurrent();
    } else {
        reconsume(c, State::ScriptData);
    }
}

// The script data escape start dash state.
inline void HTMLTokenizer::Impl::scriptDataEscapeStartDashState() {
    int c = next();
    if (c == '-') {
        state = State::ScriptDataEscapedDashDash;
        emitCurrent();
    } else {
        reconsume(c, State::ScriptData);
    }
}

// The script data escaped state.
inline void HTMLTokenizer::Impl::scriptDataEscapedState() {
    size_t start = consumeOrdinary<ScriptDataEscapedStops>();
    emitRange(start, pos);
    int c = next();
    if (c == '-') {
        state = State::ScriptDataEscapedDash;
        emitCurrent();
    } else if (c == '<') {
        markupStart = pos - 1;
        state = State::ScriptDataEscapedLessThanSign;
    } else if (c == '\0') {
        error("unexpected-null-character");
        emitReplacementCharacter();
    } else {
        endOfFileError("eof-in-script-html-comment-like-text");
        emitEndOfFile();
    }
}

// The script data escaped dash and script data escaped dash dash states.
inline void HTMLTokenizer::Impl::scriptDataEscapedDashStates() {
    int c = next();
    if (c == '-') {
        state = State::ScriptDataEscapedDashDash;
        emitCurrent();
    } else if (c == '<') {
        markupStart = pos - 1;
        state = State::ScriptDataEscapedLessThanSign;
    } else if (c == '>' && state == State::ScriptDataEscapedDashDash) {
        state = State::ScriptData;
        emitCurrent();
    } else if (c == '\0') {
        error("unexpected-null-character");
        state = State::ScriptDataEscaped;
        emitReplacementCharacter();
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-script-html-comment-like-text");
        emitEndOfFile();
    } else {
        state = State::ScriptDataEscaped;
        emitCurrent();
    }
}

// The script data escaped less than sign state.
inline void HTMLTokenizer::Impl::scriptDataEscapedLessThanSignState() {
    int c = next();
    if (c == '/') {
        state = State::ScriptDataEscapedEndTagOpen;
    } else if (isASCIIAlpha(c)) {
        temporaryBuffer.clear();
        emitRange(markupStart, markupStart + 1);
        reconsume(c, State::ScriptDataDoubleEscapeStart);
    } else {
        emitRange(markupStart, markupStart + 1);
        reconsume(c, State::ScriptDataEscaped);
    }
}

// The script data double escape start and script data double escape end states.
inline void HTMLTokenizer::Impl::scriptDataDoubleEscapeStartAndEndStates() {
    // Both watch for "script": start enters double escaping, end leaves it.
    bool starting = state == State::ScriptDataDoubleEscapeStart;
    State current = starting ? State::ScriptDataEscaped : State::ScriptDataDoubleEscaped;
    State toggled = starting ? State::ScriptDataDoubleEscaped : State::ScriptDataEscaped;
    int c = next();
    if (isWhitespace(c) || c == '/' || c == '>') {
        state = temporaryBuffer == "script" ? toggled : current;
        emitCurrent();
    } else if (isASCIIAlpha(c)) {
        temporaryBuffer += toASCIILower(c);
        emitCurrent();
    } else {
        reconsume(c, current);
    }
}

// The script data double escaped state.
inline void HTMLTokenizer::Impl::scriptDataDoubleEscapedState() {
    size_t start = consumeOrdinary<ScriptDataEscapedStops>();
    emitRange(start, pos);
    int c = next();
    if (c == '-') {
        state = State::ScriptDataDoubleEscapedDash;
        emitCurrent();
    } else if (c == '<') {
        state = State::ScriptDataDoubleEscapedLessThanSign;
        emitCurrent();
    } else if (c == '\0') {
        error("unexpected-null-character");
        emitReplacementCharacter();
    } else {
        endOfFileError("eof-in-script-html-comment-like-text");
        emitEndOfFile();
    }
}

// The script data double escaped dash and script data double escaped dash dash states.
inline void HTMLTokenizer::Impl::scriptDataDoubleEscapedDashStates() {
    int c = next();
    if (c == '-') {
        state = State::ScriptDataDoubleEscapedDashDash;
        emitCurrent();
    } else if (c == '<') {
        state = State::ScriptDataDoubleEscapedLessThanSign;
        emitCurrent();
    } else if (c == '>' && state == State::ScriptDataDoubleEscapedDashDash) {
        state = State::ScriptData;
        emitCurrent();
    } else if (c == '\0') {
        error("unexpected-null-character");
        state = State::ScriptDataDoubleEscaped;
        emitReplacementCharacter();
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-script-html-comment-like-text");
        emitEndOfFile();
    } else {
        state = State::ScriptDataDoubleEscaped;
        emitCurrent();
    }
}

// The script data double escaped less than sign state.
inline void HTMLTokenizer::Impl::scriptDataDoubleEscapedLessThanSignState() {
    int c = next();
    if (c == '/') {
        temporaryBuffer.clear();
        state = State::ScriptDataDoubleEscapeEnd;
        emitCurrent();
    } else {
        reconsume(c, State::ScriptDataDoubleEscaped);
    }
}

}  // namespace zv::html
