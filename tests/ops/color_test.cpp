// color_test.cpp - colour matrices, gamma correction and the colour transforms.
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "ops/color_matrix.h"
#include "ops/color_mix.h"
#include "ops/fake_image.h"
#include "support/fault.h"
#include "support/resolution.h"

namespace {

using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;
using Real = long double;
using Push = ZOR_IMAGE *(*)(ZOR_IMAGE *, const ZOR_RESPONSE_CURVE *);

constexpr float ntsc[12] = {0.67F, 0.33F, 0, 0.21F, 0.71F,  0.08F,
                            0.14F, 0.08F, 0, 0.31F, 0.316F, 0};
constexpr float wide[12] = {0.68F, 0.32F, 0, 0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
constexpr float on_a_line[12] = {0.6F, 0.3F, 0, 0.4F, 0.35F, 0, 0.2F, 0.4F, 0, 0.3F, 0.3F, 0};
constexpr float no_white[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3F, 0, 0};

constexpr ZOR_RESPONSE_CURVE power(float gamma) { return {1, gamma, 0, 0, 0, 0, 0, nullptr}; }
constexpr ZOR_RESPONSE_CURVE linear = power(1);

struct Tables {
    Tables(float gamma, int channels, int elements, int type, int depth)
        : curve{2, gamma, 0, channels, elements, type, depth, nullptr} {
        ZOR_response_curve_init(&curve);
    }
    ~Tables() { ZOR_response_curve_done(&curve); }
    Tables(const Tables &) = delete;
    Tables &operator=(const Tables &) = delete;
    ZOR_RESPONSE_CURVE curve;
};

class Color : public testing::Test {
protected:
    Color() { FMT_init(nullptr); } // or it would start by itself, with memory that a test counts
    ~Color() override { ZOR_color_matrix_reset(); }
    ReportLog log;
};

// Noise of 256 colours a line.
double noise(int channel, int x, int y) {
    const auto n = static_cast<uint32_t>((y * 256 + x) * 3 + channel);
    return ((n * 2654435761U) ^ (n * 40503U >> 5)) >> 24;
}

struct FakeColors : FakeImage {
    explicit FakeColors(float gamma, const FakeImage::Groups &groups = {}, int mode = ZOR_MODE_READ)
        : FakeImage(mode, 256, 16, groups) {
        desc().curve.gamma = gamma;
        value = &noise;
        std::copy_n(ntsc, 12, image()->primaries);
    }
    // Whether a push pushed something.
    [[nodiscard]] bool takes(Push push, const ZOR_RESPONSE_CURVE &curve) const {
        const void *below = image()->data[0];
        EXPECT_EQ(push(image(), &curve), image());
        return image()->data[0] != below;
    }
};

TEST_F(Color, MatricesOfPrimaries) {
    float to_xyz[9];
    float from_xyz[9];
    ASSERT_EQ(ZOR_color_matrix_set(3, nullptr), 0);
    ZOR_color_matrix_get(to_xyz, from_xyz);
    EXPECT_THAT(to_xyz,
                Pointwise(FloatNear(1e-6F), {0.606993F, 0.298967F, 0.0F, 0.173449F, 0.586421F,
                                             0.066076F, 0.200571F, 0.114612F, 1.117469F}));
    // What the set-up cannot work with changes nothing.
    for (const float *bad : {on_a_line, no_white})
        EXPECT_EQ(ZOR_color_matrix_set(3, bad), -1);
    const zor::ColorMatrices both = zor::color_matrices();
    EXPECT_THAT(zor::product(both.to_xyz, both.from_xyz),
                Pointwise(DoubleNear(1e-6), zor::identity_matrix));
    zor::Triple white;
    ASSERT_TRUE(zor::white_point(nullptr, &white));
    EXPECT_THAT(zor::transform({1, 1, 1}, both.to_xyz), Pointwise(DoubleNear(1e-6), white));
    EXPECT_EQ(ZOR_color_matrix_reset(), 1);
    EXPECT_EQ(zor::color_matrices().from_xyz, zor::identity_matrix);
}

TEST_F(Color, GammaCorrectsTheActiveBytes) {
    FakeColors fake(2.2F);
    fake.desc().act_left = 10;
    fake.desc().act_right = 240;
    EXPECT_FALSE(fake.takes(&ZOR__gamma, power(2.2F)));
    ASSERT_TRUE(fake.takes(&ZOR__gamma, power(1.8F)));
    const auto rows = fake.read(3);
    for (int x = 0; x < 256; ++x) {
        const Real stored = noise(2, x, 3);
        const Real wanted = std::pow(stored / 255, Real(2.2F) / Real(1.8F)) * 255;
        EXPECT_NEAR(static_cast<double>(rows[2][static_cast<size_t>(x)]),
                    static_cast<double>(x >= 10 && x <= 240 ? wanted : stored), 0.5001);
    }
    EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);
    EXPECT_EQ(fake.desc().curve.num_elements, 0);
}

// An image of 4 bits has 16 elements; what a driver may yet hand out beyond them is as bright.
TEST_F(Color, GammaGoesByShortTables) {
    FakeColors fake(1, {{1, ZOR_C_INTEGER, 4}, {}, {}});
    const Tables stored(2, 1, 16, ZOR_C_INTEGER, 8);
    ZOR_response_curve_copy(&fake.desc().curve, &stored.curve);
    fake.value = [](int, int x, int) { return x % 256; };
    ASSERT_TRUE(fake.takes(&ZOR__gamma, linear));
    const auto row = fake.read(0)[0];
    EXPECT_EQ(row[5], 28); // 255 (5 / 15)^2
    EXPECT_EQ(row[15], 255);
    EXPECT_EQ(row[255], 255);
}

TEST_F(Color, GammaStoresLight) {
    // The light of a line is 0, 1, ..., and runs past the table.
    for (const int n : {200, 4096, 65536}) {
        const Resolution resolution(n);
        FakeColors fake(2.2F, {}, ZOR_MODE_WRITE);
        ZOR_IMAGE_DESC &desc = fake.desc();
        desc.act_left = 5;
        desc.act_right = 250;
        desc.act_top = 7;
        ASSERT_TRUE(fake.takes(&ZOR__gamma, linear));
        const int bits = n == 200 ? 8 : n == 4096 ? 12 : 16;
        EXPECT_EQ(desc.image.bits, bits);
        const double top = std::ldexp(1.0, bits) - 1;
        const double most = bits == 8 ? 255 : 65535;
        const auto light = [&](int, int x, int) { return std::floor(x * most / 250); };
        fake.write(7, light);
        for (int x = 5; x < 256; ++x) {
            const double stored = std::pow(std::min(light(0, x, 0), top) / top, 1 / 2.2) * 255;
            EXPECT_NEAR(fake.written[1][static_cast<size_t>(x)], x <= 250 ? stored : 0, 0.5001);
        }
        fake.write(8, [](int, int, int) { return 3; });
        EXPECT_EQ(fake.written[0][0], 3); // not an active line
        EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);
        EXPECT_EQ(desc.image.bits, 8);
    }
}

