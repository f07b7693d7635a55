// Merging a page's `include` elements: each names an HTML file in "src"
// (resolved beside the page when relative), whose body's elements take the
// include's place. The include's other attributes fill "${name}" in the
// fetched text, the name compared without case. Includes are fetched at most
// three at a time and merged as their fetches finish, each at its own place;
// an include whose fetch fails is removed. Includes in included files stay.
#pragma once

#include <zv/foundation/URL.h>
#include <zv/html/HTMLDocument.h>

#include <functional>

namespace zv {

// `done` runs once when every include is merged, on whichever thread
// finished last; the document must not be touched elsewhere until then.
void mergeIncludes(html::HTMLDocument& document, const URL& pageURL, std::function<void()> done);

}  // namespace zv
