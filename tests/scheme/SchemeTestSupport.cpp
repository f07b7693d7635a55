#include "SchemeTestSupport.h"

#include <zv/foundation/Log.h>
#include <zv/scheme/URLCache.h>

#include <filesystem>

namespace zv::test {

namespace {

std::mutex gMutex;
bool gCapturing = false;
std::vector<LogCapture::Fields> gLines;

GLogWriterOutput write(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
    LogCapture::Fields line;
    for (gsize i = 0; i < count; ++i) {
        const char* value = static_cast<const char*>(fields[i].value);
        if (!value) continue;
        line[fields[i].key] = fields[i].length < 0 ? std::string(value) : std::string(value, size_t(fields[i].length));
    }
    {
        std::lock_guard lock(gMutex);
        if (gCapturing && line["GLIB_DOMAIN"] == kLogDomain) gLines.push_back(line);
    }
    return g_log_writer_default(level, fields, count, data);
}

}  // namespace

Reports::Reports() {
    delegate->startedURLRequest = [this](ZVWebViewURLSchemeHandler&, const URLRequest& request) {
        started.push_back(request.url);
    };
    delegate->completedURLRequest = [this](ZVWebViewURLSchemeHandler&, const URLRequest& request, const auto&,
                                           const auto&) { completed.push_back(request.url); };
    delegate->reportedLoadProgress = [this](ZVWebViewURLSchemeHandler&, double value) { progress.push_back(value); };
}

FailureNotifications::FailureNotifications(const void* webView) {
    token = NotificationCenter::defaultCenter().addObserver(
        ZVWebViewResourceLoadFailedNotification, webView,
        [this](const Notification& notification) { userInfos.push_back(notification.userInfo); });
}

FailureNotifications::~FailureNotifications() { NotificationCenter::defaultCenter().removeObserver(token); }

std::shared_ptr<ZVMimeResource> resource(std::string mimeType, Data data) {
    auto made = std::make_shared<ZVMimeResource>();
    made->MIMEType = std::move(mimeType);
    made->data = std::move(data);
    return made;
}

SharedCacheFolder::SharedCacheFolder() {
    char* made = g_dir_make_tmp("zv-scheme-XXXXXX", nullptr);
    path_ = made ? made : "";
    g_free(made);
    URLCache::setShared(URLCache::open(path_ + "/URLCache.sqlite"));
}

SharedCacheFolder::~SharedCacheFolder() {
    URLCache::setShared(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

LogCapture::LogCapture() {
    static std::once_flag once;
    std::call_once(once, [] { g_log_set_writer_func(write, nullptr, nullptr); });
    std::lock_guard lock(gMutex);
    gLines.clear();
    gCapturing = true;
}

LogCapture::~LogCapture() {
    std::lock_guard lock(gMutex);
    gCapturing = false;
    gLines.clear();
}

std::vector<LogCapture::Fields> LogCapture::lines() const {
    std::lock_guard lock(gMutex);
    return gLines;
}

std::vector<LogCapture::Fields> LogCapture::linesStartingWith(const std::string& prefix) const {
    std::vector<Fields> found;
    for (auto& line : lines()) {
        if (line["MESSAGE"].starts_with(prefix)) found.push_back(line);
    }
    return found;
}

}  // namespace zv::test

#if defined(__SANITIZE_ADDRESS__)
// Under AddressSanitizer: fontconfig and JavaScriptCore keep caches for the
// life of the process, which LeakSanitizer reports at exit; and GTK draws
// without GL, since Mesa's driver is unloaded before the leak check and what
// it keeps can then be attributed to no library. Nothing here needs GL.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libjavascriptcoregtk-6.0.so\n";
}

namespace {
const bool kDrawWithoutGL = [] { return g_setenv("GDK_DEBUG", "gl-disable", FALSE); }();
}  // namespace
#endif
