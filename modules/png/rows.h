// rows.h - rows as libpng has them, pixel by pixel, and as the library hands them around.
#pragma once

#include <cstdint>

namespace pngio {

// Takes a row of 8 or 16-bit samples apart; 16-bit ones are in the machine's byte order.
void unpack_row(const uint8_t *bytes, int32_t width, int32_t channels, int32_t bits,
                void *const *rows);

// How a picture's samples go into a file.
struct Packing {
    int32_t width;
    int32_t colours;     // 1 or 3
    int32_t mattes;      // 0 or 1
    int32_t colour_bits; // of the samples handed in, 1 to 16
    int32_t matte_bits;
    int32_t depth; // of the file: 1, 2, 4, 8 or 16, not below colour_bits
};

// Puts a row together: a byte for each sample up to 8 bits, two bytes in the machine's order above.
// Samples are brought to the file's depth.
void pack_row(const Packing &packing, void *const *rows, uint8_t *bytes);

} // namespace pngio
