// array.cpp - null-terminated pointer arrays.
#include "str/array.h"

#include <cstdarg>

#include "str/sequence.h"
#include "zor/err.h"

using namespace zor;

char **str__array_more(char **array, int32_t n) {
    return seq::more(array, n < 0 ? 0 : static_cast<uint64_t>(n));
}

size_t str__array_length(char *const *array) { return seq::length(array); }

char **str__array_save(char *const *array) { return seq::save(array, seq::length(array)); }

char **str__array_n_save(char *const *array, int32_t n) {
    return seq::save(array, seq::length_within(array, n));
}

char **str__array_save_n(int32_t count, ...) {
    std::va_list arrays;
    uint64_t total = 0;
    va_start(arrays, count);
    for (int32_t i = 0; i < count; ++i)
        total += seq::length(va_arg(arrays, char **));
    va_end(arrays);

    char **joined = seq::more<char *>(nullptr, total);
    if (joined == nullptr)
        return nullptr;
    char **end = joined;
    va_start(arrays, count);
    for (int32_t i = 0; i < count; ++i) {
        char **array = va_arg(arrays, char **);
        end = std::copy_n(array, seq::length(array), end);
    }
    va_end(arrays);
    *end = nullptr;
    return joined;
}

char **str__array_copy(char **destination, char *const *source) {
    *std::copy_n(source, seq::length(source), destination) = nullptr;
    return destination;
}

char **str__array_n_copy(char **destination, char *const *source, int32_t n) {
    const size_t size = seq::length_within(source, n);
    char **end = std::copy_n(source, size, destination);
    if (n > 0 && size < static_cast<size_t>(n))
        *end = nullptr;
    return destination;
}

char **str__array_cat(char **destination, char *const *source) {
    str__array_copy(destination + seq::length(destination), source);
    return destination;
}

char **str__array_n_cat(char **destination, char *const *source, int32_t n) {
    char **end = destination + seq::length(destination);
    *std::copy_n(source, seq::length_within(source, n), end) = nullptr;
    return destination;
}

char **str__array_append(char **array, char *const *source) {
    return seq::insert(array, source, seq::length(array), seq::length(source));
}

char **str__array_n_append(char **array, char *const *buffer, int32_t n) {
    return seq::insert(array, buffer, seq::length(array), n < 0 ? 0 : static_cast<size_t>(n));
}

char **str__array_insert(char **array, char *value, int32_t index) {
    return seq::insert(array, &value, seq::clamp_index(index, seq::length(array)), 1);
}

char **str__array_n_insert(char **array, char *const *source, int32_t index, int32_t n) {
    return seq::insert(array, source, seq::clamp_index(index, seq::length(array)),
                       seq::length_within(source, n));
}

char **str__array_find(char **array, const char *value) { return seq::find(array, value); }

char **str__array_find_reverse(char **array, const char *value) {
    return seq::find_reverse(array, value);
}

ptrdiff_t str__array_index(char **array, const char *value) {
    char *const *slot = seq::find(array, value);
    return slot == nullptr ? -1 : slot - array;
}

char **str__array_remove(char **array, const char *value) {
    return seq::remove_found(array, seq::find(array, value));
}

char **str__array_remove_reverse(char **array, const char *value) {
    return seq::remove_found(array, seq::find_reverse(array, value));
}

char **str__array_remove_index(char **array, int32_t index) { return seq::remove(array, index, 1); }

char **str__array_n_remove_index(char **array, int32_t index, int32_t n) {
    return seq::remove(array, index, n);
}

char **str__array_reverse(char **array) { return seq::reverse(array); }

void str__array_free(char **array) {
    if (array == nullptr)
        return;
    for (char **slot = array; *slot != nullptr; ++slot)
        ERR_free(*slot);
    ERR_free(array);
}
