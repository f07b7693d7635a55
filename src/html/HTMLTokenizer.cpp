#include "HTMLTokenizer.h"

#include "tokenizer/HTMLTokenizerImpl.h"
#include "tokenizer/HTMLTokenizerCDATAStates.h"
#include "tokenizer/HTMLTokenizerCharacterReferenceStates.h"
#include "tokenizer/HTMLTokenizerCommentStates.h"
#include "tokenizer/HTMLTokenizerDOCTYPEStates.h"
#include "tokenizer/HTMLTokenizerTagStates.h"
#include "tokenizer/HTMLTokenizerTextStates.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zv::html {

int HTMLTokenizer::Impl::nextAfterPreparing() {
    if (!prepareMore()) return kEndOfFile;
    return uint8_t(input.data()[pos++]);
}

bool HTMLTokenizer::Impl::prepareMore() {
    size_t before = input.size();
    if (!input.prepareMore()) return false;
    if (onError) {
        HTMLInputPreprocessor::findInputStreamErrors(inputView(before, input.size()),
                                                     [&](size_t offset, const char* code) {
                                                         inputStreamErrors.emplace_back(before + offset, code);
                                                     });
    }
    return true;
}

void HTMLTokenizer::Impl::ensureAvailable(size_t count) {
    while (input.size() - pos < count && prepareMore()) {
    }
}

void HTMLTokenizer::Impl::reportError(const char* code, size_t offset) {
    reportInputStreamErrorsBefore(offset + 1);
    moveErrorPosition(offset);
    onError(HTMLParseError{code, errorLine, errorColumn});
}

void HTMLTokenizer::Impl::reportInputStreamErrorsBefore(size_t offset) {
    while (inputStreamErrorsReported < inputStreamErrors.size() && onError) {
        auto [at, code] = inputStreamErrors[inputStreamErrorsReported];
        if (at >= offset) return;
        ++inputStreamErrorsReported;
        moveErrorPosition(at);
        onError(HTMLParseError{code, errorLine, errorColumn});
    }
}

// Errors come in input order (give or take a reconsumed character), so the
// line and column, in code points, are counted on from the previous error.
void HTMLTokenizer::Impl::moveErrorPosition(size_t offset) {
    const char* data = input.data();
    offset = std::min(offset, input.size());
    if (offset < errorOffset) {
        if (std::memchr(data + offset, '\n', errorOffset - offset)) {
            errorOffset = 0;
            errorLine = 1;
            errorColumn = 1;
        } else {
            for (size_t i = offset; i < errorOffset; ++i) errorColumn -= (uint8_t(data[i]) & 0xC0) != 0x80;
            errorOffset = offset;
        }
    }
    for (size_t i = errorOffset; i < offset; ++i) {
        if (data[i] == '\n') {
            ++errorLine;
            errorColumn = 1;
        } else {
            errorColumn += (uint8_t(data[i]) & 0xC0) != 0x80;
        }
    }
    errorOffset = offset;
}

void HTMLTokenizer::Impl::emit(const HTMLToken* token) {
    if (text.empty()) {
        emitted = token;
        return;
    }
    characters.characters = text.view(input.data());
    emitted = &characters;
    pending = token;
}

const HTMLToken* HTMLTokenizer::Impl::nextToken() {
    const HTMLToken* token;
    if (pending) {
        token = std::exchange(pending, nullptr);
    } else {
        if (finished) return nullptr;
        text.clear();
        emitted = nullptr;
        run();
        token = emitted;
        if (!inputStreamErrors.empty()) [[unlikely]]
            reportInputStreamErrorsBefore(token == &endOfFile ? input.size() : pos);
    }
    if (token == &endOfFile) finished = true;
    return token;
}

void HTMLTokenizer::Impl::beginTag(HTMLTagToken& token) {
    attributeCount = 0;
    attributeNames.clear();
    token.tagName.clear();
    token.tag = Tag::Unknown;
    token.selfClosing = false;
    currentAttributeIsDuplicate = false;
    tag = &token;
}

