// Counts of the work the library's size-sensitive paths do on this thread.
//
// They let a test require that a path grows in step with its input, by
// counting steps rather than timing them: the elements a selector query
// enters, the steps taken towards a document to learn its quirks mode, the
// attribute names the tokenizer compares to find duplicates. Each counter
// only ever increases; read it before and after the work.
#pragma once

#include <zv/Export.h>

#include <cstdint>

namespace zv::html {

struct HTMLWorkCounters {
    uint64_t elementsEnteredByQueries = 0;
    uint64_t stepsTowardsDocument = 0;
    uint64_t attributeNamesCompared = 0;
};

// This thread's counters.
ZV_EXPORT HTMLWorkCounters& htmlWorkCounters() noexcept;

}  // namespace zv::html
