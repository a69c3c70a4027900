// resize_rows.h - the row loops of resampling: across a row, and of several rows into one.
//
// Sums are double, in an order that does not depend on the system, and rounded once: an even row
// stays as it is to the last bit.
#pragma once

#include <cstdint>

#include "base/base/owned.h"
#include "ops/filters.h"

namespace zor {

// What each sample of a new row is made of.
struct Columns {
    int32_t width = 0;  // of the new row
    int32_t stride = 0; // weights from one new sample to the next
    Owned<Span> taps;
    Owned<double> weights;
};

// False when memory ran out.
bool prepare_columns(Columns *columns, const Axis &axis);

// Makes a new row of an old one.
void filter_row(const Columns &columns, float *to, const float *from);

// Makes a row out of count others: the sum of weights[k] * rows[k].
void mix_rows(float *to, const float *const *rows, const double *weights, int32_t count,
              int32_t width);

} // namespace zor
