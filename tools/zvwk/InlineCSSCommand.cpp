// zvwk inline-css: a message with its head CSS copied onto its elements as
// inline styles, and with --purge its head style sheets dropped.
#include "Commands.h"
#include "DocumentRewrite.h"
#include "InputLoop.h"

#include <zv/css/HeadCSSInlining.h>
#include <zv/foundation/Regex.h>

#include <iostream>

namespace zvwk {

namespace {

// The library reports a pattern it cannot compile on standard output, where
// this tool's documents go; so bad patterns are reported here, on standard
// error, and never reach it. They compile as the library compiles them.
std::vector<std::string> compilingExclusions(const std::vector<std::string>& patterns) {
    std::vector<std::string> usable;
    for (const std::string& pattern : patterns) {
        zv::RegexError error;
        if (zv::Regex::compile(pattern, zv::RegexOptions::CaseInsensitive | zv::RegexOptions::AnchorsMatchLines,
                               &error)) {
            usable.push_back(pattern);
            continue;
        }
        std::cerr << "zvwk: inline-css: ignoring exclusion " << quotedForMessage(pattern) << ": " << error.name;
        if (error.offset >= 0) std::cerr << " at offset " << error.offset;
        std::cerr << "\n";
    }
    return usable;
}

}  // namespace

int runInlineCSS(const Args& args) {
    bool purge = false;
    std::vector<std::string> exclusions;
    std::vector<std::string> scopes;
    InputArguments arguments;
    auto status = parseInputArguments(
        "inline-css", args, {{"--exclude", nullptr, &exclusions}, {"--scope", nullptr, &scopes}, {"--purge", &purge}},
        arguments);
    if (status) return *status;
    exclusions = compilingExclusions(exclusions);
    return printForEachInput(arguments, "html", rewritten([&](zv::html::HTMLDocument& document) {
                                 zv::applyHeadCSSToContentAndPurge(document, purge, exclusions, scopes);
                             }));
}

}  // namespace zvwk
