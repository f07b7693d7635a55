// The characters the compose editor leaves in its text that a plain-text
// reader should not see.
#pragma once

#include <zv/Export.h>

#include <string>
#include <string_view>

namespace zv {

// `text` with every U+00A0 NO-BREAK SPACE turned into a plain space and every
// U+200C ZERO WIDTH NON-JOINER, U+200B ZERO WIDTH SPACE and U+FFFC OBJECT
// REPLACEMENT CHARACTER deleted. Everything else, invalid UTF-8 included,
// comes through byte for byte.
ZV_EXPORT std::string squireCleanup(std::string_view text);

}  // namespace zv
