// What a blocked remote image shows in a safe view: a box of its declared
// size that says what the picture is (its alternative text, else its file
// name, else its host) and how large it was declared, so a message made of
// pictures never reads as an empty page. Its colours are translucent greys
// and its text takes the surrounding colour, so it reads on light and dark
// pages alike.
#pragma once

#include <string_view>

namespace zv::html {
class HTMLElement;
}

namespace zv::reading {

// Puts the placeholder where `image` (an <img> whose remote `url` is
// blocked, and neither a pixel nor hidden: the caller judges those for the
// whole document at once) stands, with the image hidden inside it, which
// keeps the element and its refused URL in the document. Leaves alone a
// decorative image (alt="") without a declared size, which the reader would
// not see anyway.
void placeBlockedImagePlaceholder(html::HTMLElement& image, std::string_view url);

}  // namespace zv::reading
