// Strings tables: the `.strings` files that localize pages and windows.
//
// The text is UTF-8 (a byte-order mark is skipped; a UTF-16 file with its
// mark is converted) and holds entries of the form
//     "key" = "value";
// with white space anywhere between tokens, /* block */ and // line
// comments, and these escapes inside quotes: \" \\ \n \t \r \0, \' and
// \Uxxxx / \uxxxx (UTF-16 units, surrogate pairs joined); any other escaped
// character stands for itself. A token may also be
// unquoted when it is made of letters, digits and _ $ + / : . -. An entry
// without "= value" (`"key";`) maps the key to itself.
#pragma once

#include <zv/Export.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zv {

using StringsTable = std::map<std::string, std::string, std::less<>>;

// The entries of `text`. Reading stops at the first malformed entry: the
// entries before it are kept, and `error`, when given, receives
// "line N: what was wrong". A later duplicate key replaces the earlier one.
ZV_EXPORT StringsTable parseStringsTable(std::string_view text, std::string* error = nullptr);

}  // namespace zv
