// pixel_rows.h - pixels whose samples lie side by side: woven of the rows of several channels, and
// taken apart into such.
#pragma once

#include <cstdint>

#include "drivers/mox/channel_groups.h"

namespace zor::mox {

constexpr int32_t most_in_pixel = 4;

// Between count pixels without gaps and a row for each of their samples, in the order in memory.
// Touch nothing else.
struct PixelMover {
    void (*weave)(const uint8_t *const *rows, int32_t count, uint8_t *pixels);
    void (*unweave)(const uint8_t *pixels, int32_t count, uint8_t *const *rows);
};

// Channels whose planes are one of pixels without gaps.
struct Pixels {
    const PixelMover *mover = nullptr; // null: there are none
    int32_t count = 0;                 // it is channels 0 to count - 1
    int32_t channels[most_in_pixel];   // in the order in memory
};

// Looks for pixels of at least two samples at the front of a raster's planes, all steps of which
// are filled in.
Pixels find_pixels(const ZOR_RASTER &raster, const ChannelGroup (&groups)[num_groups]);

} // namespace zor::mox
