// row_kernels_avx2.cpp - the row kernels with vectors of 32 bytes. Compiled for processors that
// have them, and so without inline functions that other files might share.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ops/row_kernels.h"

namespace zor {

namespace {

using Vec = __m256i;

Vec load(const void *from) { return _mm256_loadu_si256(static_cast<const Vec *>(from)); }
void store(void *to, Vec value) { _mm256_storeu_si256(static_cast<Vec *>(to), value); }

// Does work(to, from) for every 32 samples, the last of them in buffers of their own. A block is
// read before it is written, so that samples may shrink in place.
template<class To, class From, class Work>
void in_blocks(To *to, const From *from, int64_t count, Work work) {
    constexpr int64_t block = 32;
    int64_t x = 0;
    for (; x + block <= count; x += block)
        work(to + x, from + x);
    if (x == count)
        return;
    From rest[block] = {};
    To done[block];
    std::memcpy(rest, from + x, static_cast<size_t>(count - x) * sizeof(From));
    work(done, rest);
    std::memcpy(to + x, done, static_cast<size_t>(count - x) * sizeof(To));
}

// Bytes through a table -------------------------------------------------------------------------

// A table in 16 pieces, of which one instruction looks up 32 bytes. It takes the lower four bits of
// each and gives 0 for those from 128 on. So piece after piece is looked up while the bytes are
// counted down by 16, saturating, until they are negative; each piece is in the table as what it
// differs from the one before in, and what a byte has found by then is its entry. The upper half of
// the bytes does the same on its own.
struct Pieces {
    __m128i piece[16];

    explicit Pieces(const uint8_t *table) {
        for (int i = 0; i < 16; ++i) {
            piece[i] = at(table, i);
            if (i % 8 != 0)
                piece[i] = _mm_xor_si128(piece[i], at(table, i - 1));
        }
    }
    static __m128i at(const uint8_t *table, int i) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(table + ptrdiff_t{16} * i));
    }

    // Entries of bytes below 128, of 8 pieces from the first on; 0 for the others.
    template<int first>
    [[nodiscard]] Vec half(Vec bytes) const {
        const Vec step = _mm256_set1_epi8(16);
        Vec found = entries(first, bytes);
        for (int i = first + 1; i < first + 8; ++i) {
            bytes = _mm256_subs_epi8(bytes, step);
            found = _mm256_xor_si256(found, entries(i, bytes));
        }
        return found;
    }
    [[nodiscard]] Vec entries(int i, Vec bytes) const {
        return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(piece[i]), bytes);
    }
};

void look_up(uint8_t *row, int64_t count, const uint8_t *table) {
    const Pieces pieces(table);
    const Vec top = _mm256_set1_epi8(-128);
    in_blocks(row, row, count, [&](uint8_t *to, const uint8_t *from) {
        const Vec bytes = load(from);
        const Vec lowered = _mm256_xor_si256(bytes, top);
        const int upper = _mm256_movemask_epi8(bytes);
        if (upper == 0) // neighbours are alike in most pictures
            store(to, pieces.half<0>(bytes));
        else if (upper == -1)
            store(to, pieces.half<8>(lowered));
        else
            store(to, _mm256_xor_si256(pieces.half<0>(bytes), pieces.half<8>(lowered)));
    });
}

// Bytes that are all equal, as in flat parts of pictures, are looked up once. Instructions that
// gather are not for this: there are processors on which they take many times as long.
void look_up_floats(float *to, const void *from, int32_t count, const float *table) {
    in_blocks(to, static_cast<const uint8_t *>(from), count,
              [table](float *floats, const uint8_t *bytes) {
                  const Vec differing =
                      _mm256_xor_si256(load(bytes), _mm256_set1_epi8(static_cast<char>(bytes[0])));
                  if (_mm256_testz_si256(differing, differing) != 0) {
                      for (int i = 0; i < 32; i += 8)
                          _mm256_storeu_ps(floats + i, _mm256_set1_ps(table[bytes[0]]));
                      return;
                  }
                  for (int i = 0; i < 32; i += 4)
                      _mm_storeu_ps(floats + i,
                                    _mm_setr_ps(table[bytes[i]], table[bytes[i + 1]],
                                                table[bytes[i + 2]], table[bytes[i + 3]]));
              });
}

