// resize_rows.cpp - the row loops of resampling.
#include "ops/resize_rows.h"

#include <algorithm>

namespace zor {

namespace {

// Sums of so many samples stay in the cache while the rows are added to them.
constexpr int32_t block_width = 512;

// sums[x] += the next Count rows, in their order.
template<size_t Count>
void add_rows(double *sums, const float *const *rows, const double *weights, int32_t first,
              int32_t width) {
    const float *row[Count];
    for (size_t k = 0; k < Count; ++k)
        row[k] = rows[k] + first;
    for (int32_t x = 0; x < width; ++x) {
        double sum = sums[x];
        for (size_t k = 0; k < Count; ++k)
            sum += weights[k] * static_cast<double>(row[k][x]);
        sums[x] = sum;
    }
}

} // namespace

bool prepare_columns(Columns *columns, const Axis &axis) {
    columns->width = static_cast<int32_t>(axis.to);
    columns->stride = max_taps(axis);
    columns->taps.reset(allocate<Span>(axis.to));
    columns->weights.reset(allocate<double>(axis.to * columns->stride));
    if (columns->taps == nullptr || columns->weights == nullptr)
        return false;
    double *weights = columns->weights.get();
    for (int32_t x = 0; x < columns->width; ++x, weights += columns->stride)
        columns->taps.get()[x] = find_taps(axis, x, weights);
    return true;
}

void filter_row(const Columns &columns, float *to, const float *from) {
    const double *weights = columns.weights.get();
    const Span *taps = columns.taps.get();
    for (int32_t x = 0; x < columns.width; ++x, weights += columns.stride) {
        const float *samples = from + taps[x].first;
        const int32_t count = taps[x].count();
        double even = 0; // two sums, which can be had at once
        double odd = 0;
        int32_t k = 0;
        for (; k + 1 < count; k += 2) {
            even += weights[k] * static_cast<double>(samples[k]);
            odd += weights[k + 1] * static_cast<double>(samples[k + 1]);
        }
        if (k < count)
            even += weights[k] * static_cast<double>(samples[k]);
        to[x] = static_cast<float>(even + odd);
    }
}

void mix_rows(float *to, const float *const *rows, const double *weights, int32_t count,
              int32_t width) {
    double sums[block_width];
    for (int32_t first = 0; first < width; first += block_width) {
        const int32_t part = std::min(block_width, width - first);
        std::fill_n(sums, part, 0.0);
        int32_t k = 0;
        for (; k + 4 <= count; k += 4)
            add_rows<4>(sums, rows + k, weights + k, first, part);
        for (; k < count; ++k)
            add_rows<1>(sums, rows + k, weights + k, first, part);
        for (int32_t x = 0; x < part; ++x)
            to[first + x] = static_cast<float>(sums[x]);
    }
}

} // namespace zor
