// zvwk: the command-line face of ZVWebKit.
#include "Commands.h"
#include "Resources.h"

#include <zv/foundation/Bundle.h>
#include <zv/foundation/UserDefaults.h>

#include <clocale>
#include <iostream>

namespace zvwk {

int usageError(const std::string& message) {
    std::cerr << "zvwk: " << message << "\n";
    return 2;
}

namespace {

struct Command {
    const char* name;
    int (*run)(const Args&);
    const char* synopsis;
};

const Command kCommands[] = {
    {"parse", runParse, "parse [--fragment CONTEXT] [--scripting] FILE|-   print the tree (html5lib format)"},
    {"tokenize", runTokenize,
     "tokenize [--state STATE] [--last-start-tag NAME] FILE|-   print the tokens as JSON"},
    {"serialize", runSerialize, "serialize FILE...|DIR|-   print each document's serialization"},
    {"select", runSelect,
     "select [--json] SELECTOR FILE...|DIR|-   print the elements the CSS selector matches, one per line"},
    {"text", runText, "text [--fragment] [--json] FILE...|DIR|-   print the plain text of each input (.eml: its HTML part)"},
    {"trackers", runTrackers,
     "trackers [--reader ADDRESS]... [--json] FILE...|DIR|-   print each input's trackers: pixels, hidden images, "
     "tracking link parameters"},
    {"links", runLinks, "links [--json] FILE...|DIR|-   print each link of each input and why it may deceive (or ok)"},
    {"color", runColor, "color NAME   print the HTML colour keyword's value as r,g,b (0-255)"},
    {"snippet", runSnippet,
     "snippet [--max N] [--whole-words] [--invisible-spaces] [--skip-title] [--skip-head] [--preserve-breaks]\n"
     "          [--jobs N] [--json] FILE...|DIR|-   print a preview snippet of each input (.eml: its HTML part)"},
    {"purge-css", runPurgeCSS,
     "purge-css [--filter SCOPE]... [--json] FILE...|DIR|-   print each document without its head style sheets\n"
     "          (all but zv-scope=\"required\" ones, or those of the SCOPEs)"},
    {"inline-css", runInlineCSS,
     "inline-css [--purge] [--exclude PATTERN]... [--scope SCOPE]... [--json] FILE...|DIR|-\n"
     "          print each document with its head CSS appended to the inline styles of its body's elements"},
    {"dark", runDark, "dark [--json] FILE...|DIR|-   print each message adapted for a dark appearance"},
    {"view", runView,
     "view [--screenshot FILE.png] [--select N] [--find TEXT] [--page about|help] PATH...\n"
     "          read mail in a window: .eml files, folders, Maildirs, mbox files"},
    {"page", runPage, "page FILE [--lang LANG] [--screenshot PNG]   show a page in a window until it is closed"},
    {"find-demo", runFindDemo,
     "find-demo [--search TEXT] [--screenshot PNG] FILE...   show the messages as a conversation under a find bar"},
};

int usage(std::ostream& out, int status) {
    out << "usage: zvwk COMMAND [OPTIONS] [FILE...]\n       zvwk COMMAND --help\n       zvwk --version\n\ncommands:\n";
    for (const auto& c : kCommands) out << "  " << c.synopsis << "\n";
    return status;
}

// Every command answers --help (or -h) alone, whatever else is given.
int runCommand(const Command& command, const Args& args) {
    for (const std::string& arg : args)
        if (arg == "--help" || arg == "-h") {
            std::cout << "usage: zvwk " << command.synopsis << "\n";
            return 0;
        }
    int status = command.run(args);
    // Output that could not be written (a full disk, a closed pipe) is lost
    // data: say so rather than exit as if it had been written.
    if (!std::cout.flush()) {
        std::cerr << "zvwk: " << command.name << ": could not write standard output\n";
        return 1;
    }
    return status;
}

}  // namespace
}  // namespace zvwk

int main(int argc, char** argv) {
    using namespace zvwk;
    // GLib writes log lines in the character set of the user's locale, and
    // in the default C locale that turns every non-ASCII character into "?".
    std::setlocale(LC_CTYPE, "");
    // zvwk's own resources (the search script, its strings) are the host's
    // main bundle for the framework.
    zv::Bundle::setMainBundlePath(resourcesPath());
    // "-Key value" pairs are launch arguments ("-logZVWebKitErrors YES"),
    // read before stored defaults; the commands do not see them.
    zv::UserDefaults::standard().setLaunchArguments(argc, argv);
    Args words;
    for (int i = 1; i < argc; ++i) {
        std::string_view word = argv[i];
        if (i + 1 < argc && word.size() > 2 && word[0] == '-' && word[1] != '-') ++i;
        else words.emplace_back(word);
    }
    if (words.empty()) {
        std::cerr << "zvwk: no command given\n";
        return usage(std::cerr, 2);
    }
    std::string name = words[0];
    if (name == "-h" || name == "--help" || name == "help") return usage(std::cout, 0);
    if (name == "--version") {
        std::cout << "zvwk " << ZVWK_VERSION << "\n";
        return 0;
    }
    for (const auto& c : kCommands)
        if (name == c.name) return runCommand(c, Args(words.begin() + 1, words.end()));
    std::cerr << "zvwk: unknown command " << quotedForMessage(name) << "\n";
    return usage(std::cerr, 2);
}
