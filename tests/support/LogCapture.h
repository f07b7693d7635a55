// The lines the library logs (GLib domain "ZVWebKit"), kept for a test to
// read instead of printed. Lines of other domains still go to the terminal.
// A critical line, the library's way of reporting a programming error,
// reads "CRITICAL: " and its message.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zv::test {

// From now on, for the rest of the process; forgets what was kept so far.
void captureLogLines();
// The lines since the last call.
std::vector<std::string> takeLogLines();
bool anyLineStartsWith(std::string_view prefix);

}  // namespace zv::test
