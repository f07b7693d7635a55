// Dropping a message's head style sheets, all of them or by scope.
//
// Both operations remove <style> elements found anywhere within the document's
// head (not only its direct children), each from its own parent; a style
// element in the body, a <link> to an external sheet and everything else stay.
// Scopes are compared as exact byte strings ("Required" is not "required").
//
// A document without a body is left whole: the body's presence is tested
// first, deliberately, so a head alone never loses its sheets.
#pragma once

#include <zv/Export.h>

#include <zv/css/StyleScope.h>
#include <zv/html/HTMLDocument.h>

#include <string>
#include <vector>

namespace zv {

// Removes the head's style elements whose scope (see StyleScope.h; a missing
// attribute reads as kUnscopedStyleScope) is one of `filters`, or all of
// them when `filters` is empty; those scoped "required" always stay.
ZV_EXPORT void purgeHeadCSSWithFilters(html::HTMLDocument& document, const std::vector<std::string>& filters);

// For plain content: every head style element goes but the "required" ones.
ZV_EXPORT void purgeHeadCSSForPlainContent(html::HTMLDocument& document);

}  // namespace zv
