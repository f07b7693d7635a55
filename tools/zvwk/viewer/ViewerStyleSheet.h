// The viewer chrome's style sheet, on top of the GTK theme: it takes the
// theme's colours, so it reads well in the light and the dark style alike.
#pragma once

namespace zvwk::viewer {

// Adds the sheet to the default display, once.
void installViewerStyleSheet();

}  // namespace zvwk::viewer
