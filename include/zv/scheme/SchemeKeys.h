// The URL schemes a message view's scheme handler serves, the notification
// of a load nothing answered, and that failure's error code.
#pragma once

#include <cstdint>

namespace zv {

// Message parts by content id ("cid:part1.abc@host").
inline constexpr char ZVWebViewContentIdSchemeKey[] = "cid";
// Remote content fetched through the handler and its cache ("wren-https://host/a.png").
inline constexpr char ZVWebViewInternalHTTPSchemeKey[] = "wren-http";
inline constexpr char ZVWebViewInternalHTTPSSchemeKey[] = "wren-https";
// Remote content the user has not allowed: always refused.
inline constexpr char ZVWebViewExclusionHTTPSchemeKey[] = "wren-exclude-http";
inline constexpr char ZVWebViewExclusionHTTPSSchemeKey[] = "wren-exclude-https";
// Symbol images ("wren-symbol:questionmark.square.dashed?size=36&weight=light").
inline constexpr char ZVWebViewInternalSymbolSchemeKey[] = "wren-symbol";

// Posted when a load ends with nothing to show: object the web view, user
// info {"URL": the load's URL}.
inline constexpr char ZVWebViewResourceLoadFailedNotification[] = "ZVWebViewResourceLoadFailedNotification";

// The code, in zv::kZVWebKitErrorDomain, of a load that no routine answered.
inline constexpr std::int64_t kZVWebKitErrorResourceNotAnswered = 2112;

}  // namespace zv
