// Preparing a message's parsed document for a safe message view.
//
// A safe view runs none of the message's scripts and lets the engine fetch
// nothing by itself. This does the document's share of that, in place:
// - <link>, <base> and <meta http-equiv> elements go: they would fetch,
//   redirect or relax what follows;
// - ping attributes go: they report clicks to the sender;
// - every remote reference (http:, https: and protocol-relative "//" URLs in
//   src, lowsrc, dynsrc, background, poster, data, SVG href and xlink:href,
//   each URL of srcset and imagesrcset, url(), image-set() and @import in
//   style attributes, SVG presentation attributes such as mask and filter
//   and the values SVG animations give them, and <style> elements) is
//   counted and rewritten: to the
//   internal schemes (ZVWebViewInternalHTTPSchemeKey, …HTTPS…) when remote
//   content is allowed, so it is fetched through the scheme handler and the
//   URL cache, else to the exclusion schemes, which the handler always
//   refuses;
// - a content security policy goes first in the head: no scripts, frames,
//   objects or fetches; images and media only from "cid", "data" and the
//   symbol scheme, and from the internal HTTP schemes when remote content is
//   allowed.
// The internal HTTP schemes written in the message itself count as remote
// references too, so a message cannot name them to slip past the blocking.
// While remote content is blocked, each <img> whose picture is remote is
// shown as a placeholder box of its declared size, with its alternative text
// (else its file name) and that size, the refused image hidden inside it;
// pixels, hidden images and decorative ones without a size get none.
// Links (<a href>) are left as they are (following one is the host's
// decision), except that tracking parameters go when trackers are blocked.
// Work is linear in the document's size, whatever its attributes hold.
//
// With blockTrackers, what TrackerDetection.h recognises is never fetched,
// even with remote content allowed: the references of pixels, hidden images
// and image URLs naming the reader go to the exclusion schemes, and links
// lose their tracking parameters. Each is reported.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLDocument.h>
#include <zv/reading/TrackerDetection.h>

#include <cstddef>
#include <string>
#include <vector>

namespace zv {

struct SafeViewOptions {
    bool allowRemoteContent = false;
    bool blockTrackers = false;
    // Blocked images shown as placeholders (see above).
    bool imagePlaceholders = true;
    // The reader's own mail addresses, for spotting them in image URLs.
    std::vector<std::string> readerAddresses;
};

struct SafeViewReport {
    // Remote references found, in document order (attribute values, then
    // style text), as written in the message with white space trimmed.
    std::vector<std::string> remoteURLs;
    std::size_t remoteReferences() const { return remoteURLs.size(); }
    // With blockTrackers: each tracker found, in document order; a link
    // counts once however many parameters it lost.
    std::vector<Tracker> trackers;
};

ZV_EXPORT SafeViewReport prepareDocumentForSafeView(html::HTMLDocument& document, const SafeViewOptions& options);

// The policy prepareDocumentForSafeView puts in the head, for hosts that build
// documents of their own (a text body shown as HTML).
ZV_EXPORT std::string safeViewContentSecurityPolicy(bool allowRemoteContent);

}  // namespace zv
