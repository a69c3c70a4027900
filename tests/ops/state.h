// state.h - what pushes and undoes are compared by: all that operators may touch in a handle, and
// hashes of rows.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "zor/driver.h"

// The description and the functions of a handle, as something that compares.
inline auto state_of(const ZOR_IMAGE &image) {
    const ZOR_IMAGE_DESC &d = image.images[0];
    const auto group = [](const ZOR_CHANNELS &g) { return std::tuple(g.count, g.type, g.bits); };
    return std::tuple(
        std::tuple(image.scan, image.close, image.seek, image.raster, image.region,
                   image.direct_scan, image.data[0], image.driver_state, image.num_images,
                   image.last_scanline),
        std::tuple(d.win_left, d.win_right, d.win_bottom, d.win_top, d.act_left, d.act_right,
                   d.act_bottom, d.act_top, d.orientation, d.chan_flag, d.chan_format),
        std::tuple(group(d.image), group(d.matte), group(d.aux), d.size_code, d.picture_width,
                   d.picture_height, d.picture_aspect, d.ratio_text, d.picture_format),
        std::tuple(d.curve.kind, d.curve.gamma, d.curve.num_channels, d.curve.num_elements,
                   d.curve.type, d.curve.depth, d.curve.tables));
}

constexpr uint64_t hash_start = 14695981039346656037U;

// Adds the bits of rows to a hash.
inline void hash_rows(uint64_t *hash, const std::vector<std::vector<double>> &rows) {
    for (const auto &row : rows)
        for (const double sample : row)
            *hash = (*hash ^ std::bit_cast<uint64_t>(sample)) * 1099511628211U;
}
