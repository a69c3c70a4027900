// tables.h - how the tables of response curves are laid out: a pointer for each channel, and one
// block of all entries behind them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "zor/curve.h"

namespace zor {

// A value as an integer entry: truncated, clamped to what the entry can hold; 0 for NaN.
template<class Entry>
Entry to_integer(double value) {
    constexpr double top = std::numeric_limits<Entry>::max();
    return static_cast<Entry>(value > 0 ? std::min(value, top) : 0);
}

// Bytes of an entry of a curve's tables: 1, 2 or, for floats, 4; 0 for one that tables cannot have.
size_t entry_size(const ZOR_RESPONSE_CURVE &curve);

// Whether a curve's type, depth and counts are those of tables.
bool can_have_tables(const ZOR_RESPONSE_CURVE &curve);

// Gives a curve tables with uninitialised entries; false without a channel or an element, or with
// ZOR_E_MEMORY. What it had as tables is forgotten, and null after a failure.
bool make_tables(ZOR_RESPONSE_CURVE *curve);

template<class Entry>
Entry *table_of(const ZOR_RESPONSE_CURVE &curve, int32_t channel) {
    return static_cast<Entry *>(curve.tables[channel]);
}

// 2 to the power of a depth in bits; 0, which no table can have, for more than 24 and less than 1.
constexpr int32_t elements_of_depth(int32_t depth) {
    return depth >= 1 && depth <= 24 ? int32_t{1} << depth : 0;
}

// Bits of light in the gamma tables: the logarithm of their resolution N; 0 for none.
int32_t resolution_depth();

} // namespace zor
