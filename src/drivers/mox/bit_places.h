// bit_places.h - where the bits of a byte are that are set, for boundaries of runs: of eight places
// in a row no more than six are boundaries.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>

namespace zor::mox {

constexpr int word_bits = sizeof(size_t) * CHAR_BIT;

// A vector for each byte: up to seven places in rising order, and in the end their number.
struct BitPlaces {
    alignas(16) int16_t of[256][8];
};

consteval BitPlaces find_bit_places() {
    BitPlaces table{};
    for (int byte = 0; byte < 256; ++byte) {
        int16_t count = 0;
        for (int i = 0; i < 8; ++i)
            if ((byte >> i & 1) != 0)
                table.of[byte][count++] = static_cast<int16_t>(i);
        table.of[byte][7] = count;
    }
    return table;
}

inline constexpr BitPlaces bit_places = find_bit_places();

} // namespace zor::mox
