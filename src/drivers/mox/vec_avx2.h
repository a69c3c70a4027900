// vec_avx2.h - the twin of vec_sse2.h for processors with 32-byte vectors.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "drivers/mox/vec_sse2.h"

namespace zor::mox {
namespace {

struct Avx2 {
    using Vec = __m256i;
    static constexpr ptrdiff_t size = 32;

    static Vec load(const void *from) { return _mm256_loadu_si256(static_cast<const Vec *>(from)); }
    static void store(Vec value, void *to) { _mm256_storeu_si256(static_cast<Vec *>(to), value); }

    static Vec splat8(uint8_t value) { return _mm256_set1_epi8(static_cast<char>(value)); }
    static Vec splat_pair(uint8_t first, uint8_t second) {
        return _mm256_unpacklo_epi8(splat8(first), splat8(second));
    }
    static Vec either(Vec a, Vec b) { return _mm256_or_si256(a, b); }

    static uint32_t equal_bytes(const void *a, const void *b) {
        return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(load(a), load(b))));
    }

    static bool any_step_above(const int16_t *numbers, const int16_t *limits) {
        const __m128i steps = _mm_sub_epi16(Sse2::load(numbers), Sse2::load(numbers - 1));
        const __m128i above = _mm_cmpgt_epi16(steps, Sse2::load(limits));
        return _mm_testz_si128(above, above) == 0;
    }

    // Bits below the lowest one that is set; all of them when none is.
    static ptrdiff_t zeros_below(size_t bits) {
#ifdef __x86_64__
        return static_cast<ptrdiff_t>(_tzcnt_u64(bits));
#else
        return static_cast<ptrdiff_t>(_tzcnt_u32(bits));
#endif
    }

    template<size_t... I>
    static bool all_are(uint8_t value, const uint8_t *x, std::index_sequence<I...> /*vectors*/) {
        const Vec values = splat8(value);
        return _mm256_movemask_epi8((... & _mm256_cmpeq_epi8(load(x + I * size), values))) == -1;
    }

    // One by one as long as that is less than eight at a time.
    template<int Most>
    static int16_t *list_up_to(size_t bits, ptrdiff_t first, int16_t *to) {
        const int count = __builtin_popcountll(bits);
        for (int i = 0; i < Most; ++i) {
            to[i] = static_cast<int16_t>(zeros_below(bits) + first);
            bits &= bits - 1;
        }
        return to + count;
    }
    static int16_t *list_bits(size_t bits, ptrdiff_t first, int16_t *to) {
        return __builtin_popcountll(bits) <= 8 ? list_up_to<8>(bits, first, to)
                                               : Sse2::list_bits(bits, first, to);
    }

    template<int Most>
    static int16_t *list_up_to(const size_t (&words)[4], ptrdiff_t first, int16_t *to) {
        for (const size_t word : words) {
            to = list_up_to<Most>(word, first, to);
            first += word_bits;
        }
        return to;
    }

    // Neighbours tend to have about as many.
    static int16_t *list_bits(const size_t (&words)[4], ptrdiff_t first, int16_t *to) {
        int beyond4 = 0; // reaches 8 when one of the numbers exceeds 4
        int beyond8 = 0; // 16
        int beyond12 = 0;
        for (const size_t word : words) {
            const int count = __builtin_popcountll(word);
            beyond4 |= count + 3;
            beyond8 |= count + 7;
            beyond12 |= count + 3;
        }
        if (beyond4 < 8)
            return list_up_to<4>(words, first, to);
        if (beyond8 < 16)
            return list_up_to<8>(words, first, to);
        if (beyond12 < 16)
            return list_up_to<12>(words, first, to);
        for (const size_t word : words) {
            to = Sse2::list_bits(word, first, to);
            first += word_bits;
        }
        return to;
    }

    // Vectors are packed and interleaved by halves; this puts the quarters back in order.
    static Vec in_order(Vec packed) { return _mm256_permute4x64_epi64(packed, 0xD8); }

    template<int Down>
    static Vec narrow16(const uint8_t *from) {
        const Vec byte = _mm256_set1_epi16(0xFF);
        const auto part = [&](int i) {
            const Vec words = load(from + i);
            return Down == 8 ? _mm256_srli_epi16(words, 8) : _mm256_and_si256(words, byte);
        };
        return in_order(_mm256_packus_epi16(part(0), part(32)));
    }
    template<int Down>
    static Vec narrow32(const uint8_t *from) {
        const Vec byte = _mm256_set1_epi32(0xFF);
        const auto part = [&](int i) {
            return _mm256_and_si256(_mm256_srli_epi32(load(from + i), Down), byte);
        };
        const Vec low = in_order(_mm256_packs_epi32(part(0), part(32)));
        const Vec high = in_order(_mm256_packs_epi32(part(64), part(96)));
        return in_order(_mm256_packus_epi16(low, high));
    }

    static void join16(const uint8_t *low, const uint8_t *high, uint8_t *to) {
        const Vec a = in_order(load(low));
        const Vec b = in_order(load(high));
        store(_mm256_unpacklo_epi8(a, b), to);
        store(_mm256_unpackhi_epi8(a, b), to + 32);
    }

    template<int Up, class Put>
    static void widen32(const uint8_t *from, Put put) {
        for (int i = 0; i < 16; i += 8) {
            const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(from + i));
            put(_mm256_slli_epi32(_mm256_cvtepu8_epi32(bytes), Up));
        }
    }
};

} // namespace
} // namespace zor::mox
