// settings.h - the plain settings of the colour database.
#pragma once

#include <cstdint>

#include "clr/curves.h"

namespace zor::clr {

// Built-in values first; the three-float texts are chromaticities x, y, z.
struct Settings {
    int32_t color_samples = 3;
    float red_primary[3] = {0.67F, 0.33F, 0.0F};
    float green_primary[3] = {0.21F, 0.71F, 0.08F};
    float blue_primary[3] = {0.14F, 0.08F, 0.78F};
    float white_point[3] = {0.31F, 0.316F, 0.374F};
    Range range = {380.0F, 780.0F};
    int32_t table_resolution = 401;
};

} // namespace zor::clr
