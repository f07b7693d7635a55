// Shared by the find tests: message views with the search scripts.
#pragma once

#include <LogCapture.h>
#include <WebViewHarness.h>

#include <zv/webview/ZVWebView.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zv::test {

// A document whose head carries the search scripts as searchScriptElements
// gives them, loaded from a file: base so that their paths resolve.
std::string searchablePage(std::string_view body);

// A ZVWebView shown in a window of its own, its page loaded.
struct MessageView {
    std::shared_ptr<ZVWebView> view;
    std::unique_ptr<WebViewWindow> window;
};
// `related` shares its web process (null: a new one).
MessageView makeMessageView(std::string_view body, WebKitWebView* related = nullptr);

// A window showing `child`, titled `title`.
struct BarWindow {
    BarWindow(GtkWidget* child, const char* title);
    ~BarWindow();
    GtkWindow* window;
};

}  // namespace zv::test
