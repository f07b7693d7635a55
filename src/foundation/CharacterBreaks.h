// ICU's user-perceived-character (grapheme cluster) break iterator, one per
// thread: making one costs more than stepping through a whole preview.
#pragma once

#include <unicode/brkiter.h>

namespace zv {

// Null when ICU cannot make one; the caller owns nothing.
icu::BreakIterator* characterBreakIterator();

}  // namespace zv
