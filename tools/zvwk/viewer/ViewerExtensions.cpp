#include "ViewerExtensions.h"

#include "ViewerPages.h"
#include "ViewerWindow.h"

#include <zv/page/ZVWebWindowController.h>

#include <iostream>

namespace zvwk::viewer {

ViewerExtensions::ViewerExtensions(ViewerWindow& window) : window_(window) {
    window_.addAction("help", [this] { showPage("MailViewerHelp"); }, "F1");
    window_.addAction("about", [this] { showPage("MailViewerAbout"); });
    window_.addMenuItem("Help", "help");
    window_.addMenuItem("About the Mail Viewer", "about");
}

ViewerExtensions::~ViewerExtensions() = default;

bool ViewerExtensions::find(const std::string&) {
    std::cerr << "zvwk: view: find is not part of this build yet\n";
    return false;
}

bool ViewerExtensions::isBusy() const { return false; }

std::shared_ptr<zv::ZVWebWindowController> ViewerExtensions::showPage(const std::string& name) {
    auto& page = pages_[name];
    if (!page) page = makeViewerPageWindow();
    page->loadFile(name, "html");
    return page;
}

}  // namespace zvwk::viewer
