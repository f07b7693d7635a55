#include <zv/reading/TrackerDetection.h>

#include <zv/html/HTMLElement.h>

#include "ASCIIText.h"
#include "InlineStyleValues.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace zv {

namespace {

using html::HTMLElement;
using reading::cssPixels;
using reading::inlineStyleValue;

constexpr std::array kTrackingParameters = {
    "mc_cid",     "mc_eid",          "fbclid",      "gclid",       "gclsrc",      "dclid",      "gbraid",
    "wbraid",     "msclkid",         "yclid",       "twclid",      "ttclid",      "igshid",     "li_fat_id",
    "_hsenc",     "_hsmi",           "__hssc",      "__hstc",      "__hsfp",      "hsctatracking", "mkt_tok",
    "vero_id",    "vero_conv",       "oly_enc_id",  "oly_anon_id", "_openstat",   "wickedid",   "rb_clickid",
    "s_cid",      "ss_source",       "ss_campaign_id", "ml_subscriber", "ml_subscriber_hash", "ck_subscriber_id",
    "elqtrackid", "elqtrack",        "elqaid",      "elqat",       "_bta_tid",    "_bta_c",     "trk_contact",
    "trk_msg",    "trk_module",      "trk_sid",     "sc_cid",      "spm",         "mbid",       "cmpid",
    "ref_src",    "_ke",
};

// Query parameters that carry a recipient's identity in open-tracking URLs.
constexpr std::array kReaderParameters = {
    "email", "email_address", "emailaddress", "recipient", "recipient_id", "subscriber", "subscriber_id",
    "subscriberid", "uid", "user_id", "userid", "contact_id", "contactid", "mc_eid", "upn",
};

// Path segments of open-tracking endpoints.
constexpr std::array kOpenPathSegments = {
    "open", "open.php", "open.gif", "open.png", "opened", "track", "tracking", "tracker", "pixel", "pixel.gif",
    "pixel.png", "beacon", "beacon.gif", "wf", "trk", "openrate", "imp", "impression", "o.gif", "t.gif",
};

template <std::size_t N>
bool contains(const std::array<const char*, N>& names, std::string_view name) {
    return std::find_if(names.begin(), names.end(), [&](const char* n) { return name == n; }) != names.end();
}

struct QueryParameter {
    std::size_t start;   // of the name, in the URL
    std::size_t length;  // of name=value
    std::string_view name;
    std::string_view value;
};

// The query's parameters and where the query ends (the fragment or the end).
std::vector<QueryParameter> queryParameters(std::string_view url, std::size_t& queryStart, std::size_t& queryEnd) {
    queryEnd = std::min(url.find('#'), url.size());
    queryStart = url.substr(0, queryEnd).find('?');
    std::vector<QueryParameter> parameters;
    if (queryStart == std::string_view::npos) return parameters;
    std::size_t position = queryStart + 1;
    while (position <= queryEnd) {
        std::size_t end = std::min(url.find('&', position), queryEnd);
        std::string_view pair = url.substr(position, end - position);
        std::size_t equals = pair.find('=');
        parameters.push_back({position, pair.size(), pair.substr(0, equals),
                              equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1)});
        position = end + 1;
    }
    return parameters;
}

bool hidesItself(const HTMLElement& element) {
    if (element.hasAttribute("hidden")) return true;
    const std::string* style = element.attribute("style");
    if (!style) return false;
    if (inlineStyleValue(*style, "display") == "none") return true;
    if (auto visibility = inlineStyleValue(*style, "visibility"); visibility == "hidden" || visibility == "collapse")
        return true;
    if (auto opacity = inlineStyleValue(*style, "opacity"); opacity && cssPixels(*opacity) == 0.0) return true;
    for (const char* dimension : {"width", "height", "max-width", "max-height"})
        if (auto value = inlineStyleValue(*style, dimension); value && cssPixels(*value) == 0.0) return true;
    return false;
}

bool hasZeroSizeAttribute(const HTMLElement& image) {
    for (const char* dimension : {"width", "height"})
        if (const std::string* value = image.attribute(dimension); value && cssPixels(*value) == 0.0) return true;
    return false;
}

bool isPixel(const HTMLElement& image) {
    bool declared = false;
    for (const char* dimension : {"width", "height"}) {
        std::optional<double> size = reading::declaredImageDimension(image, dimension);
        if (!size) continue;
        if (*size > 2) return false;
        declared = true;
    }
    return declared;
}

