// Symbol images: small monochrome glyphs named like
// "questionmark.square.dashed", drawn at a point size, a weight and
// optionally one colour, delivered as PNG.
//
// The drawing itself is a desktop facility that this library does not link:
// whoever can draw installs a SymbolRenderer (the web-view library installs
// one on the desktop's icon theme when a handler is bound to a web view, see
// IconThemeSymbols.h). Without one, every symbol is unknown.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Color.h>
#include <zv/scheme/URLResponse.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zv {

enum class SymbolWeight { UltraLight, Thin, Light, Regular, Medium, Semibold, Bold, Heavy, Black };

struct ZV_EXPORT SymbolImageRequest {
    std::string name;
    double pointSize = 96;  // pixels of the square the symbol is drawn in
    SymbolWeight weight = SymbolWeight::Regular;
    std::optional<Color> color;  // none: the symbol's own colours

    friend bool operator==(const SymbolImageRequest&, const SymbolImageRequest&) = default;
};

// The request a "wren-symbol" URL makes. The path is the name; the query
// items "size" (an integer above 0; default 48), "weight" ("ultra", "thin",
// "light", "medium", "semibold", "bold", "heavy", "black"; anything else
// keeps regular) and "color" (as colorFromStringRepresentation reads it;
// unreadable is none) are matched without case, later ones winning. The
// point size is twice the size, for screens of two pixels per point.
// Nothing when the text is not a URL.
ZV_EXPORT std::optional<SymbolImageRequest> symbolImageRequestFromURL(std::string_view url);

// PNG bytes of the symbol, or nothing when no symbol has that name. The
// scheme handler calls it on a worker thread.
using SymbolRenderer = std::function<std::optional<Data>(const SymbolImageRequest&)>;

// The process-wide renderer; setting an empty one removes it. Safe from any thread.
ZV_EXPORT void setSymbolRenderer(SymbolRenderer renderer);
ZV_EXPORT SymbolRenderer symbolRenderer();

}  // namespace zv
