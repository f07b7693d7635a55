// User scripts: scripts a web view runs in every page it loads.
//
// WebKitUserScript is a boxed type with its own reference count; including
// this header lets GObjectRef hold one (UserScriptRef).
#pragma once

#include <zv/Export.h>

#include <zv/foundation/GObjectRef.h>

#include <webkit/webkit.h>

#include <string_view>

namespace zv {

template <>
struct GObjectRefTraits<WebKitUserScript> {
    static WebKitUserScript* ref(WebKitUserScript* script) { return webkit_user_script_ref(script); }
    static WebKitUserScript* adopt(WebKitUserScript* script) { return script; }
    static void unref(WebKitUserScript* script) { webkit_user_script_unref(script); }
};

using UserScriptRef = GObjectRef<WebKitUserScript>;

// A script run at document start, in the top frame only or in every frame.
ZV_EXPORT UserScriptRef makeDocumentStartScript(std::string_view source, bool topFrameOnly = true);

}  // namespace zv
