// memory_watch.h - how much memory the library has. For programs linked with the library's own
// objects.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "err/memory.h"
#include "support/system.h"

namespace watch {

// Bytes the library has now, and the most it had since somebody set it.
inline size_t used;
inline size_t peak;

// No block is larger: a machine with little memory. As much as there is, unless somebody sets it.
inline size_t largest = PTRDIFF_MAX;

inline void *count(void *block) {
    used += block_size(block);
    peak = std::max(peak, used);
    return block;
}

// For good: some blocks outlive the library.
inline void start_counting() {
    zor::set_allocator(
        {[](size_t size) -> void * { return size <= largest ? count(std::malloc(size)) : nullptr; },
         [](void *block, size_t size) {
             used -= block_size(block);
             return count(std::realloc(block, size));
         },
         [](void *block) {
             used -= block_size(block);
             std::free(block);
         }});
}

} // namespace watch
