// Adapting a message's colours for a dark appearance, without page scripts.
//
// adaptDocumentForDarkAppearance works on the parsed document after its
// head CSS has been applied as inline styles (applyHeadCSSToContentAndPurge),
// in one pass over the tree, linear in its size, with no layout:
// - each element's colours are resolved as the engine would: style
//   declarations (later ones win, "!important" over the rest) over those of
//   the style sheets still in the document (sheets in the body, which head
//   CSS inlining leaves; rules in document order, at-rules and selectors with
//   state pseudo-classes passed over), then bgcolor,
//   text, link and <font color>, the background shorthand, border colours,
//   the link colour links get by default, inheritance, and the white page
//   with black text when the message sets nothing;
// - light backgrounds are moved into a dark band in OKLab, lightness
//   inverted, hue and most chroma kept: white becomes darkPageBackground(),
//   a blue banner a darker blue; dark ones stay as dark as they are; border
//   colours are inverted;
// - text is inverted when it was darker than its background and keeps its
//   lightness when it was lighter, keeps its hue, and is then lightened (or
//   darkened) until its WCAG 2 contrast against its adapted background is at
//   least minimumTextContrast;
// - images keep their colours. One that may be transparent (anything but a
//   JPEG) placed on a light background keeps that background right behind
//   it (and its alt text keeps the colour it had there), so a dark logo on
//   transparency stays visible; an opaque image hides it anyway. An element
//   with a background image gets a dark overlay over the image (an inset
//   shadow), and its text is held to the floor against the lightest the
//   overlaid image can be;
// - the root gets the adapted page colours and "color-scheme: dark".
// The results are appended to the style attributes as "!important"
// declarations, so nothing the sender wrote is lost: removing them shows the
// original colours again.
//
// A message that declares its own dark appearance ("color-scheme" with
// "dark", a prefers-color-scheme media query asking for dark, or the
// color-scheme meta element) is left as its sender designed it, drawn in the
// dark scheme (the root is given "color-scheme: dark" unless the message
// names it): its colours are resolved as the page shows them there (the
// style sheets' rules for dark included, a dark canvas, light default text),
// and only text under the floor against its own background is lightened or
// darkened along its hue. Those declarations live in head style sheets: adapt such a
// message with its sheets in place (ask declaresOwnDarkAppearance before
// applying the head CSS).
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Color.h>
#include <zv/html/HTMLDocument.h>

#include <cstddef>

namespace zv {

struct DarkAdaptationOptions {
    double minimumTextContrast = 4.5;
};

struct DarkAdaptationReport {
    bool leftAsDesigned = false;  // the message has dark styles of its own, kept
    std::size_t textColors = 0;  // elements given a text colour
    std::size_t backgrounds = 0;  // elements given a background colour
    std::size_t borders = 0;  // elements given border colours
    std::size_t imageBackdrops = 0;  // images given the light background they sat on
    std::size_t backgroundImageOverlays = 0;
};

ZV_EXPORT bool declaresOwnDarkAppearance(const html::HTMLDocument& document);

ZV_EXPORT DarkAdaptationReport adaptDocumentForDarkAppearance(html::HTMLDocument& document,
                                                              const DarkAdaptationOptions& options = {});

// The page colour of an adapted message that sets none: #1e1e1e.
ZV_EXPORT Color darkPageBackground();

}  // namespace zv