// Integers --------------------------------------------------------------------------------------

// Vectors are packed by halves; this puts the quarters back in order.
Vec in_order(Vec packed) { return _mm256_permute4x64_epi64(packed, 0xD8); }

void narrow(void *row, int64_t count, int32_t shift) {
    auto *to = static_cast<uint8_t *>(row);
    const auto *from = static_cast<const uint16_t *>(row);
    if (shift == 8) { // nothing is left above a byte
        in_blocks(to, from, count, [](void *bytes, const uint16_t *words) {
            const auto part = [=](int i) { return _mm256_srli_epi16(load(words + i), 8); };
            store(bytes, in_order(_mm256_packus_epi16(part(0), part(16))));
        });
        return;
    }
    in_blocks(to, from, count, [shift](void *bytes, const uint16_t *words) {
        const __m128i by = _mm_cvtsi32_si128(shift);
        const Vec byte = _mm256_set1_epi16(0xFF);
        const auto part = [=](int i) {
            return _mm256_and_si256(_mm256_srl_epi16(load(words + i), by), byte);
        };
        store(bytes, in_order(_mm256_packus_epi16(part(0), part(16))));
    });
}

// Floats ----------------------------------------------------------------------------------------

// The scale is a sum of two floats, exact but for 2^-48 of it, and the product with the larger one
// is not rounded. That is exact enough: quotients by 2^bits - 1 repeat their bits, so that none
// comes closer than some 2^-17 of a unit to where rounding changes.
template<class Sample>
void to_floats(float *to, const void *from, int32_t count, double scale) {
    const auto *__restrict samples = static_cast<const Sample *>(from);
    float *__restrict const floats = to;
    const auto large = static_cast<float>(scale);
    const auto small = static_cast<float>(scale - static_cast<double>(large));
    for (int32_t x = 0; x < count; ++x) {
        const auto sample = static_cast<float>(samples[x]);
        floats[x] = __builtin_fmaf(sample, large, sample * small);
    }
}

// The integers that eight floats are rounded to. A product that is rounded may have stepped onto
// the next integer; what is left of it, which is not rounded before its sign is known, tells.
Vec round_unit(const float *from, __m256 largest) {
    const __m256 half = _mm256_set1_ps(0.5F);
    const __m256 positive = _mm256_max_ps(_mm256_loadu_ps(from), _mm256_setzero_ps()); // 0 for NaN
    const __m256 unit = _mm256_min_ps(positive, _mm256_set1_ps(1.0F));
    const Vec near = _mm256_cvttps_epi32(_mm256_fmadd_ps(unit, largest, half));
    const __m256 left =
        _mm256_fmadd_ps(unit, largest, _mm256_sub_ps(half, _mm256_cvtepi32_ps(near)));
    return _mm256_add_epi32(near, _mm256_srai_epi32(_mm256_castps_si256(left), 31));
}

void floats_to_bytes(void *to, const void *from, int32_t count, double largest) {
    const __m256 top = _mm256_set1_ps(static_cast<float>(largest));
    const Vec order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    in_blocks(static_cast<uint8_t *>(to), static_cast<const float *>(from), count,
              [=](void *bytes, const float *floats) {
                  const auto part = [=](int i) {
                      return _mm256_packs_epi32(round_unit(floats + i, top),
                                                round_unit(floats + i + 8, top));
                  };
                  const Vec packed = _mm256_packus_epi16(part(0), part(16));
                  store(bytes, _mm256_permutevar8x32_epi32(packed, order));
              });
}

void floats_to_words(void *to, const void *from, int32_t count, double largest) {
    const __m256 top = _mm256_set1_ps(static_cast<float>(largest));
    in_blocks(static_cast<uint16_t *>(to), static_cast<const float *>(from), count,
              [=](uint16_t *words, const float *floats) {
                  for (int i = 0; i < 32; i += 16)
                      store(words + i,
                            in_order(_mm256_packus_epi32(round_unit(floats + i, top),
                                                         round_unit(floats + i + 8, top))));
              });
}

} // namespace

constinit const RowKernels avx2_row_kernels = {
    look_up,         look_up_floats, narrow, to_floats<uint8_t>, to_floats<uint16_t>,
    floats_to_bytes, floats_to_words};

} // namespace zor
