// What a URL load answers with, before its body: the URL, the content's type
// and length and, for HTTP, the status line and header fields.
//
// One type serves plain URL responses (message parts, symbol images) and HTTP
// responses; a status code of 0 marks the plain kind.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zv {

// A body: raw bytes, never text.
using Data = std::vector<std::uint8_t>;

// Header fields in the order they arrived; names keep their case, and a name
// may repeat.
using HTTPHeaderFields = std::vector<std::pair<std::string, std::string>>;

struct ZV_EXPORT URLResponse {
    std::string url;
    std::string mimeType;
    std::int64_t expectedContentLength = -1;  // -1: unknown
    std::string textEncodingName;             // empty: none given
    int statusCode = 0;                       // 0: not an HTTP response
    std::string httpVersion;                  // "HTTP/1.1"
    HTTPHeaderFields headerFields;

    bool isHTTP() const { return statusCode != 0; }
    // The value of the first field named `name`, compared without case.
    std::optional<std::string> headerField(std::string_view name) const;

    friend bool operator==(const URLResponse&, const URLResponse&) = default;

    // A plain response for a body of `length` bytes.
    static URLResponse forData(std::string url, std::string mimeType, std::int64_t length);
    static URLResponse http(std::string url, int statusCode, std::string httpVersion, HTTPHeaderFields headerFields);
};

}  // namespace zv
