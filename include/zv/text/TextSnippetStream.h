// Snippets of HTML that is still to be read: a file, or a byte stream such as
// a message part the host's MIME parser is decoding.
//
// The bytes are read, decoded to UTF-8 and tokenized a piece at a time, and
// reading stops with the extraction, so a 200-character preview of a 64 MB
// file reads a few tens of kilobytes of it, whatever its encoding (but
// ISO-2022-JP, which decodes only as a whole). The snippet is the one
// textSnippetForHTML gives for the whole decoded text (see TextSnippet.h).
//
// The encoding is found as the HTML standard sniffs it, from the first 1024
// bytes: a byte order mark, then the transport layer's charset (a MIME
// part's), then a <meta> charset, then the default: UTF-8 for a file, as a
// user's own HTML files are; windows-1252 is the standard's default for a
// message part without a charset.
//
// Failures to open or read are reported in `error` (errno's code) with
// nothing returned, even when some text came before the failure: a preview
// of half a message would pass for the whole. Any thread.
#pragma once

#include <zv/Export.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zv {

// Reads up to `capacity` bytes into `buffer`: how many it read, 0 at the
// end, or -1 on failure (with errno set).
using SnippetByteReader = std::function<long(char* buffer, size_t capacity)>;

// maxLength and options as textSnippetForHTML takes them; nothing when no
// text is collected or reading failed (then `error`, which may be null, says
// why; it is cleared otherwise).
ZV_EXPORT std::optional<std::string> textSnippetForStream(const SnippetByteReader& read,
                                                          std::string_view transportEncoding,
                                                          std::string_view defaultEncoding, long maxLength,
                                                          unsigned options, std::error_code* error);

// The file at `path`, as HTML with UTF-8 as the default encoding.
ZV_EXPORT std::optional<std::string> textSnippetForFile(const std::string& path, long maxLength, unsigned options,
                                                        std::error_code* error);

}  // namespace zv
