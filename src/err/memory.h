// memory.h - where the library's memory comes from.
#pragma once

#include <cstddef>

namespace zor {

// What ERR_malloc, ERR_realloc and ERR_free call: malloc, realloc and free, unless a test puts
// something else in to make allocations fail.
struct Allocator {
    void *(*allocate)(size_t size);
    void *(*reallocate)(void *block, size_t size);
    void (*release)(void *block);
};

void set_allocator(const Allocator &allocator);

// The same allocator without the report: for callers whose null result says all there is to say.
// Blocks go back through ERR_free.
[[nodiscard]] void *quiet_malloc(size_t size);
[[nodiscard]] void *quiet_realloc(void *block, size_t size);

} // namespace zor
