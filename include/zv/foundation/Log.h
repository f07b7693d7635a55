// Log lines, on GLib's structured logging.
//
// Every line goes out under the GLib log domain "ZVWebKit", so the usual GLib
// controls apply: G_MESSAGES_DEBUG shows debug and info lines, a writer set
// with g_log_set_writer_func receives them all, and the journal receives the
// optional identifier and category as the fields ZV_IDENTIFIER and
// ZV_CATEGORY. Messages are finished strings: there is no format argument
// that input text could turn into a format directive.
#pragma once

#include <zv/Export.h>

#include <string_view>

namespace zv {

// GLib's own levels above debug; there is no "error", which GLib makes fatal.
enum class LogLevel { Debug, Info, Message, Warning };

// Where a line comes from, for lines that name it (a subsystem such as
// "com.quillmere.ZVFoundation" and a category such as "URLHandling").
struct ZV_EXPORT LogOrigin {
    std::string_view identifier;
    std::string_view category;
};

inline constexpr char kLogDomain[] = "ZVWebKit";

ZV_EXPORT void log(LogLevel level, std::string_view message, const LogOrigin& origin = {});
// A plain console line, at the "message" level.
inline void log(std::string_view message) { log(LogLevel::Message, message); }

}  // namespace zv
