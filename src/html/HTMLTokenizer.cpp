#include <zv/html/HTMLTokenizer.h>

#include <zv/html/HTMLWorkCounters.h>

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

namespace {

using namespace std::string_view_literals;

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

bool isWhitespace(int c) noexcept { return c == '\t' || c == '\n' || c == '\f' || c == ' '; }

constexpr std::array<char, 256> kASCIILower = [] {
    std::array<char, 256> table{};
    for (int c = 0; c < 256; ++c) table[size_t(c)] = char(c >= 'A' && c <= 'Z' ? c + 0x20 : c);
    return table;
}();

char toASCIILower(int c) noexcept { return kASCIILower[uint8_t(c)]; }

void appendLowercased(std::string& out, const char* bytes, size_t length) {
    size_t old = out.size();
    out.resize(old + length);
    char* target = out.data() + old;
    for (size_t i = 0; i < length; ++i) target[i] = kASCIILower[uint8_t(bytes[i])];
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

}  // namespace

struct HTMLTokenizer::Impl {
    explicit Impl(std::string_view html) : input(html) {
        nullCharacter.characters = std::string_view(kNullCharacter, 1);
    }
    explicit Impl(HTMLTextSource source) : input(std::move(source)) {
        nullCharacter.characters = std::string_view(kNullCharacter, 1);
    }

