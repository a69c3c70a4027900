// row_kernels.cpp - the row kernels in plain C++, and which version is for which processor.
#include "ops/row_kernels.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "ops/samples.h"
#include "ops/shift_row.h"

namespace zor {

namespace {

static_assert(std::endian::native == std::endian::little); // words are made of bytes here

// Stored a word at a time.
void look_up(uint8_t *row, int64_t count, const uint8_t *table) {
    constexpr int64_t block = sizeof(size_t);
    int64_t x = 0;
    for (; x + block <= count; x += block) {
        size_t word = 0;
        for (int64_t i = 0; i < block; ++i)
            word |= size_t{table[row[x + i]]} << 8 * i;
        std::memcpy(row + x, &word, sizeof word);
    }
    for (; x < count; ++x)
        row[x] = table[row[x]];
}

void look_up_floats(float *to, const void *from, int32_t count, const float *table) {
    const auto *bytes = static_cast<const uint8_t *>(from);
    for (int32_t x = 0; x < count; ++x)
        to[x] = table[bytes[x]];
}

void narrow(void *row, int64_t count, int32_t shift) {
    choose_shift_row<uint16_t, uint8_t>(shift)(row, count, shift);
}

// To the last bit, in floats. The scale is a sum whose larger part has 16 bits: products with it
// are exact, and those with the smaller one too small for their rounding to count.
void bytes_to_floats(float *to, const void *from, int32_t count, double scale) {
    const auto *samples = static_cast<const uint8_t *>(from);
    const auto bits = std::bit_cast<uint32_t>(static_cast<float>(scale));
    const auto large = std::bit_cast<float>(bits & 0xFFFFFF00U);
    const auto small = static_cast<float>(scale - static_cast<double>(large));
    for (int32_t x = 0; x < count; ++x) {
        const auto sample = static_cast<float>(samples[x]);
        to[x] = sample * large + sample * small;
    }
}

void words_to_floats(float *to, const void *from, int32_t count, double scale) {
    const auto *samples = static_cast<const uint16_t *>(from);
    for (int32_t x = 0; x < count; ++x)
        to[x] = static_cast<float>(static_cast<double>(samples[x]) * scale);
}

template<class Integer>
void from_floats(void *to, const void *from, int32_t count, double largest) {
    const auto *floats = static_cast<const float *>(from);
    auto *integers = static_cast<Integer *>(to);
    for (int32_t x = 0; x < count; ++x)
        integers[x] = round_unit<Integer>(floats[x], largest);
}

constexpr RowKernels portable_row_kernels = {look_up,
                                             look_up_floats,
                                             narrow,
                                             bytes_to_floats,
                                             words_to_floats,
                                             from_floats<uint8_t>,
                                             from_floats<uint16_t>};

} // namespace

const RowKernels *row_kernels(Vectors vectors) {
    if (!has_vectors(vectors))
        return nullptr;
    switch (vectors) {
#ifdef ZOR_X86_VECTORS
    case Vectors::avx512: {
        static const RowKernels kernels = avx512_row_kernels(avx2_row_kernels);
        return &kernels;
    }
    case Vectors::avx2:
        return &avx2_row_kernels;
#endif
    case Vectors::portable:
        return &portable_row_kernels;
    default:
        return nullptr;
    }
}

const RowKernels &row_kernels() {
    for (const Vectors vectors : {Vectors::avx512, Vectors::avx2})
        if (const RowKernels *const kernels = row_kernels(vectors))
            return *kernels;
    return portable_row_kernels;
}

} // namespace zor
