// What the reading code reads of a message's CSS: declarations of style
// attributes as the engine splits them, style sheet rules, and colours as CSS
// and the HTML presentational attributes write them.
#pragma once

#include <zv/foundation/Color.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv::reading {

struct Declaration {
    std::string name;  // lower case
    std::string_view value;  // trimmed, "!important" taken off
    bool important = false;
};

// Each declaration of a style attribute, in order. Semicolons inside
// strings, parentheses and comments do not split; a piece without a ":" is
// skipped, as the engine skips it.
std::vector<Declaration> styleDeclarations(std::string_view style);

struct StyleRule {
    std::vector<std::string_view> selectors;  // the group split at its commas
    std::string_view declarations;
};

// The plain rules of a style sheet in order. At-rules are passed over with
// their blocks ("@media", "@font-face"), and so is anything after an
// unbalanced brace; with `darkMediaRules`, the rules of a media block that
// asks for a dark colour scheme are read in its place, as they apply on a
// page drawn dark.
std::vector<StyleRule> styleSheetRules(std::string_view css, bool darkMediaRules = false);

// What to append to `style` so that text after it starts a new declaration:
// the quote or parentheses left open closed, then ";" when needed.
std::string declarationBoundary(std::string_view style);

// A CSS colour value: hex forms, rgb(a), hsl(a), the CSS keywords (grey
// spellings and transparent included) and, in quirks mode, hex digits
// without "#". "currentcolor", "inherit" and the like are not colours here.
std::optional<Color> cssColor(std::string_view value, bool quirks);

// A colour attribute (bgcolor, text, <font color>) as HTML's legacy colour
// rules read it: names, "#rgb", and anything else turned into hex digits,
// so "ffffff" is white and "chucknorris" is a red.
std::optional<Color> legacyColor(std::string_view value);

// The values of a shorthand or a multi-value property split at white space
// and commas outside parentheses.
std::vector<std::string_view> cssComponents(std::string_view value);

bool isCSSImage(std::string_view component);

}  // namespace zv::reading
