// Decoding a byte stream to UTF-8 as it arrives, piece by piece.
//
// The pieces put together are exactly what decodeToUTF8 gives for the whole
// stream: bytes that may still combine with what follows (an unfinished
// sequence) are held back until the next piece or finish(). Encodings whose
// state runs through the whole input (ISO-2022-JP) are held back entirely
// and decoded at finish().
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>

namespace zv::html {

class ZV_EXPORT HTMLStreamDecoder {
public:
    // `encoding` as decodeToUTF8 takes it; the stream carries no byte order mark.
    explicit HTMLStreamDecoder(std::string encoding) : encoding_(std::move(encoding)) {}

    // The UTF-8 for `bytes`, which follow everything given before.
    std::string decode(std::string_view bytes);
    // The UTF-8 for what is still held back, at the end of the stream.
    std::string finish();

private:
    std::string encoding_;
    std::string heldBack_;
};

}  // namespace zv::html
