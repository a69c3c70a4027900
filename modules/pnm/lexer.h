// lexer.h - bytes, comments and numbers of a text part of a file.
#pragma once

#include <cstdint>
#include <cstdio>

namespace pnm {

inline bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); } // in any locale

inline bool is_digit(int c) { return c >= '0' && c <= '9'; }

// Reads a stream byte by byte. A comment reads as the line end that ends it. A lexer may be given
// a limit of bytes, after which the stream counts as ended.
class Lexer {
public:
    explicit Lexer(FILE *file, int64_t limit = INT64_MAX) : file_(file), left_(limit) {}

    int next() {
        int c = byte();
        if (c == '#')
            while (c != '\n' && c != EOF)
                c = byte();
        return c;
    }

    // The next character that is not white space.
    int next_solid() {
        int c = next();
        while (is_space(c))
            c = next();
        return c;
    }

    // Reads a decimal number and the one character after it.
    //   c       in: the first character; out: the one after the number
    //   limit   larger numbers give limit + 1
    // Returns the number, or -1 when there is no digit.
    int64_t number(int *c, int64_t limit) {
        if (!is_digit(*c))
            return -1;
        int64_t value = 0;
        for (; is_digit(*c); *c = next())
            if (value <= limit)
                value = value * 10 + (*c - '0');
        return value <= limit ? value : limit + 1;
    }

private:
    int byte() { return left_-- > 0 ? std::getc(file_) : EOF; }

    FILE *file_;
    int64_t left_;
};

} // namespace pnm
