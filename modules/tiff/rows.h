// rows.h - between lines of a file and a row for each channel.
#pragma once

#include "blocks.h"

namespace tiffio {

// Takes a line that has been fetched apart: palettes resolved, white brightest, the first column at
// the left.
void unpack_line(const Page &page, const Blocks &blocks, int32_t line, void *const *rows);

// How a picture's samples go into a file.
struct Packing {
    int32_t width;
    ZOR_CHANNELS image, matte; // of the samples handed in
    int32_t bits;              // of a sample in the file: 1, 2, 4, 8, 16, 32 or 64
};

// Bytes of a line in the file.
int64_t line_bytes(const Packing &packing);

// Puts a line together, in the machine's byte order. Integers are brought to the file's width.
//   bytes  room for a line of whole bytes, even when samples take less than one
void pack_line(const Packing &packing, void *const *rows, uint8_t *bytes);

} // namespace tiffio