TEST_F(Color, WhatCannotBeCorrected) {
    const Push pushes[] = {&ZOR__gamma, &ZOR__rgb_transform, &ZOR__xyz_transform,
                           &ZOR__rgb_luminance, &ZOR__xyz_luminance};
    for (const Push push : pushes) {
        const auto refuses = [&](FakeColors &fake, int status, const ZOR_RESPONSE_CURVE &curve) {
            zor__err = -3;
            log.clear();
            EXPECT_FALSE(fake.takes(push, curve));
            EXPECT_EQ(zor__err, status);
        };
        FakeColors wider(2, {{3, ZOR_C_INTEGER, 9}, {}, {}});
        refuses(wider, ZOR_E_UNSUPPORTED, linear);
        EXPECT_TRUE(log.has_only(ZOR_MSG_IMAGE_WIDTH));
        FakeColors none(2);
        none.image()->num_images = 0;
        refuses(none, ZOR_E_UNSUPPORTED, linear);
        EXPECT_TRUE(log.has_only(ZOR_MSG_MULTIPLE_IMAGES));
        none.image()->num_images = 1;
        FakeColors floats(2, {{3, ZOR_C_FLOAT, 32}, {}, {}});
        refuses(floats, 0, linear);
        EXPECT_EQ(push(nullptr, &linear), nullptr);

        // Tables that are too short, too deep, too few, or floats, where bytes are to come out.
        FakeColors fake(2);
        const Tables bad[] = {{1, 3, 255, ZOR_C_INTEGER, 8},
                              {1, 3, 4096, ZOR_C_INTEGER, 9},
                              {1, 2, 4096, ZOR_C_INTEGER, 8},
                              {1, 3, 4096, ZOR_C_FLOAT, 8}};
        for (const Tables &tables : bad)
            if (push != &ZOR__xyz_luminance)
                refuses(fake, 0, tables.curve);
        if (push == &ZOR__gamma)
            continue;
        FakeColors one(2, {{1, ZOR_C_INTEGER, 8}, {}, {}});
        refuses(one, 0, linear);
        EXPECT_EQ(log.text(), "");
        FakeColors written(2, {}, ZOR_MODE_WRITE);
        refuses(written, 0, linear);
        if (push != &ZOR__xyz_transform) {
            std::copy_n(on_a_line, 12, fake.image()->primaries);
            refuses(fake, 0, linear);
        }
    }
}

