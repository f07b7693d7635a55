#include <zv/foundation/URL.h>

#include <glib.h>

#include <algorithm>
#include <memory>

namespace zv {

namespace {

// Components are kept percent-encoded, as written.
constexpr GUriFlags kFlags = G_URI_FLAGS_ENCODED;

struct UriDeleter {
    void operator()(GUri* uri) const { g_uri_unref(uri); }
};
using UriPtr = std::unique_ptr<GUri, UriDeleter>;

struct GFreeDeleter {
    void operator()(char* text) const { g_free(text); }
};
using GString_ = std::unique_ptr<char, GFreeDeleter>;

std::optional<std::string> optionalString(const char* text) {
    return text ? std::optional<std::string>(text) : std::nullopt;
}

bool isControl(char c) { return (unsigned char)c < 0x20 || c == 0x7F; }

bool hasControl(std::string_view text) {
    for (char c : text)
        if (isControl(c)) return true;
    return false;
}

bool isIPv6Literal(std::string_view host) {
    return std::count(host.begin(), host.end(), ':') >= 2 &&
           host.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

// GUri accepts a host with spaces or quotes in it; no resolver would. It also
// decodes the host, and a decoded "/", "?", "#", "@", "%" or ":" (outside
// an IPv6 address) would end the host or start another part when the URL is
// written out: "https://a%2F.b/" would come back as host "a" and path "/.b/".
bool isPlausibleHost(std::string_view host) {
    const bool ipv6 = isIPv6Literal(host);
    for (char c : host) {
        if (isControl(c) || std::string_view(" <>\"{}|\\^`/?#@[]%").find(c) != std::string_view::npos) return false;
        if (c == ':' && !ipv6) return false;
    }
    return true;
}

// Surrounding white space is dropped, as browsers drop it from links;
// control characters inside make the text no URL.
std::optional<std::string> cleanedInput(std::string_view text) {
    auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; };
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    if (hasControl(text)) return std::nullopt;
    return std::string(text);
}

UriPtr parseUri(const std::string& text) {
    return UriPtr(g_uri_parse(text.c_str(), kFlags, nullptr));
}

// Percent-decoded, or as written when decoding gives a NUL or invalid UTF-8.
std::string decoded(std::string_view text) {
    if (text.find('%') == std::string_view::npos) return std::string(text);
    GString_ plain(g_uri_unescape_segment(text.data(), text.data() + text.size(), nullptr));
    if (!plain || !g_utf8_validate(plain.get(), -1, nullptr)) return std::string(text);
    return plain.get();
}

std::string lastSegment(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    if (path == "/") return {};
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::optional<URL> URL::fromGUri(void* opaque) {
    auto* uri = static_cast<GUri*>(opaque);
    if (!uri) return std::nullopt;
    URL url;
    // GLib parses some text it then cannot write out again (a user part
    // before a host of invalid UTF-8, once cleaned): no text, no URL.
    GString_ text(g_uri_to_string(uri));
    if (!text) return std::nullopt;
    url.string_ = text.get();
    url.scheme_ = g_uri_get_scheme(uri);
    url.user_ = optionalString(g_uri_get_user(uri));
    const char* host = g_uri_get_host(uri);
    if (host && !isPlausibleHost(host)) return std::nullopt;
    if (host && *host) url.host_ = host;
    url.port_ = g_uri_get_port(uri);
    url.path_ = g_uri_get_path(uri);
    url.query_ = optionalString(g_uri_get_query(uri));
    url.fragment_ = optionalString(g_uri_get_fragment(uri));
    return url;
}

std::optional<URL> URL::parse(std::string_view text) {
    auto input = cleanedInput(text);
    if (!input) return std::nullopt;
    UriPtr uri = parseUri(*input);
    return fromGUri(uri.get());
}

std::optional<URL> URL::parse(std::string_view text, const URL& base) {
    auto input = cleanedInput(text);
    UriPtr baseUri = parseUri(base.string_);
    if (!input || !baseUri) return std::nullopt;
    UriPtr uri(g_uri_parse_relative(baseUri.get(), input->c_str(), kFlags, nullptr));
    return fromGUri(uri.get());
}

std::optional<URL> URL::fromFilePath(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) return std::nullopt;
    GString_ absolute(g_canonicalize_filename(std::string(path).c_str(), nullptr));
    GString_ text(g_filename_to_uri(absolute.get(), nullptr, nullptr));
    return text ? parse(text.get()) : std::nullopt;
}

std::string URL::path() const { return decoded(path_); }

std::vector<URLQueryItem> URL::queryItems() const {
    std::vector<URLQueryItem> items;
    if (!query_) return items;
    std::string_view rest = *query_;
    while (!rest.empty()) {
        size_t amp = rest.find('&');
        std::string_view piece = rest.substr(0, amp);
        rest = amp == std::string_view::npos ? std::string_view() : rest.substr(amp + 1);
        if (piece.empty()) continue;
        size_t equals = piece.find('=');
        if (equals == std::string_view::npos)
            items.push_back({decoded(piece), std::nullopt});
        else
            items.push_back({decoded(piece.substr(0, equals)), decoded(piece.substr(equals + 1))});
    }
    return items;
}

std::string URL::lastPathComponent() const { return lastSegment(path()); }

std::string URL::pathExtension() const {
    std::string name = lastPathComponent();
    size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : name.substr(dot + 1);
}

std::optional<URL> URL::resolved(std::string_view relative) const { return parse(relative, *this); }

URL URL::withPath(const std::string& percentEncodedPath) const {
    UriPtr uri = parseUri(string_);
    UriPtr built(g_uri_build(kFlags, g_uri_get_scheme(uri.get()), g_uri_get_userinfo(uri.get()),
                             g_uri_get_host(uri.get()), g_uri_get_port(uri.get()), percentEncodedPath.c_str(),
                             nullptr, nullptr));
    return fromGUri(built.get()).value_or(*this);
}

URL URL::deletingLastPathComponent() const {
    std::string path = path_;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    size_t slash = path.rfind('/');
    return withPath(slash == std::string::npos ? std::string() : path.substr(0, slash + 1));
}

URL URL::appendingPathComponent(std::string_view component) const {
    GString_ escaped(g_uri_escape_string(std::string(component).c_str(), G_URI_RESERVED_CHARS_ALLOWED_IN_PATH, FALSE));
    std::string path = path_;
    if (path.empty() || path.back() != '/') path += '/';
    std::string_view segment = escaped.get();
    while (segment.starts_with('/')) segment.remove_prefix(1);
    return withPath(path + std::string(segment));
}

std::optional<URL> URL::withScheme(std::string_view scheme) const {
    return parse(std::string(scheme) + string_.substr(scheme_.size()));
}

std::optional<std::string> URL::filePath() const {
    if (!isFileURL() || (host_ && *host_ != "localhost")) return std::nullopt;
    return path();
}

}  // namespace zv
