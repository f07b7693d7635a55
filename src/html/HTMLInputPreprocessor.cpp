#include "HTMLInputPreprocessor.h"

#include <algorithm>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zv::html {

namespace {

constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";

// The first byte in [p, end) that needs attention: a CR or a non-ASCII byte.
// Sixteen bytes at a time where SSE2 is available, since most mail is ASCII.
const char* findSpecialByte(const char* p, const char* end) noexcept {
#if defined(__SSE2__)
    const __m128i cr = _mm_set1_epi8('\r');
    for (; end - p >= 16; p += 16) {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        int mask = _mm_movemask_epi8(bytes) | _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, cr));
        if (mask) return p + __builtin_ctz(unsigned(mask));
    }
#endif
    while (p < end && *p != '\r' && uint8_t(*p) < 0x80) ++p;
    return p;
}

// The length of the valid UTF-8 sequence at p (lead byte >= 0x80), or 0 when
// it is invalid; `invalidLength` then gets how many bytes one U+FFFD replaces
// (the lead byte and the continuation bytes that were still acceptable).
size_t validSequenceLength(const uint8_t* p, const uint8_t* end, size_t& invalidLength) noexcept {
    uint8_t lead = p[0];
    // Most text outside ASCII is two- or three-byte sequences with no special range.
    if (lead >= 0xC2 && lead <= 0xDF && end - p >= 2 && (p[1] & 0xC0) == 0x80) return 2;
    if (lead >= 0xE1 && lead <= 0xEF && lead != 0xED && end - p >= 3 && (p[1] & 0xC0) == 0x80 &&
        (p[2] & 0xC0) == 0x80)
        return 3;
    size_t needed;
    uint8_t lower = 0x80, upper = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 2;
        if (lead == 0xE0) lower = 0xA0;
        if (lead == 0xED) upper = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 3;
        if (lead == 0xF0) lower = 0x90;
        if (lead == 0xF4) upper = 0x8F;  // nothing past U+10FFFF
    } else {
        invalidLength = 1;
        return 0;
    }
    for (size_t k = 1; k <= needed; ++k) {
        if (p + k == end || p[k] < lower || p[k] > upper) {
            invalidLength = k;
            return 0;
        }
        lower = 0x80;
        upper = 0xBF;
    }
    return needed + 1;
}

}  // namespace

bool HTMLInputPreprocessor::nextPiece() {
    while (sourcePosition_ == source_.size()) {
        if (!pull_) return false;
        source_ = pull_();
        sourcePosition_ = 0;
        if (source_.empty()) {
            pull_ = nullptr;
            return false;
        }
        if (pieceEndedWithCR_ && source_.front() == '\n') ++sourcePosition_;
        pieceEndedWithCR_ = false;
    }
    return true;
}

void HTMLInputPreprocessor::startCopying(const char* preparedEnd) {
    // Normalising seldom grows the text, so one reservation usually holds it all.
    buffer_.reserve(source_.size() + 1);
    buffer_.assign(source_.data(), preparedEnd);
    inPlace_ = false;
}

bool HTMLInputPreprocessor::prepareMore() {
    if (!nextPiece()) return false;
    const char* const begin = source_.data();
    const char* const sourceEnd = begin + source_.size();
    const char* p = begin + sourcePosition_;
    const char* const chunkEnd = p + std::min(kChunkSize, size_t(sourceEnd - p));
    while (p < chunkEnd) {
        // Copy the longest run of ASCII and valid sequences in one go.
        const char* run = p;
        size_t invalidLength = 0;
        while (p < chunkEnd) {
            if (uint8_t(*p) < 0x80) {
                if (*p == '\r') break;
                p = findSpecialByte(p, chunkEnd);
                continue;
            }
            size_t length = validSequenceLength(reinterpret_cast<const uint8_t*>(p),
                                                reinterpret_cast<const uint8_t*>(sourceEnd), invalidLength);
            if (!length) break;
            p += length;  // past the chunk's end, if that is where the sequence ends
        }
        if (inPlace_) {
            if (p >= chunkEnd) break;
            startCopying(p);
        } else {
            // A pointer and a length: appending an iterator range goes
            // through replace(), several times slower for line-long runs.
            buffer_.append(run, size_t(p - run));
            if (p >= chunkEnd) break;
        }
        if (*p == '\r') {
            buffer_ += '\n';
            // A CR LF pair split by the chunk's end is still one newline:
            // the LF is read from the source, past the chunk if need be.
            const bool pair = p + 1 < sourceEnd && p[1] == '\n';
            p += pair ? 2 : 1;
            pieceEndedWithCR_ = !pair && p == sourceEnd;
        } else {
            buffer_.append(kReplacementCharacter, 3);
            p += invalidLength;
        }
    }
    sourcePosition_ = size_t(p - begin);
    data_ = inPlace_ ? source_.data() : buffer_.data();
    size_ = inPlace_ ? sourcePosition_ : buffer_.size();
    return true;
}

}  // namespace zv::html
