// edit.cpp - editors that rewrite a string in place.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "str/sequence.h"
#include "zor/str.h"

using namespace zor;

namespace {

// Passes every character through a function of <cctype>.
char *convert(char *string, int (*conversion)(int)) {
    std::transform(string, string + seq::length(string), string,
                   [conversion](unsigned char c) { return static_cast<char>(conversion(c)); });
    return string;
}

} // namespace

char *STR_pad(char *buffer, char character, int32_t width) {
    const size_t size = seq::length(buffer);
    const size_t wanted = width < 0 ? 0 : static_cast<size_t>(width);
    if (size >= wanted)
        return buffer;
    std::memset(buffer + size, character, wanted - size);
    buffer[wanted] = '\0';
    return buffer;
}

char *STR_remove(char *string, char character) {
    return seq::remove_found(string, seq::find(string, character));
}

char *STR_remove_reverse(char *string, char character) {
    return seq::remove_found(string, seq::find_reverse(string, character));
}

char *STR_remove_all(char *string, char character) {
    char *const end = string + seq::length(string);
    char *const kept = std::remove(string, end, character);
    if (kept != end)
        *kept = '\0';
    return string;
}

char *STR_remove_index(char *string, int32_t index) { return seq::remove(string, index, 1); }

char *STR_n_remove_index(char *string, int32_t index, int32_t n) {
    return seq::remove(string, index, n);
}

char *STR_reverse(char *string) { return seq::reverse(string); }

char *STR_tolower(char *string) { return convert(string, std::tolower); }

char *STR_toupper(char *string) { return convert(string, std::toupper); }
