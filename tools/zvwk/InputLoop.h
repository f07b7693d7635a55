// How the commands that take FILE...|DIR|- go through their inputs: operands
// expanded (a folder as the files under it), each input read, an input that
// cannot be read reported as "zvwk: FILE: reason" and skipped, and the exit
// status 1 when anything was skipped.
#pragma once

#include "Commands.h"

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zvwk {

// The bytes of FILE, or of standard input for "-". On failure reports
// "zvwk: FILE: reason" on standard error and returns nothing.
std::optional<std::string> readInput(const std::string& path);

// The inputs that operands name: a FILE or "-" as it is, a DIR as the regular
// files under it (sorted; hidden files and folders left out). A folder that
// cannot be walked is reported as "zvwk: DIR: reason" and sets `failed`;
// `anyDirectory` tells whether any operand was a folder.
std::vector<std::string> expandInputs(const std::vector<std::string>& operands, bool& failed,
                                      bool* anyDirectory = nullptr);

// One option of a per-input command: a flag that sets `flag`, or, with
// `values`, an option taking the next argument (repeatable, each appended).
struct InputOption {
    const char* name;
    bool* flag = nullptr;
    std::vector<std::string>* values = nullptr;
    const char* valueNoun = "a value";  // "--filter needs a scope"
};

struct InputArguments {
    std::vector<std::string> operands;  // "-" among them is standard input
    bool json = false;
};

// Reads `args` as `command [OPTION]... [--json] FILE...|DIR|-`. Returns the
// usage status when they cannot be used, after reporting "zvwk: COMMAND: ..."
// (an unknown option, an option without its value, no input).
std::optional<int> parseInputArguments(std::string_view command, const Args& args,
                                       std::initializer_list<InputOption> options, InputArguments& parsed);

// What an input is read as: its bytes, or its HTML as UTF-8 (a ".eml"
// message's HTML part; see mail/MailInput.h).
enum class InputContent { Bytes, MailHTML };

// Prints one input's result: the value as it is, or with `json` one JSON
// line {"file": file, key: value} (invalid UTF-8 replaced, so a line is
// always written).
void printResult(const std::string& file, const char* key, std::string value, bool json);

// Calls `use` for each input that could be read, in order. Returns the exit
// status: 1 when a folder could not be walked or an input read, else 0.
int forEachInput(const std::vector<std::string>& operands, InputContent content,
                 const std::function<void(const std::string& file, const std::string& content)>& use);

// Each input's HTML through `result`, printed as it is followed by a line
// feed, or with --json as one {"file": FILE, key: result} line. Returns the
// exit status as forEachInput.
int printForEachInput(const InputArguments& arguments, const char* key,
                      const std::function<std::string(const std::string& html)>& result);

}  // namespace zvwk
