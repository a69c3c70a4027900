// byte_planes.h - takes samples apart into planes of their bytes and puts them together again.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "drivers/mox/vec16.h"

namespace zor::mox {

static_assert(std::endian::native == std::endian::little, "byte 0 of a sample is the lowest one");

// Copies one byte of each of count samples of Size bytes (1, 2 or 4) to plane.
template<ptrdiff_t Size, ptrdiff_t Byte>
void take_plane(const uint8_t *samples, ptrdiff_t count, uint8_t *plane) {
    if constexpr (Size == 1) {
        std::memcpy(plane, samples, static_cast<size_t>(count));
        return;
    }
    ptrdiff_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const uint8_t *const from = samples + Size * i;
        if constexpr (Size == 2)
            store(narrow16<8 * Byte>(load(from), load(from + 16)), plane + i);
        else
            store(narrow32<8 * Byte>(from), plane + i);
    }
    for (; i < count; ++i)
        plane[i] = samples[Size * i + Byte];
}

// Puts count bytes as byte 3, 2, 1 or 0 of samples of four bytes. Byte 3 comes first: it clears the
// others, which are then added. Clears 15 bytes behind the plane, and writes up to 15 samples more
// than count.
template<ptrdiff_t Byte>
void put_plane(uint8_t *plane, ptrdiff_t count, uint8_t *samples) {
    constexpr int up = 8 * Byte;
    store(zeros(), plane + count);
    for (ptrdiff_t i = 0; i < count; i += 16) {
        uint8_t *to = samples + 4 * i;
        const auto put = [&to](Vec16 value) {
            store(Byte == 3 ? value : either(value, load(to)), to);
            to += 16;
        };
        const Vec16 bytes = load(plane + i);
        const Vec16 low = interleave_low8(bytes, zeros());
        const Vec16 high = interleave_high8(bytes, zeros());
        put(widen16_low<up>(low));
        put(widen16_high<up>(low));
        put(widen16_low<up>(high));
        put(widen16_high<up>(high));
    }
}

// Makes count samples of two bytes from their planes. The high one may be in the second half of the
// samples' own memory: no sample is written before its bytes have been read, and none beyond count.
inline void join_planes(const uint8_t *high, const uint8_t *low, ptrdiff_t count,
                        uint8_t *samples) {
    const ptrdiff_t whole = count - count % 16;
    for (ptrdiff_t i = 0; i < whole; i += 16) {
        const Vec16 a = load(low + i);
        const Vec16 b = load(high + i);
        store(interleave_low8(a, b), samples + 2 * i);
        store(interleave_high8(a, b), samples + 2 * i + 16);
    }
    for (ptrdiff_t i = whole; i < count; ++i) {
        const uint8_t top = high[i]; // before the low byte takes its place
        samples[2 * i] = low[i];
        samples[2 * i + 1] = top;
    }
}

} // namespace zor::mox
