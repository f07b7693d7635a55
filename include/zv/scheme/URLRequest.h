// A request for a URL as a scheme routine sees it: the URL, the method,
// header fields and body the page sent, and how long the load may sit idle.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/URLResponse.h>

#include <string>

namespace zv {

struct ZV_EXPORT URLRequest {
    // Seconds a load may go without progress before it fails; 60 unless the
    // caller says otherwise.
    static constexpr double kDefaultTimeoutInterval = 60;

    std::string url;  // empty: the request has no URL
    std::string httpMethod = "GET";
    HTTPHeaderFields headerFields;
    Data httpBody;  // what a POST or PUT sends; empty for none
    double timeoutInterval = kDefaultTimeoutInterval;

    friend bool operator==(const URLRequest&, const URLRequest&) = default;
};

}  // namespace zv
