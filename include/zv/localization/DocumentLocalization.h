// Localizing a page's parsed document before it is shown.
//
// A page marks what is to be localized:
//   localizationkey="k" on any element   the element is filled from key k
//   <localization key="k">               the same, with the key in "key"
//   accessibilitykey="k"                 "aria-label" from the string k.axLabel
//   localizationkey on the first <title> the window's title
// For each key the strings are looked up through a PageLocalization (every
// lookup but the accessibility one with kNotLocalizedMarker as default):
//   k.html   replaces the inner HTML (the text is then not consulted)
//   k.text   (or k) replaces the text of an element that has text; line feeds
//            in it become paragraph breaks ("<br/>&nbsp;<br/>"), carriage
//            returns line breaks ("<br/>"), and "{$name}" takes the value of
//            localizationVariableTable()'s name. Without a string, the
//            element's own text is upper-cased, so that untranslated text
//            shows on screen.
//   k.style  replaces "style", or with a leading "+" appends to an existing one
//   k.href, k.src  replace "href" and "src"
// A title key without a string titles the window with the key upper-cased.
//
// resolveHTMLDocument turns the relative "src" of img and "href" of link
// elements of a page loaded from a file into absolute "zvfile" URLs beside
// the page, which the page window's own scheme handler serves.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/URL.h>
#include <zv/html/HTMLDocument.h>
#include <zv/localization/PageLocalization.h>

#include <functional>
#include <string>
#include <string_view>

namespace zv {

// Localizes `document` in place; `setTitle` (may be empty) receives the
// window title when the document's title element names a key.
ZV_EXPORT void localizeHTMLDocument(html::HTMLDocument& document, const PageLocalization& strings,
                                    const std::function<void(const std::string&)>& setTitle = {});
// The same on markup: parses `html`, localizes it, answers the document
// element's outer HTML.
ZV_EXPORT std::string localizeHTML(std::string_view html, const PageLocalization& strings,
                                   const std::function<void(const std::string&)>& setTitle = {});

// Does nothing unless `pageURL` is a file URL.
ZV_EXPORT void resolveHTMLDocument(html::HTMLDocument& document, const URL& pageURL);
// Markup of a file page resolved as above; other markup is answered unchanged.
ZV_EXPORT std::string rewriteHTML(std::string_view html, const URL& pageURL);

}  // namespace zv
