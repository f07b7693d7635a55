#include <zv/html/HTMLStreamDecoder.h>

#include <zv/html/HTMLEncoding.h>

namespace zv::html {

// Bytes held back never hold a point the decoder could cut at, except within
// their last few bytes (a sequence is at most four), so only those and the
// new bytes are searched: a long held-back run costs nothing per piece.
std::string HTMLStreamDecoder::decode(std::string_view bytes) {
    const size_t searchFrom = heldBack_.size() > 4 ? heldBack_.size() - 4 : 0;
    heldBack_ += bytes;
    const size_t cut = searchFrom + decodableLength(std::string_view(heldBack_).substr(searchFrom), encoding_);
    if (cut == searchFrom && searchFrom > 0) return {};
    std::string text = decodeToUTF8(std::string_view(heldBack_).substr(0, cut), encoding_);
    heldBack_.erase(0, cut);
    return text;
}

std::string HTMLStreamDecoder::finish() {
    std::string text = decodeToUTF8(heldBack_, encoding_);
    heldBack_.clear();
    return text;
}

}  // namespace zv::html
