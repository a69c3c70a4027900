// filters.h - the filters of resampling: which old samples make a new one, and what each weighs.
//
// Sizes and places are whole numbers, from which each distance comes by one division, so that
// weights are the same on all systems and symmetric to the last bit.
#pragma once

#include <cstdint>

namespace zor {

// One direction of a picture.
struct Axis {
    int64_t from; // samples there are, 1 to 2^31 - 1
    int64_t to;   // samples wanted, 1 to max_size
    int32_t filter;
    static constexpr int32_t max_size = 1 << 24;
};

// Samples first to last, counted from 0.
struct Span {
    int32_t first, last;
    [[nodiscard]] int32_t count() const { return last - first + 1; }
};

// The most old samples that make a new one.
int32_t max_taps(const Axis &axis);

// The old samples that make new sample i.
//   weights  receives what each weighs, 1 in all; has room for max_taps. What would lie beyond the
//            ends is added to the sample at the end
Span find_taps(const Axis &axis, int32_t i, double *weights);

// The new samples that some of these old ones have a part in, or a few more.
Span touched_by(const Axis &axis, Span old);

} // namespace zor
