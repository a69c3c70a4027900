// dst_memory.cpp - arenas and pooled short strings.
#include "base/base/dst_memory.h"

#include <cstring>

#include "base/base/dst_malloc.h"
#include "base/base/word.h"
#include "zor/err.h"

namespace {

constexpr size_t link_size = sizeof(void *); // also the unit of allocation
constexpr size_t default_block_size = 512;

constexpr size_t round_up(size_t size) { return (size + link_size - 1) / link_size * link_size; }

// Short strings: eight classes of 8 << class bytes.
constexpr int class_count = 8;

// The caches of short strings; they live until dst_string_purge finds no string in use.
struct {
    dst_freelist waiting[class_count]; // released blocks by class
    dst_arena arena = {nullptr, nullptr, 1024, 0};
    int64_t in_use; // strings handed out and not released
} strings;

constexpr size_t class_size(int string_class) { return size_t{8} << string_class; }

// The class for strings of n characters, class_count when there is none. One byte more than the
// class number, the characters and the terminator is asked for, so that 6 characters already need
// the 16-byte class.
int class_of(size_t n) {
    int string_class = 0;
    while (string_class < class_count && n + 2 >= class_size(string_class))
        ++string_class;
    return string_class;
}

// An empty string with room for n characters.
char *new_string(size_t n) {
    const int string_class = class_of(n);
    if (string_class == class_count)
        return nullptr;
    dst_freelist &waiting = strings.waiting[string_class];
    const size_t size = class_size(string_class);
    void *memory = waiting.head != nullptr ? dst_freelist_alloc(&waiting, size)
                                           : dst_arena_alloc(&strings.arena, size);
    if (memory == nullptr)
        return nullptr;
    ++strings.in_use;
    auto *block = static_cast<char *>(memory);
    block[0] = static_cast<char>(string_class);
    block[1] = '\0';
    return block + 1;
}

// Frees the blocks of an arena; it can be used again afterwards.
void free_blocks(dst_arena *arena) {
    arena->blocks = dst_freelist_purge(arena->blocks);
    arena->next_free = nullptr;
    arena->remaining = 0;
}

} // namespace

dst_arena *dst_arena_create(int32_t block_size) {
    auto *arena = static_cast<dst_arena *>(ERR_malloc(sizeof(dst_arena)));
    if (arena == nullptr)
        return nullptr;
    const bool usable = block_size >= static_cast<int32_t>(link_size);
    *arena = {nullptr, nullptr,
              usable ? round_up(static_cast<size_t>(block_size)) + link_size : default_block_size,
              0};
    return arena;
}

void *dst_arena_alloc(dst_arena *arena, size_t size) {
    if (size > PTRDIFF_MAX - 2 * link_size)
        return ERR_malloc(SIZE_MAX); // cannot be had, and is reported
    const size_t wanted = round_up(size);
    if (arena->blocks == nullptr || arena->remaining < wanted) {
        // The tail of the block before is given up: records are too small to search for it.
        const size_t needed = wanted + link_size;
        const size_t block_size = needed > arena->block_size ? needed : arena->block_size;
        void *block = ERR_malloc(block_size);
        if (block == nullptr)
            return nullptr;
        zor::store_word(block, arena->blocks);
        arena->blocks = block;
        arena->next_free = static_cast<char *>(block) + link_size;
        arena->remaining = block_size - link_size;
    }
    void *memory = arena->next_free;
    arena->next_free += wanted;
    arena->remaining -= wanted;
    return memory;
}

char *dst_arena_strdup(dst_arena *arena, const char *text) {
    if (text == nullptr)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    auto *copy = static_cast<char *>(dst_arena_alloc(arena, size));
    if (copy != nullptr)
        std::memcpy(copy, text, size);
    return copy;
}

void dst_arena_destroy(dst_arena *arena) {
    if (arena == nullptr)
        return;
    free_blocks(arena);
    ERR_free(arena);
}

char *dst_string_alloc(int32_t length) {
    return length < 0 ? nullptr : new_string(static_cast<size_t>(length));
}

char *dst_string_dup(const char *string) {
    if (string == nullptr)
        return nullptr;
    const size_t length = std::strlen(string);
    char *copy = new_string(length);
    if (copy != nullptr)
        std::memcpy(copy, string, length + 1);
    return copy;
}

void dst_string_release(char *string) {
    if (string == nullptr)
        return;
    char *block = string - 1;
    const int string_class = static_cast<unsigned char>(block[0]);
    --strings.in_use;
    if (string_class >= class_count)
        return; // overwritten, or not one of ours: losing it beats spoiling the lists
    dst_freelist &waiting = strings.waiting[string_class];
    waiting.head = dst_freelist_release(block, waiting.head);
}

void dst_string_purge() {
    if (strings.in_use != 0)
        return;
    for (dst_freelist &waiting : strings.waiting)
        waiting.head = nullptr;
    free_blocks(&strings.arena);
}
