// `zvwk view`: the GtkApplication around one viewer window, and the
// unattended run that writes a screenshot and exits.
#pragma once

#include "ViewArguments.h"

namespace zvwk::viewer {

// Runs the viewer until its window closes (or, with a screenshot, until the
// PNG is written); the exit status.
int runViewer(const ViewArguments& arguments);

}  // namespace zvwk::viewer
