// samples_test.cpp - operators that change what samples hold: types, widths, ranges, and the clip.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ops/fake_image.h"

namespace {

using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr ZOR_CHANNELS none = {0, ZOR_C_INTEGER, 8};

ZOR_CHANNELS floats(int32_t count) { return {count, ZOR_C_FLOAT, 32}; }
ZOR_CHANNELS doubles(int32_t count) { return {count, ZOR_C_DOUBLE, 64}; }
ZOR_CHANNELS integers(int32_t count, int32_t bits) { return {count, ZOR_C_INTEGER, bits}; }

// Arguments that go by group: those given, and null for the others.
template<class T>
struct ByGroup {
    ByGroup(const T *colour, const T *matte = nullptr, const T *aux = nullptr)
        : of{colour, matte, aux} {}
    operator const T * const *() const { return of; }
    const T *of[3];
};
using Targets = ByGroup<ZOR_TARGET>;
using Ranges = ByGroup<ZOR_RANGE>;

// Values from a list, the same in all channels and lines.
FakeImage::Value values(std::vector<double> list) {
    return [list](int, int x, int) { return list[static_cast<size_t>(x)]; };
}

void expect_nothing_pushed(const FakeImage &fake) {
    EXPECT_EQ(fake.image()->driver_state, nullptr);
}

TEST(Quantize, RoundsWhatIsClamped) {
    const std::vector<double> list = {nan, -inf, -0.25, 0, 0.31, 0.5, 0.69, 0.999, 1, 1.25, inf};
    for (const ZOR_CHANNELS &from : {floats(2), doubles(2)}) {
        for (const int bits : {1, 7, 8, 9, 12, 16, 17, 31, 32}) {
            FakeImage fake(ZOR_MODE_READ, 11, 1, {from, none, none});
            fake.value = values(list);
            const ZOR_TARGET target = {ZOR_C_INTEGER, bits};
            ZOR__quantize(fake.image(), Targets(&target), nullptr);
            EXPECT_EQ(fake.desc().image.type, ZOR_C_INTEGER);
            EXPECT_EQ(fake.desc().image.bits, bits);
            const auto rows = fake.read(0);
            EXPECT_EQ(rows[0], rows[1]);
            for (size_t x = 0; x < list.size(); ++x) {
                const double value = from.type == ZOR_C_FLOAT
                                         ? static_cast<double>(static_cast<float>(list[x]))
                                         : list[x];
                const long double clamped = value >= 1 ? 1.0L : value > 0 ? value : 0.0L;
                const long double largest = std::ldexp(1.0L, bits) - 1;
                EXPECT_NEAR(rows[0][x], static_cast<double>(std::floor(clamped * largest + 0.5L)),
                            bits < 32 ? 0 : 1)
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
    EXPECT_EQ(fake.desc().aux.bits, 16);
    const std::vector<double> list = {0, 51, 127, 255};
    EXPECT_EQ(fake.write(0, values(list)), 0);
    EXPECT_THAT(fake.written[0], ElementsAre(0, 0.2F, 127 / 255.0F, 1));
    EXPECT_THAT(fake.written[1], ElementsAre(0, 51 / 4095.0, 127 / 4095.0, 255 / 4095.0));
    EXPECT_EQ(fake.written[2], list);
}

TEST(Quantize, HandsOtherGroupsOnAsTheyAre) {
    FakeImage fake(ZOR_MODE_READ, 4, 1, {floats(1), integers(1, 16), doubles(1)});
    void **below = nullptr;
    ZOR_scan_read(fake.image(), 0, &below);
    const ZOR_TARGET target = {ZOR_C_INTEGER, 8};
    ZOR__quantize(fake.image(), Targets(&target, &target), nullptr);
    void **rows = nullptr;
    ZOR_scan_read(fake.image(), 0, &rows);
    EXPECT_NE(rows[0], below[0]);
    EXPECT_EQ(rows[1], below[1]);
    EXPECT_EQ(rows[2], below[2]);
    EXPECT_EQ(fake.desc().matte.bits, 16);
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
        const ZOR_RESPONSE_CURVE encode = {1, wants, 0, 0, 0, 0, 0, nullptr};
        ZOR__quantize(fake.image(), Targets(&target, &target), &encode);
        EXPECT_EQ(fake.desc().curve.gamma, wants);
        const auto rows = fake.read(0);
        const double power = static_cast<double>(has) / static_cast<double>(wants);
        for (size_t x = 0; x < list.size(); ++x) {
            const double clamped = list[x] > 0 ? std::min(list[x], 1.0) : 0;
            EXPECT_NEAR(rows[0][x], std::pow(clamped, power) * 65535, 0.51) << list[x];
            EXPECT_EQ(rows[1][x], std::floor(clamped * 65535 + 0.5)) << list[x]; // no matte is
        }
        EXPECT_EQ(ZOR__quantize_undo(fake.image()), 1);
        EXPECT_EQ(fake.desc().curve.gamma, has);
    }
}

TEST(Quantize, RefusesWhatMakesNoSense) {
    const auto refused = [](int mode, const ZOR_TARGET &target, const ZOR_RESPONSE_CURVE *encode,
                            float gamma) {
        ReportLog log;
        FakeImage fake(mode, 4, 1, {floats(1), none, none});
        fake.desc().curve.gamma = gamma;
        zor__err = 0;
        ZOR__quantize(fake.image(), Targets(&target), encode);
        expect_nothing_pushed(fake);
        return log.has_only(ZOR_MSG_CANNOT_HANDLE) && zor__err == ZOR_E_UNSUPPORTED;
    };
    for (const ZOR_TARGET &target :
         {ZOR_TARGET{ZOR_C_FLOAT, 32}, {ZOR_C_INTEGER, 0}, {ZOR_C_INTEGER, 33}})
        EXPECT_TRUE(refused(ZOR_MODE_READ, target, nullptr, 1));
    const ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
    ZOR_RESPONSE_CURVE encode = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
    EXPECT_TRUE(refused(ZOR_MODE_WRITE, bytes, &encode, 1));
    for (const double gamma : {0.0, -1.0, nan, inf})
        EXPECT_TRUE(refused(ZOR_MODE_READ, bytes, &encode, static_cast<float>(gamma)));
    encode.gamma = 0;
    EXPECT_TRUE(refused(ZOR_MODE_READ, bytes, &encode, 1));
    encode = {2, 2.2F, 0, 1, 256, 0, 8, nullptr};
    EXPECT_TRUE(refused(ZOR_MODE_READ, bytes, &encode, 1));

    ReportLog log; // without a word where there is nothing to do
    FakeImage interleaved(ZOR_MODE_READ, 4, 1, {floats(3), none, none});
    interleaved.desc().chan_flag = 0;
    interleaved.settle();
    ZOR__quantize(interleaved.image(), Targets(&bytes), nullptr);
    expect_nothing_pushed(interleaved);
    FakeImage integer(ZOR_MODE_READ, 4, 1, {integers(3, 16), floats(0), none});
    ZOR__quantize(integer.image(), Targets(&bytes, &bytes, &bytes), nullptr);
    expect_nothing_pushed(integer);
    EXPECT_EQ(log.text(), "");
}

TEST(ChangeWidth, ShiftsWithinASizeOrToASmallerOne) {
    constexpr int width = 1300; // several blocks of the conversion
    struct {
        int from, to;
        bool fits;
    } cases[] = {{16, 8, true},  {10, 8, true},  {32, 8, true}, {32, 16, true},  {20, 9, true},
                 {24, 17, true}, {8, 4, true},   {4, 8, true},  {10, 16, true},  {17, 32, true},
                 {8, 8, true},   {8, 16, false}, {8, 9, false}, {16, 17, false}, {1, 32, false},
                 {8, 33, false}, {8, 0, false}};
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
                ASSERT_EQ(rows[k][static_cast<size_t>(x)],
                          std::floor(std::ldexp(fake.value(0, x, 0), to - from)))
                    << from << " to " << to;
    }
}

TEST(ChangeWidth, LeavesFloatsEmptyGroupsAndWritersAlone) {
    const ZOR_TARGET wide = {ZOR_C_INTEGER, 16};
    FakeImage fake(ZOR_MODE_READ, 4, 1, {floats(1), integers(0, 8), integers(1, 8)});
    ZOR__change_width(fake.image(), Targets(&wide, &wide));
    EXPECT_NE(fake.image()->driver_state, nullptr); // with nothing to do, but there
    EXPECT_EQ(fake.desc().matte.bits, 8);
    EXPECT_EQ(fake.desc().image.type, ZOR_C_FLOAT);
    const ZOR_TARGET floating = {ZOR_C_FLOAT, 32};
    FakeImage other(ZOR_MODE_READ, 4, 1, {});
    ZOR__change_width(other.image(), Targets(&floating));
    ZOR__change_width(other.image(), Targets(nullptr));
    expect_nothing_pushed(other);
    FakeImage writer(ZOR_MODE_WRITE, 4, 1, {integers(3, 16), none, none});
    const ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
    ZOR__change_width(writer.image(), Targets(&bytes));
    expect_nothing_pushed(writer);
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
            if (mode == ZOR_MODE_WRITE)
                fake.write(y, fake.value);
            const auto rows = mode == ZOR_MODE_READ ? fake.read(y) : fake.written;
            const bool mapped = y >= 2 && y <= 4;
            EXPECT_EQ(rows[0][2], 3);
            EXPECT_EQ(rows[1][0], 3);
            EXPECT_EQ(rows[1][4], 3);
            EXPECT_EQ(rows[1][2], mapped ? 0.5 : 3) << y;
            EXPECT_TRUE(mapped ? rows[1][1] == 0 : std::isnan(rows[1][1]));
            EXPECT_EQ(rows[1][3], mapped ? 1 : inf);
        }
    }
}

