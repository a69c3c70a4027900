// shape.cpp - what operators that change a picture's shape keep, to put it back.
#include "ops/shape.h"

#include <algorithm>

namespace zor {

void OldShape::save(const ZOR_IMAGE &image) {
    desc = image.images[0];
    seek = image.seek;
    last_line = image.last_scanline;
}

void OldShape::restore(ZOR_IMAGE &image) const {
    ZOR_IMAGE_DESC &now = image.images[0];
    for (const auto field :
         {&ZOR_IMAGE_DESC::win_left, &ZOR_IMAGE_DESC::win_right, &ZOR_IMAGE_DESC::win_bottom,
          &ZOR_IMAGE_DESC::win_top, &ZOR_IMAGE_DESC::act_left, &ZOR_IMAGE_DESC::act_right,
          &ZOR_IMAGE_DESC::act_bottom, &ZOR_IMAGE_DESC::act_top, &ZOR_IMAGE_DESC::picture_width,
          &ZOR_IMAGE_DESC::picture_height})
        now.*field = desc.*field;
    image.seek = seek;
    image.last_scanline = last_line;
}

void start_new_shape(ZOR_IMAGE &image) {
    image.seek = nullptr;
    forget_last_line(image);
}

void forget_last_line(ZOR_IMAGE &image) {
    const ZOR_IMAGE_DESC &desc = image.images[0];
    const bool rising = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
    image.last_scanline = rising ? -1 : desc.win_top + 1; // before the first one in file order
}

int32_t scale_size(int32_t size, int64_t from, int64_t to) {
    if (size <= 0)
        return size; // not known
    const int64_t scaled = (2 * int64_t{size} * to + from) / (2 * from);
    return static_cast<int32_t>(std::clamp<int64_t>(scaled, 1, INT32_MAX));
}

} // namespace zor
