// samples_test.cpp - operators that change what samples hold: types, widths, ranges, and the clip.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ops/fake_image.h"

namespace {

using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
// Values from a list, the same in all channels and lines.
FakeImage::Value values(std::vector<double> list) {
    return [list](int, int x, int) { return list[x]; };
}

TEST(Quantize, RoundsWhatIsClamped) {
    const std::vector<double> list = {nan, -inf, -0.25, 0, 0.31, 0.5, 0.69, 0.999, 1, 1.25, inf};
    for (const int bits : {1, 7, 8, 9, 12, 16, 17, 31, 32}) {
        FakeImage fake(ZOR_MODE_READ, 11, 1, {floats(2), doubles(1), doubles(1)});
        fake.value = values(list);
        const ZOR_TARGET target = {ZOR_C_INTEGER, bits};
        ZOR__quantize(fake.image(), Targets(&target, nullptr, &target), nullptr);
        EXPECT_EQ(fake.desc().image.bits, bits);
        const auto rows = fake.read(0);
        EXPECT_EQ(rows[0], rows[1]);
        EXPECT_EQ(rows[2][9], 1.25) << "as it is";
        for (const size_t k : {0U, 3U})
            for (size_t x = 0; x < list.size(); ++x) {
                const double value = k == 0 ? double{static_cast<float>(list[x])} : list[x];
                const double clamped = value > 0 ? std::min(value, 1.0) : 0;
                const double largest = std::ldexp(1.0, bits) - 1;
                EXPECT_NEAR(rows[k][x], std::floor(clamped * largest + 0.5), bits < 32 ? 0 : 1)
                    << list[x] << " at " << bits;
            }
    }
}

TEST(Quantize, TakesWrittenIntegersToFractions) {
    FakeImage fake(ZOR_MODE_WRITE, 4, 1, {floats(1), doubles(1), integers(1, 16)});
    const ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
    const ZOR_TARGET words = {ZOR_C_INTEGER, 12};
    ZOR__quantize(fake.image(), Targets(&bytes, &words, &bytes), nullptr);
    EXPECT_EQ(fake.desc().aux.bits, 16); // a group that is none of floats stays as it is
    const std::vector<double> list = {0, 51, 127, 255};
    EXPECT_EQ(fake.write(0, values(list)), 0);
    EXPECT_THAT(fake.written,
                ElementsAre(ElementsAre(0, 0.2F, 127 / 255.0F, 1),
                            ElementsAre(0, 51 / 4095.0, 127 / 4095.0, 255 / 4095.0), list));
}

// From the smallest numbers to 1, with steps that meet interpolation anywhere.
TEST(Quantize, EncodesLightWithinAHundredthOfACode) {
    std::vector<double> list = {nan, -1, 0, 1e-42, 1, 2};
    for (double value = 1e-12; value < 1; value *= 1.0007)
        list.push_back(static_cast<double>(static_cast<float>(value)));
    for (const auto &[has, wants] : {std::pair(1.0F, 2.2F), {1.8F, 2.4F}, {2.2F, 1.0F}}) {
        FakeImage fake(ZOR_MODE_READ, static_cast<int>(list.size()), 1,
                       {floats(1), doubles(1), none});
        fake.desc().curve.gamma = has;
        fake.value = values(list);
        const ZOR_TARGET target = {ZOR_C_INTEGER, 16};
        const ZOR_RESPONSE_CURVE encode = power(wants);
        ZOR__quantize(fake.image(), Targets(&target, &target), &encode);
        EXPECT_EQ(fake.desc().curve.gamma, wants);
        const auto rows = fake.read(0);
        const double power = static_cast<double>(has) / static_cast<double>(wants);
        for (size_t x = 0; x < list.size(); ++x) {
            const double clamped = list[x] > 0 ? std::min(list[x], 1.0) : 0;
            EXPECT_NEAR(rows[0][x], std::pow(clamped, power) * 65535, 0.51) << list[x];
            EXPECT_EQ(rows[1][x], std::floor(clamped * 65535 + 0.5)) << list[x]; // no matte is
        }
    }
}

TEST(ChangeWidth, ShiftsWithinASizeOrToASmallerOne) {
    constexpr int width = 1300; // several blocks of the conversion
    const struct {
        int from, to;
        bool fits;
    } cases[] = {{16, 8, true}, {10, 8, true},   {32, 8, true},  {20, 9, true},  {24, 17, true},
                 {8, 4, true},  {4, 8, true},    {10, 16, true}, {17, 32, true}, {8, 8, true},
                 {8, 9, false}, {16, 17, false}, {1, 32, false}, {8, 33, false}, {8, 0, false}};
    for (const auto &[from, to, fits] : cases) {
        FakeImage fake(ZOR_MODE_READ, width, 1, {integers(2, from), floats(1), integers(1, from)});
        const double largest = std::ldexp(1.0, from) - 1;
        fake.value = [&](int, int x, int) { return std::floor(largest * x / (width - 1)); };
        const ZOR_TARGET target = {ZOR_C_INTEGER, to};
        ZOR__change_width(fake.image(), Targets(&target, &target, &target));
        EXPECT_EQ(fake.image()->driver_state != nullptr, fits) << from << " to " << to;
        EXPECT_EQ(fake.desc().image.bits, fits ? to : from);
        EXPECT_EQ(fake.desc().aux.bits, fits ? to : from);
        EXPECT_EQ(fake.desc().matte.type, ZOR_C_FLOAT);
        const auto rows = fake.read(0);
        for (int x = 0; fits && x < width; ++x)
            for (const size_t k : {0U, 1U, 3U})
                ASSERT_EQ(rows[k][x], std::floor(std::ldexp(fake.value(0, x, 0), to - from)))
                    << from << " to " << to;
    }
}

TEST(Remap, MapsTheActivePartAndALineMore) {
    for (const int mode : {ZOR_MODE_READ, ZOR_MODE_WRITE}) {
        FakeImage fake(mode, 5, 6, {floats(1), none, floats(1)});
        fake.desc().act_left = 1;
        fake.desc().act_right = 3;
        fake.desc().act_bottom = 2;
        fake.desc().act_top = 3;
        fake.settle();
        fake.value = values({3, nan, 3, inf, 3});
        const ZOR_RANGE range = {2, 4};
        ZOR__remap(fake.image(), Ranges(nullptr, nullptr, &range));
        for (int y = 0; y < 6; ++y) {
            const auto rows = fake.pass(y);
            const bool mapped = y >= 2 && y <= 4;
            EXPECT_EQ(rows[0][2], 3);
            EXPECT_THAT(rows[1], ElementsAre(3, testing::NanSensitiveDoubleEq(mapped ? 0 : nan),
                                             mapped ? 0.5 : 3, mapped ? 1 : inf, 3))
                << y;
        }
    }
}

TEST(MinMaxAndScale, RoundAndClampIntegersAlone) {
    for (const int mode : {ZOR_MODE_READ, ZOR_MODE_WRITE})
        for (const int flag : {0, 1}) {
            FakeImage fake(mode, 5, 1,
                           {integers(2, 8), integers(1, 32), flag == 0 ? floats(1) : doubles(1)});
            fake.desc().chan_flag = flag;
            fake.settle();
            fake.value = [](int channel, int x, int) {
                return channel < 2    ? std::vector{0, 51, 102, 204, 255}[channel == 0 ? x : 4 - x]
                       : channel == 2 ? std::floor(4294967295.0 * x / 4)
                                      : x / 4.0 - 0.25;
            };
            const ZOR_RANGE ranges[] = {{0.2F, 0.8F}, {-1, 1}, {0.1F, 0.3F}};
            ZOR__min_max(fake.image(), Ranges(&ranges[0], &ranges[1], &ranges[2]));
            auto rows = fake.pass(0);
            EXPECT_THAT(rows[0], ElementsAre(0, 0, 85, 255, 255));
            EXPECT_THAT(rows[1], ElementsAre(255, 255, 85, 0, 0));
            EXPECT_THAT(rows[2],
                        ElementsAre(2147483648, 2684354559, 3221225471, 3758096383, 4294967295));
            for (size_t x = 0; x < 5; ++x)
                EXPECT_NEAR(rows[3][x], (static_cast<double>(x) / 4 - 0.35) / 0.2, 1e-6);
            EXPECT_EQ(ZOR__min_max_undo(fake.image()), 1);

            const float factors[] = {1.5F, -2, 2};
            ZOR__scale(fake.image(), factors);
            rows = fake.pass(0);
            EXPECT_THAT(rows[0], ElementsAre(0, 77, 153, 255, 255));
            EXPECT_THAT(rows[1], ElementsAre(255, 255, 153, 77, 0));
            EXPECT_THAT(rows[2], ElementsAre(0, 0, 0, 0, 0));
            EXPECT_THAT(rows[3], ElementsAre(-0.5, 0, 0.5, 1, 1.5));
        }
}

TEST(Clip, MovesColoursTowardTheirMeanAndClampsOtherFormats) {
    const struct {
        const char *format;
        double pixel[4]; // and its matte
        double clipped[3];
    } cases[] = {{"rgb", {0, 0.5, 0.25, 0.5}, {0, 0.5, 0.25}},
                 {"rgb", {1, 0.2, 0, 0.5}, {0.49995, 0.366683, 0.333366}},
                 {"rgb", {0.5, -0.25, 0.35, 1}, {0.333266, 0.0001, 0.266633}},
                 {"rgb", {0, 0, 3, 1}, {0.999999, 0.999999, 0.999999}},
                 {"rgb", {-3, 1, 1, 1}, {0, 0, 0}},
                 {"rgb", {4, 4, 0, 1}, {1, 1, 1}},
                 {"rgb", {0.5, 0.5, 0.5, 0}, {0, 0, 0}},
                 {"rgb", {0.5, 0.5, 0.5, nan}, {0, 0, 0}},
                 {"rgb", {0.5, nan, 0.5, 1}, {0, 0, 0}},
                 {"rgb", {0.5, inf, 0.5, 0.75}, {0.75, 0.75, 0.75}},
                 {"xyz", {-1, 2, 0.25, 0.5}, {0, 0.5, 0.25}},
                 {"xyz", {1, nan, inf, nan}, {0, 0, 0}},
                 {"raw", {1, nan, inf, 2}, {1, 0, 2}}};
    const FakeImage::Groups types[] = {{floats(3), floats(1), none},
                                       {doubles(3), doubles(1), none}};
    for (const auto &c : cases)
        for (const FakeImage::Groups &groups : types)
            for (const int flag : {0, 1}) {
                FakeImage fake(ZOR_MODE_READ, 3, 3, groups);
                fake.set_format(c.format);
                fake.desc().chan_flag = flag;
                fake.desc().act_left = fake.desc().act_right = 1;
                fake.desc().act_bottom = fake.desc().act_top = 1;
                fake.settle();
                fake.value = [&](int channel, int x, int y) {
                    return x == 1 && y == 1 ? c.pixel[channel] : channel < 3 ? 9 : 1;
                };
                ZOR__clip(fake.image());
                const auto rows = fake.read(1);
                for (int k = 0; k < 3; ++k) {
                    EXPECT_NEAR(rows[k][1], c.clipped[k], c.format == cases[0].format ? 1e-6 : 0)
                        << c.format << c.pixel[0] << " " << c.pixel[1] << " " << c.pixel[2];
                    // Outside the active window.
                    EXPECT_TRUE(rows[k][0] == 9 && rows[k][2] == 9);
                    EXPECT_TRUE(fake.read(0)[k][1] == 9 && fake.read(2)[k][1] == 9);
                }
            }
}

} // namespace
