#include "SchemeTestSupport.h"

#include <zv/scheme/URLCache.h>

namespace zv::test {

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

SharedCacheFolder::SharedCacheFolder() { URLCache::setShared(URLCache::open(folder_.pathOf("URLCache.sqlite"))); }

// The cache lets go of its file before the folder goes.
SharedCacheFolder::~SharedCacheFolder() { URLCache::setShared(nullptr); }

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
