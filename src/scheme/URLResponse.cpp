#include <zv/scheme/URLResponse.h>

#include <libsoup/soup.h>

#include <strings.h>

namespace zv {

namespace {

// libsoup refuses (loudly) names that could not have come off the wire.
bool isWellFormed(const std::string& name, const std::string& value) {
    if (name.empty()) return false;
    for (char c : name) {
        if (c <= ' ' || c == ':' || c == 127) return false;
    }
    return value.find_first_of("\r\n") == std::string::npos;
}

}  // namespace

std::optional<std::string> URLResponse::headerField(std::string_view name) const {
    for (const auto& [fieldName, value] : headerFields) {
        if (fieldName.size() == name.size() && strncasecmp(fieldName.data(), name.data(), name.size()) == 0) return value;
    }
    return std::nullopt;
}

URLResponse URLResponse::forData(std::string url, std::string mimeType, std::int64_t length) {
    URLResponse response;
    response.url = std::move(url);
    response.mimeType = std::move(mimeType);
    response.expectedContentLength = length;
    return response;
}

URLResponse URLResponse::http(std::string url, int statusCode, std::string httpVersion, HTTPHeaderFields headerFields) {
    URLResponse response;
    response.url = std::move(url);
    response.statusCode = statusCode;
    response.httpVersion = std::move(httpVersion);
    response.headerFields = std::move(headerFields);

    // Type, charset and length come from the fields, parsed as HTTP parses them.
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    for (const auto& [name, value] : response.headerFields) {
        if (isWellFormed(name, value)) soup_message_headers_append(headers, name.c_str(), value.c_str());
    }
    GHashTable* parameters = nullptr;
    if (const char* type = soup_message_headers_get_content_type(headers, &parameters)) {
        response.mimeType = type;
        if (const char* charset = static_cast<const char*>(g_hash_table_lookup(parameters, "charset")))
            response.textEncodingName = charset;
    }
    if (parameters) g_hash_table_destroy(parameters);
    if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CONTENT_LENGTH)
        response.expectedContentLength = soup_message_headers_get_content_length(headers);
    soup_message_headers_unref(headers);
    return response;
}

}  // namespace zv
