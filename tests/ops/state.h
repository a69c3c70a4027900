// state.h - what pushes and undoes are compared by, and hashes of rows.
#pragma once

#include <bit>
#include <string>
#include <vector>

#include "zor/driver.h"

// All that is in a handle, its descriptions and its slots.
inline std::string state_of(const ZOR_IMAGE &image) {
    const auto bytes = [](const auto *from, int count) {
        return std::string(reinterpret_cast<const char *>(from),
                           sizeof *from * static_cast<size_t>(count));
    };
    return bytes(&image, 1) + bytes(image.images, image.num_images) +
           bytes(image.data, image.num_slots);
}

// Adds the bits of rows to a hash, which starts at any number.
inline void hash_rows(uint64_t *hash, const std::vector<std::vector<double>> &rows) {
    for (const auto &row : rows)
        for (const double sample : row)
            *hash = (*hash ^ std::bit_cast<uint64_t>(sample)) * 1099511628211U;
}
