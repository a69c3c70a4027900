// filters.cpp - the filters of resampling.
//
// Old sample j lies (2j + 1) to - (2i + 1) from away from new sample i, in units of which an old
// sample is 2 to wide. Filters reach over a fixed number of old samples when enlarging and of new
// ones when shrinking, that is, over a multiple of the larger size.
#include "ops/filters.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "zor/ops.h"

namespace zor {

namespace {

// Filters, as functions of a distance from 0 up to their support.

double triangle(double x) { return 1 - x; }

// The cubics with parameters B and C that are smooth where their pieces meet.
double cubic(double x, double b, double c) {
    if (x < 1)
        return ((12 - 9 * b - 6 * c) * x + (-18 + 12 * b + 6 * c)) * x * x + (6 - 2 * b);
    return (((-b - 6 * c) * x + (6 * b + 30 * c)) * x + (-12 * b - 48 * c)) * x + (8 * b + 24 * c);
}
double catmull_rom(double x) { return cubic(x, 0, 0.5); }
double mitchell(double x) { return cubic(x, 1.0 / 3, 1.0 / 3); }

// sin(pi x) for x >= 0, by its series: system libraries differ in the last bit. Exact at integers.
double sin_pi(double x) {
    const double whole = std::floor(x);
    const double part = x - whole;
    const double angle = std::min(part, 1 - part) * std::numbers::pi;
    double series = 1;
    for (int k = 20; k >= 2; k -= 2)
        series = 1 - angle * angle / (k * (k + 1)) * series;
    return std::fmod(whole, 2) == 0 ? angle * series : -(angle * series);
}

// On a scale on which the middle weighs pi^2 / 3.
double lanczos_3(double x) {
    constexpr double middle = std::numbers::pi * std::numbers::pi / 3;
    return x == 0 ? middle : sin_pi(x) * sin_pi(x / 3) / (x * x);
}

struct Filter {
    int64_t support; // on either side
    double (*value)(double distance);
};
// By number; the box is dealt with apart.
constexpr Filter filters[] = {
    {1, nullptr}, {1, triangle}, {2, catmull_rom}, {2, mitchell}, {3, lanczos_3}};

const Filter &filter_of(const Axis &axis) { return filters[axis.filter]; }

int64_t divide_down(int64_t a, int64_t b) { return a / b - (a % b < 0 ? 1 : 0); } // b > 0
int64_t divide_up(int64_t a, int64_t b) { return -divide_down(-a, b); }

// A box that enlarges takes the nearest sample.
bool is_nearest(const Axis &axis) { return axis.filter == ZOR_FILTER_BOX && axis.to >= axis.from; }

// The distance from which on samples weigh nothing.
int64_t reach(const Axis &axis) {
    if (is_nearest(axis))
        return axis.to + 1;
    if (axis.filter == ZOR_FILTER_BOX)
        return axis.from + axis.to;
    return 2 * filter_of(axis).support * std::max(axis.from, axis.to);
}

// What a sample at a distance within reach weighs, on any scale.
double weigh(const Axis &axis, int64_t distance) {
    distance = std::abs(distance);
    if (axis.filter == ZOR_FILTER_BOX) // how far the two samples overlap
        return static_cast<double>(std::min(axis.from + axis.to - distance, 2 * axis.to));
    const auto unit = static_cast<double>(2 * std::max(axis.from, axis.to));
    return filter_of(axis).value(static_cast<double>(distance) / unit);
}

} // namespace

int32_t max_taps(const Axis &axis) {
    return static_cast<int32_t>(std::min(axis.from, reach(axis) / axis.to + 1));
}

Span find_taps(const Axis &axis, int32_t i, double *weights) {
    const int64_t centre = (2 * int64_t{i} + 1) * axis.from;
    if (is_nearest(axis)) {
        const auto nearest = static_cast<int32_t>(centre / (2 * axis.to));
        weights[0] = 1;
        return {nearest, nearest};
    }
    // Those that lie less than the reach away.
    const int64_t first = divide_down(centre - reach(axis) - axis.to, 2 * axis.to) + 1;
    const int64_t last = divide_up(centre + reach(axis) - axis.to, 2 * axis.to) - 1;
    Span taps = {static_cast<int32_t>(std::max<int64_t>(first, 0)),
                 static_cast<int32_t>(std::min(last, axis.from - 1))};
    std::fill_n(weights, taps.count(), 0.0);
    double sum = 0;
    for (int64_t j = first; j <= last; ++j) {
        const double weight = weigh(axis, (2 * j + 1) * axis.to - centre);
        weights[std::clamp<int64_t>(j, taps.first, taps.last) - taps.first] += weight;
        sum += weight;
    }
    for (int32_t k = 0; k < taps.count(); ++k)
        weights[k] /= sum;
    // Nothing times infinity would be something.
    while (weights[taps.count() - 1] == 0)
        --taps.last;
    const auto zeros = static_cast<int32_t>(
        std::find_if(weights, weights + taps.count(), [](double w) { return w != 0; }) - weights);
    std::copy(weights + zeros, weights + taps.count(), weights);
    taps.first += zeros;
    return taps;
}

Span touched_by(const Axis &axis, Span old) {
    const int64_t first = (2 * int64_t{old.first} + 1) * axis.to - reach(axis);
    const int64_t last = (2 * int64_t{old.last} + 1) * axis.to + reach(axis);
    const int64_t low = divide_down(first - axis.from, 2 * axis.from) + 1;
    const int64_t high = divide_up(last - axis.from, 2 * axis.from) - 1;
    return {static_cast<int32_t>(std::max<int64_t>(low, 0)),
            static_cast<int32_t>(std::min(high, axis.to - 1))};
}

} // namespace zor
