#include "LogCapture.h"

#include <zv/foundation/Log.h>

#include <glib.h>

#include <mutex>
#include <string_view>
#include <utility>

namespace zv::test {

namespace {

std::mutex gMutex;
std::vector<std::string> gLines;

GLogWriterOutput keepLine(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
    std::string domain, message;
    for (gsize i = 0; i < count; ++i) {
        const char* value = static_cast<const char*>(fields[i].value);
        std::string text = fields[i].length < 0 ? std::string(value) : std::string(value, fields[i].length);
        if (std::string_view(fields[i].key) == "GLIB_DOMAIN") domain = text;
        if (std::string_view(fields[i].key) == "MESSAGE") message = text;
    }
    if (domain != kLogDomain) return g_log_writer_default(level, fields, count, data);
    if (level & G_LOG_LEVEL_CRITICAL) message = "CRITICAL: " + message;
    std::lock_guard lock(gMutex);
    gLines.push_back(std::move(message));
    return G_LOG_WRITER_HANDLED;
}

}  // namespace

void captureLogLines() {
    static std::once_flag once;
    std::call_once(once, [] { g_log_set_writer_func(keepLine, nullptr, nullptr); });
    takeLogLines();
}

std::vector<std::string> takeLogLines() {
    std::lock_guard lock(gMutex);
    return std::exchange(gLines, {});
}

bool anyLineStartsWith(std::string_view prefix) {
    std::lock_guard lock(gMutex);
    for (const std::string& line : gLines)
        if (line.starts_with(prefix)) return true;
    return false;
}

}  // namespace zv::test
