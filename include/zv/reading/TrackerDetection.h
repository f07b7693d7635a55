// Recognising what in a message reports on its reader.
//
// A message that is allowed to load its images can still tell its sender
// when, where and how often it was read. The carriers are few and known:
// - pixels: images declared or styled 1 or 2 px wide and high (every
//   declared dimension at most 2, from width/height attributes or the
//   element's style);
// - hidden images: display:none, visibility:hidden, opacity:0, a zero size,
//   or the hidden attribute, on the image or any element around it;
// - image URLs that name the reader: an open-tracking path ("/open",
//   "/track/open.php", "/wf/open", "/pixel", "/beacon", ...), a query
//   parameter that conventionally carries a recipient's identity (email,
//   recipient, subscriber_id, uid, mc_eid, upn, ...), or one of the reader's own
//   addresses, plain, percent-encoded or in base64;
// - tracking parameters on links, which tell the sender's analytics which
//   reader clicked (the list below).
// prepareDocumentForSafeView applies these when asked to block trackers.
#pragma once

#include <zv/Export.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zv {

namespace html {
class HTMLElement;
}

enum class TrackerKind { Pixel, Hidden, Parameter };

// "pixel", "hidden" or "parameter".
ZV_EXPORT std::string_view trackerKindName(TrackerKind kind);

struct Tracker {
    std::string url;  // as written in the message, white space trimmed
    TrackerKind kind;
};

// Link query parameters that exist to identify a click. Names compare
// without regard to case; every name starting "utm_" is one as well.
// utm_*, mc_cid, mc_eid, fbclid, gclid, gclsrc, dclid, gbraid, wbraid,
// msclkid, yclid, twclid, ttclid, igshid, li_fat_id, _hsenc, _hsmi, __hssc,
// __hstc, __hsfp, hsctatracking, mkt_tok, vero_id, vero_conv, oly_enc_id,
// oly_anon_id, _openstat, wickedid, rb_clickid, s_cid, ss_source,
// ss_campaign_id, ml_subscriber, ml_subscriber_hash, ck_subscriber_id,
// elqtrackid, elqtrack, elqaid, elqat, _bta_tid, _bta_c, trk_contact,
// trk_msg, trk_module, trk_sid, sc_cid, spm, mbid, cmpid, ref_src, _ke.
ZV_EXPORT bool isTrackingParameter(std::string_view name);

// `url` without its tracking parameters, or nothing when it has none.
// Everything else (order, encoding, fragment) stays as written.
ZV_EXPORT std::optional<std::string> withoutTrackingParameters(std::string_view url);

// Whether an image element is a pixel or hidden, judged by its attributes,
// its style and the styles of the elements around it (inline styles only:
// head CSS is applied to the content before this runs).
ZV_EXPORT std::optional<TrackerKind> trackingImageKind(const html::HTMLElement& image);

// trackingImageKind for the many images of one document: each element's
// style is read once, however many images lie inside it, so judging every
// image of a message costs one pass over it. It remembers what it read, so
// it serves one tree while no element's style or hidden attribute changes.
class ZV_EXPORT TrackingImageJudge {
public:
    std::optional<TrackerKind> kindOf(const html::HTMLElement& image);

private:
    bool hiddenWithin(const html::HTMLElement& element);

    std::unordered_map<const html::HTMLElement*, bool> hidden_;
};

// Whether an image URL names its reader (see above); `readerAddresses` are
// the reader's mail addresses, if the host knows them.
ZV_EXPORT bool imageURLNamesReader(std::string_view url, const std::vector<std::string>& readerAddresses = {});

}  // namespace zv