TEST(Remap, WantsPlanarFloatsAndARange) {
    ReportLog log;
    const ZOR_RANGE range = {0, 2};
    FakeImage mixed(ZOR_MODE_READ, 5, 1, {floats(1), doubles(1), none});
    ZOR__remap(mixed.image(), Ranges(&range, &range));
    ZOR__remap(mixed.image(), Ranges(nullptr));
    mixed.desc().chan_flag = 0;
    ZOR__remap(mixed.image(), Ranges(&range));
    mixed.desc().chan_flag = 1;
    EXPECT_EQ(log.text(), "");
    for (const ZOR_RANGE &bad : {ZOR_RANGE{1, 1}, {2, 1}, {-3e38F, 3e38F}, {0, 1e-45F}})
        ZOR__remap(mixed.image(), Ranges(&bad));
    EXPECT_EQ(log.count(ZOR_MSG_CANNOT_HANDLE), 4);
    expect_nothing_pushed(mixed);
}

TEST(MinMax, StretchesARangeToTheFullOne) {
    for (const int mode : {ZOR_MODE_READ, ZOR_MODE_WRITE}) {
        FakeImage fake(mode, 5, 1, {integers(1, 8), integers(1, 32), floats(1)});
        fake.value = [](int channel, int x, int) {
            return channel == 0   ? std::vector{0, 51, 102, 204, 255}[static_cast<size_t>(x)]
                   : channel == 1 ? std::floor(4294967295.0 * x / 4)
                                  : x / 4.0 - 0.25;
        };
        const ZOR_RANGE fifths = {0.2F, 0.8F};
        const ZOR_RANGE half = {-1, 1};
        const ZOR_RANGE beyond = {0.1F, 0.3F};
        ZOR__min_max(fake.image(), Ranges(&fifths, &half, &beyond));
        if (mode == ZOR_MODE_WRITE)
            fake.write(0, fake.value);
        const auto rows = mode == ZOR_MODE_READ ? fake.read(0) : fake.written;
        EXPECT_THAT(rows[0], ElementsAre(0, 0, 85, 255, 255));
        EXPECT_THAT(rows[1],
                    ElementsAre(2147483648, 2684354559, 3221225471, 3758096383, 4294967295));
        for (size_t x = 0; x < 5; ++x) // no clamp here
            EXPECT_NEAR(rows[2][x], (static_cast<double>(x) / 4 - 0.35) / 0.2, 1e-6);
    }
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 5, 1, {});
    for (const ZOR_RANGE &bad :
         {ZOR_RANGE{1, 1}, {2, 1}, {0, static_cast<float>(inf)}, {static_cast<float>(nan), 1}})
        ZOR__min_max(fake.image(), Ranges(&bad));
    EXPECT_EQ(log.count(ZOR_MSG_CANNOT_HANDLE), 4);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    expect_nothing_pushed(fake);
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
    ZOR__scale_undo(fake.image());

    ReportLog log;
    const float bad[] = {1, 1, static_cast<float>(inf)};
    const float same[] = {1, 1, 7}; // the last group is empty
    ZOR__scale(fake.image(), same);
    EXPECT_EQ(log.text(), "");
    ZOR__scale(fake.image(), bad);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_HANDLE));
    expect_nothing_pushed(fake);
}

