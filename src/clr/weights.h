// weights.h - what the samples of a sample space weigh in X, Y, Z, and these in the samples.
//
// All here can run at compile time, as curves.h.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstdint>

#include "base/base/number.h"
#include "clr/curves.h"

namespace zor::clr {

// The number of bins of the space that the weights of all others are taken from.
constexpr int32_t reference_size = 3;

// The arrays of a CLR_SAMPLES, in one block.
struct Bins {
    int32_t n;
    float *bounds, *inv_width, *to_xyz, *from_xyz;
};

// The floats of such a block.
constexpr int64_t block_size(int32_t n) { return 8 * int64_t{n} + 1; }

constexpr Bins lay_out(int32_t n, float *block) {
    const int64_t count = n;
    return {n, block, block + count + 1, block + 2 * count + 1, block + 5 * count + 1};
}

// The edges of bins that divide a range evenly, the last one exact.
constexpr void space_evenly(const Bins &bins, Range range) {
    const double width = (double{range.maximum} - double{range.minimum}) / bins.n;
    double edge = range.minimum;
    for (int32_t j = 0; j < bins.n; ++j, edge += width)
        bins.bounds[j] = to_float(edge);
    bins.bounds[bins.n] = range.maximum;
}

// Fills inv_width and to_xyz from the edges.
constexpr void weigh_samples(const Bins &bins, const Curves &curves) {
    for (int32_t j = 0; j < bins.n; ++j) {
        const double low = bins.bounds[j];
        const double high = bins.bounds[j + 1];
        bins.inv_width[j] = high == low ? 0.0F : to_float(1 / (high - low));
        for (int c = 0; c < 3; ++c)
            bins.to_xyz[3 * j + c] = to_float(curves.integral(c, high) - curves.integral(c, low));
    }
}

// Fills from_xyz of the reference space: what undoes to_xyz, or 0 where nothing does.
constexpr void invert(const Bins &reference) {
    const auto entry = [&reference](int j, int c) -> double { return reference.to_xyz[3 * j + c]; };
    // Rows and columns go on in cyclic order, which takes care of the signs.
    const auto product = [&entry](int j, int c, int first, int second) {
        return entry((j + 1) % 3, (c + first) % 3) * entry((j + 2) % 3, (c + second) % 3);
    };
    const auto magnitude = [](double value) { return std::max(value, -value); };
    double determinant = 0;
    double size = 0; // of its terms
    for (int c = 0; c < 3; ++c) {
        const double falling = entry(0, c) * product(0, c, 1, 2);
        const double rising = entry(0, c) * product(0, c, 2, 1);
        determinant += falling - rising;
        size += magnitude(falling) + magnitude(rising);
    }
    // The weights are floats: a determinant so small is what rounding has left of 0.
    const bool singular = magnitude(determinant) <= size * FLT_EPSILON;
    for (int j = 0; j < 3; ++j)
        for (int c = 0; c < 3; ++c)
            reference.from_xyz[3 * j + c] =
                singular ? 0 : to_float((product(j, c, 1, 2) - product(j, c, 2, 1)) / determinant);
}

// Fills from_xyz of any other space: the samples of the reference space, averaged over each bin.
// The outer bins of the reference space reach to the ends of the range here.
constexpr void spread(const Bins &bins, const Bins &reference, Range range) {
    const float edges[4] = {range.minimum, reference.bounds[1], reference.bounds[2], range.maximum};
    for (int32_t j = 0; j < bins.n; ++j) {
        double sums[3] = {};
        for (int k = 0; k < 3; ++k) {
            // How far an edge lies inside the reference bin. A bin whose edges fall has a negative
            // overlap, and a negative width.
            const auto inside = [low = edges[k], high = edges[k + 1]](float edge) {
                return double{std::min(std::max(edge, low), high)};
            };
            const double overlap = inside(bins.bounds[j + 1]) - inside(bins.bounds[j]);
            for (int c = 0; c < 3; ++c)
                sums[c] += overlap * double{reference.from_xyz[3 * k + c]};
        }
        for (int c = 0; c < 3; ++c)
            bins.from_xyz[3 * j + c] = to_float(sums[c] * double{bins.inv_width[j]});
    }
}

} // namespace zor::clr
