// The element categories the HTML standard's tree construction rules refer
// to ("special", the scope boundaries, the implied end tags, …), as bits.
//
// The tree builder asks these questions for every token, so they are answered
// from a table indexed by Tag rather than by comparing names.
#pragma once

#include <zv/html/HTMLElement.h>

#include <cstdint>

namespace zv::html {

namespace category {
enum : uint32_t {
    Special = 1u << 0,
    // Elements that end a search for "an element in scope". The list item and
    // button variants carry their own bit so one mask test answers each scope.
    ScopeBoundary = 1u << 1,
    ListItemScopeBoundary = 1u << 2,
    ButtonScopeBoundary = 1u << 3,
    TableScopeBoundary = 1u << 4,
    ImpliedEndTag = 1u << 5,            // "generate implied end tags"
    ThoroughlyImpliedEndTag = 1u << 6,  // "… thoroughly"
    Formatting = 1u << 7,
    MathMLTextIntegrationPoint = 1u << 8,
    HTMLIntegrationPoint = 1u << 9,
    TableContext = 1u << 10,     // where "clear the stack back to a table context" stops
    TableBodyContext = 1u << 11,
    TableRowContext = 1u << 12,
    FosterParentTarget = 1u << 13,  // table, tbody, tfoot, thead, tr
    TableTextTarget = 1u << 14,     // the same and template: characters go to "in table text"
    NumberedHeading = 1u << 15,
    // May still be open when the body ends without that being a parse error.
    OpenAtEndOfBody = 1u << 16,
};
}  // namespace category

// The categories of an element with this name and namespace; `element` is
// read only for MathML annotation-xml, whose encoding attribute decides
// whether it is an HTML integration point.
uint32_t elementCategories(Tag tag, Namespace ns, const HTMLElement& element) noexcept;

}  // namespace zv::html
