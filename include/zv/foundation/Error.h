// Errors handed to completions.
//
// Expected failures never throw across the public API: an operation that can
// fail asynchronously hands its completion a zv::Error, naming the domain the
// code belongs to, the code, and a one-line message for people.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <string>

namespace zv {

struct ZV_EXPORT Error {
    std::string domain;
    int64_t code = 0;
    std::string message;

    friend bool operator==(const Error&, const Error&) = default;
};

// Failures of loading a URL, with the codes web engines and URL loaders use.
inline constexpr char kURLErrorDomain[] = "ZVURLErrorDomain";
inline constexpr int64_t kURLErrorUnknown = -1;
inline constexpr int64_t kURLErrorCancelled = -999;
inline constexpr int64_t kURLErrorBadURL = -1000;
inline constexpr int64_t kURLErrorTimedOut = -1001;
inline constexpr int64_t kURLErrorUnsupportedURL = -1002;
inline constexpr int64_t kURLErrorCannotFindHost = -1003;
inline constexpr int64_t kURLErrorCannotConnectToHost = -1004;
inline constexpr int64_t kURLErrorNetworkConnectionLost = -1005;
inline constexpr int64_t kURLErrorBadServerResponse = -1011;
inline constexpr int64_t kURLErrorFileDoesNotExist = -1100;
inline constexpr int64_t kURLErrorDataLengthExceedsMaximum = -1103;

// The framework's own failures (a resource request that nothing answered).
inline constexpr char kZVWebKitErrorDomain[] = "ZVWebKitErrorDomain";

}  // namespace zv
