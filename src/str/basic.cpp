// basic.cpp - allocation, copies and everything that lengthens a string.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "str/sequence.h"
#include "str/text.h"
#include "zor/str.h"

using namespace zor;

char *STR_more(char *string, int32_t n) {
    const size_t size = n < 0 ? 0 : static_cast<size_t>(n);
    char *grown = seq::more(string, size);
    if (grown != nullptr && string != nullptr)
        grown[size] = '\0';
    return grown;
}

char *STR_save(const char *string) { return seq::save(string, seq::length(string)); }

char *STR_n_save(const char *string, int32_t n) {
    return seq::save(string, seq::length_within(string, n));
}

char *STR_save_n(int32_t count, ...) {
    std::va_list strings;
    uint64_t total = 0;
    va_start(strings, count);
    for (int32_t i = 0; i < count; ++i)
        total += seq::length(va_arg(strings, const char *));
    va_end(strings);

    char *joined = seq::more<char>(nullptr, total);
    if (joined == nullptr)
        return nullptr;
    char *end = joined;
    va_start(strings, count);
    for (int32_t i = 0; i < count; ++i) {
        const char *string = va_arg(strings, const char *);
        end = std::copy_n(string, seq::length(string), end);
    }
    va_end(strings);
    *end = '\0';
    return joined;
}

uint32_t STR_length(const char *string) {
    return static_cast<uint32_t>(std::min<uint64_t>(seq::length(string), UINT32_MAX));
}

char *STR_append(char *string, const char *source) {
    if (string == nullptr)
        return STR_save(source);
    const size_t size = seq::length(string);
    const size_t added = seq::length(source);
    // One byte to spare: names tend to get one more character, such as a '/'.
    char *longer = seq::more(string, uint64_t{size} + added + 1);
    if (longer != nullptr)
        *std::copy_n(source, added, longer + size) = '\0';
    return longer;
}

char *STR_n_append(char *string, const char *source, int32_t n) {
    const size_t size = seq::length(string);
    const size_t added = n < 0 ? 0 : static_cast<size_t>(n);
    char *longer = seq::open_gap(string, size, added);
    if (longer == nullptr)
        return nullptr;
    const size_t given = seq::length_within(source, n);
    char *padding = std::copy_n(source, given, longer + size);
    std::memset(padding, '\0', added - given);
    return longer;
}

char *STR_insert(char *string, char character, int32_t index) {
    return seq::insert(string, &character, seq::clamp_index(index, seq::length(string)), 1);
}

char *STR_n_insert(char *string, const char *source, int32_t index, int32_t n) {
    return seq::insert(string, source, seq::clamp_index(index, seq::length(string)),
                       seq::length_within(source, n));
}
