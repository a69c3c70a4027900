// plain_loops.cpp - the loops, under the name that the build gives them.
#include "plain_loops.h"

namespace bench {

namespace {

void look_up(uint8_t *row, int32_t count, const uint8_t *table) {
    for (int32_t x = 0; x < count; ++x)
        row[x] = table[row[x]];
}

void narrow(uint8_t *to, const uint16_t *from, int32_t count) {
    for (int32_t x = 0; x < count; ++x)
        to[x] = static_cast<uint8_t>(from[x] >> 8);
}

template<class Integer>
void to_floats(float *to, const Integer *from, int32_t count, double scale) {
    for (int32_t x = 0; x < count; ++x)
        to[x] = static_cast<float>(static_cast<double>(from[x]) * scale);
}

void look_up_floats(float *to, const uint8_t *from, int32_t count, const float *table) {
    for (int32_t x = 0; x < count; ++x)
        to[x] = table[from[x]];
}

template<class Integer>
void from_floats(Integer *to, const float *from, int32_t count, double largest) {
    for (int32_t x = 0; x < count; ++x) {
        const float positive = from[x] > 0 ? from[x] : 0;
        const float unit = positive < 1 ? positive : 1;
        to[x] =
            static_cast<Integer>(static_cast<int32_t>(static_cast<double>(unit) * largest + 0.5));
    }
}

} // namespace

const PlainLoops ZOR_BENCH_LOOPS = {look_up,
                                    narrow,
                                    to_floats<uint8_t>,
                                    to_floats<uint16_t>,
                                    look_up_floats,
                                    from_floats<uint8_t>,
                                    from_floats<uint16_t>};

} // namespace bench
