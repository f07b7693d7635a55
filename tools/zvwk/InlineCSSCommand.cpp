// zvwk inline-css: a message with its head CSS copied onto its elements as
// inline styles, and with --purge its head style sheets dropped.
#include "Commands.h"
#include "DocumentRewrite.h"

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
    bool json = false;
    std::vector<std::string> exclusions;
    std::vector<std::string> scopes;
    std::vector<std::string> operands;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--exclude" || arg == "--scope") {
            if (i + 1 == args.size()) return usageError("inline-css: " + arg + " needs a value");
            (arg == "--exclude" ? exclusions : scopes).push_back(args[++i]);
        } else if (arg == "--purge") {
            purge = true;
        } else if (arg == "--json") {
            json = true;
        } else if (arg.size() > 1 && arg.starts_with("-")) {
            return usageError("inline-css: unknown option '" + arg + "'");
        } else {
            operands.push_back(arg);
        }
    }
    if (operands.empty()) return usageError("inline-css: no input (give FILEs, a DIR or -)");
    exclusions = compilingExclusions(exclusions);
    return rewriteDocuments(operands, json, [&](zv::html::HTMLDocument& document) {
        zv::applyHeadCSSToContentAndPurge(document, purge, exclusions, scopes);
    });
}

}  // namespace zvwk
