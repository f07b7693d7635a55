// zvwk purge-css: a message without its head style sheets, as plain content
// shows it, or without those of the scopes given.
#include "Commands.h"
#include "DocumentRewrite.h"

#include <zv/css/HeadCSSPurge.h>

namespace zvwk {

int runPurgeCSS(const Args& args) {
    std::vector<std::string> filters;
    std::vector<std::string> operands;
    bool json = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--filter") {
            if (i + 1 == args.size()) return usageError("purge-css: --filter needs a scope");
            filters.push_back(args[++i]);
        } else if (arg == "--json") {
            json = true;
        } else if (arg.size() > 1 && arg.starts_with("-")) {
            return usageError("purge-css: unknown option '" + arg + "'");
        } else {
            operands.push_back(arg);
        }
    }
    if (operands.empty()) return usageError("purge-css: no input (give FILEs, a DIR or -)");
    return rewriteDocuments(operands, json, [&](zv::html::HTMLDocument& document) {
        zv::purgeHeadCSSWithFilters(document, filters);
    });
}

}  // namespace zvwk
