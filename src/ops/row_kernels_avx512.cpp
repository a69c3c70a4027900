// row_kernels_avx512.cpp - the row kernels that look up in tables, with vectors of 64 bytes.
// Compiled for processors that have them, and so without inline functions that others might share.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "ops/row_kernels.h"

namespace zor {

namespace {

using Vec = __m512i;

Vec load(const void *from) { return _mm512_loadu_si512(from); }

// The bytes of a block that lie before the end of a row.
__mmask64 within(int64_t left) { return left >= 64 ? ~__mmask64{0} : (__mmask64{1} << left) - 1; }

// 256 bytes, of which one instruction looks up among half of them.
struct Table {
    Vec quarter[4];

    [[nodiscard]] Vec entries(Vec bytes) const {
        const Vec lower = _mm512_permutex2var_epi8(quarter[0], bytes, quarter[1]);
        const Vec upper = _mm512_permutex2var_epi8(quarter[2], bytes, quarter[3]);
        return _mm512_mask_mov_epi8(lower, _mm512_movepi8_mask(bytes), upper);
    }
};

void look_up(uint8_t *row, int64_t count, const uint8_t *table) {
    const Table t = {{load(table), load(table + 64), load(table + 128), load(table + 192)}};
    for (int64_t x = 0; x < count; x += 64) {
        const __mmask64 mask = within(count - x);
        const Vec bytes = _mm512_maskz_loadu_epi8(mask, row + x);
        _mm512_mask_storeu_epi8(row + x, mask, t.entries(bytes));
    }
}

// A table of floats as four of bytes: the first of all floats, the second, and so on.
struct FloatTable {
    Table byte[4];

    explicit FloatTable(const float *floats) {
        // In every vector the bytes of 16 floats are put together, first with first; then the parts
        // of four vectors are exchanged, of which each is 16 bytes.
        const Vec apart = _mm512_setr_epi32( //
            0x0C080400, 0x1C181410, 0x2C282420, 0x3C383430, 0x0D090501, 0x1D191511, 0x2D292521,
            0x3D393531, 0x0E0A0602, 0x1E1A1612, 0x2E2A2622, 0x3E3A3632, 0x0F0B0703, 0x1F1B1713,
            0x2F2B2723, 0x3F3B3733);
        for (int q = 0; q < 4; ++q) {
            const auto part = [=](int i) {
                return _mm512_permutexvar_epi8(
                    apart, load(floats + ptrdiff_t{64} * q + ptrdiff_t{16} * i));
            };
            const Vec a = part(0);
            const Vec b = part(1);
            const Vec c = part(2);
            const Vec d = part(3);
            const Vec low_ab = _mm512_shuffle_i32x4(a, b, 0x44);
            const Vec low_cd = _mm512_shuffle_i32x4(c, d, 0x44);
            const Vec high_ab = _mm512_shuffle_i32x4(a, b, 0xEE);
            const Vec high_cd = _mm512_shuffle_i32x4(c, d, 0xEE);
            byte[0].quarter[q] = _mm512_shuffle_i32x4(low_ab, low_cd, 0x88);
            byte[1].quarter[q] = _mm512_shuffle_i32x4(low_ab, low_cd, 0xDD);
            byte[2].quarter[q] = _mm512_shuffle_i32x4(high_ab, high_cd, 0x88);
            byte[3].quarter[q] = _mm512_shuffle_i32x4(high_ab, high_cd, 0xDD);
        }
    }
};

bool is_flat(Vec bytes) {
    const Vec first = _mm512_broadcastb_epi8(_mm512_castsi512_si128(bytes));
    return _mm512_cmpneq_epi8_mask(bytes, first) == 0;
}

void store(float *to, int64_t left, Vec value) {
    const auto mask = static_cast<__mmask16>(within(left < 0 ? 0 : left));
    _mm512_mask_storeu_ps(to, mask, _mm512_castsi512_ps(value));
}

// The four bytes of each float are looked up on their own and then woven together. Weaving works
// within 16 bytes, so the samples are spread beforehand: what belongs together is four of them.
void look_up_floats(float *to, const void *from, int32_t count, const float *table) {
    const auto *row = static_cast<const uint8_t *>(from);
    const FloatTable t(table);
    const Vec spread = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    for (int64_t x = 0; x < count; x += 64) {
        const int64_t left = count - x;
        const Vec bytes = _mm512_maskz_loadu_epi8(within(left), row + x);
        if (left >= 64 && is_flat(bytes)) {
            for (int i = 0; i < 64; i += 16)
                _mm512_storeu_ps(to + x + i, _mm512_set1_ps(table[row[x]]));
            continue;
        }
        const Vec samples = _mm512_permutexvar_epi32(spread, bytes);
        const Vec first = t.byte[0].entries(samples);
        const Vec second = t.byte[1].entries(samples);
        const Vec third = t.byte[2].entries(samples);
        const Vec fourth = t.byte[3].entries(samples);
        const Vec low_12 = _mm512_unpacklo_epi8(first, second);
        const Vec low_34 = _mm512_unpacklo_epi8(third, fourth);
        const Vec high_12 = _mm512_unpackhi_epi8(first, second);
        const Vec high_34 = _mm512_unpackhi_epi8(third, fourth);
        float *const floats = to + x;
        store(floats, left, _mm512_unpacklo_epi16(low_12, low_34));
        store(floats + 16, left - 16, _mm512_unpackhi_epi16(low_12, low_34));
        store(floats + 32, left - 32, _mm512_unpacklo_epi16(high_12, high_34));
        store(floats + 48, left - 48, _mm512_unpackhi_epi16(high_12, high_34));
    }
}

} // namespace

RowKernels avx512_row_kernels(const RowKernels &others) {
    RowKernels kernels = others;
    kernels.look_up = look_up;
    kernels.look_up_floats = look_up_floats;
    return kernels;
}

} // namespace zor
