// Judging a message's link before the system opens it.
//
// A link is honest unless one of these holds, each given as a short reason:
// - its scheme is not one a reader expects from a mail link (http, https,
//   mailto and tel are; javascript:, data:, file:, smb: and the rest are not);
// - it carries a user name before the host ("https://bank.example@evil.example"
//   goes to evil.example);
// - its host is an IP address or a number a browser reads as one
//   ("http://3232235777/", "http://0x7f.1/");
// - its host mixes scripts in one label the way spoofers do, or is written in
//   another script with letters that pass for Latin ones ("аррӏе.com"),
//   by ICU's spoof checker;
// - its visible text is itself an address whose registrable domain (the
//   public suffix plus one label, from libpsl) is not the target's: text
//   "www.bank.example" on a link to "https://login.evil.example/". A link a
//   mail security gateway rewrote (Microsoft Safe Links, Proofpoint URL
//   Defense, Symantec Click-time, Barracuda) is judged by the address it
//   wraps, so the reader's own organisation's rewriting raises no alarm.
// Relative links and in-page anchors are honest: a message has no base to
// resolve them against, so they go nowhere.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLDocument.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// Nothing when the link is honest, else why not.
ZV_EXPORT std::optional<std::string> linkWarning(std::string_view visibleText, std::string_view href);

// The registrable domain of a host name ("news.bbc.co.uk" → "bbc.co.uk"),
// lower case, in ASCII; the host itself when it is a public suffix or not a
// domain name. A host that cannot be written in ASCII (invalid UTF-8, a
// label too long) keeps its non-ASCII bytes as given.
ZV_EXPORT std::string registrableDomain(std::string_view host);

struct JudgedLink {
    std::string text;  // the visible text, white space collapsed (its first 4 KB)
    std::string href;  // as written, white space trimmed
    std::optional<std::string> warning;
};

// Every link (<a href>, <area href>) of a document, in document order.
ZV_EXPORT std::vector<JudgedLink> judgeLinks(const html::HTMLDocument& document);

}  // namespace zv
