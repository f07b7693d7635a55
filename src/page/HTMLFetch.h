// Fetching a page's or an include's HTML: a file is read at once, anything
// else through libsoup on a thread of its own (5 s time-out, no cache; only
// status 200 with a UTF-8 body counts). Failures show only as missing text.
#pragma once

#include <zv/foundation/URL.h>

#include <functional>
#include <optional>
#include <string>

namespace zv {

using HTMLFetchCompletion = std::function<void(std::optional<std::string> html)>;

// For a file URL the completion runs before this returns, on the calling
// thread; otherwise later, on the fetching thread.
void fetchHTML(const URL& url, HTMLFetchCompletion completion);

}  // namespace zv
