// compare.cpp - comparison, search and hashing. Characters are signed bytes here on every
// processor, so that orders and hash values are the same everywhere.
#include <functional>

#include "str/sequence.h"
#include "str/text.h"
#include "zor/str.h"

using namespace zor;

namespace {

// Order of two strings of which one at least is null. The addresses' difference itself need not fit
// an int.
int compare_addresses(const char *a, const char *b) {
    if (a == b)
        return 0;
    return std::less<>{}(a, b) ? -1 : 1;
}

} // namespace

int STR_compare(const char *a, const char *b) {
    if (a == nullptr || b == nullptr)
        return compare_addresses(a, b);
    while (*a == *b && *a != '\0') {
        ++a;
        ++b;
    }
    return difference(*a, *b);
}

int STR_n_compare(const char *a, const char *b, int32_t n) {
    if (a == nullptr || b == nullptr)
        return compare_addresses(a, b);
    // The last character compared decides, and there always is one.
    for (int32_t left = n; left > 1 && *a == *b && *a != '\0'; --left) {
        ++a;
        ++b;
    }
    return difference(*a, *b);
}

int STR_abbr(const char *word, const char *pattern) {
    if (word == nullptr || pattern == nullptr)
        return 0;
    while (*word == *pattern) {
        if (*word == '\0')
            return 1;
        ++word;
        ++pattern;
    }
    if (*pattern != '*')
        return 0;
    ++pattern;
    while (*word != '\0' && *word == *pattern) {
        ++word;
        ++pattern;
    }
    return *word == '\0' ? 1 : 0;
}

int STR_abbr_compare(const char *a, const char *b) {
    if (a == nullptr || b == nullptr)
        return compare_addresses(a, b);
    for (;;) {
        if (*a == *b) {
            if (*a == '\0')
                return 0;
            ++a;
            ++b;
        } else if (*a == '*') {
            ++a;
        } else if (*b == '*') {
            ++b;
        } else {
            return difference(*a, *b);
        }
    }
}

char *STR_find_space(const char *string) {
    if (string != nullptr && *string != '\0') {
        // The first character is passed over unseen, so that a search from one space finds the
        // next.
        do
            ++string;
        while (*string != '\0' && !is_space(*string));
    }
    return const_cast<char *>(string);
}

char *STR_skip_space(const char *string) {
    while (string != nullptr && is_space(*string))
        ++string;
    return const_cast<char *>(string);
}

char **STR_find_string(char **array, const char *string) {
    for (char **slot = array; slot != nullptr && *slot != nullptr; ++slot)
        if (STR_compare(*slot, string) == 0)
            return slot;
    return nullptr;
}

char **STR_find_string_reverse(char **array, const char *string) {
    for (size_t i = seq::length(array); i > 0; --i)
        if (STR_compare(array[i - 1], string) == 0)
            return array + i - 1;
    return nullptr;
}

uint32_t STR_hash(const char *string, uint32_t modulus) {
    if (string == nullptr || *string == '\0')
        return 0;
    uint32_t hash = 0;
    for (; *string != '\0'; ++string)
        hash = hash * 33 + static_cast<uint32_t>(difference(*string, '\0'));
    return hash % modulus;
}
