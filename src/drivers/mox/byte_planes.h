// byte_planes.h - takes samples apart into planes of their bytes and puts them together again.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zor::mox {

static_assert(std::endian::native == std::endian::little, "byte 0 of a sample is the lowest one");

// Copies one byte of each of count samples of Size bytes (1, 2 or 4) to plane.
template<class V, ptrdiff_t Size, ptrdiff_t Byte>
void take_plane(const uint8_t *samples, ptrdiff_t count, uint8_t *plane) {
    ptrdiff_t i = 0;
    if constexpr (Size == 1) {
        constexpr ptrdiff_t block = 128;
        for (; i + block <= count; i += block)
            for (ptrdiff_t k = 0; k < block; k += V::size)
                V::store(V::load(samples + i + k), plane + i + k);
        std::memcpy(plane + i, samples + i, static_cast<size_t>(count - i));
        return;
    }
    for (; i + V::size <= count; i += V::size) {
        if constexpr (Size == 2)
            V::store(V::template narrow16<8 * Byte>(samples + 2 * i), plane + i);
        else
            V::store(V::template narrow32<8 * Byte>(samples + 4 * i), plane + i);
    }
    for (; i < count; ++i)
        plane[i] = samples[Size * i + Byte];
}

// Puts count bytes as byte 3, 2, 1 or 0 of samples of four bytes. Byte 3 comes first: it clears the
// others, which are then added. Beyond the samples whole vectors of them up to a multiple of 16 are
// written.
template<class V, ptrdiff_t Byte>
void put_plane(uint8_t *plane, ptrdiff_t count, uint8_t *samples) {
    constexpr ptrdiff_t block = 16; // 64 bytes of samples: no more than that may be too many
    std::memset(plane + count, 0, block);
    for (ptrdiff_t i = 0; i < count; i += block) {
        uint8_t *to = samples + 4 * i;
        const auto put = [&to](typename V::Vec value) {
            V::store(Byte == 3 ? value : V::either(value, V::load(to)), to);
            to += V::size;
        };
        V::template widen32<8 * Byte>(plane + i, put);
    }
}

// Makes count samples of two bytes from their planes. The high one may be in the second half of the
// samples' own memory: no sample is written before its bytes have been read, and none beyond count.
template<class V>
void join_planes(const uint8_t *high, const uint8_t *low, ptrdiff_t count, uint8_t *samples) {
    const ptrdiff_t whole = count - count % V::size;
    for (ptrdiff_t i = 0; i < whole; i += V::size)
        V::join16(low + i, high + i, samples + 2 * i);
    for (ptrdiff_t i = whole; i < count; ++i) {
        const uint8_t top = high[i]; // before the low byte takes its place
        samples[2 * i] = low[i];
        samples[2 * i + 1] = top;
    }
}

} // namespace zor::mox
