// The dark palette: colours moved in OKLab so hue and most chroma survive,
// and the WCAG 2 contrast that every adapted text is held to.
#pragma once

#include <zv/foundation/Color.h>

namespace zv::reading {

// WCAG 2 relative luminance and contrast ratio of opaque colours.
double relativeLuminance(const Color& color);
double contrastRatio(const Color& first, const Color& second);

// OKLab lightness, 0 (black) to 1 (white), of an opaque colour.
double perceivedLightness(const Color& color);

// `top` painted over the opaque `bottom`.
Color composite(const Color& top, const Color& bottom);

// A background for the dark page: light ones inverted into a dark band
// (white becomes the page's dark grey), dark ones kept as dark as they are.
Color darkBackground(const Color& original);

// A border or rule: lightness inverted, so dark lines on light become light
// lines on dark.
Color darkLine(const Color& original);

// A text colour for the dark page. `originalBackdrop` is what it was read
// on: dark text on a light backdrop is inverted to light, light text on a
// dark backdrop keeps its lightness. Then it is lightened (or, failing
// that, darkened) along its own hue until it reaches `minimumContrast`
// against `adaptedBackdrop`; the colour comes back rounded to 8 bits a
// channel, and the contrast holds for the rounded colour.
Color darkText(const Color& original, const Color& originalBackdrop, const Color& adaptedBackdrop,
               double minimumContrast);

// The text as it is when it reaches `minimumContrast` against `backdrop`,
// else lightened or darkened along its own hue until it does: for messages
// whose own dark colours are kept.
Color legibleText(const Color& original, const Color& backdrop, double minimumContrast);

// Colours rounded to 8 bits a channel, as CSS text carries them.
Color rounded(const Color& color);

}  // namespace zv::reading
