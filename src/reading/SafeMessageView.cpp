#include <zv/reading/SafeMessageView.h>

#include "ASCIIText.h"
#include "BlockedImagePlaceholder.h"
#include "CSSURLLocator.h"
#include "SrcsetParsing.h"

#include <zv/html/HTMLElement.h>
#include <zv/scheme/SchemeKeys.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace zv {

namespace {

using html::HTMLElement;
using reading::TextRange;

// Where a URL stands once the engine's URL parser has trimmed C0 controls
// and spaces at both ends: [start, end).
std::pair<std::size_t, std::size_t> trimmedBounds(std::string_view url) {
    std::size_t start = 0, end = url.size();
    while (start < end && static_cast<unsigned char>(url[start]) <= 0x20) ++start;
    while (end > start && static_cast<unsigned char>(url[end - 1]) <= 0x20) --end;
    return {start, end};
}

// The URL as the engine's URL parser would read it: trimmed at both ends,
// tabs and line feeds dropped anywhere ("ht\ttps:" is "https:").
std::string parsedForm(std::string_view url) {
    auto [start, end] = trimmedBounds(url);
    std::string out;
    out.reserve(end - start);
    for (char c : url.substr(start, end - start))
        if (c != '\t' && c != '\n' && c != '\r') out += c;
    return out;
}

// The message may name the internal schemes itself: "wren-https://x" is read
// as "https://x".
std::string withoutInternalScheme(std::string url) {
    for (auto [key, scheme] : {std::pair<std::string_view, std::string_view>{ZVWebViewInternalHTTPSSchemeKey, "https:"},
                               {ZVWebViewInternalHTTPSchemeKey, "http:"}})
        if (startsWithIgnoringASCIICase(url, std::string(key) + ":")) return std::string(scheme) + url.substr(key.size() + 1);
    return url;
}

// "//host", "\\host" and "/\host": a browser reads each against an http(s)
// base as a URL of the base's scheme.
bool isSchemeRelative(std::string_view url) {
    return url.size() >= 2 && (url[0] == '/' || url[0] == '\\') && (url[1] == '/' || url[1] == '\\');
}

// For http(s) a browser reads a backslash before the query as a slash, so
// "http:\\x\a.png" fetches "http://x/a.png"; the rewritten URL must too.
std::string withSlashes(std::string url) {
    std::size_t end = std::min(url.find_first_of("?#"), url.size());
    std::replace(url.begin(), url.begin() + std::ptrdiff_t(end), '\\', '/');
    return url;
}

class Rewriter {
public:
    explicit Rewriter(const SafeViewOptions& options) : options_(options) {}

    SafeViewReport report;

    // The rewritten form of a remote URL, nothing for any other. A tracker
    // (of `imageKind` when the element is one) is never let through.
    std::optional<std::string> rewritten(std::string_view written, std::optional<TrackerKind> imageKind = std::nullopt) {
        std::string url = withoutInternalScheme(parsedForm(written));
        bool remote = startsWithIgnoringASCIICase(url, "https:") || startsWithIgnoringASCIICase(url, "http:") || isSchemeRelative(url);
        if (!remote) return std::nullopt;
        url = withSlashes(std::move(url));
        std::optional<TrackerKind> tracker;
        if (options_.blockTrackers)
            tracker = imageKind ? imageKind
                      : imageURLNamesReader(url, options_.readerAddresses) ? std::optional(TrackerKind::Pixel)
                                                                            : std::nullopt;
        bool allowed = options_.allowRemoteContent && !tracker;
        std::string_view httpKey = allowed ? ZVWebViewInternalHTTPSchemeKey : ZVWebViewExclusionHTTPSchemeKey;
        std::string_view httpsKey = allowed ? ZVWebViewInternalHTTPSSchemeKey : ZVWebViewExclusionHTTPSSchemeKey;
        std::string out;
        if (startsWithIgnoringASCIICase(url, "https:")) out = std::string(httpsKey) + url.substr(5);
        else if (startsWithIgnoringASCIICase(url, "http:")) out = std::string(httpKey) + url.substr(4);
        else out = std::string(httpsKey) + ":" + url;
        if (tracker) report.trackers.push_back({url, *tracker});
        report.remoteURLs.push_back(std::move(url));
        return out;
    }

    // A link's href without tracking parameters, nothing when it keeps them all.
    std::optional<std::string> cleanedLink(std::string_view href) {
        if (!options_.blockTrackers) return std::nullopt;
        auto cleaned = withoutTrackingParameters(href);
        if (cleaned) report.trackers.push_back({std::string(trimmed(href)), TrackerKind::Parameter});
        return cleaned;
    }

    // `text` with every remote URL among `ranges` rewritten; nothing when none was.
    std::optional<std::string> rewrittenRanges(std::string_view text, const std::vector<TextRange>& ranges,
                                               std::optional<TrackerKind> imageKind = {}) {
        return rewrittenRanges(text, ranges, [&](std::string_view url) { return rewritten(url, imageKind); });
    }

