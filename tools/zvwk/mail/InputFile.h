// The bytes an input names: a file, or standard input for "-".
#pragma once

#include <optional>
#include <string>

namespace zvwk {

// The bytes of FILE, or of standard input for "-". A folder is refused ("Is a
// directory"), and so is "-" when standard input is closed. On failure returns
// nothing with `reason` set ("No such file or directory"), without printing it.
std::optional<std::string> readInput(const std::string& path, std::string& reason);

}  // namespace zvwk
