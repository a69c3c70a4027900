// dst_sort.h - sorting and merging arrays of pointers.
#pragma once

#include <cstdint>

#include "base/base/dst_list.h" // dst_compare

// Sorts pointers in place, ascending by what they point at. Not stable.
void dst_sort(void **array, int32_t count, dst_compare compare);

// Merges two sorted arrays into one with room for both; equal entries are all kept, a's first.
// Returns the number of entries written.
int32_t dst_merge(void *const *a, int32_t count_a, void *const *b, int32_t count_b, void **merged,
                  dst_compare compare);
