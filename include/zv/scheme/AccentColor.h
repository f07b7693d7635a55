// The desktop's accent colour, the colour of selected and default controls.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Color.h>

namespace zv {

// GNOME's "accent-color" setting (org.gnome.desktop.interface) where the
// desktop has it, mapped to the colours of the Adwaita palette; otherwise
// Adwaita's default blue, #3584e4.
ZV_EXPORT Color controlAccentColor();

}  // namespace zv