void HTMLTokenizer::Impl::emitTag() {
    dropDuplicateAttribute();
    tag->tag = tagNames.lookUp(tag->tagName);
    if (tag == &startTag) {
        lastStartTagNameSet = false;
    } else {
        if (attributeCount) {
            error("end-tag-with-attributes");
            attributeCount = 0;
        }
        if (tag->selfClosing) {
            error("end-tag-with-trailing-solidus");
            tag->selfClosing = false;
        }
    }
    auto& attributes = tag->attributes;
    while (attributes.size() > attributeCount) {
        spareAttributes.push_back(std::move(attributes.back()));
        attributes.pop_back();
    }
    emit(tag);
}

void HTMLTokenizer::Impl::startAttribute() {
    dropDuplicateAttribute();
    auto& attributes = tag->attributes;
    if (attributeCount == attributes.size()) {
        if (spareAttributes.empty()) {
            attributes.emplace_back();
        } else {
            attributes.push_back(std::move(spareAttributes.back()));
            spareAttributes.pop_back();
        }
    }
    auto& added = attributes[attributeCount++];
    added.name.clear();
    added.value.clear();
}

// Leaving the attribute name state: a name the tag already has makes the
// attribute a duplicate, read to its end and then dropped.
void HTMLTokenizer::Impl::finishAttributeName() {
    uint64_t compared = 0;
    const bool repeated = attributeNames.repeatsEarlierName(tag->attributes, attributeCount, compared);
    countWork(&HTMLWorkCounters::attributeNamesCompared, compared);
    if (!repeated) return;
    error("duplicate-attribute");
    currentAttributeIsDuplicate = true;
}

void HTMLTokenizer::Impl::dropDuplicateAttribute() {
    if (!currentAttributeIsDuplicate) return;
    currentAttributeIsDuplicate = false;
    --attributeCount;
}

void HTMLTokenizer::Impl::beginDOCTYPE() {
    doctype.name.reset();
    doctype.publicIdentifier.reset();
    doctype.systemIdentifier.reset();
    doctype.forceQuirks = false;
}

void HTMLTokenizer::Impl::flushLiteral(size_t begin, size_t end) {
    if (inAttributeValue()) attribute().value.append(input.data() + begin, end - begin);
    else emitRange(begin, end);
}

void HTMLTokenizer::Impl::flushDecoded(std::string_view decoded) {
    if (inAttributeValue()) attribute().value.append(decoded);
    else text.appendCopy(input.data(), decoded);
}

