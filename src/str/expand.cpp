// expand.cpp - environment variables in file names.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "str/text.h"
#include "zor/str.h"

using namespace zor;

namespace {

// Text in the making. What does not fit is dropped: no system takes longer names anyway.
struct Piece {
    static constexpr size_t limit = 259;
    size_t size = 0;
    char text[limit + 1] = "";

    void add(const char *source, size_t n) {
        n = std::min(n, limit - size);
        std::memcpy(text + size, source, n);
        size += n;
        text[size] = '\0';
    }
};

bool is_name_character(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// Reads the variable's name behind a '$'. Returns where the text goes on.
const char *read_name(const char *text, Piece &name) {
    const bool braced = *text == '{';
    if (braced)
        ++text;
    const char *end = text;
    while (is_name_character(*end))
        ++end;
    name.add(text, static_cast<size_t>(end - text));
    return braced && *end == '}' ? end + 1 : end;
}

} // namespace

int STR_expand_filename(const char *text, char **result) {
    Piece expanded;
    text = STR_skip_space(or_empty(text));
    while (*text != '\0') {
        if (*text != '$') {
            const size_t plain = std::strcspn(text, "$");
            expanded.add(text, plain);
            text += plain;
            continue;
        }
        Piece name;
        text = read_name(text + 1, name);
        const char *value = std::getenv(name.text);
        if (value == nullptr) {
            *result = STR_save(name.text);
            return 0;
        }
        expanded.add(value, std::strlen(value));
    }
    *result = STR_save(expanded.text);
    return 1;
}
