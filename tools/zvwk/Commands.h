// The subcommands of zvwk and what they share.
//
// The registry is kCommands in main.cpp: a name, the function below and the
// synopsis `zvwk --help` lists. Layout of tools/zvwk:
//   *Command.cpp   one command each; InputLoop.h is how they go through inputs
//   window/        the commands that open a window, built only with the web
//                  layer (WithoutWindows.cpp stands in for them otherwise)
//   viewer/        the mail viewer behind `zvwk view`; ui/ its widget templates
//   mail/          reading stored mail (GMime), shared by commands and viewer
//   snapshot/      a window drawn to a PNG, for --screenshot
// Commands depend on viewer/, mail/ and snapshot/; those never on a command.
//
// Adding a command that reads FILE...|DIR|- and prints one result per input
// (`zvwk NAME [--flag] [--json] FILE...|DIR|-`) takes one file, NAMECommand.cpp:
//
//   int runName(const Args& args) {
//       bool flag = false;
//       InputArguments arguments;
//       if (auto status = parseInputArguments("name", args, {{"--flag", &flag}}, arguments)) return *status;
//       return printForEachInput(arguments, "html", [&](const std::string& html) { return ...; });
//   }
//
// printForEachInput reads ".eml" files as their HTML part, reports unreadable
// inputs as "zvwk: FILE: reason", prints --json lines and returns the exit
// status; DocumentRewrite.h's rewritten() turns a change to the parsed
// document into such a result. Then declare runName here and add a line to
// kCommands. Commands with a window go into window/ and a stand-in into
// WithoutWindows.cpp.
#pragma once

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
int runTrackers(const Args& args);
int runLinks(const Args& args);
int runColor(const Args& args);
int runSnippet(const Args& args);
int runPurgeCSS(const Args& args);
int runInlineCSS(const Args& args);
int runDark(const Args& args);
int runView(const Args& args);
int runPage(const Args& args);
int runFindDemo(const Args& args);

// Reports "zvwk: message" on standard error; returns the usage exit status (2).
int usageError(const std::string& message);

// `text` as it may go into a message: control bytes, quotes and backslashes
// escaped, and cut after `limit` bytes with "..." so that no argument floods
// the terminal.
std::string quotedForMessage(std::string_view text, size_t limit = 64);

}  // namespace zvwk
