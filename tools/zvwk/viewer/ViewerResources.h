// The viewer's interface descriptions (ui/*.ui), compiled into the program
// as a GResource under /org/zvwebkit/zvwk/viewer/.
#pragma once

namespace zvwk::viewer {

// Registers them once per process; every widget class with a template calls
// it before setting the template.
void registerViewerResources();

}  // namespace zvwk::viewer
