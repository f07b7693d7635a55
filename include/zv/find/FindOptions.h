// Find settings kept in the user defaults, and the search options built
// from them.
//
// The search style is kept under ZVSearchStyleKey, or under
// ZVSearchStyleNoRegKey by find bars that offer no regular expressions: one
// of 1 (contains, also when absent), 2 (starts with), 4 (exactly), 8
// (regular expression). Ignore case is a bool under ZVSearchIgnoreCaseKey,
// on when absent. The options a page is searched with are the style plus 256
// when case is ignored.
//
// The find string is one per process (the last text searched for, offered
// to the next find bar that opens), kept under ZVFindStringKey so that it
// also survives a restart.
#pragma once

#include <zv/Export.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace zv {

ZV_EXPORT extern const char ZVSearchStyleKey[];       // "SearchStyle"
ZV_EXPORT extern const char ZVSearchStyleNoRegKey[];  // "SearchStyleNoReg"
ZV_EXPORT extern const char ZVSearchIgnoreCaseKey[];  // "SearchIgnoreCase"
ZV_EXPORT extern const char ZVFindStringKey[];        // "ZVFindString"

enum SearchOption : int64_t {
    SearchContains = 1,
    SearchStartsWith = 2,
    SearchExactly = 4,
    SearchRegularExpression = 8,
    SearchIgnoreCase = 256,
};

// The stored style under `styleKey` (1 when absent).
ZV_EXPORT int64_t storedSearchStyle(std::string_view styleKey);
// The stored ignore-case setting (true when absent).
ZV_EXPORT bool storedIgnoreCase();
// Style plus the ignore-case bit, as the page's search script takes them.
ZV_EXPORT int64_t storedSearchOptions(std::string_view styleKey);

ZV_EXPORT std::string findString();
ZV_EXPORT void setFindString(std::string_view text);

}  // namespace zv
