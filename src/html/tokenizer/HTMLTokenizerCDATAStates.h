// The CDATA section states.
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The CDATA section state.
inline void HTMLTokenizer::Impl::cdataSectionState() {
    size_t start = consumeOrdinary<CDATAStops>();
    emitRange(start, pos);
    int c = next();
    if (c == ']') {
        state = State::CDATASectionBracket;
    } else if (c == '\0') {
        emit(&nullCharacter);
    } else {
        endOfFileError("eof-in-cdata");
        emitEndOfFile();
    }
}

// The CDATA section bracket state.
inline void HTMLTokenizer::Impl::cdataSectionBracketState() {
    int c = next();
    if (c == ']') {
        state = State::CDATASectionEnd;
    } else {
        reconsume(c, State::CDATASection);
        emitRange(pos - 1, pos);
    }
}

// The CDATA section end state.
inline void HTMLTokenizer::Impl::cdataSectionEndState() {
    // Of a run of ']', the earliest not yet emitted is always three back.
    int c = next();
    if (c == ']') {
        emitRange(pos - 3, pos - 2);
    } else if (c == '>') {
        state = State::Data;
    } else {
        reconsume(c, State::CDATASection);
        emitRange(pos - 2, pos);
    }
}

}  // namespace zv::html
