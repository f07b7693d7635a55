// The tokenizer's machinery: its states, the byte scans they share and the
// state that carries from one token to the next. Private to HTMLTokenizer.cpp
// and the state families it includes from this folder.
#pragma once

#include "HTMLTokenizer.h"

#include "HTMLWorkCounters.h"

#include "AttributeNameSet.h"
#include "CharacterReferences.h"
#include "HTMLInputPreprocessor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zv::html {

namespace tokenizer {

constexpr int kEndOfFile = -1;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr char kNullCharacter[1] = {'\0'};

// The tokenizer's states, named as the HTML standard names them.
enum class State : uint8_t {
    Data,
    RCDATA,
    RAWTEXT,
    ScriptData,
    PLAINTEXT,
    TagOpen,
    EndTagOpen,
    TagName,
    RCDATALessThanSign,
    RCDATAEndTagOpen,
    RCDATAEndTagName,
    RAWTEXTLessThanSign,
    RAWTEXTEndTagOpen,
    RAWTEXTEndTagName,
    ScriptDataLessThanSign,
    ScriptDataEndTagOpen,
    ScriptDataEndTagName,
    ScriptDataEscapeStart,
    ScriptDataEscapeStartDash,
    ScriptDataEscaped,
    ScriptDataEscapedDash,
    ScriptDataEscapedDashDash,
    ScriptDataEscapedLessThanSign,
    ScriptDataEscapedEndTagOpen,
    ScriptDataEscapedEndTagName,
    ScriptDataDoubleEscapeStart,
    ScriptDataDoubleEscaped,
    ScriptDataDoubleEscapedDash,
    ScriptDataDoubleEscapedDashDash,
    ScriptDataDoubleEscapedLessThanSign,
    ScriptDataDoubleEscapeEnd,
    BeforeAttributeName,
    AttributeName,
    AfterAttributeName,
    BeforeAttributeValue,
    AttributeValueDoubleQuoted,
    AttributeValueSingleQuoted,
    AttributeValueUnquoted,
    AfterAttributeValueQuoted,
    SelfClosingStartTag,
    BogusComment,
    MarkupDeclarationOpen,
    CommentStart,
    CommentStartDash,
    Comment,
    CommentLessThanSign,
    CommentLessThanSignBang,
    CommentLessThanSignBangDash,
    CommentLessThanSignBangDashDash,
    CommentEndDash,
    CommentEnd,
    CommentEndBang,
    DOCTYPE,
    BeforeDOCTYPEName,
    DOCTYPEName,
    AfterDOCTYPEName,
    AfterDOCTYPEPublicKeyword,
    BeforeDOCTYPEPublicIdentifier,
    DOCTYPEPublicIdentifierDoubleQuoted,
    DOCTYPEPublicIdentifierSingleQuoted,
    AfterDOCTYPEPublicIdentifier,
    BetweenDOCTYPEPublicAndSystemIdentifiers,
    AfterDOCTYPESystemKeyword,
    BeforeDOCTYPESystemIdentifier,
    DOCTYPESystemIdentifierDoubleQuoted,
    DOCTYPESystemIdentifierSingleQuoted,
    AfterDOCTYPESystemIdentifier,
    BogusDOCTYPE,
    CDATASection,
    CDATASectionBracket,
    CDATASectionEnd,
    CharacterReference,
    NamedCharacterReference,
    AmbiguousAmpersand,
    NumericCharacterReference,
    HexadecimalCharacterReferenceStart,
    DecimalCharacterReferenceStart,
    HexadecimalCharacterReference,
    DecimalCharacterReference,
    NumericCharacterReferenceEnd,
};

// The bytes at which a state's fast scan stops; every other byte is simply
// appended to whatever the state is collecting. Scans go sixteen bytes at a
// time where SSE2 is available: text and attribute values run long.
template <char... Bytes>
struct Stops {
    static constexpr std::array<bool, 256> kTable = [] {
        std::array<bool, 256> table{};
        ((table[uint8_t(Bytes)] = true), ...);
        return table;
    }();

    // The offset of the first stop byte in data[from, size), or size.
    static size_t find(const char* data, size_t from, size_t size) noexcept {
#if defined(__SSE2__)
        for (; from + 16 <= size; from += 16) {
            __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + from));
            __m128i hits = _mm_setzero_si128();
            ((hits = _mm_or_si128(hits, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(Bytes)))), ...);
            if (int mask = _mm_movemask_epi8(hits)) return from + unsigned(__builtin_ctz(unsigned(mask)));
        }
#endif
        for (; from < size; ++from)
            if (kTable[uint8_t(data[from])]) return from;
        return size;
    }
};

