// word.h - the link words at the front of list nodes and pooled blocks.
#pragma once

#include <cstddef>
#include <cstring>

namespace zor {

// Node types declare their links as pointers to themselves, blocks have no type at all: the words
// are copied rather than accessed as void *, which is a different type.

inline void *load_word(const void *record, size_t index = 0) {
    void *word;
    std::memcpy(&word, static_cast<const char *>(record) + index * sizeof word, sizeof word);
    return word;
}

inline void store_word(void *record, void *word, size_t index = 0) {
    std::memcpy(static_cast<char *>(record) + index * sizeof word, &word, sizeof word);
}

} // namespace zor
