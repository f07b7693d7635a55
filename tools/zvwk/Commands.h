// The subcommands of zvwk and what they share.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zvwk {

using Args = std::vector<std::string>;

// Each subcommand takes the arguments after its name and returns the exit status.
int runParse(const Args& args);
int runTokenize(const Args& args);
int runSerialize(const Args& args);
int runSelect(const Args& args);
int runText(const Args& args);
int runColor(const Args& args);
int runSnippet(const Args& args);
int runPurgeCSS(const Args& args);
int runInlineCSS(const Args& args);
int runView(const Args& args);
int runPage(const Args& args);
int runFindDemo(const Args& args);

// The bytes of FILE, or of standard input for "-". A folder is refused ("Is a
// directory"), and so is "-" when standard input is closed. On failure,
// reports "zvwk: FILE: reason" on standard error and returns nothing.
std::optional<std::string> readInput(const std::string& path);
// The same without the report: on failure, `reason` says why ("No such file
// or directory"), for callers that report in an order of their own.
std::optional<std::string> readInput(const std::string& path, std::string& reason);

// The inputs that operands name: a FILE or "-" as it is, a DIR as the regular
// files under it (sorted; hidden files and folders left out). A folder that
// cannot be walked is reported as "zvwk: DIR: reason" and sets `failed`;
// `anyDirectory` tells whether any operand was a folder.
std::vector<std::string> expandInputs(const std::vector<std::string>& operands, bool& failed,
                                      bool* anyDirectory = nullptr);

// Prints one input's result: the value as it is, or with `json` one JSON
// line {"file": file, key: value} (invalid UTF-8 replaced, so a line is
// always written).
void printResult(const std::string& file, const char* key, std::string value, bool json);

// Reports "zvwk: message" on standard error; returns the usage exit status (2).
int usageError(const std::string& message);

// `text` as it may go into a message: control bytes, quotes and backslashes
// escaped, and cut after `limit` bytes with "..." so that no argument floods
// the terminal.
std::string quotedForMessage(std::string_view text, size_t limit = 64);

}  // namespace zvwk