using DataStops = Stops<'<', '&', '\0'>;
using RCDATAStops = Stops<'<', '&', '\0'>;
using RawTextStops = Stops<'<', '\0'>;
using PlaintextStops = Stops<'\0'>;
using ScriptDataEscapedStops = Stops<'-', '<', '\0'>;
using TagNameStops = Stops<'\t', '\n', '\f', ' ', '/', '>', '\0'>;
using AttributeNameStops = Stops<'\t', '\n', '\f', ' ', '/', '>', '=', '\0', '"', '\'', '<'>;
using DoubleQuotedValueStops = Stops<'"', '&', '\0'>;
using SingleQuotedValueStops = Stops<'\'', '&', '\0'>;
using UnquotedValueStops = Stops<'\t', '\n', '\f', ' ', '&', '>', '\0', '"', '\'', '<', '=', '`'>;
using CommentStops = Stops<'<', '-', '\0'>;
using BogusCommentStops = Stops<'>', '\0'>;
using DOCTYPENameStops = Stops<'\t', '\n', '\f', ' ', '>', '\0'>;
using DoubleQuotedIdentifierStops = Stops<'"', '>', '\0'>;
using SingleQuotedIdentifierStops = Stops<'\'', '>', '\0'>;
using CDATAStops = Stops<']', '\0'>;

// tagFromName for the names a document repeats: a direct-mapped cache keyed
// by the bytes of names up to eight long, which covers the common elements.
// Names never hold a NUL byte, so a zero-padded key is unique to its name.
class TagNameCache {
public:
    Tag lookUp(std::string_view name) noexcept {
        if (name.empty() || name.size() > 8) return tagFromName(name);
        uint64_t key = 0;
        for (size_t i = 0; i < name.size(); ++i) key |= uint64_t(uint8_t(name[i])) << (8 * i);
        Slot& slot = slots_[(key * 0x9E3779B97F4A7C15ULL) >> 58];
        if (slot.key != key) slot = {key, tagFromName(name)};
        return slot.tag;
    }

private:
    struct Slot {
        uint64_t key = 0;
        Tag tag = Tag::Unknown;
    };
    std::array<Slot, 64> slots_{};
};

inline bool isWhitespace(int c) noexcept { return c == '\t' || c == '\n' || c == '\f' || c == ' '; }

constexpr std::array<char, 256> kASCIILower = [] {
    std::array<char, 256> table{};
    for (int c = 0; c < 256; ++c) table[size_t(c)] = char(c >= 'A' && c <= 'Z' ? c + 0x20 : c);
    return table;
}();

inline char toASCIILower(int c) noexcept { return kASCIILower[uint8_t(c)]; }

// Appends, then lowers in place: resize() would first fill the room with
// zeros, out of line, which cost more than the names themselves.
inline void appendLowercased(std::string& out, const char* bytes, size_t length) {
    size_t old = out.size();
    out.append(bytes, length);
    char* target = out.data() + old;
    for (size_t i = 0; i < length; ++i) target[i] = kASCIILower[uint8_t(target[i])];
}

// The characters gathered for one character token: a range of the input
// buffer while they are contiguous there, a copy once they are not (after a
// character reference or a replaced NUL).
class CharacterRun {
public:
    bool empty() const noexcept { return copied_ ? copy_.empty() : begin_ == end_; }
    void clear() noexcept {
        begin_ = end_ = 0;
        copied_ = false;
        copy_.clear();
    }
    void appendRange(const char* buffer, size_t begin, size_t end) {
        if (begin == end) return;
        if (!copied_) {
            if (begin_ == end_) {
                begin_ = begin;
                end_ = end;
                return;
            }
            if (end_ == begin) {
                end_ = end;
                return;
            }
            copyOut(buffer);
        }
        copy_.append(buffer + begin, end - begin);
    }
    void appendCopy(const char* buffer, std::string_view text) {
        if (!copied_) copyOut(buffer);
        copy_.append(text);
    }
    std::string_view view(const char* buffer) const noexcept {
        return copied_ ? std::string_view(copy_) : std::string_view(buffer + begin_, end_ - begin_);
    }

private:
    void copyOut(const char* buffer) {
        copy_.assign(buffer + begin_, end_ - begin_);
        copied_ = true;
    }

    size_t begin_ = 0, end_ = 0;
    bool copied_ = false;
    std::string copy_;
};

}  // namespace tokenizer

// Only HTMLTokenizer.cpp includes this, and its code names these unqualified.
using namespace tokenizer;

struct HTMLTokenizer::Impl {
    explicit Impl(std::string_view html) : input(html) {
        nullCharacter.characters = std::string_view(kNullCharacter, 1);
    }
    explicit Impl(HTMLTextSource source) : input(std::move(source)) {
        nullCharacter.characters = std::string_view(kNullCharacter, 1);
    }