    // The same for the URLs of CSS, which may be written with escapes.
    std::optional<std::string> rewrittenCSS(std::string_view css) {
        return rewrittenRanges(css, reading::cssURLRanges(css), [&](std::string_view url) -> std::optional<std::string> {
            if (url.find('\\') == std::string_view::npos) return rewritten(url);
            auto written = rewritten(reading::cssUnescaped(url));
            return written ? std::optional(reading::cssEscaped(*written)) : std::nullopt;
        });
    }

private:
    template <class Rewrite>
    std::optional<std::string> rewrittenRanges(std::string_view text, const std::vector<TextRange>& ranges,
                                               const Rewrite& rewrite) {
        std::string out;
        std::size_t copied = 0;
        bool changed = false;
        for (const TextRange& range : ranges) {
            auto url = rewrite(text.substr(range.start, range.length));
            if (!url) continue;
            out.append(text, copied, range.start - copied);
            out += *url;
            copied = range.start + range.length;
            changed = true;
        }
        if (!changed) return std::nullopt;
        out.append(text, copied);
        return out;
    }

    static std::string_view trimmed(std::string_view text) {
        auto [start, end] = trimmedBounds(text);
        return text.substr(start, end - start);
    }

    const SafeViewOptions& options_;
};

enum class AttributeKind { Other, URL, Srcset, Style, Ping, Link };

// The SVG presentation attributes that take a url(…): the engine reads them
// as the CSS properties of their names, and fetches a mask or cursor image
// named there. An animation's values are such values too: <set to="url(…)">
// and <animate values="url(…)"> on a mask fetch the image.
bool isSVGPresentationURL(const HTMLElement& element, std::string_view name) {
    if (element.htmlNamespace() != html::Namespace::SVG) return false;
    for (std::string_view property : {"mask", "filter", "clip-path", "cursor", "fill", "stroke", "marker-start",
                                      "marker-mid", "marker-end"})
        if (name == property) return true;
    std::string_view tag = element.localName();
    return (tag == "animate" || tag == "set") && (name == "to" || name == "from" || name == "by" || name == "values");
}

AttributeKind kindOf(const HTMLElement& element, const html::HTMLAttribute& attribute) {
    std::string_view name = attribute.name;
    if (attribute.ns == html::AttributeNamespace::XLink) {
        if (name != "href") return AttributeKind::Other;
        return element.localName() == "a" ? AttributeKind::Link : AttributeKind::URL;
    }
    if (attribute.ns != html::AttributeNamespace::None) return AttributeKind::Other;
    if (name == "src" || name == "lowsrc" || name == "dynsrc" || name == "background" || name == "poster" ||
        name == "data")
        return AttributeKind::URL;
    // An SVG image, use or pattern fetches its href; an <a> anywhere only links.
    if (name == "href" && element.htmlNamespace() == html::Namespace::SVG && element.localName() != "a")
        return AttributeKind::URL;
    if (name == "srcset" || name == "imagesrcset") return AttributeKind::Srcset;
    if (name == "style" || isSVGPresentationURL(element, name)) return AttributeKind::Style;
    if (name == "ping") return AttributeKind::Ping;
    if (name == "href") return AttributeKind::Link;
    return AttributeKind::Other;
}

bool showsAnImage(const HTMLElement& element) {
    std::string_view name = element.localName();
    if (element.htmlNamespace() == html::Namespace::SVG) return name == "image";
    if (name == "input") {
        const std::string* type = element.attribute("type");
        return type && (*type == "image" || *type == "IMAGE" || *type == "Image");
    }
    return name == "img" || name == "image";
}

// A srcset's URL ranges without the bytes the URL parser trims, so that a
// rewrite keeps them: "a.png,\x04 b.png 2x" is one candidate whose URL ends
// in U+0004; rewritten without it, the comma would end the candidate there
// and make "b.png" a URL of its own, which nothing rewrote.
std::vector<TextRange> srcsetURLCores(std::string_view srcset) {
    std::vector<TextRange> ranges = reading::srcsetURLRanges(srcset);
    for (TextRange& range : ranges) {
        auto [start, end] = trimmedBounds(srcset.substr(range.start, range.length));
        range = {range.start + start, end - start};
    }
    return ranges;
}

// Rewrites the element's remote references; returns the first remote URL of
// an <img>'s picture (its src, else its srcset), "" when it has none.
std::string rewriteAttributes(HTMLElement& element, Rewriter& rewriter, TrackingImageJudge* trackers) {
    // Copied: rewriting changes the element's attributes as it goes.
    html::HTMLAttributeList attributes = element.attributes();
    std::optional<TrackerKind> imageKind;
    if (trackers && showsAnImage(element)) imageKind = trackers->kindOf(element);
    bool isImg = element.htmlNamespace() == html::Namespace::HTML && element.localName() == "img";
    std::string pictureURL;
    auto notePicture = [&](std::string_view name, std::size_t remoteBefore) {
        if (!isImg || rewriter.report.remoteURLs.size() == remoteBefore) return;
        if (name == "src" || (name == "srcset" && pictureURL.empty())) pictureURL = rewriter.report.remoteURLs[remoteBefore];
    };
    for (const html::HTMLAttribute& attribute : attributes) {
        std::optional<std::string> value;
        std::size_t remoteBefore = rewriter.report.remoteURLs.size();
        switch (kindOf(element, attribute)) {
        case AttributeKind::Other: continue;
        case AttributeKind::Ping: element.removeAttribute(attribute.qualifiedName()); continue;
        case AttributeKind::URL:
            value = rewriter.rewritten(attribute.value, imageKind);
            notePicture(attribute.name, remoteBefore);
            break;
        case AttributeKind::Srcset:
            value = rewriter.rewrittenRanges(attribute.value, srcsetURLCores(attribute.value), imageKind);
            notePicture(attribute.name, remoteBefore);
            break;
        case AttributeKind::Link: value = rewriter.cleanedLink(attribute.value); break;
        case AttributeKind::Style:
            value = rewriter.rewrittenCSS(attribute.value);
            break;
        }
        if (value) element.setAttribute(attribute.qualifiedName(), *value);
    }
    // A local src (cid:, data:) still shows a picture.
    const std::string* src = element.attribute("src");
    if (src && !pictureURL.empty() && !src->starts_with(ZVWebViewExclusionHTTPSchemeKey)) return "";
    return pictureURL;
}

// Rewrites the sheet's remote references; returns how many elements went
// with its old content. An SVG style element may hold elements (they only
// add their text to the sheet): its content becomes its text whether or not
// a reference changed, so a style element nested in it, whose text this one
// already read, is never read again (a chain of them would cost the square
// of its length).
std::size_t rewriteStyleSheet(HTMLElement& style, Rewriter& rewriter) {
    std::string css = style.textContent();
    auto value = rewriter.rewrittenCSS(css);
    std::size_t dropped = style.firstElementChild() ? style.querySelectorAll("*").size() : 0;
    if (value || dropped) style.setTextContent(value ? *value : css);
    return dropped;
}

bool fetchesOrRedirects(const HTMLElement& element) {
    if (element.htmlNamespace() != html::Namespace::HTML) return false;
    std::string_view name = element.localName();
    return name == "link" || name == "base" || (name == "meta" && element.hasAttribute("http-equiv"));
}

void insertPolicy(html::HTMLDocument& document, bool allowRemote) {
    HTMLElement* head = document.head();
    if (!head) return;
    auto meta = HTMLElement::create("meta");
    meta->setAttribute("http-equiv", "Content-Security-Policy");
    meta->setAttribute("content", safeViewContentSecurityPolicy(allowRemote));
    head->insertNode(html::Ref<html::HTMLNode>(meta.get()), head->firstChild());
}

}  // namespace

