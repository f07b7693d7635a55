#include <zv/reading/LinkJudgement.h>

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include "ASCIIText.h"

#include <glib.h>
#include <libpsl.h>
#include <unicode/uspoof.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>

namespace zv {

namespace {

using html::HTMLElement;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && static_cast<unsigned char>(text.front()) <= 0x20) text.remove_prefix(1);
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= 0x20) text.remove_suffix(1);
    return text;
}

// A link's visible text, at most about kLongestText bytes of it, read from
// at most kMostNodes nodes: text that long names no address, and links
// nested in links (an SVG <a> may hold another) would otherwise each read
// the rest of the chain.
constexpr std::size_t kLongestText = 4096;
constexpr std::size_t kMostNodes = 4096;

// At most kLongestText bytes, cut on a character's boundary.
std::string cutToLongestText(std::string text) {
    if (text.size() <= kLongestText) return text;
    std::size_t end = kLongestText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text.resize(end);
    return text;
}

std::string visibleText(const HTMLElement& link) {
    std::string text;
    std::size_t nodes = 0;
    for (const html::HTMLNode* node = link.firstChild(); node && nodes < kMostNodes && text.size() < kLongestText;
         node = html::nextNodeInSubtree(node, &link), ++nodes)
        if (node->isText()) text += node->as<html::HTMLCharacterData>()->data();
    return cutToLongestText(std::move(text));
}

std::string collapsedWhiteSpace(std::string_view text) {
    std::string out;
    bool space = false;
    for (char c : trimmed(text)) {
        bool isSpace = static_cast<unsigned char>(c) <= 0x20;
        if (isSpace && space) continue;
        out += isSpace ? ' ' : c;
        space = isSpace;
    }
    return out;
}

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

const psl_ctx_t* publicSuffixes() {
    // The system's list when there is one, else the copy built into libpsl.
    static const psl_ctx_t* context = [] {
        const psl_ctx_t* latest = psl_latest(nullptr);
        return latest ? latest : psl_builtin();
    }();
    return context;
}

struct SpoofCheckerDeleter {
    void operator()(USpoofChecker* checker) const { uspoof_close(checker); }
};

// Spoof checkers are not to be shared between threads while checking.
USpoofChecker* spoofChecker() {
    thread_local std::unique_ptr<USpoofChecker, SpoofCheckerDeleter> checker = [] {
        UErrorCode status = U_ZERO_ERROR;
        USpoofChecker* made = uspoof_open(&status);
        uspoof_setChecks(made, USPOOF_RESTRICTION_LEVEL | USPOOF_INVISIBLE | USPOOF_MIXED_NUMBERS, &status);
        uspoof_setRestrictionLevel(made, USPOOF_HIGHLY_RESTRICTIVE);
        return std::unique_ptr<USpoofChecker, SpoofCheckerDeleter>(U_SUCCESS(status) ? made : nullptr);
    }();
    return checker.get();
}

struct Address {
    std::string scheme;    // lower case
    std::string userInfo;  // as written
    std::string host;      // lower case, percent-decoded, as written otherwise
};