struct Pixel {
    double r, g, b, matte;
};

// A colour and its matte, clipped in each of the layouts and types there are.
Pixel clip(const Pixel &pixel, const char *format, int32_t flag, bool wide) {
    FakeImage fake(ZOR_MODE_READ, 3, 1,
                   {wide ? doubles(3) : floats(3), wide ? doubles(1) : floats(1), none});
    fake.desc().chan_flag = flag;
    ERR_free(fake.desc().chan_format);
    fake.desc().chan_format = STR_save(format);
    fake.desc().act_left = fake.desc().act_right = 1;
    fake.settle();
    fake.value = [&](int channel, int x, int) {
        return x != 1 ? 9 : std::vector{pixel.r, pixel.g, pixel.b, pixel.matte}[channel];
    };
    ZOR__clip(fake.image());
    const auto rows = fake.read(0);
    for (const auto &row : rows)
        EXPECT_TRUE(row[0] == 9 && row[2] == 9); // outside the active window
    return {rows[0][1], rows[1][1], rows[2][1], rows[3][1]};
}

TEST(Clip, MovesColoursTowardTheirMean) {
    for (const bool wide : {false, true}) {
        for (const int flag : {0, 1}) {
            const auto expect = [&](const Pixel &from, double r, double g, double b) {
                const Pixel to = clip(from, "rgb", flag, wide);
                EXPECT_THAT((std::vector{to.r, to.g, to.b}),
                            ElementsAre(testing::DoubleNear(r, 1e-6), testing::DoubleNear(g, 1e-6),
                                        testing::DoubleNear(b, 1e-6)))
                    << from.r << " " << from.g << " " << from.b << " in " << from.matte;
            };
            expect({0, 0.5, 0.25, 0.5}, 0, 0.5, 0.25);
            expect({1, 0.2, 0, 0.5}, 0.49995, 0.366683, 0.333366);
            expect({0.5, -0.25, 0.35, 1}, 0.333266, 0.0001, 0.266633);
            expect({0, 0, 3, 1}, 0.999999, 0.999999, 0.999999);
            expect({-3, 1, 1, 1}, 0, 0, 0);
            expect({4, 4, 0, 1}, 1, 1, 1);
            for (const double matte : {0.0, -1.0, nan})
                expect({0.5, 0.5, 0.5, matte}, 0, 0, 0);
            for (const double bad : {nan, -inf})
                expect({0.5, bad, 0.5, 1}, 0, 0, 0);
            expect({0.5, inf, 0.5, 0.75}, 0.75, 0.75, 0.75);
        }
    }
}

