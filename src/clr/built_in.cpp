// built_in.cpp - the built-in sample spaces, weighed at compile time.
#include "clr/built_in.h"

#include <array>
#include <cstddef>

#include "clr/observer.h"
#include "clr/settings.h"
#include "clr/weights.h"

namespace zor::clr {

namespace {

// The edges of all spaces, in nanometres, one space after the other.
constexpr float edges[] = {
    545, 666,                                              //
    399, 540, 699,                                         //
    414, 492, 568, 657,                                    //
    416, 486, 538, 577, 656,                               //
    416, 467, 514, 557, 593, 658,                          //
    416, 455, 491, 536, 569, 600, 659,                     //
    416, 451, 479, 520, 551, 579, 607, 661,                //
    415, 447, 471, 508, 537, 563, 588, 613, 663,           //
    414, 443, 462, 489, 523, 547, 570, 593, 616, 664,      //
    414, 442, 459, 480, 513, 536, 557, 578, 598, 619, 665, //
};

// Where the edges, and the block, of a space start.
constexpr size_t first_edge(int32_t n) {
    const auto bins = static_cast<size_t>(n);
    return (bins - 1) * (bins + 2) / 2;
}
constexpr size_t first_number(int32_t n) {
    const auto bins = static_cast<size_t>(n);
    return (bins - 1) * (4 * bins + 1);
}
static_assert(first_edge(num_built_in + 1) == std::size(edges));

constexpr Settings built_in;

constexpr auto make_blocks() {
    std::array<CurvePoint, built_in.table_resolution> points{};
    Curves curves(built_in.range, points);
    for (const CLR_TRISTIMULUS &row : observer)
        curves.add(row);
    curves.finish();

    std::array<float, first_number(num_built_in + 1)> blocks{};
    const auto bins_of = [&blocks](int32_t n) { return lay_out(n, &blocks[first_number(n)]); };
    for (int32_t n = 1; n <= num_built_in; ++n) {
        const Bins bins = bins_of(n);
        for (int32_t j = 0; j <= n; ++j)
            bins.bounds[j] = edges[first_edge(n) + static_cast<size_t>(j)];
        weigh_samples(bins, curves);
    }
    invert(bins_of(reference_size));
    for (int32_t n = 1; n <= num_built_in; ++n)
        if (n != reference_size)
            spread(bins_of(n), bins_of(reference_size), built_in.range);
    return blocks;
}

constexpr auto blocks = make_blocks();

} // namespace

const float *built_in_block(int32_t n) { return &blocks[first_number(n)]; }

} // namespace zor::clr