// What a colour comes to in higher precision; the bounds are those of a step or two of light.
void expect_near(double byte, Real light, Real gamma) {
    const auto encode = [&](Real value) {
        return static_cast<double>(std::pow(std::clamp<Real>(value, 0, 1), 1 / gamma) * 255);
    };
    EXPECT_GE(byte, encode(light - 3.0L / 4095) - 0.51);
    EXPECT_LE(byte, encode(light + 3.0L / 4095) + 0.51);
}

TEST_F(Color, TransformsMixLight) {
    const struct {
        Push push;
        int channels;
    } cases[] = {{&ZOR__rgb_transform, 3}, {&ZOR__xyz_transform, 3}, {&ZOR__rgb_luminance, 1}};
    const Tables stored(1.8F, 1, 256, ZOR_C_INTEGER, 12);
    const Tables wanted(1 / 2.4F, 3, 4096, ZOR_C_INTEGER, 8);
    for (const auto &[push, channels] : cases) {
        for (const bool tables : {false, true}) {
            FakeColors fake(1.8F);
            fake.desc().act_left = 1;
            if (tables)
                ZOR_response_curve_copy(&fake.desc().curve, &stored.curve);
            ZOR_color_matrix_set(3, wide);
            zor::Matrix matrix = zor::color_matrices().from_xyz;
            zor::Matrix to_xyz;
            zor::rgb_to_xyz(fake.image()->primaries, &to_xyz);
            if (push == &ZOR__rgb_transform)
                matrix = zor::product(to_xyz, matrix);
            ASSERT_TRUE(fake.takes(push, tables ? wanted.curve : power(2.4F)));
            EXPECT_EQ(fake.desc().image.count, channels);
            const auto rows = fake.read(5);
            ASSERT_EQ(rows.size(), static_cast<size_t>(channels));
            EXPECT_EQ(rows[0][0], noise(0, 0, 5)); // not active
            for (int x = 1; x < 256; ++x)
                for (size_t k = 0; k < rows.size(); ++k) {
                    Real light = 0;
                    for (size_t i = 0; i < 3; ++i)
                        light += std::pow(Real(noise(static_cast<int>(i), x, 5)) / 255, 1.8L) *
                                 (channels == 1 ? to_xyz[3 * i + 1] : matrix[3 * i + k]);
                    expect_near(rows[k][static_cast<size_t>(x)], light, 2.4L);
                }
            EXPECT_EQ(ZOR__rgb_transform_undo(fake.image()), push == &ZOR__rgb_transform);
        }
    }
    EXPECT_EQ(log.text(), "");
}

