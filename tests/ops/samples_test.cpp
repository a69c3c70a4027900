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
    for (const ZOR_CHANNELS &from : {floats(2), doubles(2)}) {
        for (const int bits : {1, 7, 8, 9, 12, 16, 17, 31, 32}) {
            FakeImage fake(ZOR_MODE_READ, 11, 1, {from, integers(1, 16), doubles(1)});
            fake.value = [&](int channel, int x, int) { return channel < 2 ? list[x] : x; };
            const ZOR_TARGET target = {ZOR_C_INTEGER, bits};
            ZOR__quantize(fake.image(), Targets(&target, &target), nullptr);
            EXPECT_EQ(fake.desc().image.type, ZOR_C_INTEGER);
            EXPECT_EQ(fake.desc().image.bits, bits);
            EXPECT_EQ(fake.desc().matte.bits, 16);
            const auto rows = fake.read(0);
            EXPECT_EQ(rows[0], rows[1]);
            EXPECT_TRUE(rows[2][9] == 9 && rows[3] == rows[2]) << "as they are";
            for (size_t x = 0; x < list.size(); ++x) {
                const double value =
                    from.type == ZOR_C_FLOAT ? double{static_cast<float>(list[x])} : list[x];
                const double clamped = value >= 1 ? 1 : value > 0 ? value : 0;
                const double largest = std::ldexp(1.0, bits) - 1;
                EXPECT_NEAR(rows[0][x], std::floor(clamped * largest + 0.5), bits < 32 ? 0 : 1)
                    << list[x] << " at " << bits;
            }
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
    struct {
        int from, to;
        bool fits;
    } cases[] = {{16, 8, true},  {10, 8, true},  {32, 8, true},  {32, 16, true}, {20, 9, true},
                 {24, 16, true}, {24, 17, true}, {8, 4, true},   {4, 8, true},   {10, 16, true},
                 {17, 32, true}, {8, 8, true},   {8, 16, false}, {8, 9, false},  {16, 17, false},
                 {1, 32, false}, {8, 33, false}, {8, 0, false}};
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

TEST(MinMax, StretchesARangeToTheFullOne) {
    for (const int mode : {ZOR_MODE_READ, ZOR_MODE_WRITE}) {
        FakeImage fake(mode, 5, 1, {integers(1, 8), integers(1, 32), floats(1)});
        fake.value = [](int channel, int x, int) {
            return channel == 0   ? std::vector{0, 51, 102, 204, 255}[x]
                   : channel == 1 ? std::floor(4294967295.0 * x / 4)
                                  : x / 4.0 - 0.25;
        };
        const ZOR_RANGE fifths = {0.2F, 0.8F};
        const ZOR_RANGE half = {-1, 1};
        const ZOR_RANGE beyond = {0.1F, 0.3F};
        ZOR__min_max(fake.image(), Ranges(&fifths, &half, &beyond));
        const auto rows = fake.pass(0);
        EXPECT_THAT(rows[0], ElementsAre(0, 0, 85, 255, 255));
        EXPECT_THAT(rows[1],
                    ElementsAre(2147483648, 2684354559, 3221225471, 3758096383, 4294967295));
        for (size_t x = 0; x < 5; ++x) // no clamp here
            EXPECT_NEAR(rows[2][x], (static_cast<double>(x) / 4 - 0.35) / 0.2, 1e-6);
    }
}

TEST(Scale, RoundsAndClampsIntegers) {
    for (const int flag : {1, 0}) {
        FakeImage fake(ZOR_MODE_READ, 4, 1, {integers(3, 10), doubles(1), floats(1)});
        fake.desc().chan_flag = flag;
        fake.settle();
        fake.value = [](int channel, int x, int) { return 300 * x + channel; };
        const float factors[] = {1.5F, -2, 1};
        ZOR__scale(fake.image(), factors);
        const auto rows = fake.read(0);
        EXPECT_THAT(rows[0], ElementsAre(0, 450, 900, 1023));
        EXPECT_THAT(rows[1], ElementsAre(2, 452, 902, 1023));
        EXPECT_THAT(rows[2], ElementsAre(3, 453, 903, 1023));
        EXPECT_THAT(rows[3], ElementsAre(-6, -606, -1206, -1806));
        EXPECT_THAT(rows[4], ElementsAre(4, 304, 604, 904));
    }
    FakeImage fake(ZOR_MODE_WRITE, 2, 1, {integers(1, 32), none, floats(0)});
    const float negative[] = {-1, 1, 7};
    ZOR__scale(fake.image(), negative);
    fake.write(0, values({0, 4294967295.0}));
    EXPECT_THAT(fake.written[0], ElementsAre(0, 0));
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
                 {"rgb", {0.5, 0.5, 0.5, -1}, {0, 0, 0}},
                 {"rgb", {0.5, 0.5, 0.5, nan}, {0, 0, 0}},
                 {"rgb", {0.5, nan, 0.5, 1}, {0, 0, 0}},
                 {"rgb", {0.5, -inf, 0.5, 1}, {0, 0, 0}},
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

// What a push leaves behind: an operator, a refusal, or nothing.
enum class Outcome { pushed, refused, nothing };

template<class Push>
void expect(Outcome outcome, const FakeImage::Groups &groups, Push push, int mode = ZOR_MODE_READ,
            int flag = 1, float gamma = 1) {
    ReportLog log;
    FakeImage fake(mode, 4, 1, groups);
    fake.desc().chan_flag = flag;
    fake.desc().curve.gamma = gamma;
    zor__err = 0;
    push(fake.image());
    const bool refused = outcome == Outcome::refused;
    EXPECT_EQ(fake.image()->driver_state != nullptr, outcome == Outcome::pushed);
    EXPECT_EQ(zor__err, refused ? ZOR_E_UNSUPPORTED : 0);
    EXPECT_EQ(log.reports.size(), refused ? 1U : 0U);
    EXPECT_EQ(log.has(ZOR_MSG_CANNOT_HANDLE), refused);
}

TEST(Arguments, ThatMakeNoSenseAreRefused) {
    const auto refuses = [](auto push, int mode = ZOR_MODE_READ, float gamma = 1) {
        expect(Outcome::refused, {floats(1), none, none}, push, mode, 1, gamma);
    };
    const ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
    ZOR_RESPONSE_CURVE encode = power(2.2F);
    const auto encoded = [&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&bytes), &encode); };
    refuses(encoded, ZOR_MODE_WRITE);
    for (const float gamma : {0.0F, -1.0F, NAN, HUGE_VALF})
        refuses(encoded, ZOR_MODE_READ, gamma);
    encode.gamma = 0;
    refuses(encoded);
    encode = {2, 2.2F, 0, 1, 256, ZOR_C_INTEGER, 8, nullptr};
    refuses(encoded);
    for (const ZOR_TARGET &wrong :
         {ZOR_TARGET{ZOR_C_FLOAT, 32}, {ZOR_C_INTEGER, 0}, {ZOR_C_INTEGER, 33}})
        refuses([&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&wrong), nullptr); });
    for (const ZOR_RANGE &range : {ZOR_RANGE{1, 1}, {2, 1}, {0, HUGE_VALF}, {NAN, 1}}) {
        refuses([&](ZOR_IMAGE *i) { ZOR__min_max(i, Ranges(&range)); });
        refuses([&](ZOR_IMAGE *i) { ZOR__remap(i, Ranges(&range)); });
    }
    const float factors[] = {1, 1, HUGE_VALF};
    refuses([&](ZOR_IMAGE *i) { ZOR__scale(i, factors); });
}

