// ICU's break iterators for user-perceived characters (grapheme clusters) and
// words, one of each per thread: making one costs far more than stepping
// through a preview or titling a short run, and ICU's case mapper re-targets
// the iterator it is given, so none may be shared between threads.
#pragma once

#include <unicode/brkiter.h>

#include <memory>

namespace zv {

namespace detail {

template <icu::BreakIterator* (*Make)(const icu::Locale&, UErrorCode&)>
icu::BreakIterator* threadBreakIterator() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(Make(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

}  // namespace detail

// Null when ICU cannot make one; the caller owns nothing.
inline icu::BreakIterator* characterBreakIterator() {
    return detail::threadBreakIterator<&icu::BreakIterator::createCharacterInstance>();
}

inline icu::BreakIterator* wordBreakIterator() {
    return detail::threadBreakIterator<&icu::BreakIterator::createWordInstance>();
}

}  // namespace zv
