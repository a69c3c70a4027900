// row_kernels_test.cpp - every version of the row kernels that can run here against the rules they
// follow, for all that integers can be and for the floats at which rounding changes.
#include "ops/row_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

namespace {

using zor::RowKernels;

// Works on rows of different lengths at odd places, between samples that must stay. The work may
// change what it is given.
template<class To, class From, class Work, class Rule>
void expect_rule(const std::vector<From> &all, Work work, Rule rule) {
    using Part = std::pair<size_t, size_t>; // first, count
    for (const auto &[first, count] :
         {Part{0, all.size()}, {1, 0}, {1, 1}, {3, 31}, {2, 60}, {5, 64}, {7, 97}}) {
        std::vector<From> from(&all[first], &all[first] + count);
        std::vector<To> to(count + 2, To{77});
        work(to.data() + 1, from.data(), static_cast<int32_t>(count));
        ASSERT_TRUE(to.front() == 77 && to.back() == 77) << count;
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(to[i + 1], static_cast<To>(rule(all[first + i]))) << i << " of " << count;
    }
}

// In no order, so that neighbours have nothing to do with each other.
template<class Integer>
std::vector<Integer> all_integers() {
    std::vector<Integer> all(size_t{1} << 8 * sizeof(Integer));
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<Integer>(i);
    std::shuffle(all.begin(), all.end(), std::mt19937(1));
    return all;
}

void look_up(const RowKernels &kernels) {
    const std::vector<uint8_t> table = all_integers<uint8_t>();
    std::vector<float> floats; // every byte of which counts
    for (const uint8_t entry : table)
        floats.push_back(entry / 255.0F);
    std::vector<uint8_t> rising = table;
    std::sort(rising.begin(), rising.end());
    std::vector<uint8_t> flat(200, 200);
    flat[70] = 3;
    for (const auto &bytes : {table, rising, flat}) {
        const auto in_place = [&](uint8_t *to, const uint8_t *from, int32_t count) {
            std::copy_n(from, count, to);
            kernels.look_up(to, count, table.data());
        };
        const auto to_floats = [&](float *to, const uint8_t *from, int32_t count) {
            kernels.look_up_floats(to, from, count, floats.data());
        };
        expect_rule<uint8_t>(bytes, in_place, [&](uint8_t byte) { return table[byte]; });
        expect_rule<float>(bytes, to_floats, [&](uint8_t byte) { return floats[byte]; });
    }
}

void narrow(const RowKernels &kernels) {
    for (int32_t shift = 0; shift < 16; ++shift) {
        const auto work = [&](uint8_t *to, uint16_t *from, int32_t count) {
            kernels.narrow(from, count, shift);
            std::copy_n(reinterpret_cast<uint8_t *>(from), count, to);
        };
        expect_rule<uint8_t>(all_integers<uint16_t>(), work,
                             [&](uint16_t sample) { return sample >> shift; });
    }
}

template<class Integer>
void to_floats(RowKernels::ToFloats kernel) {
    constexpr int32_t size = sizeof(Integer) * 8;
    for (int32_t bits = size - 7; bits <= size; ++bits) {
        const double largest = (1 << bits) - 1;
        const auto work = [&](float *to, const Integer *from, int32_t count) {
            kernel(to, from, count, 1 / largest);
        };
        expect_rule<float>(all_integers<Integer>(), work,
                           [&](Integer sample) { return sample / largest; });
    }
}

template<class Integer>
void from_floats(RowKernels::FromFloats kernel) {
    for (int32_t bits = 1; bits <= int32_t{sizeof(Integer)} * 8; ++bits) {
        const double largest = (1 << bits) - 1;
        std::vector<float> floats = {-HUGE_VALF, -1, -0.0F, 1e-45F, 1, 1.5F, 1e9F, HUGE_VALF, NAN};
        for (double integer = 0; integer <= largest; ++integer) {
            const auto edge = static_cast<float>((integer + 0.5) / largest);
            floats.insert(floats.end(),
                          {std::nextafter(edge, 0.0F), edge, std::nextafter(edge, 2.0F)});
        }
        floats.resize(std::max<size_t>(floats.size(), 128)); // for all parts of rows
        const auto work = [&](Integer *to, const float *from, int32_t count) {
            kernel(to, from, count, largest);
        };
        expect_rule<Integer>(floats, work, [&](double value) {
            return std::floor((value > 0 ? std::min(value, 1.0) : 0) * largest + 0.5);
        });
    }
}

TEST(RowKernels, FollowTheirRulesInEveryVersion) {
    bool others = false;
    for (const zor::Vectors vectors :
         {zor::Vectors::portable, zor::Vectors::avx2, zor::Vectors::avx512}) {
        const RowKernels *kernels = zor::row_kernels(vectors);
        if (kernels == nullptr) {
            others = true;
            continue;
        }
        SCOPED_TRACE(static_cast<int>(vectors));
        look_up(*kernels);
        narrow(*kernels);
        to_floats<uint8_t>(kernels->bytes_to_floats);
        to_floats<uint16_t>(kernels->words_to_floats);
        from_floats<uint8_t>(kernels->floats_to_bytes);
        from_floats<uint16_t>(kernels->floats_to_words);
    }
    if (others)
        GTEST_SKIP() << "this processor does not run all versions: some are not tested";
}

} // namespace
