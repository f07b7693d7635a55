// The scope of a head style sheet.
//
// A message's author names the scope of a head <style> element with the
// attribute "zv-scope" (<style zv-scope="print">). The purge and the inlining
// of head CSS choose style sheets by it. Two values mean something: "required"
// marks a sheet that the purge by scope never removes, and the sentinel
// "--invalid-filter-name--" stands, for the purge, for a missing attribute, so
// a filter list can name the unscoped sheets.
#pragma once

#include <string_view>

namespace zv {

inline constexpr std::string_view kStyleScopeAttribute = "zv-scope";
inline constexpr std::string_view kRequiredStyleScope = "required";
inline constexpr std::string_view kUnscopedStyleScope = "--invalid-filter-name--";

}  // namespace zv
