// dst_array.h - growable arrays.
//
// A descriptor keeps the sizes; the elements are in a block of their own, whose address the caller
// holds in a variable that is passed to every operation that may move them.
#pragma once

#include <cstdint>

struct dst_array {
    int32_t elem_size; // bytes per element, at least 1
    int32_t increment; // growth step in elements, at least 1
    int32_t capacity;  // elements allocated
    int32_t count;     // elements in use
};

static_assert(sizeof(dst_array) == 16);

// A new array of initial_count uninitialised elements, none of them allocated when it is 0.
//   storage  receives the address of the elements, or null; left alone for bad sizes and when there
//            is no memory for the descriptor
// Returns the descriptor; null for sizes out of range, and, reported, when memory ran out.
dst_array *dst_array_create(int32_t initial_count, int32_t increment, int32_t elem_size,
                            void **storage);

// Adds uninitialised elements, moving the storage where needed: always in whole increments, and one
// early, as soon as the array is exactly full. Returns 1; 0 with nothing changed when memory ran
// out (reported).
int dst_array_grow(dst_array *array, int32_t extra_count, void **storage);

// Frees the descriptor and the storage, and clears the caller's variable. Returns 1 when there was
// storage to free, else 0; a null descriptor is ignored.
int dst_array_free(dst_array *array, void **storage);

inline int32_t dst_array_count(const dst_array *array) { return array->count; }
