// Memory for DOM nodes: size-classed free lists, cached per thread.
//
// A mail client parses thousands of documents and frees them again; taking
// nodes from free lists instead of malloc keeps the general heap free of
// hundreds of thousands of small blocks per document, which otherwise cost
// as much to free and coalesce as the parse itself. Freed node memory is kept
// for reuse (by any thread) and not returned to the system.
//
// Under AddressSanitizer nodes come from the ordinary heap, so use-after-free
// of a node is still caught.
#pragma once

#include <cstddef>

namespace zv::html {

void* allocateNodeMemory(size_t size);
void freeNodeMemory(void* memory, size_t size) noexcept;

}  // namespace zv::html
