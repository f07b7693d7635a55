#include "FindTestSupport.h"

#include <zv/foundation/Log.h>

#include <gtest/gtest.h>

#include <TemporaryFolder.h>

#include <cstdlib>

namespace zv::test {

namespace {

// Find settings and recent searches go to user defaults; ctest runs the cases
// in parallel processes, so each process keeps them in a folder of its own,
// chosen before anything asks GLib where the configuration lives.
struct PrivateDefaults {
    TemporaryFolder folder;
    PrivateDefaults() { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
} gPrivateDefaults;

}  // namespace

std::string searchablePage(std::string_view body) {
    std::string page = "<!DOCTYPE html><html><head><meta charset=utf-8>";
    for (const auto& element : ZVWebView::searchScriptElements()) page += element->outerHTML();
    page += "</head><body>";
    page.append(body);
    return page + "</body></html>";
}

MessageView makeMessageView(std::string_view body, WebKitWebView* related) {
    initGtkOnce();
    ZVWebViewConfiguration configuration;
    if (related) configuration.relatedView = GObjectRef<WebKitWebView>::ref(related);
    MessageView message{ZVWebView::create(configuration), nullptr};
    message.window = std::make_unique<WebViewWindow>(message.view->webView(), 600, 400);
    EXPECT_TRUE(message.window->loadHTML(searchablePage(body), "file:///"));
    return message;
}

BarWindow::BarWindow(GtkWidget* child, const char* title) : window(GTK_WINDOW(gtk_window_new())) {
    gtk_window_set_title(window, title);
    gtk_window_set_child(window, child);
    gtk_window_present(window);
    EXPECT_TRUE(spinUntil([&] { return gtk_widget_get_mapped(child); }, kLoadTimeout));
}

BarWindow::~BarWindow() { gtk_window_destroy(window); }

}  // namespace zv::test