void HTMLTokenizer::Impl::run() {
    while (!emitted) {
        switch (state) {
        case State::Data: dataState(); break;
        case State::RCDATA: rcdataState(); break;
        case State::RAWTEXT:
        case State::ScriptData: rawtextAndScriptDataStates(); break;
        case State::PLAINTEXT: plaintextState(); break;
        case State::TagOpen: tagOpenState(); break;
        case State::EndTagOpen: endTagOpenState(); break;
        case State::TagName: tagNameState(); break;
        case State::RCDATALessThanSign:
            textLessThanSign(next(), State::RCDATAEndTagOpen, State::RCDATA);
            break;
        case State::RCDATAEndTagOpen:
            textEndTagOpen(next(), State::RCDATAEndTagName, State::RCDATA);
            break;
        case State::RCDATAEndTagName:
            textEndTagName(next(), State::RCDATA);
            break;
        case State::RAWTEXTLessThanSign:
            textLessThanSign(next(), State::RAWTEXTEndTagOpen, State::RAWTEXT);
            break;
        case State::RAWTEXTEndTagOpen:
            textEndTagOpen(next(), State::RAWTEXTEndTagName, State::RAWTEXT);
            break;
        case State::RAWTEXTEndTagName:
            textEndTagName(next(), State::RAWTEXT);
            break;
        case State::ScriptDataLessThanSign: scriptDataLessThanSignState(); break;
        case State::ScriptDataEndTagOpen:
            textEndTagOpen(next(), State::ScriptDataEndTagName, State::ScriptData);
            break;
        case State::ScriptDataEndTagName:
            textEndTagName(next(), State::ScriptData);
            break;
        case State::ScriptDataEscapeStart: scriptDataEscapeStartState(); break;
        case State::ScriptDataEscapeStartDash: scriptDataEscapeStartDashState(); break;
        case State::ScriptDataEscaped: scriptDataEscapedState(); break;
        case State::ScriptDataEscapedDash:
        case State::ScriptDataEscapedDashDash: scriptDataEscapedDashStates(); break;
        case State::ScriptDataEscapedLessThanSign: scriptDataEscapedLessThanSignState(); break;
        case State::ScriptDataEscapedEndTagOpen:
            textEndTagOpen(next(), State::ScriptDataEscapedEndTagName, State::ScriptDataEscaped);
            break;
        case State::ScriptDataEscapedEndTagName:
            textEndTagName(next(), State::ScriptDataEscaped);
            break;
        case State::ScriptDataDoubleEscapeStart:
        case State::ScriptDataDoubleEscapeEnd: scriptDataDoubleEscapeStartAndEndStates(); break;
        case State::ScriptDataDoubleEscaped: scriptDataDoubleEscapedState(); break;
        case State::ScriptDataDoubleEscapedDash:
        case State::ScriptDataDoubleEscapedDashDash: scriptDataDoubleEscapedDashStates(); break;
        case State::ScriptDataDoubleEscapedLessThanSign: scriptDataDoubleEscapedLessThanSignState(); break;
        case State::BeforeAttributeName: beforeAttributeNameState(); break;
        case State::AttributeName: attributeNameState(); break;
        case State::AfterAttributeName: afterAttributeNameState(); break;
        case State::BeforeAttributeValue: beforeAttributeValueState(); break;
        case State::AttributeValueDoubleQuoted:
            attributeValueQuoted<'"', DoubleQuotedValueStops>();
            break;
        case State::AttributeValueSingleQuoted:
            attributeValueQuoted<'\'', SingleQuotedValueStops>();
            break;
        case State::AttributeValueUnquoted: attributeValueUnquotedState(); break;
        case State::AfterAttributeValueQuoted: afterAttributeValueQuotedState(); break;
        case State::SelfClosingStartTag: selfClosingStartTagState(); break;
        case State::BogusComment: bogusCommentState(); break;
        case State::MarkupDeclarationOpen: markupDeclarationOpenState(); break;
        case State::CommentStart: commentStartState(); break;
        case State::CommentStartDash: commentStartDashState(); break;
        case State::Comment: commentState(); break;
        case State::CommentLessThanSign: commentLessThanSignState(); break;
        case State::CommentLessThanSignBang: commentLessThanSignBangState(); break;
        case State::CommentLessThanSignBangDash: commentLessThanSignBangDashState(); break;
        case State::CommentLessThanSignBangDashDash: commentLessThanSignBangDashDashState(); break;
        case State::CommentEndDash: commentEndDashState(); break;
        case State::CommentEnd: commentEndState(); break;
        case State::CommentEndBang: commentEndBangState(); break;
        case State::DOCTYPE: doctypeState(); break;
        case State::BeforeDOCTYPEName: beforeDOCTYPENameState(); break;
        case State::DOCTYPEName: doctypeNameState(); break;
        case State::AfterDOCTYPEName: afterDOCTYPENameState(); break;
        case State::AfterDOCTYPEPublicKeyword:
        case State::BeforeDOCTYPEPublicIdentifier:
            afterDOCTYPEKeywordState(kPublicIdentifier);
            break;
        case State::DOCTYPEPublicIdentifierDoubleQuoted:
            doctypeIdentifierQuoted<'"', DoubleQuotedIdentifierStops>(doctype.publicIdentifier,
                                                                      State::AfterDOCTYPEPublicIdentifier,
                                                                      "abrupt-doctype-public-identifier");
            break;
        case State::DOCTYPEPublicIdentifierSingleQuoted:
            doctypeIdentifierQuoted<'\'', SingleQuotedIdentifierStops>(doctype.publicIdentifier,
                                                                       State::AfterDOCTYPEPublicIdentifier,
                                                                       "abrupt-doctype-public-identifier");
            break;
        case State::AfterDOCTYPEPublicIdentifier:
        case State::BetweenDOCTYPEPublicAndSystemIdentifiers: afterDOCTYPEPublicIdentifierStates(); break;
        case State::AfterDOCTYPESystemKeyword:
        case State::BeforeDOCTYPESystemIdentifier:
            afterDOCTYPEKeywordState(kSystemIdentifier);
            break;
        case State::DOCTYPESystemIdentifierDoubleQuoted:
            doctypeIdentifierQuoted<'"', DoubleQuotedIdentifierStops>(doctype.systemIdentifier,
                                                                      State::AfterDOCTYPESystemIdentifier,
                                                                      "abrupt-doctype-system-identifier");
            break;
        case State::DOCTYPESystemIdentifierSingleQuoted:
            doctypeIdentifierQuoted<'\'', SingleQuotedIdentifierStops>(doctype.systemIdentifier,
                                                                       State::AfterDOCTYPESystemIdentifier,
                                                                       "abrupt-doctype-system-identifier");
            break;
        case State::AfterDOCTYPESystemIdentifier: afterDOCTYPESystemIdentifierState(); break;
        case State::BogusDOCTYPE: bogusDOCTYPEState(); break;
        case State::CDATASection: cdataSectionState(); break;
        case State::CDATASectionBracket: cdataSectionBracketState(); break;
        case State::CDATASectionEnd: cdataSectionEndState(); break;
        case State::CharacterReference: characterReferenceState(); break;
        case State::NamedCharacterReference: namedCharacterReferenceState(); break;
        case State::AmbiguousAmpersand: ambiguousAmpersandState(); break;
        case State::NumericCharacterReference: numericCharacterReferenceState(); break;
        case State::HexadecimalCharacterReferenceStart:
        case State::DecimalCharacterReferenceStart: numericCharacterReferenceStartStates(); break;
        case State::HexadecimalCharacterReference:
        case State::DecimalCharacterReference: numericCharacterReferenceDigitsStates(); break;
        case State::NumericCharacterReferenceEnd: numericCharacterReferenceEndState(); break;
        }
    }
}

