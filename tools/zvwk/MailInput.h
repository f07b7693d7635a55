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

#include <optional>
#include <string>

namespace zvwk {

// The document's HTML as UTF-8. On failure returns nothing and sets `error`
// to the whole report, "zvwk: FILE: reason" (for instance "no text/html
// part", or "MIME parts nested too deep to find the text/html part" when GMime
// stopped at its nesting limit first), without printing it.
std::optional<std::string> readMailHTML(const std::string& path, std::string& error);

}  // namespace zvwk
