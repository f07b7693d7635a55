// The character reference states; what they decode goes back to the
// return state (text or an attribute value).
//
// Included once, by HTMLTokenizer.cpp: each state is a function of its own
// that the dispatch loop in HTMLTokenizer::Impl::run inlines, so the loop
// stays one jump table.
#pragma once

#include "HTMLTokenizerImpl.h"

namespace zv::html {

// The character reference state.
inline void HTMLTokenizer::Impl::characterReferenceState() {
    int c = next();
    if (isASCIIAlphanumeric(c)) {
        reconsume(c, State::NamedCharacterReference);
    } else if (c == '#') {
        state = State::NumericCharacterReference;
    } else {
        reconsume(c, returnState);
        flushLiteral(referenceStart, pos);
    }
}

// The named character reference state.
inline void HTMLTokenizer::Impl::namedCharacterReferenceState() {
    ensureAvailable(kLongestNamedCharacterReference + 1);
    auto match = matchNamedCharacterReference(inputView(pos, pos + kLongestNamedCharacterReference));
    if (!match.length) {
        flushLiteral(referenceStart, pos);
        state = State::AmbiguousAmpersand;
        return;
    }
    pos += match.length;
    state = returnState;
    bool semicolon = input.data()[pos - 1] == ';';
    if (!semicolon && inAttributeValue() && pos < input.size()) {
        // Legacy names stay text in attribute values when the name
        // could go on, which keeps URLs such as "?a=1&copy=2" intact.
        int following = uint8_t(input.data()[pos]);
        if (following == '=' || isASCIIAlphanumeric(following)) {
            flushLiteral(referenceStart, pos);
            return;
        }
    }
    if (!semicolon) error("missing-semicolon-after-character-reference");
    flushDecoded(match.value);
}

// The ambiguous ampersand state.
inline void HTMLTokenizer::Impl::ambiguousAmpersandState() {
    int c = next();
    if (isASCIIAlphanumeric(c)) {
        flushLiteral(pos - 1, pos);
    } else {
        if (c == ';') error("unknown-named-character-reference");
        reconsume(c, returnState);
    }
}

// The numeric character reference state.
inline void HTMLTokenizer::Impl::numericCharacterReferenceState() {
    referenceCode = 0;
    int c = next();
    if (c == 'x' || c == 'X')
        state = State::HexadecimalCharacterReferenceStart;
    else
        reconsume(c, State::DecimalCharacterReferenceStart);
}

// The hexadecimal character reference start and decimal character reference start states.
inline void HTMLTokenizer::Impl::numericCharacterReferenceStartStates() {
    bool hex = state == State::HexadecimalCharacterReferenceStart;
    int c = next();
    if (hex ? hexDigitValue(c) >= 0 : isASCIIDigit(c)) {
        reconsume(c, hex ? State::HexadecimalCharacterReference : State::DecimalCharacterReference);
    } else {
        error("absence-of-digits-in-numeric-character-reference");
        reconsume(c, returnState);
        flushLiteral(referenceStart, pos);
    }
}

// The hexadecimal character reference and decimal character reference states.
inline void HTMLTokenizer::Impl::numericCharacterReferenceDigitsStates() {
    const uint32_t base = state == State::HexadecimalCharacterReference ? 16 : 10;
    int c = next();
    for (int digit; (digit = base == 16 ? hexDigitValue(c) : isASCIIDigit(c) ? c - '0' : -1) >= 0; c = next()) {
        // Past U+10FFFF the exact value no longer matters.
        referenceCode = std::min<uint32_t>(referenceCode * base + uint32_t(digit), 0x110000);
    }
    if (c == ';') {
        state = State::NumericCharacterReferenceEnd;
    } else {
        error("missing-semicolon-after-character-reference");
        reconsume(c, State::NumericCharacterReferenceEnd);
    }
}

// The numeric character reference end state.
inline void HTMLTokenizer::Impl::numericCharacterReferenceEndState() {
    auto reference = resolveNumericCharacterReference(referenceCode);
    if (reference.error) error(reference.error);
    char bytes[4];
    flushDecoded({bytes, encodeUTF8(reference.codePoint, bytes)});
    state = returnState;
}

}  // namespace zv::html
