// zvwk dark: each message adapted for a dark appearance, as the viewer shows
// it in the desktop's dark style: head CSS inlined and purged, then
// zv::adaptDocumentForDarkAppearance. A message with dark styles of its own
// keeps its sheets and its design, with only illegible text changed.
#include "Commands.h"
#include "DocumentRewrite.h"
#include "InputLoop.h"

#include <zv/css/HeadCSSInlining.h>
#include <zv/reading/DarkAdaptation.h>

namespace zvwk {

int runDark(const Args& args) {
    InputArguments arguments;
    if (auto status = parseInputArguments("dark", args, {}, arguments)) return *status;
    return printForEachInput(arguments, "html", rewritten([](zv::html::HTMLDocument& document) {
                                 // Dark styles of the sender's own need their sheets kept.
                                 if (!zv::declaresOwnDarkAppearance(document))
                                     zv::applyHeadCSSToContentAndPurge(document, true, {}, {});
                                 zv::adaptDocumentForDarkAppearance(document);
                             }));
}

}  // namespace zvwk
