// color_mix.cpp - colours through tables and a matrix.
#include "ops/color_mix.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "curve/tables.h"
#include "err/status.h"

namespace zor {

namespace {

int32_t channel_of(const ZOR_RESPONSE_CURVE &curve, int32_t k) {
    return curve.num_channels > 1 ? k : 0;
}

template<class Entry>
void fill_light(ColorMix *mix, const ZOR_RESPONSE_CURVE &input) {
    for (int32_t k = 0; k < 3; ++k) {
        const auto *table = table_of<const Entry>(input, channel_of(input, k));
        auto &light = mix->light[static_cast<size_t>(k)];
        std::transform(table, table + light.size(), light.begin(),
                       [&](Entry entry) { return static_cast<uint16_t>(entry >> mix->reduction); });
    }
}

// The rules for sums outside the table are put into it: 0 below, 255 from the largest on.
bool make_codes(ColorMix *mix, const ZOR_RESPONSE_CURVE &output) {
    const int32_t top = (1 << mix->precision) - 1;
    const int32_t num_tables = output.num_channels > 1 ? 3 : 1;
    const int32_t size = top + 2;
    mix->code_block.reset(allocate<uint8_t>(int64_t{num_tables} * size));
    if (mix->code_block == nullptr)
        return false;
    for (int32_t k = 0; k < num_tables; ++k) {
        const auto *table = table_of<const uint8_t>(output, k);
        uint8_t *codes = mix->code_block.get() + k * size;
        codes[0] = 0;
        for (int32_t sum = 0; sum < top; ++sum)
            codes[sum + 1] = table[sum << mix->reduction];
        codes[top + 1] = 255;
    }
    for (int32_t k = 0; k < 3; ++k)
        mix->codes[static_cast<size_t>(k)] = mix->code_block.get() + channel_of(output, k) * size;
    return true;
}

// Units of the products to those of the matrix and light.
int32_t product_shift(const ColorMix &mix) { return 16 - mix.precision; }

// 1, which the products have on top, so that codes are indexed from 0.
constexpr int64_t product_bias = int64_t{1} << 16;

int64_t product_of(const ColorMix &mix, size_t channel, size_t byte, size_t k) {
    const int64_t share = int64_t{mix.matrix[3 * channel + k]} * mix.light[channel][byte];
    return share * (int64_t{1} << product_shift(mix)) + (channel == 0 ? product_bias : 0);
}

// Whether all sums of products are 32-bit numbers.
bool sums_fit(const ColorMix &mix) {
    for (size_t k = 0; k < 3; ++k) {
        int64_t low = 0;
        int64_t high = 0;
        for (size_t channel = 0; channel < 3; ++channel) {
            int64_t least = std::numeric_limits<int64_t>::max();
            int64_t most = std::numeric_limits<int64_t>::min();
            for (size_t byte = 0; byte < 256; ++byte) {
                const int64_t share = product_of(mix, channel, byte, k);
                least = std::min(least, share);
                most = std::max(most, share);
            }
            // Parts of the sum and single products fit as well.
            low += std::min<int64_t>(least, 0);
            high += std::max<int64_t>(most, 0);
        }
        if (low < std::numeric_limits<int32_t>::min() || high > std::numeric_limits<int32_t>::max())
            return false;
    }
    return true;
}

bool make_products(ColorMix *mix) {
    if (!sums_fit(*mix))
        return true;
    mix->products.reset(allocate<MixProducts>());
    if (mix->products == nullptr)
        return false;
    for (size_t channel = 0; channel < 3; ++channel)
        for (size_t byte = 0; byte < 256; ++byte) {
            auto &shares = mix->products->shares[channel][byte];
            for (size_t k = 0; k < 3; ++k)
                shares[k] = static_cast<int32_t>(product_of(*mix, channel, byte, k));
            shares[3] = 0;
        }
    return true;
}

// Sum k of a colour, as an index of codes.
int32_t code_index(const ColorMix &mix, const std::array<int64_t, 3> &light, size_t k) {
    const int64_t sum =
        mix.matrix[k] * light[0] + mix.matrix[3 + k] * light[1] + mix.matrix[6 + k] * light[2];
    // A shift to the right rounds down, negative sums too.
    const int64_t top = (int64_t{1} << mix.precision) - 1;
    return static_cast<int32_t>(std::clamp<int64_t>(sum >> mix.precision, -1, top)) + 1;
}

std::array<int64_t, 3> light_of(const ColorMix &mix, const ColorRows &rows, int32_t x) {
    return {mix.light[0][rows[0][x]], mix.light[1][rows[1][x]], mix.light[2][rows[2][x]]};
}

// Eight numbers of 16 bits and four of 32, in 16 bytes that the compiler keeps in one register.
using Int16x8 = int16_t __attribute__((vector_size(16)));
using Int32x4 = int32_t __attribute__((vector_size(16)));

Int32x4 load(const int32_t (&from)[4]) {
    Int32x4 to;
    std::memcpy(&to, from, sizeof to);
    return to;
}

// By the products. Rendered pictures repeat colours; the last one's result is kept for that.
void mix_colors_quickly(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    const auto &shares = mix.products->shares;
    const auto most = static_cast<int16_t>(1 << mix.precision);
    const Int16x8 highest = {most, most, most, most, most, most, most, most};
    const Int16x8 lowest = {};
    uint8_t *const red = rows[0];
    uint8_t *const green = rows[1];
    uint8_t *const blue = rows[2];
    const auto [red_codes, green_codes, blue_codes] = mix.codes;
    uint32_t last = UINT32_MAX; // no colour
    uint8_t codes[3] = {};
    for (int32_t x = 0; x < count; ++x) {
        const uint32_t color = red[x] | uint32_t{green[x]} << 8 | uint32_t{blue[x]} << 16;
        if (color != last) {
            last = color;
            const Int32x4 sums =
                load(shares[0][red[x]]) + load(shares[1][green[x]]) + load(shares[2][blue[x]]);
            // The upper halves are the whole parts.
            Int16x8 indices = reinterpret_cast<Int16x8>(sums);
            indices = indices > lowest ? indices : lowest;
            indices = indices < highest ? indices : highest;
            codes[0] = red_codes[indices[1]];
            codes[1] = green_codes[indices[3]];
            codes[2] = blue_codes[indices[5]];
        }
        red[x] = codes[0];
        green[x] = codes[1];
        blue[x] = codes[2];
    }
}

} // namespace

bool prepare_mix(ColorMix *mix, const ZOR_RESPONSE_CURVE &input, const ZOR_RESPONSE_CURVE &output) {
    if (entry_size(input) == sizeof(uint8_t))
        fill_light<uint8_t>(mix, input);
    else
        fill_light<uint16_t>(mix, input);
    if (!make_codes(mix, output) || !make_products(mix)) {
        set_status(ZOR_E_MEMORY);
        return false;
    }
    return true;
}

void mix_colors(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    if (mix.products != nullptr)
        mix_colors_quickly(mix, rows, count);
    else
        mix_colors_plainly(mix, rows, count);
}

void mix_colors_plainly(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    for (int32_t x = 0; x < count; ++x) {
        const auto light = light_of(mix, rows, x);
        for (size_t k = 0; k < 3; ++k)
            rows[k][x] = mix.codes[k][code_index(mix, light, k)];
    }
}

void mix_luminance(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    for (int32_t x = 0; x < count; ++x)
        rows[0][x] = mix.codes[0][code_index(mix, light_of(mix, rows, x), 1)];
}

} // namespace zor
