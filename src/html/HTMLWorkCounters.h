// Counts of the work the library's size-sensitive paths do on this thread.
//
// They let a test require that a path grows in step with its input, by
// counting steps rather than timing them: the elements a selector query
// enters, the steps taken towards a document to learn its quirks mode, the
// attribute names the tokenizer compares to find duplicates. Each counter
// only ever increases; read it before and after the work.
//
// Only a build configured with -DZV_WORK_COUNTERS=ON counts; in any other,
// countWork is empty and htmlWorkCounters does not exist.
#pragma once

#include <zv/Export.h>

#include <cstdint>

namespace zv::html {

struct HTMLWorkCounters {
    uint64_t elementsEnteredByQueries = 0;
    uint64_t stepsTowardsDocument = 0;
    uint64_t attributeNamesCompared = 0;
};

#if defined(ZV_WORK_COUNTERS)
// This thread's counters.
ZV_EXPORT HTMLWorkCounters& htmlWorkCounters() noexcept;
#endif

inline void countWork([[maybe_unused]] uint64_t HTMLWorkCounters::*counter, [[maybe_unused]] uint64_t steps = 1) noexcept {
#if defined(ZV_WORK_COUNTERS)
    htmlWorkCounters().*counter += steps;
#endif
}

}  // namespace zv::html