// The parts of an absolute address as a browser reads them: backslashes are
// slashes, the user info ends at the authority's last "@". Nothing for a
// relative address.
std::optional<Address> parsedAddress(std::string_view href) {
    std::size_t colon = href.find(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    std::string_view scheme = href.substr(0, colon);
    if (!std::isalpha(static_cast<unsigned char>(scheme[0])) ||
        !std::all_of(scheme.begin(), scheme.end(),
                     [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.'; }))
        return std::nullopt;
    Address address{toASCIILower(scheme), {}, {}};
    std::string_view rest = href.substr(colon + 1);
    std::size_t slashes = 0;
    while (slashes < rest.size() && (rest[slashes] == '/' || rest[slashes] == '\\')) ++slashes;
    if (slashes < 2 && address.scheme != "http" && address.scheme != "https") return address;
    rest.remove_prefix(slashes);
    std::string_view authority = rest.substr(0, std::min(rest.find_first_of("/\\?#"), rest.size()));
    std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        address.userInfo = authority.substr(0, at);
        authority.remove_prefix(at + 1);
    }
    std::size_t portColon = authority.rfind(':');
    if (portColon != std::string_view::npos && authority.find(']', portColon) == std::string_view::npos)
        authority = authority.substr(0, portColon);
    char* decoded = g_uri_unescape_string(std::string(authority).c_str(), nullptr);
    address.host = decoded ? toASCIILower(decoded) : toASCIILower(authority);
    g_free(decoded);
    while (address.host.ends_with('.')) address.host.pop_back();
    return address;
}

// One part of a numeric host as the URL standard reads it: decimal, 0x hex or 0 octal.
bool isNumberPart(std::string_view part) {
    if (part.empty()) return false;
    if (part.size() > 2 && part[0] == '0' && (part[1] == 'x' || part[1] == 'X'))
        return std::all_of(part.begin() + 2, part.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); });
    return std::all_of(part.begin(), part.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
}

bool isNumericHost(std::string_view host) {
    if (host.starts_with('[')) return true;
    if (g_hostname_is_ip_address(std::string(host).c_str())) return true;
    // A host whose last label is a number is an IPv4 address to a browser.
    std::size_t dot = host.rfind('.');
    return isNumberPart(dot == std::string_view::npos ? host : host.substr(dot + 1));
}

std::string unicodeHost(const std::string& host) {
    char* unicode = g_hostname_to_unicode(host.c_str());
    std::string out = unicode ? unicode : host;
    g_free(unicode);
    return out;
}

std::string asciiHost(const std::string& host) {
    char* ascii = g_hostname_to_ascii(host.c_str());
    std::string out = ascii ? toASCIILower(ascii) : host;
    g_free(ascii);
    return out;
}

// Why a host name would mislead, judged label by label.
std::optional<std::string> spoofingReason(const std::string& host) {
    std::string unicode = unicodeHost(host);
    USpoofChecker* checker = spoofChecker();
    if (isASCII(unicode) || !checker) return std::nullopt;
    std::string lookalike;
    bool lookalikeOnlyASCII = true;
    std::size_t position = 0;
    while (position <= unicode.size()) {
        std::size_t end = std::min(unicode.find('.', position), unicode.size());
        std::string label = unicode.substr(position, end - position);
        position = end + 1;
        UErrorCode status = U_ZERO_ERROR;
        if (!label.empty() && !isASCII(label) && uspoof_checkUTF8(checker, label.c_str(), -1, nullptr, &status) != 0 &&
            U_SUCCESS(status))
            return "mixed scripts in host " + unicode;
        char skeleton[256];
        status = U_ZERO_ERROR;
        int32_t length = uspoof_getSkeletonUTF8(checker, 0, label.c_str(), -1, skeleton, sizeof skeleton, &status);
        std::string_view shown = U_SUCCESS(status) ? std::string_view(skeleton, length) : std::string_view(label);
        lookalikeOnlyASCII = lookalikeOnlyASCII && isASCII(shown);
        if (!lookalike.empty()) lookalike += '.';
        lookalike += shown;
    }
    if (lookalikeOnlyASCII) return "host " + unicode + " looks like " + lookalike;
    return std::nullopt;
}

// The host the visible text names when the whole text is an address or a
// host name ("www.bank.example", "https://bank.example/login", "<bank.example>").
std::optional<std::string> hostInText(std::string_view text) {
    text = trimmed(text);
    while (!text.empty() && (text.front() == '<' || text.front() == '(' || text.front() == '[')) text.remove_prefix(1);
    while (!text.empty() && std::string_view(">)].,;:!?/").find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    if (text.empty() || text.find_first_of(" \t\n") != std::string_view::npos || text.find('@') != std::string_view::npos)
        return std::nullopt;
    std::string withScheme(text);
    if (text.find("://") == std::string_view::npos) withScheme = "http://" + withScheme;
    auto address = parsedAddress(withScheme);
    if (!address || (address->scheme != "http" && address->scheme != "https") || address->host.find('.') == std::string::npos)
        return std::nullopt;
    // Only names under a known public suffix: "version 2.0" or "file.pdf" name no host.
    std::string ascii = asciiHost(address->host);
    std::size_t lastDot = ascii.rfind('.');
    if (isNumericHost(ascii)) return ascii;
    if (!psl_is_public_suffix2(publicSuffixes(), ascii.substr(lastDot + 1).c_str(), PSL_TYPE_ICANN | PSL_TYPE_NO_STAR_RULE))
        return std::nullopt;
    // A name needs a letter before its suffix: "1.2.zip" is a file, not a host.
    std::string name = registrableDomain(ascii);
    std::string_view label = std::string_view(name).substr(0, name.find('.'));
    if (std::none_of(label.begin(), label.end(), [](char c) { return std::isalpha(static_cast<unsigned char>(c)); }))
        return std::nullopt;
    return ascii;
}

constexpr std::array kExpectedSchemes = {"http", "https", "mailto", "tel"};

std::string percentDecoded(std::string_view text) {
    char* decoded = g_uri_unescape_string(std::string(text).c_str(), nullptr);
    std::string out = decoded ? decoded : std::string(text);
    g_free(decoded);
    return out;
}

std::optional<std::string> queryValue(std::string_view href, std::string_view name) {
    std::size_t query = href.find('?');
    while (query != std::string_view::npos) {
        std::size_t start = query + 1;
        std::size_t end = std::min(href.find_first_of("&#", start), href.size());
        std::string_view pair = href.substr(start, end - start);
        if (pair.size() > name.size() && pair.starts_with(name) && pair[name.size()] == '=')
            return std::string(pair.substr(name.size() + 1));
        query = end < href.size() && href[end] == '&' ? end : std::string_view::npos;
    }
    return std::nullopt;
}

// The address a mail security gateway wrapped, for links the reader's own
// organisation rewrote on delivery (Microsoft Safe Links, Proofpoint URL
// Defense, Symantec Click-time, Barracuda Link Protection); nothing for
// other links.
std::optional<std::string> unwrappedGatewayLink(std::string_view href, const std::string& host) {
    std::optional<std::string> value;
    if (host.ends_with(".safelinks.protection.outlook.com")) value = queryValue(href, "url");
    else if (host == "clicktime.symantec.com" || host == "protect2.fireeye.com") value = queryValue(href, "u");
    else if (host == "linkprotect.cudasvc.com") value = queryValue(href, "a");
    else if (host == "urldefense.proofpoint.com" && href.find("/v2/url") != std::string_view::npos) {
        // Version 2 writes "%" as "-" and "/" as "_".
        value = queryValue(href, "u");
        if (value) {
            std::replace(value->begin(), value->end(), '-', '%');
            std::replace(value->begin(), value->end(), '_', '/');
        }
    } else if (host == "urldefense.proofpoint.com") value = queryValue(href, "u");
    else if (host == "urldefense.com") {
        std::size_t start = href.find("/v3/__");
        std::size_t end = start == std::string_view::npos ? start : href.find("__;", start + 6);
        if (end != std::string_view::npos) return std::string(href.substr(start + 6, end - start - 6));
    }
    if (!value) return std::nullopt;
    return percentDecoded(*value);
}

std::optional<std::string> judged(std::string_view visibleText, std::string_view href, bool unwrap);

}  // namespace

std::string registrableDomain(std::string_view host) {
    std::string ascii = asciiHost(toASCIILower(host));
    if (isNumericHost(ascii)) return ascii;
    const char* domain = psl_registrable_domain(publicSuffixes(), ascii.c_str());
    return domain ? domain : ascii;
}

std::optional<std::string> linkWarning(std::string_view visibleText, std::string_view href) {
    return judged(visibleText, href, true);
}

namespace {

// The address as a browser reads it, which drops tabs and line breaks
// anywhere: "ht\ttps://evil.example" opens https://evil.example.
std::string withoutTabsAndLineBreaks(std::string_view href) {
    std::string out;
    for (char c : trimmed(href))
        if (c != '\t' && c != '\n' && c != '\r') out += c;
    return out;
}

std::optional<std::string> judged(std::string_view visibleText, std::string_view written, bool unwrap) {
    std::string href = withoutTabsAndLineBreaks(written);
    auto address = parsedAddress(href);
    if (!address) return std::nullopt;
    if (std::find(kExpectedSchemes.begin(), kExpectedSchemes.end(), address->scheme) == kExpectedSchemes.end())
        return "opens a " + address->scheme + ": address";
    if (address->scheme != "http" && address->scheme != "https") return std::nullopt;
    if (!address->userInfo.empty()) return "user name \"" + address->userInfo + "\" before the host " + address->host;
    if (address->host.empty()) return "no host";
    // A numeric host is fine when the text shows that very host.
    if (isNumericHost(address->host) && hostInText(visibleText) != address->host) return "numeric host " + address->host;
    if (auto reason = spoofingReason(address->host)) return reason;
    if (unwrap)
        if (auto wrapped = unwrappedGatewayLink(href, address->host)) return judged(visibleText, *wrapped, false);
    if (auto named = hostInText(visibleText)) {
        std::string shown = registrableDomain(*named);
        std::string target = registrableDomain(address->host);
        if (shown != target) return "text shows " + shown + ", link goes to " + target;
    }
    return std::nullopt;
}

}  // namespace

std::vector<JudgedLink> judgeLinks(const html::HTMLDocument& document) {
    std::vector<JudgedLink> links;
    const HTMLElement* root = document.documentElement();
    if (!root) return links;
    for (const HTMLElement* element : root->querySelectorAll("a[href], area[href]")) {
        JudgedLink link{collapsedWhiteSpace(visibleText(*element)), std::string(trimmed(*element->attribute("href"))), {}};
        if (link.text.empty())
            if (const std::string* alt = element->attribute("alt")) link.text = collapsedWhiteSpace(cutToLongestText(*alt));
        link.warning = linkWarning(link.text, link.href);
        links.push_back(std::move(link));
    }
    return links;
}

}  // namespace zv