std::string percentDecodedLower(std::string_view text) {
    char* decoded = g_uri_unescape_segment(text.data(), text.data() + text.size(), nullptr);
    std::string out = decoded ? toASCIILower(decoded) : toASCIILower(text);
    g_free(decoded);
    return out;
}

bool hasOpenPath(std::string_view url) {
    std::size_t scheme = url.find("//");
    if (scheme == std::string_view::npos) return false;
    std::size_t pathStart = url.find('/', scheme + 2);
    if (pathStart == std::string_view::npos) return false;
    std::size_t pathEnd = std::min(url.find_first_of("?#", pathStart), url.size());
    std::string path = toASCIILower(url.substr(pathStart, pathEnd - pathStart));
    std::size_t position = 1;
    while (position <= path.size()) {
        std::size_t end = std::min(path.find('/', position), path.size());
        if (contains(kOpenPathSegments, std::string_view(path).substr(position, end - position))) return true;
        position = end + 1;
    }
    return false;
}

bool namesAddress(std::string_view url, const std::string& address) {
    if (address.empty()) return false;
    std::string wanted = toASCIILower(address);
    if (percentDecodedLower(url).find(wanted) != std::string::npos) return true;
    gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(wanted.data()), wanted.size());
    std::string base64(encoded);
    g_free(encoded);
    while (base64.ends_with('=')) base64.pop_back();
    return url.find(base64) != std::string_view::npos;
}

}  // namespace

std::string_view trackerKindName(TrackerKind kind) {
    switch (kind) {
    case TrackerKind::Pixel: return "pixel";
    case TrackerKind::Hidden: return "hidden";
    case TrackerKind::Parameter: return "parameter";
    }
    return "pixel";
}

bool isTrackingParameter(std::string_view name) {
    std::string lower = percentDecodedLower(name);
    return lower.starts_with("utm_") || contains(kTrackingParameters, lower);
}

std::optional<std::string> withoutTrackingParameters(std::string_view url) {
    std::size_t queryStart = 0, queryEnd = 0;
    std::vector<QueryParameter> parameters = queryParameters(url, queryStart, queryEnd);
    std::string query;
    bool removed = false;
    for (const QueryParameter& parameter : parameters) {
        if (!parameter.name.empty() && isTrackingParameter(parameter.name)) {
            removed = true;
            continue;
        }
        if (!query.empty()) query += '&';
        query += url.substr(parameter.start, parameter.length);
    }
    if (!removed) return std::nullopt;
    std::string out(url.substr(0, queryStart));
    if (!query.empty()) out += "?" + query;
    out += url.substr(queryEnd);
    return out;
}

std::optional<TrackerKind> trackingImageKind(const HTMLElement& image) { return TrackingImageJudge().kindOf(image); }

std::optional<TrackerKind> TrackingImageJudge::kindOf(const HTMLElement& image) {
    if (hiddenWithin(image) || hasZeroSizeAttribute(image)) return TrackerKind::Hidden;
    if (isPixel(image)) return TrackerKind::Pixel;
    return std::nullopt;
}

// Whether the element or one around it hides itself. The elements not yet
// judged are read from the outermost down, each once.
bool TrackingImageJudge::hiddenWithin(const HTMLElement& element) {
    std::vector<const HTMLElement*> unjudged;
    bool hidden = false;
    for (const HTMLElement* at = &element; at; at = at->parentElement()) {
        if (auto found = hidden_.find(at); found != hidden_.end()) {
            hidden = found->second;
            break;
        }
        unjudged.push_back(at);
    }
    for (auto at = unjudged.rbegin(); at != unjudged.rend(); ++at) {
        hidden = hidden || hidesItself(**at);
        hidden_.emplace(*at, hidden);
    }
    return hidden;
}

bool imageURLNamesReader(std::string_view url, const std::vector<std::string>& readerAddresses) {
    if (hasOpenPath(url)) return true;
    std::size_t queryStart = 0, queryEnd = 0;
    for (const QueryParameter& parameter : queryParameters(url, queryStart, queryEnd))
        if (!parameter.value.empty() && contains(kReaderParameters, percentDecodedLower(parameter.name))) return true;
    return std::any_of(readerAddresses.begin(), readerAddresses.end(),
                       [&](const std::string& address) { return namesAddress(url, address); });
}

}  // namespace zv
