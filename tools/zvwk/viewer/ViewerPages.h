// The viewer's About and Help windows: pages of zvwk's resources
// (MailViewerAbout.html, MailViewerHelp.html, localized by their strings
// tables, English and German) shown through the page windows.
#pragma once

#include <memory>
#include <string>

namespace zv {
class ZVWebWindowController;
}

namespace zvwk::viewer {

// A page window whose controller fills the pages' variables (version,
// webkitVersion, gtkVersion) and closes the window for the Close button;
// load a page into it with loadFile(name, "html").
std::shared_ptr<zv::ZVWebWindowController> makeViewerPageWindow();

}  // namespace zvwk::viewer
