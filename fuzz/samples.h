// samples.h - channels of any kind, and rows of samples for them.
#pragma once

#include <cmath>
#include <cstring>
#include <vector>

#include "ops/dice.h"
#include "zor/zor.h"

using Row = std::vector<uint8_t>; // of exactly its size, for the sanitizer to guard

// Calls a function with each row's number and group.
template<class Function>
void for_each_row(const ZOR_IMAGE_DESC &desc, Function function) {
    int row = 0;
    for (const ZOR_CHANNELS *group : {&desc.image, &desc.matte, &desc.aux})
        for (int32_t i = 0; i < group->count; ++i)
            function(row++, *group);
}

inline size_t width_of(const ZOR_IMAGE_DESC &desc) {
    return static_cast<size_t>(desc.win_right - desc.win_left + 1);
}

// Valid samples; the seed chooses among runs and noise too.
inline Row any_row(const ZOR_CHANNELS &group, size_t count, uint32_t seed) {
    const auto size = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
    Row row(count * size);
    uint32_t state = seed * 2654435761U;
    uint32_t value = 0;
    for (size_t x = 0; x < count; ++x) {
        state = state * 1664525U + 1013904223U;
        if (x == 0 || state >> 24 >= seed % 256) // else the run goes on
            value = state << 9 ^ state >> 7;
        const double real = value % 16 == 0   ? std::nan("")
                            : value % 16 == 1 ? HUGE_VAL
                                              : (static_cast<double>(value >> 8) - 1e6) / 1e7;
        const auto single = static_cast<float>(real);
        const uint32_t whole = group.type == ZOR_C_INTEGER ? value >> (32 - group.bits) : 0;
        const void *sample = group.type == ZOR_C_FLOAT    ? static_cast<const void *>(&single)
                             : group.type == ZOR_C_DOUBLE ? static_cast<const void *>(&real)
                                                          : &whole; // its low byte comes first
        std::memcpy(&row[x * size], sample, size);
    }
    return row;
}
