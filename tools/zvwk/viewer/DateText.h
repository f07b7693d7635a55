// Dates as the viewer writes them, in the local time zone.
#pragma once

#include <cstdint>
#include <string>

namespace zvwk::viewer {

// For a list row, relative to `now`: the time for today, day and month for
// this year, day, month and year before; "" when unknown (0).
std::string shortDateText(std::int64_t seconds, std::int64_t now);
// For a message's header: "3 Mar 2026, 14:05".
std::string longDateText(std::int64_t seconds);

}  // namespace zvwk::viewer
