#include "LogCapture.h"

#include <zv/foundation/Log.h>

#include <glib.h>

#include <mutex>
#include <utility>

namespace zv::test {

namespace {

struct Line {
    bool critical;
    LogCapture::Fields fields;
};

std::mutex gMutex;
bool gCapturing = false;
std::vector<Line> gLines;

std::string textOf(const Line& line) {
    auto message = line.fields.find("MESSAGE");
    std::string text = message == line.fields.end() ? "" : message->second;
    return line.critical ? "CRITICAL: " + text : text;
}

GLogWriterOutput keepLine(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
    Line line{(level & G_LOG_LEVEL_CRITICAL) != 0, {}};
    for (gsize i = 0; i < count; ++i) {
        const char* value = static_cast<const char*>(fields[i].value);
        if (!value) continue;
        line.fields[fields[i].key] = fields[i].length < 0 ? std::string(value) : std::string(value, fields[i].length);
    }
    if (line.fields["GLIB_DOMAIN"] == kLogDomain) {
        std::lock_guard lock(gMutex);
        if (gCapturing) {
            gLines.push_back(std::move(line));
            return G_LOG_WRITER_HANDLED;
        }
    }
    return g_log_writer_default(level, fields, count, data);
}

}  // namespace

void captureLogLines() {
    static std::once_flag once;
    std::call_once(once, [] { g_log_set_writer_func(keepLine, nullptr, nullptr); });
    std::lock_guard lock(gMutex);
    gLines.clear();
    gCapturing = true;
}

std::vector<std::string> takeLogLines() {
    std::lock_guard lock(gMutex);
    std::vector<std::string> texts;
    for (const Line& line : std::exchange(gLines, {})) texts.push_back(textOf(line));
    return texts;
}

bool anyLineStartsWith(std::string_view prefix) {
    std::lock_guard lock(gMutex);
    for (const Line& line : gLines)
        if (textOf(line).starts_with(prefix)) return true;
    return false;
}

LogCapture::LogCapture() { captureLogLines(); }

LogCapture::~LogCapture() {
    std::lock_guard lock(gMutex);
    gCapturing = false;
    gLines.clear();
}

std::vector<LogCapture::Fields> LogCapture::linesStartingWith(std::string_view prefix) const {
    std::lock_guard lock(gMutex);
    std::vector<Fields> found;
    for (const Line& line : gLines)
        if (line.fields.contains("MESSAGE") && line.fields.at("MESSAGE").starts_with(prefix)) found.push_back(line.fields);
    return found;
}

}  // namespace zv::test
