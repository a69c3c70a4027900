// state.h - what pushes and undoes are compared by.
#pragma once

#include <string>

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
