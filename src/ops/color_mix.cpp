// color_mix.cpp - colours through tables and a matrix.
#include "ops/color_mix.h"

#include <algorithm>
#include <bit>
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

// One of the three sums for a colour.
class PlainSum {
public:
    PlainSum(const ColorMix &mix, size_t k)
        : weights_{mix.matrix[k], mix.matrix[3 + k], mix.matrix[6 + k]},
          precision_(mix.precision),
          top_((int64_t{1} << mix.precision) - 1) {}

    // An index of codes.
    [[nodiscard]] int64_t operator()(const std::array<int64_t, 3> &light) const {
        const int64_t sum =
            weights_[0] * light[0] + weights_[1] * light[1] + weights_[2] * light[2];
        // A shift to the right rounds down, negative sums too.
        return std::clamp<int64_t>(sum >> precision_, -1, top_) + 1;
    }

private:
    std::array<int64_t, 3> weights_;
    int32_t precision_;
    int64_t top_;
};

std::array<int64_t, 3> light_of(const ColorMix &mix, const ColorRows &rows, int32_t x) {
    return {mix.light[0][rows[0][x]], mix.light[1][rows[1][x]], mix.light[2][rows[2][x]]};
}

static_assert(std::endian::native == std::endian::little); // upper halves come second

// Eight numbers of 16 bits and four of 32, in 16 bytes that the compiler keeps in one register.
using Int16x8 = int16_t __attribute__((vector_size(16)));
using UInt16x8 = uint16_t __attribute__((vector_size(16)));
using Int32x4 = int32_t __attribute__((vector_size(16)));

Int32x4 load(const int32_t (&from)[4]) {
    Int32x4 to;
    std::memcpy(&to, from, sizeof to);
    return to;
}

uint32_t word_at(const uint8_t *from) {
    uint32_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// By the products, and four colours at a time where they are those of the four before: rendered
// pictures have many of one colour in a row.
void mix_colors_quickly(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    const auto &shares = mix.products->shares;
    const auto most = static_cast<int16_t>(1 << mix.precision);
    const Int16x8 highest = {most, most, most, most, most, most, most, most};
    const Int16x8 lowest = {};
    uint8_t *const red = rows[0];
    uint8_t *const green = rows[1];
    uint8_t *const blue = rows[2];
    const uint8_t *const red_codes = mix.codes[0];
    const uint8_t *const green_codes = mix.codes[1];
    const uint8_t *const blue_codes = mix.codes[2];
    const auto mix_one = [&](int32_t x) {
        // The upper halves of the sums are their whole parts.
        auto indices = reinterpret_cast<Int16x8>(
            load(shares[0][red[x]]) + load(shares[1][green[x]]) + load(shares[2][blue[x]]));
        indices = indices > lowest ? indices : lowest;
        indices = indices < highest ? indices : highest;
        const auto from_zero = reinterpret_cast<UInt16x8>(indices);
        red[x] = red_codes[from_zero[1]];
        green[x] = green_codes[from_zero[3]];
        blue[x] = blue_codes[from_zero[5]];
    };
    constexpr int32_t block = sizeof(uint32_t);
    std::array<uint32_t, 3> last = {};
    int32_t x = 0;
    for (; x + block <= count; x += block) {
        const std::array<uint32_t, 3> now = {word_at(red + x), word_at(green + x),
                                             word_at(blue + x)};
        const uint32_t differing = (now[0] ^ last[0]) | (now[1] ^ last[1]) | (now[2] ^ last[2]);
        if (differing == 0 && x > 0) {
            for (uint8_t *const row : rows)
                std::memcpy(row + x, row + x - block, block);
            continue;
        }
        last = now;
        for (int32_t i = 0; i < block; ++i)
            mix_one(x + i);
    }
    for (; x < count; ++x)
        mix_one(x);
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
    const std::array<PlainSum, 3> sums = {PlainSum(mix, 0), PlainSum(mix, 1), PlainSum(mix, 2)};
    for (int32_t x = 0; x < count; ++x) {
        const auto light = light_of(mix, rows, x);
        for (size_t k = 0; k < 3; ++k)
            rows[k][x] = mix.codes[k][sums[k](light)];
    }
}

void mix_luminance(const ColorMix &mix, const ColorRows &rows, int32_t count) {
    const PlainSum sum(mix, 1);
    const uint8_t *const codes = mix.codes[0];
    const ColorRows own = rows; // which stores cannot change
    for (int32_t x = 0; x < count; ++x)
        own[0][x] = codes[sum(light_of(mix, own, x))];
}

} // namespace zor
