// The few inline CSS values the reading code judges images by, read without
// a CSS parser: enough for what mail writes in style attributes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zv::html {
class HTMLElement;
}

namespace zv::reading {

// A length in CSS pixels from "1", "1px" or "1.0px"; nothing for others ("50%", "2em").
std::optional<double> cssPixels(std::string_view text);

// The value of `property` in a style attribute, in lower case without
// "!important"; the last declaration wins.
std::optional<std::string> inlineStyleValue(std::string_view style, std::string_view property);

// An image's "width" or "height" in CSS pixels as the message declares it:
// its style's, else its attribute's.
std::optional<double> declaredImageDimension(const html::HTMLElement& image, std::string_view dimension);

}  // namespace zv::reading
