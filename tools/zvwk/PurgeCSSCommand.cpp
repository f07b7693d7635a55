// zvwk purge-css: a message without its head style sheets, as plain content
// shows it, or without those of the scopes given.
#include "Commands.h"
#include "DocumentRewrite.h"
#include "InputLoop.h"

#include <zv/css/HeadCSSPurge.h>

namespace zvwk {

int runPurgeCSS(const Args& args) {
    std::vector<std::string> filters;
    InputArguments arguments;
    if (auto status = parseInputArguments("purge-css", args, {{"--filter", nullptr, &filters, "a scope"}}, arguments))
        return *status;
    return printForEachInput(arguments, "html", rewritten([&](zv::html::HTMLDocument& document) {
                                 zv::purgeHeadCSSWithFilters(document, filters);
                             }));
}

}  // namespace zvwk
