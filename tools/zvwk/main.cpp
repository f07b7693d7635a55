// zvwk: the command-line face of ZVWebKit.
#include "Commands.h"

#include <zv/foundation/Bundle.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

namespace zvwk {

std::optional<std::string> readInput(const std::string& path, std::string& reason) {
    if (path == "-") {
        std::ostringstream s;
        s << std::cin.rdbuf();
        return s.str();
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        reason = std::strerror(errno);
        return std::nullopt;
    }
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        reason = "read error";
        return std::nullopt;
    }
    return bytes;
}

std::optional<std::string> readInput(const std::string& path) {
    std::string reason;
    std::optional<std::string> bytes = readInput(path, reason);
    if (!bytes) std::cerr << "zvwk: " << path << ": " << reason << "\n";
    return bytes;
}

namespace {

std::vector<std::string> filesUnder(const std::string& dir, std::string& error) {
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    std::error_code ec;
    fs::recursive_directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (it->path().filename().string().starts_with(".")) {
            it.disable_recursion_pending();
            continue;
        }
        std::error_code typeError;
        if (it->is_regular_file(typeError)) files.push_back(it->path().string());
    }
    if (ec) error = "zvwk: " + dir + ": " + ec.message();
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::vector<std::string> expandInputs(const std::vector<std::string>& operands, bool& failed, bool* anyDirectory) {
    std::vector<std::string> inputs;
    for (const std::string& operand : operands) {
        std::error_code ec;
        if (operand == "-" || !std::filesystem::is_directory(operand, ec)) {
            inputs.push_back(operand);
            continue;
        }
        if (anyDirectory) *anyDirectory = true;
        std::string error;
        for (std::string& file : filesUnder(operand, error)) inputs.push_back(std::move(file));
        if (!error.empty()) {
            std::cerr << error << "\n";
            failed = true;
        }
    }
    return inputs;
}

void printResult(const std::string& file, const char* key, std::string value, bool json) {
    if (!json) {
        std::cout << value << "\n";
        return;
    }
    nlohmann::ordered_json line = {{"file", file}, {key, std::move(value)}};
    std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

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
    {"serialize", runSerialize, "serialize FILE|-   print the document's serialization"},
    {"select", runSelect,
     "select [--json] SELECTOR FILE|-   print the elements the CSS selector matches, one per line"},
    {"text", runText, "text [--fragment] [--json] FILE...|DIR|-   print the plain text of each input (.eml: its HTML part)"},
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
    {"view", runView,
     "view [--screenshot FILE.png] [--select N] [--find TEXT] PATH...\n"
     "          read mail in a window: .eml files, folders, Maildirs, mbox files"},
};

int usage(std::ostream& out, int status) {
    out << "usage: zvwk COMMAND [OPTIONS] [FILE...]\n\ncommands:\n";
    for (const auto& c : kCommands) out << "  " << c.synopsis << "\n";
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
    zv::Bundle::setMainBundlePath(ZVWK_RESOURCES_DIR);
    if (argc < 2) return usage(std::cerr, 2);
    std::string name = argv[1];
    if (name == "-h" || name == "--help" || name == "help") return usage(std::cout, 0);
    for (const auto& c : kCommands)
        if (name == c.name) return c.run(Args(argv + 2, argv + argc));
    std::cerr << "zvwk: unknown command '" << name << "'\n";
    return usage(std::cerr, 2);
}
