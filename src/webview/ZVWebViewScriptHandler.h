// The native end of the web view's script messages: turns the page's
// "_ZVWebViewEvent", "_ZVKeyDownEvent" and "_ZVLog" messages into delegate
// calls and log lines. Holds the delegate weakly and no web view: the view a
// message came from is handed in with the message.
#pragma once

#include <zv/foundation/Value.h>
#include <zv/webview/ZVWebViewEventDelegate.h>

#include <memory>
#include <optional>
#include <string_view>

namespace zv {

class ZVWebView;

class ZVWebViewScriptHandler {
public:
    void setEventDelegate(std::weak_ptr<ZVWebViewEventDelegate> delegate) { eventDelegate_ = std::move(delegate); }
    std::shared_ptr<ZVWebViewEventDelegate> eventDelegate() const { return eventDelegate_.lock(); }

    // `body` is empty when the page posted undefined.
    void didReceiveScriptMessage(ZVWebView& webView, std::string_view name, const std::optional<Value>& body);

private:
    std::weak_ptr<ZVWebViewEventDelegate> eventDelegate_;
};

// Whether the launch argument "enableWebViewDebugging" is on; asked anew on every call.
bool webViewDebuggingEnabled();

}  // namespace zv