TEST_F(Color, LuminanceComesBeforeMatteAndDepth) {
    FakeColors fake(1, {{3, ZOR_C_INTEGER, 8}, {1, ZOR_C_INTEGER, 8}, {1, ZOR_C_INTEGER, 16}});
    fake.value = [](int channel, int, int) { return 10 * channel; };
    ASSERT_TRUE(fake.takes(&ZOR__rgb_luminance, linear));
    const auto rows = fake.read(0);
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_THAT(rows[1], Each(30));
    EXPECT_THAT(rows[2], Each(40));
    float to_xyz[9];
    ZOR_color_matrix_get(to_xyz, nullptr); // left by the push, of the image's primaries
    EXPECT_NEAR(to_xyz[4], 0.586421, 1e-6);
    EXPECT_EQ(ZOR__rgb_luminance_undo(fake.image()), 1);
    EXPECT_EQ(fake.desc().image.count, 3);
}

TEST_F(Color, PrecisionIsReducedWithAWarning) {
    const Resolution resolution(65536);
    FakeColors fake(1);
    ASSERT_TRUE(fake.takes(&ZOR__rgb_luminance, linear));
    EXPECT_TRUE(log.has_only(ZOR_MSG_PRECISION));
    EXPECT_EQ(log.last(),
              "Color response curve reduced to 14 bits of precision (limit is 14 bits)");
    fake.value = [](int, int x, int) { return x; };
    const auto rows = fake.read(0);
    for (size_t x = 0; x < 256; ++x)
        EXPECT_NEAR(rows[0][x], static_cast<double>(x), 0.51);
}

TEST_F(Color, EveryWayToMixGivesTheSame) {
    std::mt19937 random(1);
    const Tables input(2.2F, 3, 256, ZOR_C_INTEGER, 14);
    const Tables output(1 / 2.2F, 3, 16384, ZOR_C_INTEGER, 8);
    const Tables few(1, 1, 256, ZOR_C_INTEGER, 8);
    int quick = 0;
    for (int round = 0; round < 60; ++round) {
        zor::ColorMix mix;
        const bool narrow = round % 4 == 0;
        mix.precision = narrow ? 8 : 12;
        mix.reduction = narrow ? 0 : 2;
        // Up to a few times 1, or up to all there is.
        const int shift = round % 3 == 0 ? 0 : 31 - mix.precision - round % 5;
        for (int32_t &weight : mix.matrix)
            weight = static_cast<int32_t>(random()) >> shift;
        ASSERT_TRUE(zor::prepare_mix(&mix, narrow ? few.curve : input.curve,
                                     narrow ? few.curve : output.curve));
        quick += mix.products != nullptr;
        const auto count = static_cast<int32_t>(random() % 64);
        std::vector<uint8_t> one[3];
        std::vector<uint8_t> two[3];
        for (size_t k = 0; k < 3; ++k) {
            for (int32_t x = 0; x < 64; ++x) // with runs of one colour
                one[k].push_back(round % 2 == 0 ? static_cast<uint8_t>(random())
                                                : static_cast<uint8_t>((x / 13 + round) * 40));
            two[k] = one[k];
        }
        zor::mix_colors(mix, {one[0].data(), one[1].data(), one[2].data()}, count);
        zor::mix_colors_plainly(mix, {two[0].data(), two[1].data(), two[2].data()}, count);
        for (size_t k = 0; k < 3; ++k)
            EXPECT_EQ(one[k], two[k]) << round;
    }
    EXPECT_GT(quick, 15);
    EXPECT_LT(quick, 45);
}

TEST_F(Color, SumsOutsideTheTable) {
    zor::ColorMix mix;
    mix.precision = 8;
    mix.matrix = {256, -1, 256, 0, 0, 0, 0, 0, -1}; // red to red and blue, minus a little
    const Tables half(1, 1, 256, ZOR_C_INTEGER, 8);
    std::fill_n(static_cast<uint8_t *>(half.curve.tables[0]), 256, uint8_t{7});
    ASSERT_TRUE(zor::prepare_mix(&mix, half.curve, half.curve));
    for (auto &light : mix.light)
        for (size_t i = 0; i < 256; ++i)
            light[i] = static_cast<uint16_t>(i);
    uint8_t red[] = {0, 1, 254, 255};
    uint8_t green[] = {0, 0, 0, 0};
    uint8_t blue[] = {0, 0, 1, 1};
    zor::mix_colors_plainly(mix, {red, green, blue}, 4);
    EXPECT_THAT(red,
                ElementsAre(7, 7, 7, 255)); // the largest sum is white, whatever the table says
    EXPECT_THAT(green, ElementsAre(7, 0, 0, 0)); // -1 / 256 rounds down
    EXPECT_THAT(blue, ElementsAre(7, 7, 7, 7));
}

