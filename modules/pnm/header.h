// header.h - the headers of the family: reading and writing them.
#pragma once

#include <cstdint>
#include <cstdio>

#include <zor/driver.h>

namespace pnm {

// What a header says. A kind is named by the character after the 'P' of its magic number:
//   '1' '2' '3'  bitmap, grey and colour picture as text
//   '4' '5' '6'  the same in binary
//   '7'          any number of channels
//   'f' 'F'      grey and colour picture of floats
struct Header {
    char kind;
    int32_t width, height;     // both at least 1
    int32_t maxval;            // largest sample, 1 to 65535; 0 for floats
    bool little_endian;        // floats only
    int32_t image, matte, aux; // channels in that order, pixel by pixel
};

inline bool is_text(const Header &header) { return header.kind >= '1' && header.kind <= '3'; }
inline bool is_float(const Header &header) { return header.kind == 'f' || header.kind == 'F'; }

// Rows of floats come bottom first, all others top first.
inline bool is_rising(const Header &header) { return is_float(header); }

inline int32_t depth(const Header &header) { return header.image + header.matte + header.aux; }

// Bits that the largest sample needs; 32 for floats.
int32_t sample_bits(const Header &header);

// Bytes of a row in a binary file.
int64_t row_bytes(const Header &header);

// Outcome of reading a header: a status of err.h and, for failures, what is wrong.
struct Verdict {
    int32_t status;
    const char *reason;
};

// Reads a header from the start of a file up to its first row. Only kinds in the list count as this
// type of file. Comments may stand wherever white space may. Fails with ZOR_E_NOT_THIS_TYPE,
// ZOR_E_DECODE or ZOR_E_READ; nothing is reported.
Verdict read_header(FILE *file, const char *kinds, Header *header);

// Writes a header. False, with errno set, when that failed.
bool write_header(FILE *file, const Header &header);

} // namespace pnm