TEST(Clip, ClampsOtherFormatsByComponent) {
    for (const bool wide : {false, true}) {
        for (const int flag : {0, 1}) {
            Pixel to = clip({-1, 2, 0.25, 0.5}, "xyz", flag, wide);
            EXPECT_THAT((std::vector{to.r, to.g, to.b}), ElementsAre(0, 0.5, 0.25));
            to = clip({1, nan, inf, nan}, "xyz", flag, wide);
            EXPECT_THAT((std::vector{to.r, to.g, to.b}), ElementsAre(0, 0, 0));
            to = clip({1, nan, inf, 2}, "raw", flag, wide);
            EXPECT_THAT((std::vector{to.r, to.g, to.b}), ElementsAre(1, 0, 2));
        }
    }
}

TEST(Clip, WantsOneFloatTypeAndAMatte) {
    const FakeImage::Groups cases[] = {{integers(3, 8), floats(1), none},
                                       {floats(3), integers(1, 8), none},
                                       {floats(3), floats(0), none},
                                       {floats(0), floats(1), none},
                                       {floats(3), doubles(1), none}};
    for (const FakeImage::Groups &groups : cases) {
        FakeImage fake(ZOR_MODE_READ, 3, 1, groups);
        ZOR__clip(fake.image());
        expect_nothing_pushed(fake);
    }
    FakeImage fake(ZOR_MODE_WRITE, 3, 3, {floats(2), floats(1), none}); // rgb of two
    fake.desc().act_bottom = fake.desc().act_top = 1;
    fake.desc().chan_flag = 2;
    ZOR__clip(fake.image());
    expect_nothing_pushed(fake);
    fake.desc().chan_flag = 1;
    ZOR__clip(fake.image());
    for (int y = 0; y < 3; ++y) {
        fake.write(y, [](int channel, int, int) { return channel == 2 ? 1 : 2; });
        EXPECT_EQ(fake.written[1][0], y == 1 ? 1 : 2);
    }
}

} // namespace
