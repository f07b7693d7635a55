// Character encodings of HTML input: labels, sniffing and decoding to UTF-8.
#pragma once

#include <zv/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace zv::html {

// The canonical name of the encoding an Encoding Standard label denotes
// ("latin1" → "windows-1252"), or nothing for an unknown label.
std::optional<std::string> encodingForLabel(std::string_view label);

// The charset a <meta> in the first 1024 bytes declares (the standard's
// prescan), as a canonical name; nothing when there is none.
std::optional<std::string> prescanForEncoding(std::string_view bytes);

struct SniffedEncoding {
    std::string encoding;   // canonical name
    size_t bomLength = 0;   // bytes of byte order mark to skip
};

// The encoding sniffing algorithm: a byte order mark, then the transport
// layer's charset, then the prescan, then `defaultEncoding`.
SniffedEncoding sniffEncoding(std::string_view bytes, std::string_view transportEncoding = {},
                              std::string_view defaultEncoding = "windows-1252");

// Decodes `bytes` (without a BOM) from a canonical encoding to UTF-8, with
// U+FFFD for malformed sequences. Any label is accepted; an unknown name
// decodes as windows-1252, which loses no byte. Safe to call from any thread.
std::string decodeToUTF8(std::string_view bytes, std::string_view encoding);

// How many leading bytes of `bytes` decode on their own to what they would
// give followed by any further bytes: all but an unfinished UTF-8 or UTF-16
// sequence; for the multi-byte encodings up to the last byte below 0x30,
// which no lead byte takes as its trail; none for ISO-2022-JP and
// replacement, whose state runs through the whole input.
ZV_EXPORT size_t decodableLength(std::string_view bytes, std::string_view encoding);

}  // namespace zv::html
