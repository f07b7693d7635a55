#include <zv/webview/UserScript.h>

#include <string>

namespace zv {

UserScriptRef makeDocumentStartScript(std::string_view source, bool topFrameOnly) {
    std::string text(source);
    return UserScriptRef::adopt(webkit_user_script_new(
        text.c_str(), topFrameOnly ? WEBKIT_USER_CONTENT_INJECT_TOP_FRAME : WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
        WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr));
}

}  // namespace zv