    const HTMLToken* nextToken();
    void run();

    // The states, one function each (tokenizer/HTMLTokenizer*States.h).
    [[gnu::always_inline]] inline void dataState();
    [[gnu::always_inline]] inline void rcdataState();
    [[gnu::always_inline]] inline void rawtextAndScriptDataStates();
    [[gnu::always_inline]] inline void plaintextState();
    [[gnu::always_inline]] inline void tagOpenState();
    [[gnu::always_inline]] inline void endTagOpenState();
    [[gnu::always_inline]] inline void tagNameState();
    [[gnu::always_inline]] inline void scriptDataLessThanSignState();
    [[gnu::always_inline]] inline void scriptDataEscapeStartState();
    [[gnu::always_inline]] inline void scriptDataEscapeStartDashState();
    [[gnu::always_inline]] inline void scriptDataEscapedState();
    [[gnu::always_inline]] inline void scriptDataEscapedDashStates();
    [[gnu::always_inline]] inline void scriptDataEscapedLessThanSignState();
    [[gnu::always_inline]] inline void scriptDataDoubleEscapeStartAndEndStates();
    [[gnu::always_inline]] inline void scriptDataDoubleEscapedState();
    [[gnu::always_inline]] inline void scriptDataDoubleEscapedDashStates();
    [[gnu::always_inline]] inline void scriptDataDoubleEscapedLessThanSignState();
    [[gnu::always_inline]] inline void beforeAttributeNameState();
    [[gnu::always_inline]] inline void attributeNameState();
    [[gnu::always_inline]] inline void afterAttributeNameState();
    [[gnu::always_inline]] inline void beforeAttributeValueState();
    [[gnu::always_inline]] inline void attributeValueUnquotedState();
    [[gnu::always_inline]] inline void afterAttributeValueQuotedState();
    [[gnu::always_inline]] inline void selfClosingStartTagState();
    [[gnu::always_inline]] inline void bogusCommentState();
    [[gnu::always_inline]] inline void markupDeclarationOpenState();
    [[gnu::always_inline]] inline void commentStartState();
    [[gnu::always_inline]] inline void commentStartDashState();
    [[gnu::always_inline]] inline void commentState();
    [[gnu::always_inline]] inline void commentLessThanSignState();
    [[gnu::always_inline]] inline void commentLessThanSignBangState();
    [[gnu::always_inline]] inline void commentLessThanSignBangDashState();
    [[gnu::always_inline]] inline void commentLessThanSignBangDashDashState();
    [[gnu::always_inline]] inline void commentEndDashState();
    [[gnu::always_inline]] inline void commentEndState();
    [[gnu::always_inline]] inline void commentEndBangState();
    [[gnu::always_inline]] inline void doctypeState();
    [[gnu::always_inline]] inline void beforeDOCTYPENameState();
    [[gnu::always_inline]] inline void doctypeNameState();
    [[gnu::always_inline]] inline void afterDOCTYPENameState();
    [[gnu::always_inline]] inline void afterDOCTYPEPublicIdentifierStates();
    [[gnu::always_inline]] inline void afterDOCTYPESystemIdentifierState();
    [[gnu::always_inline]] inline void bogusDOCTYPEState();
    [[gnu::always_inline]] inline void cdataSectionState();
    [[gnu::always_inline]] inline void cdataSectionBracketState();
    [[gnu::always_inline]] inline void cdataSectionEndState();
    [[gnu::always_inline]] inline void characterReferenceState();
    [[gnu::always_inline]] inline void namedCharacterReferenceState();
    [[gnu::always_inline]] inline void ambiguousAmpersandState();
    [[gnu::always_inline]] inline void numericCharacterReferenceState();
    [[gnu::always_inline]] inline void numericCharacterReferenceStartStates();
    [[gnu::always_inline]] inline void numericCharacterReferenceDigitsStates();
    [[gnu::always_inline]] inline void numericCharacterReferenceEndState();
    struct DOCTYPEIdentifier;
    [[gnu::always_inline]] inline void afterDOCTYPEKeywordState(const DOCTYPEIdentifier& identifier);

    // Input.
    int next() {
        if (pos < input.size()) [[likely]]
            return uint8_t(input.data()[pos++]);
        return nextAfterPreparing();
    }
    int nextAfterPreparing();
    void reconsume(int c, State s) {
        if (c != kEndOfFile) --pos;
        state = s;
    }
    bool prepareMore();
    void ensureAvailable(size_t count);
    // Consumes the bytes before the next stop byte (or the end of the
    // input), preparing chunks as the scan reaches their end; returns where
    // they began.
    template <typename StopBytes>
    size_t consumeOrdinary() {
        size_t start = pos;
        for (;;) {
            pos = StopBytes::find(input.data(), pos, input.size());
            if (pos < input.size() || !prepareMore()) return start;
        }
    }
    std::string_view inputView(size_t begin, size_t end) const {
        return {input.data() + begin, std::min(end, input.size()) - begin};
    }

