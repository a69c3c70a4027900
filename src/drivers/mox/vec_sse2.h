// vec_sse2.h - the vector operations that the row codec is made of, 16 bytes at a time. Every x86
// processor that the library is built for has them.
//
// Like its twins vec_portable.h and vec_avx2.h this file defines one type, without linkage: all
// that is made of it belongs to the one file that includes it, whatever that is compiled for.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "drivers/mox/bit_places.h"

namespace zor::mox {
namespace {

struct Sse2 {
    using Vec = __m128i;
    static constexpr ptrdiff_t size = 16; // bytes of a vector

    // Neither needs alignment.
    static Vec load(const void *from) { return _mm_loadu_si128(static_cast<const Vec *>(from)); }
    static void store(Vec value, void *to) { _mm_storeu_si128(static_cast<Vec *>(to), value); }

    static Vec splat8(uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); }
    // Two values in turn.
    static Vec splat_pair(uint8_t first, uint8_t second) {
        return _mm_set1_epi16(static_cast<int16_t>(second << 8 | first));
    }
    static Vec either(Vec a, Vec b) { return _mm_or_si128(a, b); }

    // Bit i tells whether bytes i are equal.
    static uint32_t equal_bytes(const void *a, const void *b) {
        return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(a), load(b))));
    }

    // Whether the bytes of some vectors all have a value.
    template<size_t... I>
    static bool all_are(uint8_t value, const uint8_t *x, std::index_sequence<I...> /*vectors*/) {
        const Vec values = splat8(value);
        return _mm_movemask_epi8((... & _mm_cmpeq_epi8(load(x + I * size), values))) == 0xFFFF;
    }

    // Whether any of eight numbers is greater than the one before it by more than its limit.
    static bool any_step_above(const int16_t *numbers, const int16_t *limits) {
        const Vec steps = _mm_sub_epi16(load(numbers), load(numbers - 1));
        return _mm_movemask_epi8(_mm_cmpgt_epi16(steps, load(limits))) != 0;
    }

    // Lists the places of the bits that are set, counted from first. Returns the end of the list;
    // up to 12 elements behind it are scratch.
    static int16_t *list_bits(size_t bits, ptrdiff_t first, int16_t *to) {
        Vec base = _mm_set1_epi16(static_cast<int16_t>(first));
        for (int i = 0; i < word_bits; i += 8) {
            // The byte of bits times the 16 bytes of an element, without multiplying.
            const size_t offset = (i < 4 ? bits << (4 - i) : bits >> (i - 4)) & 0xFF0;
            const int16_t *const places = bit_places.of[offset / 16];
            store(_mm_add_epi16(load(places), base), to);
            to += places[7];
            base = _mm_add_epi16(base, _mm_set1_epi16(8));
        }
        return to;
    }

    // The same for four words, the first of which counts from first.
    static int16_t *list_bits(const size_t (&words)[4], ptrdiff_t first, int16_t *to) {
        for (const size_t word : words) {
            if (word != 0)
                to = list_bits(word, first, to);
            first += word_bits;
        }
        return to;
    }

    // The byte that starts at bit Down of each of size values of two or four bytes.
    template<int Down>
    static Vec narrow16(const uint8_t *from) {
        const Vec byte = _mm_set1_epi16(0xFF);
        const auto part = [&](int i) {
            return _mm_and_si128(_mm_srli_epi16(load(from + i), Down), byte);
        };
        return _mm_packus_epi16(part(0), part(16));
    }
    template<int Down>
    static Vec narrow32(const uint8_t *from) {
        const Vec byte = _mm_set1_epi32(0xFF);
        const auto part = [&](int i) {
            return _mm_and_si128(_mm_srli_epi32(load(from + i), Down), byte);
        };
        return _mm_packus_epi16(_mm_packs_epi32(part(0), part(16)),
                                _mm_packs_epi32(part(32), part(48)));
    }

    // Makes size values of two bytes from their low and high ones. Reads all before it writes.
    static void join16(const uint8_t *low, const uint8_t *high, uint8_t *to) {
        const Vec a = load(low);
        const Vec b = load(high);
        store(_mm_unpacklo_epi8(a, b), to);
        store(_mm_unpackhi_epi8(a, b), to + 16);
    }

    // Hands over 16 bytes as values of four bytes in which they start at bit Up, in order.
    template<int Up, class Put>
    static void widen32(const uint8_t *from, Put put) {
        const Vec zeros = _mm_setzero_si128();
        const Vec bytes = load(from);
        for (const Vec words : {_mm_unpacklo_epi8(bytes, zeros), _mm_unpackhi_epi8(bytes, zeros)}) {
            put(_mm_slli_epi32(_mm_unpacklo_epi16(words, zeros), Up));
            put(_mm_slli_epi32(_mm_unpackhi_epi16(words, zeros), Up));
        }
    }
};

} // namespace
} // namespace zor::mox
