// A window's contents as a PNG file, drawn by the window's own renderer, so
// it needs no screen grabber and works under Xvfb.
#pragma once

#include <gtk/gtk.h>

#include <string>

namespace zvwk {

// False with `error` set when the window has no size yet or the file cannot
// be written. `over` (a dialog of the window) is drawn centred on top, as a
// window manager would place it.
bool writeWindowPNG(GtkWindow* window, const std::string& path, std::string& error, GtkWindow* over = nullptr);

}  // namespace zvwk
