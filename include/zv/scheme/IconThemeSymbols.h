// Symbol images drawn from the desktop's freedesktop icon theme (Adwaita's
// symbolic icons, searched under the XDG data folders).
//
// A symbol name ("paperclip", "questionmark.square.dashed") is looked up in
// a table of symbol names to icon names; a name that is not in the table but
// names a symbolic icon itself ("mail-attachment-symbolic") is taken as it
// is. The icon is drawn with librsvg into a square of the point size in
// pixels (at most 1024), then:
// - the weight thickens or thins the strokes: heavier weights draw an
//   outline of up to one unit of the icon's 16-unit grid around every shape,
//   lighter ones erode the shapes by as much as half a unit;
// - a colour replaces the icon's colours, keeping its coverage, so the
//   symbol's shading survives; without one the icon keeps its own colours
//   (an outline is drawn in Adwaita's symbolic foreground, #2e3436).
// The result is PNG.
#pragma once

#include <zv/Export.h>

#include <zv/scheme/SymbolImage.h>

#include <optional>
#include <string>
#include <string_view>

namespace zv {

// The icon a symbol name is drawn from, or nothing when there is none.
ZV_EXPORT std::optional<std::string> iconNameForSymbol(std::string_view symbolName);

// A SymbolRenderer.
ZV_EXPORT std::optional<Data> renderIconThemeSymbol(const SymbolImageRequest& request);

// setSymbolRenderer(renderIconThemeSymbol).
ZV_EXPORT void useIconThemeSymbols();

}  // namespace zv
