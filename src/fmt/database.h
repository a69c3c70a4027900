// database.h - what the databases that read the configuration file have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fmt/config.h"

namespace zor {

// A word that a line may begin with.
template<class Apply>
struct Keyword {
    const char *word;
    int32_t num_tokens; // of a line, itself included; any_tokens: the function sees to it
    Apply apply;        // what is done with a line
};
constexpr int32_t any_tokens = 0;

// The keyword of a table, or null: matched exactly.
template<class Apply, size_t N>
const Keyword<Apply> *find_keyword(const Keyword<Apply> (&keywords)[N], const char *word) {
    for (const Keyword<Apply> &keyword : keywords)
        if (std::strcmp(keyword.word, word) == 0)
            return &keyword;
    return nullptr;
}

// Whether the line handed out last has the number of tokens wanted; reported when it has not.
bool has_tokens(const config_line &line, int32_t wanted);

// Reads a number, kept within the finite floats. Returns false, and leaves the value alone, when
// the text does not begin with one or is null, as the token after the last is.
bool read_real(const char *text, float *value);

// Notes that a database was started because an operation of its needs it.
void report_start(const char *database, const char *operation);

} // namespace zor