HTMLTokenizer::HTMLTokenizer(std::string_view html) : impl_(std::make_unique<Impl>(html)) {}

HTMLTokenizer::HTMLTokenizer(HTMLTextSource source) : impl_(std::make_unique<Impl>(std::move(source))) {}

HTMLTokenizer::~HTMLTokenizer() = default;

const HTMLToken* HTMLTokenizer::nextToken() { return impl_->nextToken(); }

void HTMLTokenizer::setState(HTMLTokenizerState state) {
    switch (state) {
    case HTMLTokenizerState::Data: impl_->state = State::Data; break;
    case HTMLTokenizerState::RCDATA: impl_->state = State::RCDATA; break;
    case HTMLTokenizerState::RAWTEXT: impl_->state = State::RAWTEXT; break;
    case HTMLTokenizerState::ScriptData: impl_->state = State::ScriptData; break;
    case HTMLTokenizerState::PLAINTEXT: impl_->state = State::PLAINTEXT; break;
    case HTMLTokenizerState::CDATASection: impl_->state = State::CDATASection; break;
    }
}

void HTMLTokenizer::setLastStartTagName(std::string_view name) {
    impl_->lastStartTagName.assign(name);
    impl_->lastStartTagNameSet = true;
}

void HTMLTokenizer::setAllowCDATA(bool allow) { impl_->allowCDATA = allow; }

void HTMLTokenizer::setParseErrorCallback(ParseErrorCallback callback) { impl_->onError = std::move(callback); }

}  // namespace zv::html
