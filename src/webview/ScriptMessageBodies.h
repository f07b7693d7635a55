// What the page's event messages carry, read from their bodies.
//
// A page is written by a stranger: any body may arrive, of any type, with
// numbers of any size. These readers take what they can and never fault;
// they know nothing of web views, so they run anywhere.
#pragma once

#include <zv/foundation/Geometry.h>
#include <zv/foundation/Value.h>

#include <cstdint>
#include <optional>
#include <string>

namespace zv {

// A "_ZVWebViewEvent" body as the delegate sees it: the body's object (or an
// empty one) with "elementAttributes" parsed from its JSON text into an
// object (empty when absent or not an object), "elementFrame" the rectangle
// read from its string form (also handed back in `rect`), and "webView" the
// view's identifier.
Value eventInfoFromBody(const std::optional<Value>& body, uint64_t webViewIdentifier, Rect& rect);

// A "_ZVKeyDownEvent" body's key: only the keys the page reports that stand
// for something here (modifiers give empty characters, Backspace a key code).
struct KeyDownBody {
    std::string characters;
    uint16_t keyCode = 0;
    uint64_t modifierFlags = 0;
};
std::optional<KeyDownBody> keyDownFromBody(const std::optional<Value>& body);

// A number, boolean or numeric string as a whole number; numbers past the
// range saturate and what is not a number gives 0.
int64_t integerFromValue(const Value* value);

}  // namespace zv
