#include <zv/foundation/ImageMimeType.h>

#include "ASCIIText.h"

#include <algorithm>
#include <cstdint>

namespace zv {

namespace {

uint32_t bigEndian32(std::string_view bytes, size_t at) {
    auto b = [&](size_t i) { return uint32_t(uint8_t(bytes[at + i])); };
    return b(0) << 24 | b(1) << 16 | b(2) << 8 | b(3);
}

// ISO base media files ("....ftyp" + major brand + version + compatible
// brands) say what they hold by brand; AVIF wins over HEIF, whose brands
// AVIF files often list too.
std::string fromFileTypeBox(std::string_view bytes) {
    uint32_t boxSize = bigEndian32(bytes, 0);
    size_t end = boxSize >= 16 && boxSize <= bytes.size() ? boxSize : std::min<size_t>(bytes.size(), 16);
    bool heic = false;
    bool heif = false;
    for (size_t at = 8; at + 4 <= end; at += at == 8 ? 8 : 4) {
        std::string_view brand = bytes.substr(at, 4);
        if (brand == "avif" || brand == "avis") return "image/avif";
        if (brand == "heic" || brand == "heix" || brand == "heim" || brand == "heis" || brand == "hevc" ||
            brand == "hevx")
            heic = true;
        if (brand == "mif1" || brand == "msf1") heif = true;
    }
    if (heic) return "image/heic";
    if (heif) return "image/heif";
    return {};
}

// Skips a prolog construct that starts at `at` ("<?...?>", "<!--...-->",
// "<!...>"); answers npos when there is none or it does not end.
size_t skipPrologItem(std::string_view text, size_t at) {
    auto skipTo = [&](std::string_view close) {
        size_t end = text.find(close, at);
        return end == std::string_view::npos ? end : end + close.size();
    };
    if (text.substr(at).starts_with("<?")) return skipTo("?>");
    if (text.substr(at).starts_with("<!--")) return skipTo("-->");
    if (text.substr(at).starts_with("<!")) return skipTo(">");
    return std::string_view::npos;
}

bool isSVG(std::string_view bytes) {
    // The element opens within the first few kilobytes of any real SVG file.
    std::string_view text = bytes.substr(0, 4096);
    size_t at = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    while (true) {
        while (at < text.size() && isASCIIWhitespace(text[at])) ++at;
        if (text.substr(at).starts_with("<svg")) {
            char after = at + 4 < text.size() ? text[at + 4] : '\0';
            return after == '>' || after == '/' || isASCIIWhitespace(after);
        }
        at = skipPrologItem(text, at);
        if (at == std::string_view::npos) return false;
    }
}

}  // namespace

std::string imageMimeType(std::string_view bytes) {
    if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return "image/png";
    if (bytes.starts_with("\xFF\xD8\xFF")) return "image/jpeg";
    if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) return "image/gif";
    if (bytes.size() >= 12 && bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP") return "image/webp";
    if (bytes.size() >= 14 && bytes.starts_with("BM")) return "image/bmp";
    if (bytes.starts_with(std::string_view("II*\0", 4)) || bytes.starts_with(std::string_view("MM\0*", 4)))
        return "image/tiff";
    if (bytes.size() >= 6 && bytes.starts_with(std::string_view("\0\0\1\0", 4)) && (bytes[4] || bytes[5]))
        return "image/x-icon";
    if (bytes.size() >= 16 && bytes.substr(4, 4) == "ftyp") return fromFileTypeBox(bytes);
    if (isSVG(bytes)) return "image/svg+xml";
    return {};
}

}  // namespace zv
