// row_kernels.h - the loops over rows that take most of the operators' time, in versions for
// different processors that all give the same bits, as long as floats round to the nearest.
#pragma once

#include <cstdint>

#include "base/base/processor.h"

namespace zor {

// Rows may start anywhere that suits their samples; memory beyond them is left alone. Where a row
// is read and another written the two do not overlap.
struct RowKernels {
    // Integers as floats: the float nearest to the product with a scale, which is 1 / (2^bits - 1)
    // for integers of so many bits.
    using ToFloats = void (*)(float *to, const void *from, int32_t count, double scale);
    // Floats as integers: clamped to [0, 1], times the largest integer, rounded; 0 for NaN.
    using FromFloats = void (*)(void *to, const void *from, int32_t count, double largest);

    // Replaces bytes by their entries in a table of 256.
    void (*look_up)(uint8_t *row, int64_t count, const uint8_t *table);
    void (*look_up_floats)(float *to, const void *from, int32_t count, const float *table);

    // Makes bytes, in its front, of a row of 16-bit samples shifted to the right by 0 to 15.
    void (*narrow)(void *row, int64_t count, int32_t shift);

    ToFloats bytes_to_floats; // scales of 1 to 8 bits
    ToFloats words_to_floats; // 16-bit samples; scales of 9 to 16 bits

    FromFloats floats_to_bytes; // 1 to 8 bits
    FromFloats floats_to_words; // 1 to 16 bits
};

// The fastest that the processor can run.
const RowKernels &row_kernels();

// A certain version; null where the build or the processor does not have it.
const RowKernels *row_kernels(Vectors vectors);

// As they are compiled, for that function alone. Of the last version there are only those that look
// up in tables; the others are another's.
extern const RowKernels avx2_row_kernels;
RowKernels avx512_row_kernels(const RowKernels &others);

} // namespace zor
