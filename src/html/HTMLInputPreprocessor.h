// The tokenizer's input stream: the source with newlines normalised (CR LF and
// lone CR become LF) and invalid UTF-8 replaced by U+FFFD, prepared into one
// contiguous buffer a chunk at a time as the tokenizer reaches its end. Until
// the first byte that needs changing, that buffer is the source itself.
//
// Nothing is read at construction, so a caller that takes only the first
// tokens of a large document pays only for the chunks those tokens cover.
// The source is either one text held in place or pieces pulled from a
// callback as they are needed (a file being read and decoded).
// The buffer can move (from the source to a copy at the first byte that needs
// changing, or when invalid bytes make a copy outgrow its reservation), so hold
// offsets into it, not pointers, across calls to prepareMore().
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zv::html {

class HTMLInputPreprocessor {
public:
    // Source bytes per chunk; a chunk ends early or late only to keep a
    // CR LF pair or a UTF-8 sequence whole.
    static constexpr size_t kChunkSize = 32 * 1024;

    // `source` must stay alive and unchanged while chunks are still to come.
    explicit HTMLInputPreprocessor(std::string_view source) noexcept
        : source_(source), inPlace_(true), data_(source.data() ? source.data() : "") {}
    // Each call of `pull` gives the next piece (held until the next call),
    // empty at the end; see HTMLTextSource.
    explicit HTMLInputPreprocessor(std::function<std::string_view()> pull) noexcept : pull_(std::move(pull)) {}

    const char* data() const noexcept { return data_; }
    size_t size() const noexcept { return size_; }
    // Whether the whole source has been prepared.
    bool finished() const noexcept { return sourcePosition_ == source_.size() && !pull_; }

    // Appends the next chunk, which is never empty; false when there was
    // nothing left to prepare.
    bool prepareMore();

    // Calls report(offset, code) for each control or noncharacter in `text`,
    // which must be prepared (valid) UTF-8; the HTML standard counts them as
    // parse errors of the input stream.
    template <typename Report>
    static void findInputStreamErrors(std::string_view text, Report&& report);

private:
    // Moves on to the next pulled piece once the current one is used up;
    // false at the end of the input.
    bool nextPiece();

    // Switches from reading the source in place to a copy of what was
    // prepared so far, at the first byte that needs changing.
    void startCopying(const char* preparedEnd);

    std::string_view source_;
    size_t sourcePosition_ = 0;
    // Text that needs no change is read where it lies: one source held in
    // place is only copied from its first CR or invalid byte on.
    bool inPlace_ = false;
    std::string buffer_;
    const char* data_ = "";
    size_t size_ = 0;
    std::function<std::string_view()> pull_;  // dropped once it gives nothing more
    bool pieceEndedWithCR_ = false;           // so an LF opening the next piece is not a second newline
};

template <typename Report>
void HTMLInputPreprocessor::findInputStreamErrors(std::string_view text, Report&& report) {
    for (size_t i = 0; i < text.size();) {
        auto b = uint8_t(text[i]);
        if (b < 0x80) {
            bool control = (b < 0x20 && b != '\t' && b != '\n' && b != '\f' && b != 0) || b == 0x7F;
            if (control) report(i, "control-character-in-input-stream");
            ++i;
            continue;
        }
        size_t length = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : 2;
        char32_t c = b & (0x7F >> length);
        for (size_t k = 1; k < length && i + k < text.size(); ++k) c = (c << 6) | (uint8_t(text[i + k]) & 0x3F);
        if (c >= 0x80 && c <= 0x9F) report(i, "control-character-in-input-stream");
        else if ((c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE) report(i, "noncharacter-in-input-stream");
        i += length;
    }
}

}  // namespace zv::html
