// dst_memory.h - arenas, for records that die together, and pooled short strings.
#pragma once

#include <cstddef>
#include <cstdint>

// Arenas -------------------------------------------------------------------------------------
//
//      blocks ---> +------+--------+--------+-----------+      +------+--------
//                  | link | record | record | remaining |  .-> | link | record ...
//                  +--|---+--------+--------+-----------+  |   +------+--------
//                     '-----------------------^------------'
//                                             next_free
//
// Records are carved one after the other from the newest block and never given back alone. They are
// aligned for pointers.

struct dst_arena {
    void *blocks;      // newest block, linked through the first word of each
    char *next_free;   // next unused byte of the newest block
    size_t block_size; // size of each new block in bytes, link included
    size_t remaining;  // bytes still unused in the newest block
};

static_assert(sizeof(dst_arena) == 4 * sizeof(void *));

// A new arena without blocks. Its blocks will hold block_size bytes, rounded up to whole words, and
// a link; below one word 512 bytes, link included. Null, reported, when memory ran out.
dst_arena *dst_arena_create(int32_t block_size);

// Memory that lives as long as the arena, uninitialised. A request that does not fit what is left
// of the newest block takes a new one, of its own size when it exceeds the block size. Null,
// reported, when memory ran out.
void *dst_arena_alloc(dst_arena *arena, size_t size);

// A copy of a text in the arena; null for a null text or when memory ran out (reported).
char *dst_arena_strdup(dst_arena *arena, const char *text);

// Frees the arena and everything carved from it; null is ignored.
void dst_arena_destroy(dst_arena *arena);

// Short strings ------------------------------------------------------------------------------
//
// Eight size classes of 8, 16, ... 1024 bytes, each with a list of released blocks. A block is one
// byte with the number of its class, then the string.

// A block for a string of that many characters, holding an empty string. Null for a negative length
// or one of 1022 and more, and, reported, when memory ran out.
char *dst_string_alloc(int32_t length);

// A copy of a string; null for a null string and where dst_string_alloc gives null.
char *dst_string_dup(const char *string);

// Gives a string back to its class; null is ignored.
void dst_string_release(char *string);

// Frees the blocks waiting in the classes. They share system blocks with strings in use, so while
// there are any of those the waiting ones stay where they are.
void dst_string_purge();
