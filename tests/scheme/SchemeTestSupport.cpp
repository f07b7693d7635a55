#include "SchemeTestSupport.h"

#include <zv/foundation/Log.h>

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
