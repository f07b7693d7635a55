#include <zv/foundation/Log.h>

#include <glib.h>
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace {

using Fields = std::map<std::string, std::string>;

std::mutex gMutex;
std::vector<std::pair<GLogLevelFlags, Fields>> gLines;

GLogWriterOutput capture(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
    Fields line;
    for (gsize i = 0; i < count; ++i) {
        const char* value = static_cast<const char*>(fields[i].value);
        line[fields[i].key] = fields[i].length < 0 ? std::string(value) : std::string(value, fields[i].length);
    }
    std::lock_guard lock(gMutex);
    gLines.emplace_back(level, std::move(line));
    return G_LOG_WRITER_HANDLED;
}

// GLib takes one writer per process, set before the first line.
std::vector<std::pair<GLogLevelFlags, Fields>> linesLoggedBy(void (*logSomething)()) {
    static std::once_flag once;
    std::call_once(once, [] { g_log_set_writer_func(capture, nullptr, nullptr); });
    {
        std::lock_guard lock(gMutex);
        gLines.clear();
    }
    logSomething();
    std::lock_guard lock(gMutex);
    return gLines;
}

// The message is text, never a format: directives in it arrive as written.
TEST(Log, LinesGoOutUnderTheDomainWithTheirLevelAndOrigin) {
    auto lines = linesLoggedBy([] {
        zv::log("There was an error making regEx: %@ %s %n");
        zv::log(zv::LogLevel::Warning, "refused", {"com.quillmere.ZVFoundation", "URLHandling"});
        zv::log(zv::LogLevel::Debug, "detail", {"", "URLHandling"});
        zv::log(zv::LogLevel::Info, std::string_view("cut here", 3));
    });
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].first & G_LOG_LEVEL_MASK, G_LOG_LEVEL_MESSAGE);
    EXPECT_EQ(lines[0].second["GLIB_DOMAIN"], "ZVWebKit");
    EXPECT_EQ(lines[0].second["MESSAGE"], "There was an error making regEx: %@ %s %n");
    EXPECT_EQ(lines[0].second.count("ZV_IDENTIFIER"), 0u);
    EXPECT_EQ(lines[0].second.count("ZV_CATEGORY"), 0u);

    EXPECT_EQ(lines[1].first & G_LOG_LEVEL_MASK, G_LOG_LEVEL_WARNING);
    EXPECT_EQ(lines[1].second["MESSAGE"], "refused");
    EXPECT_EQ(lines[1].second["ZV_IDENTIFIER"], "com.quillmere.ZVFoundation");
    EXPECT_EQ(lines[1].second["ZV_CATEGORY"], "URLHandling");
    EXPECT_EQ(lines[1].second["PRIORITY"], "4");

    EXPECT_EQ(lines[2].first & G_LOG_LEVEL_MASK, G_LOG_LEVEL_DEBUG);
    EXPECT_EQ(lines[2].second.count("ZV_IDENTIFIER"), 0u);
    EXPECT_EQ(lines[2].second["ZV_CATEGORY"], "URLHandling");

    EXPECT_EQ(lines[3].first & G_LOG_LEVEL_MASK, G_LOG_LEVEL_INFO);
    EXPECT_EQ(lines[3].second["MESSAGE"], "cut");  // a view's length is honoured
}

}  // namespace
