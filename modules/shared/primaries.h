// primaries.h - the chromaticities of a handle's primaries and white point.
#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>

#include <zor/driver.h>

namespace driver {

// Whether there can be a light of that colour.
inline bool is_light(double x, double y) { return x >= 0.0 && y > 0.0 && x + y <= 1.0; }

// Where the handle has the chromaticities of red, green, blue (0 to 2) and white (3).
inline float *primary(ZOR_IMAGE *image, size_t which) { return &image->primaries[3 * which]; }

inline void set_primary(ZOR_IMAGE *image, size_t which, double x, double y) {
    float *to = primary(image, which);
    to[0] = static_cast<float>(x);
    to[1] = static_cast<float>(y);
    to[2] = static_cast<float>(1.0 - x - y);
}

// Whether the handle's primaries are worth writing. Colours that no light has make readers
// complain. Those of a record that nobody has touched are no statement about the picture, and a
// reader finds them again without being told. They may have been through the text of another file,
// so the last digits do not count.
inline bool states_primaries(const ZOR_IMAGE &image) {
    const float *p = image.primaries;
    for (int i = 0; i < 12; i += 3)
        if (!is_light(static_cast<double>(p[i]), static_cast<double>(p[i + 1])))
            return false;
    ZOR_INFO fresh;
    ZOR_info_init(&fresh);
    return !std::equal(std::begin(fresh.primaries), std::end(fresh.primaries), p,
                       [](float a, float b) { return std::abs(a - b) < 0.00005F; });
}

} // namespace driver
