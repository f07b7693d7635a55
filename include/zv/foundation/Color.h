// A colour: red, green, blue and alpha, each from 0 to 1, in a calibrated
// (device-independent) RGB space.
//
// Text forms, as CSS writes colours:
// - colorFromStringRepresentation reads, case-insensitively and with white
//   space allowed around it: "#rgb", "#rgba", "#rrggbb", "#rrggbbaa" (the "#"
//   may be left out), "rgb(r, g, b)" and "rgba(r, g, b, a)" with components
//   as numbers from 0 to 255 or percentages, alpha as a number from 0 to 1
//   or a percentage, commas or spaces between them and "/" before alpha
//   allowed ("rgb(255 0 0 / 50%)"), and the HTML colour names (below).
//   Out-of-range components are clamped. Anything else is nothing.
// - stringRepresentation writes "#rrggbb" for an opaque colour and
//   "rgba(r, g, b, a)" otherwise (r, g, b from 0 to 255, a in its shortest
//   exact decimal form), so a colour whose components are multiples of 1/255
//   reads back equal.
// - hashLabelCSSStringRepresentation always writes hex: "#rrggbb", or
//   "#rrggbbaa" when not opaque.
//
// HTML colour names: colorWithHTMLName knows 139 keywords, the CSS Color
// Module Level 3 named colours (the SVG 1.1 keywords) with their standard
// values, less these, which mail written before them never needed and which
// are left out on purpose:
// - the seven spellings with "grey" (grey, darkgrey, darkslategrey, dimgrey,
//   lightgrey, lightslategrey, slategrey); the "gray" forms are there;
// - darkgoldenrod;
// - later additions (rebeccapurple), transparent and currentcolor.
// Synonyms share their value: aqua and cyan, fuchsia and magenta.
#pragma once

#include <zv/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace zv {

struct ZV_EXPORT Color {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    friend bool operator==(const Color&, const Color&) = default;
};

ZV_EXPORT std::optional<Color> colorFromStringRepresentation(std::string_view text);
ZV_EXPORT std::string stringRepresentation(const Color& color);
ZV_EXPORT std::string hashLabelCSSStringRepresentation(const Color& color);

// The opaque colour named `name`, compared after Unicode lower-casing and
// nothing else: "Red" and "RED" are red, " red" and "#ff0000" are nothing.
ZV_EXPORT std::optional<Color> colorWithHTMLName(std::string_view name);

}  // namespace zv
