// plane_rows.h - rows of samples in the planes of a raster.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zor/driver.h"

namespace zor::mox {

template<size_t Size>
void copy_spaced(const uint8_t *from, ptrdiff_t from_step, uint8_t *to, ptrdiff_t to_step,
                 int32_t count) {
    for (; count > 0; --count, from += from_step, to += to_step)
        std::memcpy(to, from, Size);
}

// Copies count samples that lie some bytes apart on either side. A step of 0 repeats one.
inline void copy_samples(const uint8_t *from, ptrdiff_t from_step, uint8_t *to, ptrdiff_t to_step,
                         int32_t count, int32_t sample_size) {
    if (from_step == sample_size && to_step == sample_size)
        std::memcpy(to, from, static_cast<size_t>(count) * static_cast<size_t>(sample_size));
    else if (sample_size == 1)
        copy_spaced<1>(from, from_step, to, to_step, count);
    else if (sample_size == 2)
        copy_spaced<2>(from, from_step, to, to_step, count);
    else if (sample_size == 4)
        copy_spaced<4>(from, from_step, to, to_step, count);
    else
        copy_spaced<8>(from, from_step, to, to_step, count);
}

// A sample of line y, column columns to the right of the raster's left side.
inline uint8_t *sample_at(const ZOR_RASTER &raster, const ZOR_PLANE &plane, int32_t y,
                          int32_t column) {
    return static_cast<uint8_t *>(plane.samples) +
           static_cast<ptrdiff_t>(y - raster.bottom) * plane.row_step +
           static_cast<ptrdiff_t>(column) * plane.column_step;
}

// A side of a window that came as a word; one that is out of range stays so.
inline int32_t word_side(ZOR_WORD word) {
    return static_cast<int32_t>(std::clamp<ZOR_WORD>(word, INT32_MIN, INT32_MAX));
}

// A channel-pointer array that came as a word.
inline void *const *word_channels(ZOR_WORD word) {
    return reinterpret_cast<void *const *>(word); // NOLINT(performance-no-int-to-ptr)
}

inline int32_t num_columns(const ZOR_RASTER &raster) { return raster.right - raster.left + 1; }

} // namespace zor::mox