TEST_F(Color, MemoryRunsOut) {
    for (const Push push :
         {&ZOR__gamma, &ZOR__rgb_transform, &ZOR__xyz_transform, &ZOR__rgb_luminance}) {
        bool pushed = false;
        for (long n = 1; !pushed; ++n) {
            FakeColors fake(1.8F);
            const Fault fault(n);
            zor__err = 0;
            pushed = fake.takes(push, power(2.4F));
            EXPECT_EQ(pushed, !fault.struck());
            EXPECT_EQ(zor__err, pushed ? 0 : ZOR_E_MEMORY);
            EXPECT_EQ(fake.desc().image.count, pushed && push == &ZOR__rgb_luminance ? 1 : 3);
            EXPECT_TRUE(pushed || fault.live() == 0);
            EXPECT_TRUE(!pushed || n > 3);
            ASSERT_LT(n, 20);
        }
    }
}

TEST_F(Color, XyzLuminanceIsToBeHadWithoutMemoryOnly) {
    FakeColors fake(1.8F);
    EXPECT_FALSE(fake.takes(&ZOR__xyz_luminance, power(2.4F)));
    EXPECT_EQ(zor__err, ZOR_E_MEMORY);
    EXPECT_EQ(fake.desc().image.count, 3);
    ASSERT_TRUE(fake.takes(&ZOR__gamma, linear)); // one that was there before stays
    EXPECT_FALSE(fake.takes(&ZOR__xyz_luminance, fake.desc().curve));
    EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);

    int pushed = 0;
    for (long n = 1; n <= 6; ++n) {
        {
            const Fault fault(n);
            pushed += fake.takes(&ZOR__xyz_luminance, power(2.4F)) && fake.desc().image.count == 1;
            EXPECT_EQ(zor__err, fake.desc().image.count == 1 ? 0 : ZOR_E_MEMORY);
        }
        if (fake.desc().image.count == 1) {
            void **rows = nullptr;
            EXPECT_EQ(ZOR_scan_read(fake.image(), 0, &rows), ZOR_E_MEMORY);
            EXPECT_EQ(ZOR__xyz_luminance_undo(fake.image()), 1);
            EXPECT_EQ(fake.desc().image.count, 3);
            EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);
        }
    }
    EXPECT_EQ(pushed, 1);

    // A display takes away what came with it.
    ZOR_IMAGE *image = fake.image();
    void *const driver = image->data[0];
    std::memcpy(image->images[0].chan_format, "xyz", 3);
    const ZOR_RESPONSE_CURVE curve = power(2.4F);
    for_each_failing_allocation([&](const Fault &) {
        ZOR__display(image, ZOR_DISPLAY_LUMINANCE, nullptr, &curve);
        ZOR__display_undo(image);
        EXPECT_EQ(image->data[0], driver);
    });
}

// Every target gives these bytes.
TEST_F(Color, ResultsAreTheSameEverywhere) {
    uint32_t hash = 2166136261U;
    for (const Push push : {&ZOR__xyz_transform, &ZOR__rgb_transform, &ZOR__rgb_luminance}) {
        FakeColors fake(2.2F);
        ZOR_color_matrix_set(3, wide);
        ASSERT_TRUE(fake.takes(push, power(1.7F)));
        ASSERT_TRUE(fake.takes(&ZOR__gamma, power(2.6F)));
        for (int y = 0; y < 16; ++y)
            for (const auto &row : fake.read(y))
                for (const double value : row)
                    hash = (hash ^ static_cast<uint32_t>(value)) * 16777619U;
    }
    EXPECT_EQ(hash, 234742396U);
}

} // namespace
