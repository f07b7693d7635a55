// zvwk inline-css: a message with its head CSS copied onto its elements as
// inline styles, and with --purge its head style sheets dropped.
#include "Commands.h"
#include "DocumentRewrite.h"

#include <zv/css/HeadCSSInlining.h>

namespace zvwk {

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
    return rewriteDocuments(operands, json, [&](zv::html::HTMLDocument& document) {
        zv::applyHeadCSSToContentAndPurge(document, purge, exclusions, scopes);
    });
}

}  // namespace zvwk
