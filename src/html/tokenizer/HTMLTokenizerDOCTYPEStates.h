// The DOCTYPE states.
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The DOCTYPE public and system identifier (double- and single-quoted) states.
template <char Quote, typename StopBytes>
inline void HTMLTokenizer::Impl::doctypeIdentifierQuoted(std::optional<std::string>& identifier, State after,
                                                         const char* abruptError) {
    size_t start = consumeOrdinary<StopBytes>();
    identifier->append(input.data() + start, pos - start);
    int c = next();
    if (c == Quote) {
        state = after;
    } else if (c == '\0') {
        error("unexpected-null-character");
        *identifier += kReplacementCharacter;
    } else if (c == '>') {
        error(abruptError);
        doctype.forceQuirks = true;
        state = State::Data;
        emit(&doctype);
    } else {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    }
}

// The DOCTYPE state.
inline void HTMLTokenizer::Impl::doctypeState() {
    int c = next();
    if (isWhitespace(c)) {
        state = State::BeforeDOCTYPEName;
    } else if (c == '>') {
        reconsume(c, State::BeforeDOCTYPEName);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        beginDOCTYPE();
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    } else {
        error("missing-whitespace-before-doctype-name");
        reconsume(c, State::BeforeDOCTYPEName);
    }
}

// The before DOCTYPE name state.
inline void HTMLTokenizer::Impl::beforeDOCTYPENameState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    beginDOCTYPE();
    if (c == '\0') {
        error("unexpected-null-character");
        doctype.name.emplace(kReplacementCharacter);
        state = State::DOCTYPEName;
    } else if (c == '>') {
        error("missing-doctype-name");
        doctype.forceQuirks = true;
        state = State::Data;
        emit(&doctype);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    } else {
        doctype.name.emplace(1, toASCIILower(c));
        state = State::DOCTYPEName;
    }
}

// The DOCTYPE name state.
inline void HTMLTokenizer::Impl::doctypeNameState() {
    size_t start = consumeOrdinary<DOCTYPENameStops>();
    appendLowercased(*doctype.name, input.data() + start, pos - start);
    int c = next();
    if (isWhitespace(c)) {
        state = State::AfterDOCTYPEName;
    } else if (c == '>') {
        state = State::Data;
        emit(&doctype);
    } else if (c == '\0') {
        error("unexpected-null-character");
        *doctype.name += kReplacementCharacter;
    } else {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    }
}

// The after DOCTYPE name state.
inline void HTMLTokenizer::Impl::afterDOCTYPENameState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    if (c == '>') {
        state = State::Data;
        emit(&doctype);
        return;
    }
    if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
        return;
    }
    ensureAvailable(5);
    std::string_view keyword = inputView(pos - 1, pos + 5);
    if (equalsIgnoringASCIICase(keyword, "public")) {
        pos += 5;
        state = State::AfterDOCTYPEPublicKeyword;
    } else if (equalsIgnoringASCIICase(keyword, "system")) {
        pos += 5;
        state = State::AfterDOCTYPESystemKeyword;
    } else {
        error("invalid-character-sequence-after-doctype-name");
        doctype.forceQuirks = true;
        reconsume(c, State::BogusDOCTYPE);
    }
}

// What tells the public identifier's keyword states from the system
// identifier's: the rest of the two state pairs is the same.
struct HTMLTokenizer::Impl::DOCTYPEIdentifier {
    std::optional<std::string> HTMLDOCTYPEToken::*identifier;
    State doubleQuoted, singleQuoted;
    const char* missingWhitespaceError;
    const char* missingIdentifierError;
    const char* missingQuoteError;
};

constexpr HTMLTokenizer::Impl::DOCTYPEIdentifier kPublicIdentifier{
    &HTMLDOCTYPEToken::publicIdentifier,
    State::DOCTYPEPublicIdentifierDoubleQuoted,
    State::DOCTYPEPublicIdentifierSingleQuoted,
    "missing-whitespace-after-doctype-public-keyword",
    "missing-doctype-public-identifier",
    "missing-quote-before-doctype-public-identifier",
};

constexpr HTMLTokenizer::Impl::DOCTYPEIdentifier kSystemIdentifier{
    &HTMLDOCTYPEToken::systemIdentifier,
    State::DOCTYPESystemIdentifierDoubleQuoted,
    State::DOCTYPESystemIdentifierSingleQuoted,
    "missing-whitespace-after-doctype-system-keyword",
    "missing-doctype-system-identifier",
    "missing-quote-before-doctype-system-identifier",
};

// The after DOCTYPE public keyword and before DOCTYPE public identifier
// states, and their system identifier twins: the state after the keyword
// differs only in that a quote straight after the keyword is an error.
inline void HTMLTokenizer::Impl::afterDOCTYPEKeywordState(const DOCTYPEIdentifier& kind) {
    bool afterKeyword = state == State::AfterDOCTYPEPublicKeyword || state == State::AfterDOCTYPESystemKeyword;
    int c = next();
    if (isWhitespace(c)) {
        while (isWhitespace(c)) c = next();
        afterKeyword = false;
    }
    if (c == '"' || c == '\'') {
        if (afterKeyword) error(kind.missingWhitespaceError);
        (doctype.*kind.identifier).emplace();
        state = c == '"' ? kind.doubleQuoted : kind.singleQuoted;
    } else if (c == '>') {
        error(kind.missingIdentifierError);
        doctype.forceQuirks = true;
        state = State::Data;
        emit(&doctype);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    } else {
        error(kind.missingQuoteError);
        doctype.forceQuirks = true;
        reconsume(c, State::BogusDOCTYPE);
    }
}

// The after DOCTYPE public identifier and between DOCTYPE public and system identifiers states.
inline void HTMLTokenizer::Impl::afterDOCTYPEPublicIdentifierStates() {
    bool afterIdentifier = state == State::AfterDOCTYPEPublicIdentifier;
    int c = next();
    if (isWhitespace(c)) {
        while (isWhitespace(c)) c = next();
        afterIdentifier = false;
    }
    if (c == '>') {
        state = State::Data;
        emit(&doctype);
    } else if (c == '"' || c == '\'') {
        if (afterIdentifier) error("missing-whitespace-between-doctype-public-and-system-identifiers");
        doctype.systemIdentifier.emplace();
        state = c == '"' ? State::DOCTYPESystemIdentifierDoubleQuoted : State::DOCTYPESystemIdentifierSingleQuoted;
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    } else {
        error("missing-quote-before-doctype-system-identifier");
        doctype.forceQuirks = true;
        reconsume(c, State::BogusDOCTYPE);
    }
}

// The after DOCTYPE system identifier state.
inline void HTMLTokenizer::Impl::afterDOCTYPESystemIdentifierState() {
    int c = next();
    while (isWhitespace(c)) c = next();
    if (c == '>') {
        state = State::Data;
        emit(&doctype);
    } else if (c == kEndOfFile) {
        endOfFileError("eof-in-doctype");
        doctype.forceQuirks = true;
        emitBeforeEndOfFile(&doctype);
    } else {
        error("unexpected-character-after-doctype-system-identifier");
        reconsume(c, State::BogusDOCTYPE);
    }
}

// The bogus DOCTYPE state.
inline void HTMLTokenizer::Impl::bogusDOCTYPEState() {
    int c = next();
    while (c != '>' && c != kEndOfFile) {
        if (c == '\0') error("unexpected-null-character");
        c = next();
    }
    if (c == '>') {
        state = State::Data;
        emit(&doctype);
    } else {
        emitBeforeEndOfFile(&doctype);
    }
}

}  // namespace zv::html
