// array.h - null-terminated pointer arrays.
//
// The string functions' counterparts on slots. Slots hold words that are compared by identity, not
// strings compared by their text. A null array reads as an empty one. Functions that may grow an
// array return it, possibly moved, or null when memory ran out: then the old one still belongs to
// the caller. Sources are no part of the array they are added to. Blocks are released with
// ERR_free.
#pragma once

#include <cstddef>
#include <cstdint>

// Storage for n elements: a new empty array for null, otherwise the array resized, its contents
// kept and no terminator written. A negative n counts as 0.
char **str__array_more(char **array, int32_t n);

size_t str__array_length(char *const *array);

// New arrays: a copy, a copy of at most n elements, the count arrays that follow joined.
char **str__array_save(char *const *array);
char **str__array_n_save(char *const *array, int32_t n);
char **str__array_save_n(int32_t count, ...);

// Into storage that is large enough. str__array_n_copy copies up to n slots, the terminator the
// last of them if it is reached; the others always terminate.
char **str__array_copy(char **destination, char *const *source);
char **str__array_n_copy(char **destination, char *const *source, int32_t n);
char **str__array_cat(char **destination, char *const *source);
char **str__array_n_cat(char **destination, char *const *source, int32_t n);

// str__array_n_append takes n words from a buffer, which needs no terminator.
char **str__array_append(char **array, char *const *source);
char **str__array_n_append(char **array, char *const *buffer, int32_t n);

// At an index, which is clamped to the array.
char **str__array_insert(char **array, char *value, int32_t index);
char **str__array_n_insert(char **array, char *const *source, int32_t index, int32_t n);

// The first or last slot with the value, or null; the index of the first, or -1.
char **str__array_find(char **array, const char *value);
char **str__array_find_reverse(char **array, const char *value);
ptrdiff_t str__array_index(char **array, const char *value);

char **str__array_remove(char **array, const char *value);
char **str__array_remove_reverse(char **array, const char *value);
char **str__array_remove_index(char **array, int32_t index);
char **str__array_n_remove_index(char **array, int32_t index, int32_t n);

char **str__array_reverse(char **array);

// Frees every element and the array.
void str__array_free(char **array);
