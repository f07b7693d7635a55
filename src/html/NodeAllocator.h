// Memory for DOM nodes and attribute lists: 64 KiB chunks of one size class,
// each owned by a thread.
//
// A mail client parses thousands of documents and frees them again; taking
// nodes from chunks instead of malloc keeps the general heap free of hundreds
// of thousands of small blocks per document, which otherwise cost as much to
// free and coalesce as the parse itself. A tree's nodes lie together in the
// order they were made, however many trees came before, so walks over it stay
// in the caches. Freed node memory is kept for reuse (by any thread) and not
// returned to the system.
//
// Under AddressSanitizer nodes come from the ordinary heap, so use-after-free
// of a node is still caught.
#pragma once

// allocatePooledMemory and freePooledMemory are declared there.
#include <zv/html/PooledAllocator.h>
