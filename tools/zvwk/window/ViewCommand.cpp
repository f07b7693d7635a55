// `zvwk view PATH...`: the mail viewer.
#include "Commands.h"
#include "viewer/ViewArguments.h"
#include "viewer/ViewerApplication.h"

namespace zvwk {

int runView(const Args& args) {
    std::string error;
    auto arguments = viewer::parseViewArguments(args, error);
    if (!arguments) return usageError("view: " + error);
    return viewer::runViewer(*arguments);
}

}  // namespace zvwk
