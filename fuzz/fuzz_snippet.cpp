// libFuzzer over streamed snippets: the snippet of bytes read a piece at a
// time must be the snippet of the same bytes decoded as a whole.
//
// The first five bytes pick the setting, the rest is the document:
//   0     the transport encoding label (or none, to let a BOM, a <meta> or
//         the default decide)
//   1, 2  the sizes of the pieces the reader hands out, 1 to 16 bytes, in a
//         cycle of four
//   3     maxLength (0: no limit)
//   4     the snippet options (low five bits) and the default encoding (bit 5)
// The first 1024 bytes are gathered to sniff the encoding and decoded in one
// go, so the pieces only cut what follows them: inputs past 1 KB count most.
#include <zv/html/HTMLEncoding.h>
#include <zv/text/TextSnippet.h>
#include <zv/text/TextSnippetStream.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace {

// "iso-2022-kr" denotes the replacement encoding.
constexpr const char* kLabels[] = {"",       "utf-8", "utf-16le", "utf-16be", "windows-1252", "shift_jis",
                                   "euc-jp", "gbk",   "gb18030",  "big5",     "iso-2022-jp",  "iso-2022-kr"};
constexpr size_t kHeaderSize = 5;

void printSnippet(const char* name, const std::optional<std::string>& snippet) {
    std::fprintf(stderr, "--- %s\n%s\n", name, snippet ? snippet->c_str() : "(nothing)");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kHeaderSize) return 0;
    const char* transport = kLabels[data[0] % std::size(kLabels)];
    const unsigned pieceSizes = data[1] | data[2] << 8;
    const long maxLength = data[3];
    const unsigned options = data[4] & 31;
    const char* fallback = data[4] & 32 ? "windows-1252" : "UTF-8";
    const std::string_view bytes(reinterpret_cast<const char*>(data + kHeaderSize), size - kHeaderSize);

    size_t given = 0, calls = 0;
    zv::SnippetByteReader read = [&](char* buffer, size_t capacity) -> long {
        const size_t pieceSize = 1 + (pieceSizes >> (4 * (calls++ % 4)) & 15);
        const size_t count = std::min({capacity, pieceSize, bytes.size() - given});
        std::memcpy(buffer, bytes.data() + given, count);
        given += count;
        return long(count);
    };
    std::error_code error;
    const std::optional<std::string> streamed =
        zv::textSnippetForStream(read, transport, fallback, maxLength, options, &error);

    const zv::html::SniffedEncoding sniffed = zv::html::sniffEncoding(bytes, transport, fallback);
    const std::string text = zv::html::decodeToUTF8(bytes.substr(sniffed.bomLength), sniffed.encoding);
    const std::optional<std::string> whole = zv::textSnippetForHTML(text, maxLength, options);
    if (streamed == whole && !error) return 0;

    std::fprintf(stderr, "streamed and whole snippets differ (%s, maxLength %ld, options %u, error \"%s\")\n",
                 sniffed.encoding.c_str(), maxLength, options, error.message().c_str());
    printSnippet("streamed", streamed);
    printSnippet("whole", whole);
    std::abort();
}
