// Colour keywords of HTML and CSS attributes ("red", "aliceblue") as colours.
//
// The table holds 139 keywords: the CSS Color Module Level 3 named colours
// (the SVG 1.1 keywords) with their standard values, less these, which mail
// written before them never needed and which are left out on purpose:
// - the seven spellings with "grey" (grey, darkgrey, darkslategrey, dimgrey,
//   lightgrey, lightslategrey, slategrey); the "gray" forms are there;
// - darkgoldenrod;
// - later additions (rebeccapurple), transparent and currentcolor.
// Synonyms share their value: aqua and cyan, fuchsia and magenta.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Color.h>

#include <optional>
#include <string_view>

namespace zv {

// The opaque colour named `name`, compared after Unicode lower-casing and
// nothing else: "Red" and "RED" are red, " red" and "#ff0000" are nothing.
ZV_EXPORT std::optional<Color> colorWithHTMLName(std::string_view name);

}  // namespace zv
