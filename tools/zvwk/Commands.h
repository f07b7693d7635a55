// The subcommands of zvwk and what they share.
#pragma once

#include <optional>
#include <string>
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

// The bytes of FILE, or of standard input for "-". On failure, reports
// "zvwk: FILE: reason" on standard error and returns nothing.
std::optional<std::string> readInput(const std::string& path);
// The same without the report: on failure, `reason` says why ("No such file
// or directory"), for callers that report in an order of their own.
std::optional<std::string> readInput(const std::string& path, std::string& reason);

// The regular files under the folder `dir`, sorted, hidden files and folders
// left out. If the walk fails, `error` holds the whole report
// ("zvwk: DIR: reason") and the files found so far are returned.
std::vector<std::string> filesUnder(const std::string& dir, std::string& error);

// Reports "zvwk: message" on standard error; returns the usage exit status (2).
int usageError(const std::string& message);

}  // namespace zvwk
