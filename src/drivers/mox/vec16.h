// vec16.h - 16 bytes at a time: the vector operations that the row codec is made of. Every
// processor the library is built for has them; this is the one file to rewrite for another kind.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace zor::mox {

using Vec16 = __m128i;

// Neither needs alignment.
inline Vec16 load(const void *from) { return _mm_loadu_si128(static_cast<const Vec16 *>(from)); }
inline void store(Vec16 value, void *to) { _mm_storeu_si128(static_cast<Vec16 *>(to), value); }

inline Vec16 zeros() { return _mm_setzero_si128(); }
inline Vec16 splat8(uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline Vec16 splat16(int16_t value) { return _mm_set1_epi16(value); }
inline Vec16 splat32(int32_t value) { return _mm_set1_epi32(value); }

inline Vec16 both(Vec16 a, Vec16 b) { return _mm_and_si128(a, b); }
inline Vec16 either(Vec16 a, Vec16 b) { return _mm_or_si128(a, b); }
inline Vec16 add16(Vec16 a, Vec16 b) { return _mm_add_epi16(a, b); }
inline Vec16 subtract16(Vec16 a, Vec16 b) { return _mm_sub_epi16(a, b); }

// Whether any of the eight values of a is greater than its counterpart.
inline bool any_greater16(Vec16 a, Vec16 b) {
    return _mm_movemask_epi8(_mm_cmpgt_epi16(a, b)) != 0;
}

// Bit i tells whether bytes i are equal.
inline uint32_t equal_bytes(Vec16 a, Vec16 b) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
}

// The bytes of the low or the high halves in turn, the first one of a first.
inline Vec16 interleave_low8(Vec16 a, Vec16 b) { return _mm_unpacklo_epi8(a, b); }
inline Vec16 interleave_high8(Vec16 a, Vec16 b) { return _mm_unpackhi_epi8(a, b); }

// The low or the high half of a vector with its values widened to twice their size, moved up by Up
// bits.
template<int Up>
Vec16 widen16_low(Vec16 a) {
    return _mm_slli_epi32(_mm_unpacklo_epi16(a, _mm_setzero_si128()), Up);
}
template<int Up>
Vec16 widen16_high(Vec16 a) {
    return _mm_slli_epi32(_mm_unpackhi_epi16(a, _mm_setzero_si128()), Up);
}

// The reverse for two vectors: the byte of each value that starts at bit Down.
template<int Down>
Vec16 narrow16(Vec16 low, Vec16 high) {
    const Vec16 byte = splat16(0xFF);
    return _mm_packus_epi16(both(_mm_srli_epi16(low, Down), byte),
                            both(_mm_srli_epi16(high, Down), byte));
}
template<int Down>
Vec16 narrow32(const void *from) {
    const auto *const at = static_cast<const Vec16 *>(from);
    const Vec16 byte = splat32(0xFF);
    const auto part = [&](int i) { return both(_mm_srli_epi32(load(at + i), Down), byte); };
    return _mm_packus_epi16(_mm_packs_epi32(part(0), part(1)), _mm_packs_epi32(part(2), part(3)));
}

} // namespace zor::mox
