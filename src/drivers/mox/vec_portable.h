// vec_portable.h - the twin of vec_sse2.h in plain C++: for processors without vectors, and to test
// the others by.
#pragma once

#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zor::mox {
namespace {

struct Portable {
    static constexpr ptrdiff_t size = 16;
    struct Vec {
        uint8_t bytes[size];
    };

    static Vec load(const void *from) {
        Vec value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    static void store(Vec value, void *to) { std::memcpy(to, &value, sizeof value); }

    static Vec splat8(uint8_t value) {
        Vec all;
        std::memset(&all, value, sizeof all);
        return all;
    }
    static Vec splat_pair(uint8_t first, uint8_t second) {
        Vec all;
        for (ptrdiff_t i = 0; i < size; i += 2) {
            all.bytes[i] = first;
            all.bytes[i + 1] = second;
        }
        return all;
    }
    static Vec either(Vec a, Vec b) {
        for (ptrdiff_t i = 0; i < size; ++i)
            a.bytes[i] |= b.bytes[i];
        return a;
    }

    static uint32_t equal_bytes(const uint8_t *a, const uint8_t *b) {
        uint32_t bits = 0;
        for (ptrdiff_t i = 0; i < size; ++i)
            bits |= uint32_t{a[i] == b[i]} << i;
        return bits;
    }

    template<size_t... I>
    static bool all_are(uint8_t value, const uint8_t *x, std::index_sequence<I...> /*vectors*/) {
        // All are like the first one when each is like the one before.
        return *x == value && std::memcmp(x, x + 1, sizeof...(I) * size - 1) == 0;
    }

    static bool any_step_above(const int16_t *numbers, const int16_t *limits) {
        for (int i = 0; i < 8; ++i)
            if (numbers[i] - numbers[i - 1] > limits[i])
                return true;
        return false;
    }

    static int16_t *list_bits(size_t bits, ptrdiff_t first, int16_t *to) {
        for (; bits != 0; bits &= bits - 1)
            *to++ = static_cast<int16_t>(first + std::countr_zero(bits));
        return to;
    }

    static int16_t *list_bits(const size_t (&words)[4], ptrdiff_t first, int16_t *to) {
        for (const size_t word : words) {
            to = list_bits(word, first, to);
            first += static_cast<ptrdiff_t>(sizeof word * CHAR_BIT);
        }
        return to;
    }

    template<int Down>
    static Vec narrow16(const uint8_t *from) {
        return every<2, Down / 8>(from);
    }
    template<int Down>
    static Vec narrow32(const uint8_t *from) {
        return every<4, Down / 8>(from);
    }

    static void join16(const uint8_t *low, const uint8_t *high, uint8_t *to) {
        const Vec a = load(low);
        const Vec b = load(high);
        for (ptrdiff_t i = 0; i < size; ++i) {
            to[2 * i] = a.bytes[i];
            to[2 * i + 1] = b.bytes[i];
        }
    }

    template<int Up, class Put>
    static void widen32(const uint8_t *from, Put put) {
        for (ptrdiff_t i = 0; i < size; i += 4) {
            Vec value = {};
            for (ptrdiff_t k = 0; k < 4; ++k)
                value.bytes[4 * k + Up / 8] = from[i + k];
            put(value);
        }
    }

private:
    template<ptrdiff_t Step, ptrdiff_t First>
    static Vec every(const uint8_t *from) {
        Vec value;
        for (ptrdiff_t i = 0; i < size; ++i)
            value.bytes[i] = from[Step * i + First];
        return value;
    }
};

} // namespace
} // namespace zor::mox
