#include "ViewerExtensions.h"

#include "ViewerWindow.h"

#include <iostream>

namespace zvwk::viewer {

ViewerExtensions::ViewerExtensions(ViewerWindow& window) : window_(window) {}

ViewerExtensions::~ViewerExtensions() = default;

bool ViewerExtensions::find(const std::string&) {
    std::cerr << "zvwk: view: find is not part of this build yet\n";
    return false;
}

bool ViewerExtensions::isBusy() const { return false; }

}  // namespace zvwk::viewer
