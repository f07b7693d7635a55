#include "DateText.h"

#include <glib.h>

namespace zvwk::viewer {

namespace {

std::string format(std::int64_t seconds, const char* pattern) {
    // Asking GLib for the local zone each time would read the zone files.
    static GTimeZone* zone = g_time_zone_new_local();
    GDateTime* date = g_date_time_new_from_unix_utc(seconds);
    if (!date) return {};
    GDateTime* local = g_date_time_to_timezone(date, zone);
    g_date_time_unref(date);
    date = local;
    if (!date) return {};
    char* text = g_date_time_format(date, pattern);
    std::string out = text ? text : "";
    g_free(text);
    g_date_time_unref(date);
    // %e pads single-digit days with a space.
    return out.starts_with(" ") ? out.substr(1) : out;
}

}  // namespace

std::string shortDateText(std::int64_t seconds, std::int64_t now) {
    if (seconds == 0) return {};
    std::string day = format(seconds, "%Y-%m-%d");
    if (day == format(now, "%Y-%m-%d")) return format(seconds, "%H:%M");
    if (day.substr(0, 4) == format(now, "%Y")) return format(seconds, "%e %b");
    return format(seconds, "%e %b %Y");
}

std::string longDateText(std::int64_t seconds) { return seconds == 0 ? "" : format(seconds, "%e %b %Y, %H:%M"); }

}  // namespace zvwk::viewer
