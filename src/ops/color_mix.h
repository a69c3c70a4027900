// color_mix.h - three bytes of colour through a table each, a matrix and a table each, in whole
// numbers.
//
// A byte becomes light of up to precision bits, the matrix is in units of 2^-precision, and of each
// sum the whole part is looked up. Whatever way is taken, the results are the same.
#pragma once

#include <array>
#include <cstdint>

#include "base/base/owned.h"
#include "zor/curve.h"

namespace zor {

constexpr int32_t most_precision = 14; // bits

// For each byte of each channel its share in the three sums, and a fourth that is not used, in
// units of 2^-16 so that the whole parts lie in the upper halves.
struct MixProducts {
    int32_t shares[3][256][4];
};

struct ColorMix {
    int32_t precision = 0;              // bits of light and of the matrix' fractions, 8 to 14
    int32_t reduction = 0;              // bits by which tables are wider
    std::array<int32_t, 9> matrix = {}; // for rows: in[0] m[k] + in[1] m[3 + k] + in[2] m[6 + k]
    std::array<std::array<uint16_t, 256>, 3> light = {};
    std::array<const uint8_t *, 3> codes = {}; // bytes for sums of -1 and less, 0, 1...
    Owned<uint8_t> code_block;
    Owned<MixProducts> products; // null: a sum might leave 32 bits
};

// The three rows of a colour, from the first sample to be changed on.
using ColorRows = std::array<uint8_t *, 3>;

// Fills in all but the first three fields; false when memory ran out (ZOR_E_MEMORY).
//   input   integer tables of 256 elements or more, one for all channels or three
//   output  tables of bytes, of 2^(precision + reduction) elements or more, likewise
bool prepare_mix(ColorMix *mix, const ZOR_RESPONSE_CURVE &input, const ZOR_RESPONSE_CURVE &output);

// Changes a row of colours in place.
void mix_colors(const ColorMix &mix, const ColorRows &rows, int32_t count);

// What mix_colors comes to without the products: always right, but slower.
void mix_colors_plainly(const ColorMix &mix, const ColorRows &rows, int32_t count);

// Only the second sum, looked up in the first table and put in place of the first channel.
void mix_luminance(const ColorMix &mix, const ColorRows &rows, int32_t count);

} // namespace zor
