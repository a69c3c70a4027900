// shape.h - what operators that change a picture's shape keep, to put it back.
#pragma once

#include <cstdint>

#include "zor/driver.h"

namespace zor {

// The windows and picture size of an image, and what in its handle counts the driver's lines: seek
// and the last line moved.
struct OldShape {
    ZOR_IMAGE_DESC desc = {}; // of which only the shape is put back
    ZOR_SEEK_FUNCTION seek = nullptr;
    int32_t last_line = 0; // moved by the layer below

    // Remembers a shape that is about to change.
    void save(const ZOR_IMAGE &image);
    // Puts it back.
    void restore(ZOR_IMAGE &image) const;
};

// Takes seek away, and no line has been moved: once the description has the new shape.
void start_new_shape(ZOR_IMAGE &image);

// Says that no line has been moved.
void forget_last_line(ZOR_IMAGE &image);

// Scales a size of the picture with that of its window, from which it may differ.
int32_t scale_size(int32_t size, int64_t from, int64_t to);

// Lines and columns of the window.
inline int64_t width_of(const ZOR_IMAGE_DESC &desc) {
    return int64_t{desc.win_right} - desc.win_left + 1;
}
inline int64_t height_of(const ZOR_IMAGE_DESC &desc) {
    return int64_t{desc.win_top} - desc.win_bottom + 1;
}

} // namespace zor