    // Errors.
    void error(const char* code) {
        if (onError) [[unlikely]]
            reportError(code, pos ? pos - 1 : 0);
    }
    void endOfFileError(const char* code) {
        if (onError) [[unlikely]]
            reportError(code, pos);
    }
    void reportError(const char* code, size_t offset);
    void reportInputStreamErrorsBefore(size_t offset);
    void moveErrorPosition(size_t offset);

    // Emitting.
    void emit(const HTMLToken* token);
    // Emits a token that the end of the input cut short; the end-of-file
    // token follows from the data state on the next call.
    void emitBeforeEndOfFile(const HTMLToken* token) {
        emit(token);
        state = State::Data;
    }
    void emitEndOfFile() { emit(&endOfFile); }
    void emitRange(size_t begin, size_t end) { text.appendRange(input.data(), begin, end); }
    void emitCurrent() { emitRange(pos - 1, pos); }
    void emitReplacementCharacter() { text.appendCopy(input.data(), kReplacementCharacter); }

    // Tags.
    void beginTag(HTMLTagToken& token);
    void emitTag();
    bool isAppropriateEndTag() const {
        return tag == &endTag && endTag.tagName == (lastStartTagNameSet ? lastStartTagName : startTag.tagName);
    }
    void textLessThanSign(int c, State endTagOpen, State text);
    void textEndTagOpen(int c, State endTagName, State text);
    void textEndTagName(int c, State text);
    void startAttribute();
    void finishAttributeName();
    void dropDuplicateAttribute();
    HTMLTokenAttribute& attribute() { return tag->attributes[attributeCount - 1]; }
    template <char Quote, typename StopBytes>
    void attributeValueQuoted();

    // Comments and DOCTYPEs.
    void beginComment(std::string_view data = {}) { comment.data.assign(data); }
    void beginDOCTYPE();
    template <char Quote, typename StopBytes>
    void doctypeIdentifierQuoted(std::optional<std::string>& identifier, State after, const char* abruptError);

    // Character references.
    void beginCharacterReference(State returnTo) {
        returnState = returnTo;
        referenceStart = pos - 1;
        state = State::CharacterReference;
    }
    bool inAttributeValue() const {
        return returnState == State::AttributeValueDoubleQuoted ||
               returnState == State::AttributeValueSingleQuoted || returnState == State::AttributeValueUnquoted;
    }
    void flushLiteral(size_t begin, size_t end);
    void flushDecoded(std::string_view decoded);

    HTMLInputPreprocessor input;
    size_t pos = 0;  // the next byte of the prepared input to consume
    State state = State::Data;
    State returnState = State::Data;
    bool allowCDATA = false;
    bool finished = false;

    HTMLStartTagToken startTag;
    HTMLEndTagToken endTag;
    HTMLTagToken* tag = &startTag;
    HTMLCommentToken comment;
    HTMLDOCTYPEToken doctype;
    HTMLCharacterToken characters;
    HTMLCharacterToken nullCharacter;
    HTMLEOFToken endOfFile;
    const HTMLToken* emitted = nullptr;
    // A token that waits while the characters before it are handed out.
    const HTMLToken* pending = nullptr;
    CharacterRun text;

    // A tag's attribute list keeps the entries of the tag before it, so their
    // strings' storage is reused; the first attributeCount are the current
    // tag's, and the list is cut to them when the tag is emitted.
    size_t attributeCount = 0;
    std::vector<HTMLTokenAttribute> spareAttributes;  // cut off, for longer lists later
    bool currentAttributeIsDuplicate = false;
    AttributeNameSet attributeNames;  // the current tag's, duplicates left out
    TagNameCache tagNames;
    // The last start tag's name is still in startTag when the text states
    // compare end tags with it (no start tag begins in them), so it is not
    // copied for every start tag; a name given by setLastStartTagName is.
    std::string lastStartTagName;
    bool lastStartTagNameSet = false;
    size_t markupStart = 0;  // the '<' that opened the markup being read
    std::string temporaryBuffer;
    size_t referenceStart = 0;  // the '&' of the character reference being read
    uint32_t referenceCode = 0;

    ParseErrorCallback onError;
    // Input stream errors are found a chunk at a time but reported as the
    // tokenizer reaches them, so that all errors come in input order.
    std::vector<std::pair<size_t, const char*>> inputStreamErrors;
    size_t inputStreamErrorsReported = 0;
    // Where the last error was; the next one counts lines from there.
    size_t errorOffset = 0, errorLine = 1, errorColumn = 1;
};

}  // namespace zv::html
