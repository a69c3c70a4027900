// dst_malloc.h - free lists: released blocks of one fixed size, kept for the next record of a kind.
#pragma once

#include <cstddef>

// A chain of released blocks, linked through each block's first word. All blocks of a list have the
// same size, at least that of a pointer. A list of zeroes is empty and ready for use; it lives in a
// static of the module that owns the kind of record.
struct dst_freelist {
    void *head;
};

static_assert(sizeof(dst_freelist) == sizeof(void *));

// The first waiting block, or a new one of that size. The contents are undefined. Null, reported,
// when memory ran out.
void *dst_freelist_alloc(dst_freelist *list, size_t size);

// Links a block in front of a chain and returns the new head, which the caller stores back:
//     list.head = dst_freelist_release(block, list.head);
// A null block leaves the head as it is.
[[nodiscard]] void *dst_freelist_release(void *block, void *head);

// Gives every block of the chain back to the system. Returns null, which the caller stores back.
[[nodiscard]] void *dst_freelist_purge(void *head);
