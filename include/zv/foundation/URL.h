// URLs, parsed by GLib's GUri (RFC 3986).
//
// A URL is always absolute and valid: every way of making one answers an
// empty optional for input that is not a URL (no scheme, a bad host or port,
// a bad percent-escape, control characters, a relative reference without a
// base), never a broken object. White space around the text is ignored, as
// browsers ignore it around links; spaces and non-ASCII characters inside a
// path or query are percent-escaped. Components are kept as written (host
// case included), percent-escapes too, except where an accessor says it
// decodes. Two URLs are equal when their string forms are.
#pragma once

#include <zv/Export.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// One `name=value` of a query; `value` is missing for a bare `name`.
struct ZV_EXPORT URLQueryItem {
    std::string name;
    std::optional<std::string> value;

    friend bool operator==(const URLQueryItem&, const URLQueryItem&) = default;
};

class ZV_EXPORT URL {
public:
    // An absolute URL ("https://host/a?b#c", "cid:part1@host", "file:///tmp/x").
    static std::optional<URL> parse(std::string_view text);
    // `text` resolved against `base` as a browser resolves a link: "../b.css"
    // against "file:///r/en.lproj/page.html" is "file:///r/b.css". An absolute
    // `text` stands on its own.
    static std::optional<URL> parse(std::string_view text, const URL& base);
    // The file URL of a path; a relative path is taken from the current
    // directory. Characters that need it are percent-escaped.
    static std::optional<URL> fromFilePath(std::string_view path);

    // The whole URL as text.
    const std::string& string() const { return string_; }

    // Lower-cased.
    const std::string& scheme() const { return scheme_; }
    // Missing for URLs without an authority ("cid:x", "wren-symbol:name") or
    // with an empty one ("file:///tmp").
    const std::optional<std::string>& host() const { return host_; }
    // -1 when the URL gives none.
    int port() const { return port_; }
    const std::optional<std::string>& user() const { return user_; }
    // As written, percent-escapes kept; may be empty.
    const std::string& percentEncodedPath() const { return path_; }
    // Percent-escapes decoded (kept as written where decoding would give
    // invalid UTF-8 or a NUL).
    std::string path() const;
    // Without the "?" and "#"; missing when the URL has none (an empty one
    // is there but empty).
    const std::optional<std::string>& query() const { return query_; }
    const std::optional<std::string>& fragment() const { return fragment_; }

    // The query split at "&" into items in order, each split at its first
    // "="; names and values are percent-decoded ("+" stays "+"). Empty
    // pieces ("a&&b") are skipped.
    std::vector<URLQueryItem> queryItems() const;

    // The path's last segment, decoded, trailing slashes ignored ("b" for
    // "/a/b/", "" for "/" or an empty path), and its extension after the last
    // "." (without the dot; "" when there is none or it starts the name).
    std::string lastPathComponent() const;
    std::string pathExtension() const;

    // `relative` resolved against this URL (see parse(text, base)).
    std::optional<URL> resolved(std::string_view relative) const;
    // This URL with its last path segment removed ("/a/b.html" gives "/a/"),
    // query and fragment dropped.
    URL deletingLastPathComponent() const;
    // This URL with `component` percent-escaped and appended to the path
    // after a "/" (slashes in it separate segments), query and fragment
    // dropped.
    URL appendingPathComponent(std::string_view component) const;
    // The same URL under another scheme ("zvfile:///a" to "file:///a");
    // nothing if the result does not parse.
    std::optional<URL> withScheme(std::string_view scheme) const;

    bool isFileURL() const { return scheme_ == "file"; }
    // The local path of a file URL, decoded; nothing for other URLs or a
    // file URL naming another host.
    std::optional<std::string> filePath() const;

    friend bool operator==(const URL& a, const URL& b) { return a.string_ == b.string_; }

private:
    URL() = default;
    static std::optional<URL> fromGUri(void* uri);
    URL withPath(const std::string& percentEncodedPath) const;

    std::string string_;
    std::string scheme_;
    std::optional<std::string> user_;
    std::optional<std::string> host_;
    int port_ = -1;
    std::string path_;
    std::optional<std::string> query_;
    std::optional<std::string> fragment_;
};

}  // namespace zv
