// Icons of the viewer's chrome, drawn through the "wren-symbol" scheme's
// request routine, as the message views draw theirs, so both look alike.
#pragma once

#include <gtk/gtk.h>

namespace zvwk::viewer {

// A GtkImage showing the symbol (a name like "paperclip") at `size` pixels,
// in `color` ("#rrggbb"). The image fills in when the symbol is drawn; a
// symbol that cannot be drawn leaves it empty.
GtkWidget* symbolImage(const char* symbol, int size, const char* color);

}  // namespace zvwk::viewer