TEST(Arguments, ThatAskForNothingPushNothing) {
    const ZOR_TARGET words = {ZOR_C_INTEGER, 16};
    const ZOR_RANGE range = {0, 2};
    const float factors[] = {1, 1, 7};
    const auto quantize = [&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&words), nullptr); };
    const auto change = [&](ZOR_IMAGE *i) { ZOR__change_width(i, Targets(&words, &words)); };
    const auto remap = [&](ZOR_IMAGE *i) { ZOR__remap(i, Ranges(&range, &range)); };
    const auto scale = [&](ZOR_IMAGE *i) { ZOR__scale(i, factors); };
    constexpr auto nothing = Outcome::nothing;
    expect(nothing, {floats(3), none, none}, quantize, ZOR_MODE_READ, 0);
    expect(nothing, {integers(3, 8), floats(1), none}, quantize);
    expect(nothing, {floats(0), floats(1), none}, quantize);
    expect(nothing, {integers(3, 32), none, none}, change, ZOR_MODE_WRITE);
    expect(Outcome::pushed, {floats(3), none, none}, change); // it is there, to do nothing
    expect(nothing, {floats(1), doubles(1), none}, remap);
    expect(nothing, {floats(1), floats(0), none}, remap, ZOR_MODE_READ, 0);
    expect(nothing, {floats(1), none, floats(0)}, scale);

    expect(nothing, {integers(3, 8), floats(1), none}, &ZOR__clip);
    expect(nothing, {floats(3), integers(1, 8), none}, &ZOR__clip);
    expect(nothing, {floats(3), floats(0), none}, &ZOR__clip);
    expect(nothing, {floats(0), floats(1), none}, &ZOR__clip);
    expect(nothing, {floats(3), doubles(1), none}, &ZOR__clip);
    expect(nothing, {floats(3), floats(1), none}, &ZOR__clip, ZOR_MODE_READ, 2);
    expect(Outcome::pushed, {floats(2), floats(1), none}, &ZOR__clip, ZOR_MODE_WRITE);
}

} // namespace
