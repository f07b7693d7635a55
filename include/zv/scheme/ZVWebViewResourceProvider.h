// Where the scheme handler turns for a message part that is not in its
// resource table, typically the mail store reading the part on demand.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/URLResponse.h>

#include <functional>
#include <optional>
#include <string>

namespace zv {

class ZV_EXPORT ZVWebViewResourceProvider {
public:
    // Either may be missing; the answer is then taken as "no such part".
    using Completion = std::function<void(std::optional<std::string> mimeType, std::optional<Data> data)>;

    virtual ~ZVWebViewResourceProvider() = default;

    // Answers through `completion` exactly once, on any thread, now or later.
    virtual void resourceDataForURL(const std::string& url, Completion completion) = 0;
};

}  // namespace zv
