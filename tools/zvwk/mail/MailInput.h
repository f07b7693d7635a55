// The HTML document an input holds, for the commands that read mail.
//
// A file whose name ends in ".eml" (any case) is parsed as an RFC 822
// message. Its first text/html part that is not an attachment is taken,
// multiparts walked depth first; attached messages (message/rfc822) are not
// entered, since their HTML is not the message's own. The part's transfer
// encoding is undone and its bytes decoded to UTF-8 in the HTML standard's
// order: a byte order mark, then the part's charset (the transport layer's
// word), then a <meta> charset, then windows-1252.
//
// Anything else, standard input ("-") included, is HTML: UTF-8 unless a byte
// order mark or a <meta> in the first 1024 bytes says otherwise.
#pragma once

#include <zv/text/TextSnippetStream.h>

#include <optional>
#include <string>

namespace zvwk {

// The document's HTML as UTF-8. On failure returns nothing and sets `error`
// to the whole report, "zvwk: FILE: reason" (for instance "no text/html
// part", or "MIME parts nested too deep to find the text/html part" when GMime
// stopped at its nesting limit first), without printing it.
std::optional<std::string> readMailHTML(const std::string& path, std::string& error);

// The same HTML as bytes still to be read and decoded, for readers that may
// stop early: a message's part is transfer-decoded as it is read (the message
// is still scanned once for its structure), standard input is read as it
// comes. Plain files are left to zv::textSnippetForFile.
struct MailHTMLStream {
    zv::SnippetByteReader read;
    std::string transportEncoding;  // the part's charset, if it names one
    std::string defaultEncoding;    // when neither a byte order mark nor a <meta> says
};

// Only for ".eml" files and "-". Failures are reported as readMailHTML's.
std::optional<MailHTMLStream> openMailHTMLStream(const std::string& path, std::string& error);

// Whether readMailHTML takes `path` for a message.
bool isMessagePath(const std::string& path);

}  // namespace zvwk