std::string safeViewContentSecurityPolicy(bool allowRemoteContent) {
    std::string remote;
    if (allowRemoteContent)
        remote = std::string(" ") + ZVWebViewInternalHTTPSchemeKey + ": " + ZVWebViewInternalHTTPSSchemeKey + ":";
    return std::string("default-src 'none'; img-src ") + ZVWebViewContentIdSchemeKey + ": data: " +
           ZVWebViewInternalSymbolSchemeKey + ":" + remote + "; style-src 'unsafe-inline'; font-src " +
           ZVWebViewContentIdSchemeKey + ": data:; media-src " + ZVWebViewContentIdSchemeKey + ": data:" + remote;
}

SafeViewReport prepareDocumentForSafeView(html::HTMLDocument& document, const SafeViewOptions& options) {
    HTMLElement* root = document.documentElement();
    if (!root) return {};
    Rewriter rewriter(options);
    TrackingImageJudge trackers;
    std::vector<HTMLElement*> removed;
    std::vector<std::pair<HTMLElement*, std::string>> blockedImages;
    const std::vector<HTMLElement*> elements = root->querySelectorAll("*");
    for (std::size_t i = 0; i < elements.size(); ++i) {
        HTMLElement* element = elements[i];
        if (fetchesOrRedirects(*element)) {
            removed.push_back(element);
            continue;
        }
        std::string pictureURL = rewriteAttributes(*element, rewriter, options.blockTrackers ? &trackers : nullptr);
        // Pixels and hidden images show nothing, so they get no placeholder.
        if (!pictureURL.empty() && !options.allowRemoteContent && options.imagePlaceholders && !trackers.kindOf(*element))
            blockedImages.emplace_back(element, std::move(pictureURL));
        // In document order a style's elements come right after it: the ones
        // its rewriting dropped are skipped, not visited freed.
        if (element->localName() == "style") i += rewriteStyleSheet(*element, rewriter);
    }
    for (HTMLElement* element : removed) element->parentNode()->removeChildNode(element);
    for (auto& [image, url] : blockedImages) reading::placeBlockedImagePlaceholder(*image, url);
    insertPolicy(document, options.allowRemoteContent);
    return std::move(rewriter.report);
}

}  // namespace zv
