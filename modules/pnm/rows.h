// rows.h - rows as they are in files, and as the library hands them around: a channel each,
// integers in full range.
#pragma once

#include <cstdint>
#include <cstdio>

#include "header.h"

namespace pnm {

// Takes a row of a binary file apart. False when a sample is larger than the header allows.
bool unpack_row(const Header &header, const uint8_t *bytes, void *const *rows);

// Puts a row of a binary file together. Samples that do not fit their width count as the largest;
// mattes are brought to the width of the colours.
//   matte_bits  width of the mattes handed in
void pack_row(const Header &header, int32_t matte_bits, void *const *rows, uint8_t *bytes);

enum class TextRow { complete, ended, damaged };

// Reads a row of a text file.
TextRow read_text_row(FILE *file, const Header &header, void *const *rows);

// Checks raw samples against the largest there may be and brings them to the full range of their
// width, rounded to nearest. False when one is too large.
bool spread_samples(const Header &header, void *const *rows);

} // namespace pnm
