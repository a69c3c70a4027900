// owned.h - blocks of the checked allocator that free themselves.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

#include "zor/err.h"

namespace zor {

struct FreeBlock {
    void operator()(void *block) const { ERR_free(block); }
};

// A block, array of T, or string from ERR_malloc and its kin.
template<class T>
using Owned = std::unique_ptr<T, FreeBlock>;

// Bytes of an array; for one that cannot be expressed a size that cannot be had, so that asking for
// it is reported like any other lack of memory. A count below 1 counts as 1.
template<class T>
constexpr size_t array_size(int64_t count) {
    const uint64_t wanted = count < 1 ? 1 : static_cast<uint64_t>(count);
    return wanted <= PTRDIFF_MAX / sizeof(T) ? static_cast<size_t>(wanted) * sizeof(T) : SIZE_MAX;
}

// An uninitialised array of count records, or an array moved to another size; null, reported, when
// memory ran out, the old array being left alone.
template<class T>
[[nodiscard]] T *allocate(int64_t count = 1) {
    static_assert(std::is_trivially_destructible_v<T>);
    return static_cast<T *>(ERR_malloc(array_size<T>(count)));
}
template<class T>
[[nodiscard]] T *reallocate(T *array, int64_t count) {
    static_assert(std::is_trivially_copyable_v<T>);
    return static_cast<T *>(ERR_realloc(array, array_size<T>(count)));
}

} // namespace zor
