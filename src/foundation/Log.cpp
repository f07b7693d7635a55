#include <zv/foundation/Log.h>

#include <glib.h>


namespace zv {

namespace {

GLogLevelFlags glibLevel(LogLevel level) {
    switch (level) {
    case LogLevel::Debug: return G_LOG_LEVEL_DEBUG;
    case LogLevel::Info: return G_LOG_LEVEL_INFO;
    case LogLevel::Message: return G_LOG_LEVEL_MESSAGE;
    case LogLevel::Warning: return G_LOG_LEVEL_WARNING;
    }
    return G_LOG_LEVEL_MESSAGE;
}

// The syslog priority the journal files a line under, as GLib assigns it.
const char* priority(LogLevel level) {
    switch (level) {
    case LogLevel::Debug: return "7";
    case LogLevel::Info: return "6";
    case LogLevel::Message: return "5";
    case LogLevel::Warning: return "4";
    }
    return "5";
}

GLogField field(const char* key, std::string_view value) {
    // String views need not be NUL-terminated, so the length goes along.
    return GLogField{key, value.data(), gssize(value.size())};
}

// GLib's console writer reads the domain and priority as C strings.
GLogField field(const char* key, const char* value) { return GLogField{key, value, -1}; }

}  // namespace

void log(LogLevel level, std::string_view message, const LogOrigin& origin) {
    GLogField fields[5] = {
        field("GLIB_DOMAIN", kLogDomain),
        field("PRIORITY", priority(level)),
        field("MESSAGE", message),
    };
    gsize count = 3;
    if (!origin.identifier.empty()) fields[count++] = field("ZV_IDENTIFIER", origin.identifier);
    if (!origin.category.empty()) fields[count++] = field("ZV_CATEGORY", origin.category);
    g_log_structured_array(glibLevel(level), fields, count);
}

}  // namespace zv
