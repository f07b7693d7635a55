#include "FindTestSupport.h"

#include <zv/foundation/Log.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>

namespace zv::test {

namespace {

// Find settings and recent searches go to user defaults; ctest runs the cases
// in parallel processes, so each process keeps them in a folder of its own,
// chosen before anything asks GLib where the configuration lives.
struct PrivateDefaults {
    std::string folder;
    PrivateDefaults() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zvfind-XXXXXX").string();
        if (mkdtemp(pattern.data())) folder = pattern;
        if (!folder.empty()) setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    }
    ~PrivateDefaults() {
        std::error_code ignored;
        if (!folder.empty()) std::filesystem::remove_all(folder, ignored);
    }
} gPrivateDefaults;

std::mutex gLogMutex;
std::vector<std::string> gLogLines;

GLogWriterOutput captureLine(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
    std::string domain, message;
    for (gsize i = 0; i < count; ++i) {
        const char* value = static_cast<const char*>(fields[i].value);
        std::string text = fields[i].length < 0 ? std::string(value) : std::string(value, fields[i].length);
        if (std::string_view(fields[i].key) == "GLIB_DOMAIN") domain = text;
        if (std::string_view(fields[i].key) == "MESSAGE") message = text;
    }
    if (domain != kLogDomain) return g_log_writer_default(level, fields, count, data);
    std::lock_guard lock(gLogMutex);
    gLogLines.push_back(message);
    return G_LOG_WRITER_HANDLED;
}

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

void captureLogLines() {
    static std::once_flag once;
    std::call_once(once, [] { g_log_set_writer_func(captureLine, nullptr, nullptr); });
    takeLogLines();
}

std::vector<std::string> takeLogLines() {
    std::lock_guard lock(gLogMutex);
    return std::exchange(gLogLines, {});
}

}  // namespace zv::test
