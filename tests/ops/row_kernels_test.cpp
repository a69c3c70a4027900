// row_kernels_test.cpp - every version of the row kernels that can run here against the rules they
// follow, for all that integers can be and for the floats at which rounding changes.
#include "ops/row_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace {

using zor::RowKernels;

// Works on rows of different lengths at odd places, between samples that must stay.
template<class To, class From, class Work, class Rule>
void expect_rule(const std::vector<From> &all, Work work, Rule rule) {
    using Part = std::pair<size_t, size_t>; // first, count
    for (const auto &[first, count] :
         {Part{0, all.size()}, {1, 0}, {1, 1}, {3, 31}, {5, 64}, {7, 97}}) {
        std::vector<From> from(&all[first], &all[first] + count);
        std::vector<To> to(count + 2, To{77});
        work(to.data() + 1, from.data(), static_cast<int32_t>(count));
        ASSERT_TRUE(to.front() == 77 && to.back() == 77) << count;
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(to[i + 1], rule(from[i])) << i << " of " << count << ": " << from[i];
    }
}

// 0, 1, 2... in order; or in none, so that neighbours have nothing to do with each other.
template<class Integer>
std::vector<Integer> all_of(bool shuffled) {
    std::vector<Integer> all(size_t{1} << 8 * sizeof(Integer));
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<Integer>(i);
    if (shuffled)
        std::shuffle(all.begin(), all.end(), std::mt19937(1));
    return all;
}

// Also where neighbours are equal.
void look_up(const RowKernels &kernels) {
    const std::vector<uint8_t> table = all_of<uint8_t>(true);
    const std::vector<float> floats(table.begin(), table.end());
    std::vector<uint8_t> flat(200, 200);
    flat[70] = 3;
    for (const auto &all : {all_of<uint8_t>(false), all_of<uint8_t>(true), flat}) {
        const auto rule = [&](uint8_t byte) { return table[byte]; };
        expect_rule<uint8_t>(
            all,
            [&](uint8_t *to, const uint8_t *from, int32_t count) {
                std::copy_n(from, count, to);
                kernels.look_up(to, count, table.data());
            },
            rule);
        expect_rule<float>(
            all,
            [&](float *to, const uint8_t *from, int32_t count) {
                kernels.look_up_floats(to, from, count, floats.data());
            },
            rule);
    }
}

void narrow(const RowKernels &kernels) {
    for (int32_t shift = 0; shift < 16; ++shift)
        expect_rule<uint8_t>(
            all_of<uint16_t>(true),
            [&](uint8_t *to, uint16_t *from, int32_t count) {
                const std::vector<uint16_t> before(from, from + count);
                kernels.narrow(from, count, shift);
                std::copy_n(reinterpret_cast<uint8_t *>(from), count, to);
                std::copy(before.begin(), before.end(), from);
            },
            [&](uint16_t sample) { return static_cast<uint8_t>(sample >> shift); });
}

template<class Integer>
void to_floats(RowKernels::ToFloats kernel) {
    constexpr int32_t size = sizeof(Integer) * 8;
    for (int32_t bits = size - 7; bits <= size; ++bits) {
        const double scale = 1.0 / ((1 << bits) - 1);
        expect_rule<float>(
            all_of<Integer>(true),
            [&](float *to, const Integer *from, int32_t count) { kernel(to, from, count, scale); },
            [&](Integer sample) {
                return static_cast<float>(static_cast<double>(sample) * scale);
            });
    }
}

// The floats around each at which the integer changes, and what there is beside numbers.
std::vector<float> edges(double largest) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> all = {-infinity, -1,       -0.0F,
                              1e-45F,    1,        1.5F,
                              1e9F,      infinity, std::numeric_limits<float>::quiet_NaN()};
    for (double integer = 0; integer <= largest; ++integer) {
        const auto edge = static_cast<float>((integer + 0.5) / largest);
        for (const float toward : {-infinity, infinity}) {
            const float next = std::nextafter(edge, toward);
            all.insert(all.end(), {edge, next, std::nextafter(next, toward)});
        }
    }
    all.resize(std::max<size_t>(all.size(), 128)); // for all parts of rows
    return all;
}

template<class Integer>
void from_floats(RowKernels::FromFloats kernel) {
    for (int32_t bits = 1; bits <= int32_t{sizeof(Integer)} * 8; ++bits) {
        const double largest = (1 << bits) - 1;
        expect_rule<Integer>(
            edges(largest),
            [&](Integer *to, const float *from, int32_t count) {
                kernel(to, from, count, largest);
            },
            [&](float value) {
                const double unit =
                    std::isnan(value) ? 0.0 : std::clamp(static_cast<double>(value), 0.0, 1.0);
                return static_cast<Integer>(std::floor(unit * largest + 0.5));
            });
    }
}

TEST(RowKernels, FollowTheirRulesInEveryVersion) {
    for (const zor::Vectors vectors :
         {zor::Vectors::portable, zor::Vectors::avx2, zor::Vectors::avx512}) {
        const RowKernels *kernels = zor::row_kernels(vectors);
        if (kernels == nullptr)
            continue;
        SCOPED_TRACE(static_cast<int>(vectors));
        look_up(*kernels);
        narrow(*kernels);
        to_floats<uint8_t>(kernels->bytes_to_floats);
        to_floats<uint16_t>(kernels->words_to_floats);
        from_floats<uint8_t>(kernels->floats_to_bytes);
        from_floats<uint16_t>(kernels->floats_to_words);
    }
}

} // namespace
