// plain_loops.h - what the row kernels do, as one would write it by hand. The same source is
// compiled twice, with -O2 and with -O3, whatever else the build uses.
#pragma once

#include <cstdint>

namespace bench {

struct PlainLoops {
    void (*look_up)(uint8_t *row, int32_t count, const uint8_t *table);
    void (*narrow)(uint8_t *to, const uint16_t *from, int32_t count);
    void (*bytes_to_floats)(float *to, const uint8_t *from, int32_t count, double scale);
    void (*words_to_floats)(float *to, const uint16_t *from, int32_t count, double scale);
    void (*look_up_floats)(float *to, const uint8_t *from, int32_t count, const float *table);
    void (*floats_to_bytes)(uint8_t *to, const float *from, int32_t count, double largest);
    void (*floats_to_words)(uint16_t *to, const float *from, int32_t count, double largest);
};

extern const PlainLoops loops_O2;
extern const PlainLoops loops_O3;

} // namespace bench