    const HTMLToken* nextToken();
    void run();

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
    bool isAppropriateEndTag() const { return tag == &endTag && endTag.tagName == lastStartTagName; }
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
    HTMLWorkCounters& counters = htmlWorkCounters();
    TagNameCache tagNames;
    std::string lastStartTagName;
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
        lastStartTagName = tag->tagName;
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
    if (!attributeNames.repeatsEarlierName(tag->attributes, attributeCount, counters.attributeNamesCompared)) return;
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

// The RCDATA, RAWTEXT and script data less-than sign states.
void HTMLTokenizer::Impl::textLessThanSign(int c, State endTagOpen, State textState) {
    if (c == '/') {
        state = endTagOpen;
        return;
    }
    emitRange(markupStart, markupStart + 1);
    reconsume(c, textState);
}

// The RCDATA, RAWTEXT, script data and script data escaped end tag open states.
void HTMLTokenizer::Impl::textEndTagOpen(int c, State endTagName, State textState) {
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
void HTMLTokenizer::Impl::textEndTagName(int c, State textState) {
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

// The attribute value (double-quoted) and (single-quoted) states.
template <char Quote, typename StopBytes>
void HTMLTokenizer::Impl::attributeValueQuoted() {
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

// The DOCTYPE public and system identifier (double- and single-quoted) states.
template <char Quote, typename StopBytes>
void HTMLTokenizer::Impl::doctypeIdentifierQuoted(std::optional<std::string>& identifier, State after,
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

void HTMLTokenizer::Impl::run() {
    while (!emitted) {
        switch (state) {
        case State::Data: {
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
            break;
        }
        case State::RCDATA: {
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
            break;
        }
        case State::RAWTEXT:
        case State::ScriptData: {
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
            break;
        }
        case State::PLAINTEXT: {
            size_t start = consumeOrdinary<PlaintextStops>();
            emitRange(start, pos);
            if (next() == '\0') {
                error("unexpected-null-character");
                emitReplacementCharacter();
            } else {
                emitEndOfFile();
            }
            break;
        }
        case State::TagOpen: {
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
            break;
        }
        case State::EndTagOpen: {
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
            break;
        }
        case State::TagName: {
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
            break;
        }
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
        case State::ScriptDataLessThanSign: {
            int c = next();
            if (c == '!') {
                state = State::ScriptDataEscapeStart;
                emitRange(markupStart, pos);
            } else {
                textLessThanSign(c, State::ScriptDataEndTagOpen, State::ScriptData);
            }
            break;
        }
        case State::ScriptDataEndTagOpen:
            textEndTagOpen(next(), State::ScriptDataEndTagName, State::ScriptData);
            break;
        case State::ScriptDataEndTagName:
            textEndTagName(next(), State::ScriptData);
            break;
        case State::ScriptDataEscapeStart: {
            int c = next();
            if (c == '-') {
                state = State::ScriptDataEscapeStartDash;
                emitCurrent();
            } else {
                reconsume(c, State::ScriptData);
            }
            break;
        }
        case State::ScriptDataEscapeStartDash: {
            int c = next();
            if (c == '-') {
                state = State::ScriptDataEscapedDashDash;
                emitCurrent();
            } else {
                reconsume(c, State::ScriptData);
            }
            break;
        }
        case State::ScriptDataEscaped: {
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
            break;
        }
        case State::ScriptDataEscapedDash:
        case State::ScriptDataEscapedDashDash: {
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
            break;
        }
        case State::ScriptDataEscapedLessThanSign: {
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
            break;
        }
        case State::ScriptDataEscapedEndTagOpen:
            textEndTagOpen(next(), State::ScriptDataEscapedEndTagName, State::ScriptDataEscaped);
            break;
        case State::ScriptDataEscapedEndTagName:
            textEndTagName(next(), State::ScriptDataEscaped);
            break;
        case State::ScriptDataDoubleEscapeStart:
        case State::ScriptDataDoubleEscapeEnd: {
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
            break;
        }
        case State::ScriptDataDoubleEscaped: {
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
            break;
        }
        case State::ScriptDataDoubleEscapedDash:
        case State::ScriptDataDoubleEscapedDashDash: {
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
            break;
        }
        case State::ScriptDataDoubleEscapedLessThanSign: {
            int c = next();
            if (c == '/') {
                temporaryBuffer.clear();
                state = State::ScriptDataDoubleEscapeEnd;
                emitCurrent();
            } else {
                reconsume(c, State::ScriptDataDoubleEscaped);
            }
            break;
        }
        case State::BeforeAttributeName: {
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
            break;
        }
        case State::AttributeName: {
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
            break;
        }
        case State::AfterAttributeName: {
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
            break;
        }
        case State::BeforeAttributeValue: {
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
            break;
        }
        case State::AttributeValueDoubleQuoted:
            attributeValueQuoted<'"', DoubleQuotedValueStops>();
            break;
        case State::AttributeValueSingleQuoted:
            attributeValueQuoted<'\'', SingleQuotedValueStops>();
            break;
        case State::AttributeValueUnquoted: {
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
            break;
        }
        case State::AfterAttributeValueQuoted: {
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
            break;
        }
        case State::SelfClosingStartTag: {
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
            break;
        }
        case State::BogusComment: {
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
            break;
        }
        case State::MarkupDeclarationOpen: {
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
            break;
        }
        case State::CommentStart: {
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
            break;
        }
        case State::CommentStartDash: {
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
            break;
        }
        case State::Comment: {
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
            break;
        }
        case State::CommentLessThanSign: {
            int c = next();
            if (c == '!') {
                comment.data += '!';
                state = State::CommentLessThanSignBang;
            } else if (c == '<') {
                comment.data += '<';
            } else {
                reconsume(c, State::Comment);
            }
            break;
        }
        case State::CommentLessThanSignBang: {
            int c = next();
            if (c == '-') state = State::CommentLessThanSignBangDash;
            else reconsume(c, State::Comment);
            break;
        }
        case State::CommentLessThanSignBangDash: {
            int c = next();
            if (c == '-') state = State::CommentLessThanSignBangDashDash;
            else reconsume(c, State::CommentEndDash);
            break;
        }
        case State::CommentLessThanSignBangDashDash: {
            int c = next();
            if (c != '>' && c != kEndOfFile) error("nested-comment");
            reconsume(c, State::CommentEnd);
            break;
        }
        case State::CommentEndDash: {
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
            break;
        }
        case State::CommentEnd: {
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
            break;
        }
        case State::CommentEndBang: {
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
            break;
        }
        case State::DOCTYPE: {
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
            break;
        }
        case State::BeforeDOCTYPEName: {
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
            break;
        }
        case State::DOCTYPEName: {
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
            break;
        }
        case State::AfterDOCTYPEName: {
            int c = next();
            while (isWhitespace(c)) c = next();
            if (c == '>') {
                state = State::Data;
                emit(&doctype);
                break;
            }
            if (c == kEndOfFile) {
                endOfFileError("eof-in-doctype");
                doctype.forceQuirks = true;
                emitBeforeEndOfFile(&doctype);
                break;
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
            break;
        }
        case State::AfterDOCTYPEPublicKeyword:
        case State::BeforeDOCTYPEPublicIdentifier: {
            bool afterKeyword = state == State::AfterDOCTYPEPublicKeyword;
            int c = next();
            if (isWhitespace(c)) {
                while (isWhitespace(c)) c = next();
                afterKeyword = false;
            }
            if (c == '"' || c == '\'') {
                if (afterKeyword) error("missing-whitespace-after-doctype-public-keyword");
                doctype.publicIdentifier.emplace();
                state = c == '"' ? State::DOCTYPEPublicIdentifierDoubleQuoted
                                 : State::DOCTYPEPublicIdentifierSingleQuoted;
            } else if (c == '>') {
                error("missing-doctype-public-identifier");
                doctype.forceQuirks = true;
                state = State::Data;
                emit(&doctype);
            } else if (c == kEndOfFile) {
                endOfFileError("eof-in-doctype");
                doctype.forceQuirks = true;
                emitBeforeEndOfFile(&doctype);
            } else {
                error("missing-quote-before-doctype-public-identifier");
                doctype.forceQuirks = true;
                reconsume(c, State::BogusDOCTYPE);
            }
            break;
        }
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
        case State::BetweenDOCTYPEPublicAndSystemIdentifiers: {
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
                state = c == '"' ? State::DOCTYPESystemIdentifierDoubleQuoted
                                 : State::DOCTYPESystemIdentifierSingleQuoted;
            } else if (c == kEndOfFile) {
                endOfFileError("eof-in-doctype");
                doctype.forceQuirks = true;
                emitBeforeEndOfFile(&doctype);
            } else {
                error("missing-quote-before-doctype-system-identifier");
                doctype.forceQuirks = true;
                reconsume(c, State::BogusDOCTYPE);
            }
            break;
        }
        case State::AfterDOCTYPESystemKeyword:
        case State::BeforeDOCTYPESystemIdentifier: {
            bool afterKeyword = state == State::AfterDOCTYPESystemKeyword;
            int c = next();
            if (isWhitespace(c)) {
                while (isWhitespace(c)) c = next();
                afterKeyword = false;
            }
            if (c == '"' || c == '\'') {
                if (afterKeyword) error("missing-whitespace-after-doctype-system-keyword");
                doctype.systemIdentifier.emplace();
                state = c == '"' ? State::DOCTYPESystemIdentifierDoubleQuoted
                                 : State::DOCTYPESystemIdentifierSingleQuoted;
            } else if (c == '>') {
                error("missing-doctype-system-identifier");
                doctype.forceQuirks = true;
                state = State::Data;
                emit(&doctype);
            } else if (c == kEndOfFile) {
                endOfFileError("eof-in-doctype");
                doctype.forceQuirks = true;
                emitBeforeEndOfFile(&doctype);
            } else {
                error("missing-quote-before-doctype-system-identifier");
                doctype.forceQuirks = true;
                reconsume(c, State::BogusDOCTYPE);
            }
            break;
        }
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
        case State::AfterDOCTYPESystemIdentifier: {
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
            break;
        }
        case State::BogusDOCTYPE: {
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
            break;
        }
        case State::CDATASection: {
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
            break;
        }
        case State::CDATASectionBracket: {
            int c = next();
            if (c == ']') {
                state = State::CDATASectionEnd;
            } else {
                reconsume(c, State::CDATASection);
                emitRange(pos - 1, pos);
            }
            break;
        }
        case State::CDATASectionEnd: {
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
            break;
        }
        case State::CharacterReference: {
            int c = next();
            if (isASCIIAlphanumeric(c)) {
                reconsume(c, State::NamedCharacterReference);
            } else if (c == '#') {
                state = State::NumericCharacterReference;
            } else {
                reconsume(c, returnState);
                flushLiteral(referenceStart, pos);
            }
            break;
        }
        case State::NamedCharacterReference: {
            ensureAvailable(kLongestNamedCharacterReference + 1);
            auto match = matchNamedCharacterReference(inputView(pos, pos + kLongestNamedCharacterReference));
            if (!match.length) {
                flushLiteral(referenceStart, pos);
                state = State::AmbiguousAmpersand;
                break;
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
                    break;
                }
            }
            if (!semicolon) error("missing-semicolon-after-character-reference");
            flushDecoded(match.value);
            break;
        }
        case State::AmbiguousAmpersand: {
            int c = next();
            if (isASCIIAlphanumeric(c)) {
                flushLiteral(pos - 1, pos);
            } else {
                if (c == ';') error("unknown-named-character-reference");
                reconsume(c, returnState);
            }
            break;
        }
        case State::NumericCharacterReference: {
            referenceCode = 0;
            int c = next();
            if (c == 'x' || c == 'X') state = State::HexadecimalCharacterReferenceStart;
            else reconsume(c, State::DecimalCharacterReferenceStart);
            break;
        }
        case State::HexadecimalCharacterReferenceStart:
        case State::DecimalCharacterReferenceStart: {
            bool hex = state == State::HexadecimalCharacterReferenceStart;
            int c = next();
            if (hex ? hexDigitValue(c) >= 0 : isASCIIDigit(c)) {
                reconsume(c, hex ? State::HexadecimalCharacterReference : State::DecimalCharacterReference);
            } else {
                error("absence-of-digits-in-numeric-character-reference");
                reconsume(c, returnState);
                flushLiteral(referenceStart, pos);
            }
            break;
        }
        case State::HexadecimalCharacterReference:
        case State::DecimalCharacterReference: {
            const uint32_t base = state == State::HexadecimalCharacterReference ? 16 : 10;
            int c = next();
            for (int digit; (digit = base == 16 ? hexDigitValue(c) : isASCIIDigit(c) ? c - '0' : -1) >= 0;
                 c = next()) {
                // Past U+10FFFF the exact value no longer matters.
                referenceCode = std::min<uint32_t>(referenceCode * base + uint32_t(digit), 0x110000);
            }
            if (c == ';') {
                state = State::NumericCharacterReferenceEnd;
            } else {
                error("missing-semicolon-after-character-reference");
                reconsume(c, State::NumericCharacterReferenceEnd);
            }
            break;
        }
        case State::NumericCharacterReferenceEnd: {
            auto reference = resolveNumericCharacterReference(referenceCode);
            if (reference.error) error(reference.error);
            char bytes[4];
            flushDecoded({bytes, encodeUTF8(reference.codePoint, bytes)});
            state = returnState;
            break;
        }
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

void HTMLTokenizer::setLastStartTagName(std::string_view name) { impl_->lastStartTagName.assign(name); }

void HTMLTokenizer::setAllowCDATA(bool allow) { impl_->allowCDATA = allow; }

void HTMLTokenizer::setParseErrorCallback(ParseErrorCallback callback) { impl_->onError = std::move(callback); }

}  // namespace zv::html
