// The lines the library logs (GLib domain "ZVWebKit"), kept for a test to
// read instead of printed. Lines of other domains, and the library's lines
// while nothing captures, still go to the terminal.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zv::test {

// From now on, for the rest of the process; forgets what was kept so far.
void captureLogLines();
// The messages since the last call. A critical line, the library's way of
// reporting a programming error, reads "CRITICAL: " and its message.
std::vector<std::string> takeLogLines();
bool anyLineStartsWith(std::string_view prefix);

// Captures from construction until destruction, keeping every structured
// field of a line (MESSAGE, ZV_CATEGORY, ZV_IDENTIFIER...) by its key.
class LogCapture {
public:
    using Fields = std::map<std::string, std::string>;

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Lines whose message starts with `prefix`.
    std::vector<Fields> linesStartingWith(std::string_view prefix) const;
};

}  // namespace zv::test
