#include <zv/text/TextSnippetStream.h>

#include <zv/html/HTMLEncoding.h>
#include <zv/html/HTMLStreamDecoder.h>
#include "HTMLTokenizer.h"

#include "TextSnippetRun.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace zv {

namespace {

// Small enough that a preview reads little past the text it shows, large
// enough that reading a whole document costs few calls.
constexpr size_t kReadSize = 16 * 1024;
// What the standard's prescan looks at for a <meta> charset.
constexpr size_t kSniffLength = 1024;

// The tokenizer's text source: bytes read and decoded only when the
// tokenizer asks for more.
class DecodingSource {
public:
    DecodingSource(const SnippetByteReader& read, std::string_view transportEncoding, std::string_view defaultEncoding)
        : read_(read), transportEncoding_(transportEncoding), defaultEncoding_(defaultEncoding) {}

    std::string_view next() {
        piece_.clear();
        while (piece_.empty() && !ended_) {
            if (!decoder_) {
                start();
                continue;
            }
            long count = readSome(0);
            if (count < 0) return {};
            if (count == 0) {
                piece_ = decoder_->finish();
                ended_ = true;
            } else {
                piece_ = decoder_->decode(std::string_view(bytes_).substr(0, size_t(count)));
            }
        }
        return piece_;
    }

    int failure() const { return failure_; }

private:
    // Reads into bytes_ from `offset` on; how many, 0 at the end, -1 on failure.
    long readSome(size_t offset) {
        bytes_.resize(offset + kReadSize);
        errno = 0;
        long count = read_(bytes_.data() + offset, kReadSize);
        if (count < 0) {
            failure_ = errno ? errno : EIO;
            ended_ = true;
        }
        return count;
    }

    // The first bytes decide the encoding.
    void start() {
        size_t have = 0;
        bool atEnd = false;
        while (have < kSniffLength) {
            long count = readSome(have);
            if (count < 0) return;
            if (count == 0) {
                atEnd = true;
                break;
            }
            have += size_t(count);
        }
        std::string_view first = std::string_view(bytes_).substr(0, have);
        html::SniffedEncoding sniffed = html::sniffEncoding(first, transportEncoding_, defaultEncoding_);
        decoder_.emplace(sniffed.encoding);
        piece_ = decoder_->decode(first.substr(sniffed.bomLength));
        if (atEnd) {
            piece_ += decoder_->finish();
            ended_ = true;
        }
    }

    const SnippetByteReader& read_;
    std::string_view transportEncoding_;
    std::string_view defaultEncoding_;
    std::optional<html::HTMLStreamDecoder> decoder_;
    std::string bytes_;
    std::string piece_;
    bool ended_ = false;
    int failure_ = 0;
};

}  // namespace

std::optional<std::string> textSnippetForStream(const SnippetByteReader& read, std::string_view transportEncoding,
                                                std::string_view defaultEncoding, long maxLength, unsigned options,
                                                std::error_code* error) {
    if (error) error->clear();
    DecodingSource source(read, transportEncoding, defaultEncoding);
    html::HTMLTokenizer tokenizer([&source] { return source.next(); });
    std::optional<std::string> snippet = snippetOfTokens(tokenizer, maxLength, options);
    if (!source.failure()) return snippet;
    if (error) *error = std::error_code(source.failure(), std::generic_category());
    return std::nullopt;
}

std::optional<std::string> textSnippetForFile(const std::string& path, long maxLength, unsigned options,
                                              std::error_code* error) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (error) *error = std::error_code(errno, std::generic_category());
        return std::nullopt;
    }
    SnippetByteReader read = [fd](char* buffer, size_t capacity) {
        ssize_t count;
        do count = ::read(fd, buffer, capacity);
        while (count < 0 && errno == EINTR);
        return long(count);
    };
    std::optional<std::string> snippet = textSnippetForStream(read, {}, "UTF-8", maxLength, options, error);
    ::close(fd);
    return snippet;
}

}  // namespace zv
