// number_test.cpp - numbers as text.
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>

#include "base/base/number.h"

namespace {

const std::string zeros(400, '0');

// clang-format off
// text, value, length of the number
const std::tuple<std::string, double, size_t> reals[] = {
    {"  \t-2.25e1 rest", -22.5, 10}, {"+.5.5", .5, 3}, {"7.", 7, 2}, {"2E-3", .002, 4},
    {"1e", 1, 1}, {"1e+x2", 1, 1}, {"0x10", 0, 1}, {"1,5", 1, 1}, {"-0", -0.0, 2},
    {"1e999", DBL_MAX, 5}, {"-1e99999999999999999999", -DBL_MAX, 23}, {"1e-999", 0, 6},
    {".00000001e400", DBL_MAX, 13}, {"0e99999", 0, 7}, {"1" + zeros + "e-800", 0, 406},
    {"0." + zeros + "1e401", 1, 407}, {"1" + zeros, DBL_MAX, 401}, {"." + zeros + "1e9", 0, 404},
    {"", 0, 0}, {"-", 0, 0}, {".", 0, 0}, {"+-1", 0, 0}, {".e5", 0, 0}, {"inf", 0, 0}};

const std::pair<const char *, int32_t> integers[] = {
    {"  -17x", -17}, {"+5.9", 5}, {"", 0}, {"- 1", 0}, {"0x10", 0}, {"2147483647", INT32_MAX},
    {"2147483648", INT32_MAX}, {"-2147483648", INT32_MIN}, {"-99999999999999999999", INT32_MIN}};
// clang-format on

TEST(Number, IsTheLongestPrefixAndCutToItsRange) {
    for (const auto &[text, expected, length] : reals) {
        const std::vector<char> bytes(text.begin(), text.end()); // no terminator is needed
        double value = expected;
        const char *end = nullptr;
        EXPECT_EQ(zor::parse_real({bytes.data(), bytes.size()}, &value, &end), length > 0) << text;
        EXPECT_EQ(end, bytes.data() + length) << text;
        EXPECT_DOUBLE_EQ(value, expected) << text;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
    }
    for (const auto &[text, value] : integers)
        EXPECT_EQ(zor::parse_integer(text), value) << text;
}

TEST(Number, PrintsLikePrintfAndStaysInTheBuffer) {
    for (const double value : {0., -0., -1.5, .0005, 2.675, .125, 9.99996e3, 1e38, -DBL_MAX,
                               DBL_TRUE_MIN, -HUGE_VAL, std::nan("")})
        for (const auto &[width, decimals] : {std::pair{7, 4}, {0, 0}, {40, 64}})
            for (const size_t size : {512U, 16U, 1U}) {
                char wanted[512];
                const std::string locale = std::setlocale(LC_NUMERIC, nullptr);
                std::setlocale(LC_NUMERIC, "C");
                std::snprintf(wanted, sizeof wanted, "%*.*f", width, decimals, value);
                std::setlocale(LC_NUMERIC, locale.c_str());
                std::vector<char> buffer(size);
                const size_t n = zor::print_fixed(buffer.data(), size, value, width, decimals);
                EXPECT_EQ(buffer.data(), std::string(wanted).substr(0, size - 1));
                EXPECT_EQ(n, std::string(buffer.data()).size());
            }
    char large[600];
    EXPECT_EQ(zor::print_fixed(large, 0, 1, 7, 4), 0U);
    EXPECT_EQ(zor::print_fixed(large, sizeof large, DBL_MAX, INT_MIN, INT_MAX), 309U + 1 + 64);
    EXPECT_EQ(zor::print_fixed(large, sizeof large, DBL_MAX, INT_MAX, -1), sizeof large - 1);
}

} // namespace
