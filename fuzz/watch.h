// watch.h - what fuzz targets look at beside crashes: memory taken, and reports.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "err/memory.h"
#include "system.h"
#include "zor/err.h"

namespace watch {

// Bytes the library has now, and the most it had since somebody set it.
inline size_t used;
inline size_t peak;

// No block is larger: a machine with little memory. As much as there is, unless somebody sets it.
inline size_t largest = PTRDIFF_MAX;

inline bool reported; // set by every report of an error

inline void *count(void *block) {
    used += block_size(block);
    peak = std::max(peak, used);
    return block;
}

inline void start() {
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
    const auto note = [](const char *, int severity, const char *, ERR_OBJECT *, void *) {
        reported = reported || severity >= ERR_ERROR;
        return 0;
    };
    ERR_dcl_handler(nullptr, note, nullptr);
}

} // namespace watch

inline void check(bool good, int line = __builtin_LINE()) {
    if (good)
        return;
    std::fprintf(stderr, "check in line %d failed\n", line);
    std::abort();
}
