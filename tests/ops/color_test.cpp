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
using testing::FloatNear;
using testing::Pointwise;
using Push = ZOR_IMAGE *(*)(ZOR_IMAGE *, const ZOR_RESPONSE_CURVE *);

constexpr float wide[12] = {0.68F, 0.32F, 0, 0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
constexpr float on_a_line[12] = {0.6F, 0.3F, 0, 0.4F, 0.35F, 0, 0.2F, 0.4F, 0, 0.3F, 0.3F, 0};
constexpr float no_white[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3F, 0, 0};

constexpr ZOR_RESPONSE_CURVE linear = power(1);
constexpr Push mixes[] = {&ZOR__xyz_transform, &ZOR__rgb_transform, &ZOR__rgb_luminance};

class Color : public testing::Test {
protected:
    Color() { FMT_init(nullptr); } // or it would start by itself, with memory that a test counts
    ~Color() override { ZOR_color_matrix_reset(); }
    ReportLog log;
};

struct FakeColors : FakeImage {
    explicit FakeColors(float gamma, const FakeImage::Groups &groups = {}, int mode = ZOR_MODE_READ)
        : FakeImage(mode, 256, 16, groups) {
        desc().curve.gamma = gamma;
        value = &noise;
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
    for (const float *bad : {on_a_line, no_white}) // which changes nothing
        EXPECT_EQ(ZOR_color_matrix_set(3, bad), -1);
    ZOR_color_matrix_get(to_xyz, from_xyz);
    EXPECT_THAT(to_xyz,
                Pointwise(FloatNear(1e-6F), {0.606993F, 0.298967F, 0.0F, 0.173449F, 0.586421F,
                                             0.066076F, 0.200571F, 0.114612F, 1.117469F}));
    const zor::ColorMatrices both = zor::color_matrices();
    EXPECT_THAT(from_xyz, Pointwise(testing::DoubleEq(), both.from_xyz));
    EXPECT_THAT(zor::product(both.to_xyz, both.from_xyz),
                Pointwise(DoubleNear(1e-6), zor::identity_matrix));
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
        const double stored = noise(2, x, 3);
        const double wanted = std::pow(stored / 255, 2.2 / 1.8) * 255;
        EXPECT_NEAR(rows[2][x], x >= 10 && x <= 240 ? wanted : stored, 0.5001);
    }
}

// An image of 4 bits has 16 elements; what a driver may yet hand out beyond them is as bright.
TEST_F(Color, GammaGoesByShortTables) {
    FakeColors fake(1, {integers(1, 4), none, none});
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
            EXPECT_NEAR(fake.written[1][x], x <= 250 ? stored : 0, 0.5001);
        }
        fake.write(8, [](int, int, int) { return 3; });
        EXPECT_EQ(fake.written[0][0], 3); // not an active line
    }
}

// The bounds are those of a step or two of light.
TEST_F(Color, TransformsMixLight) {
    const Tables stored(1.8F, 1, 256, ZOR_C_INTEGER, 12);
    const Tables wanted(1 / 2.4F, 3, 4096, ZOR_C_INTEGER, 8);
    for (const Push push : mixes)
        for (const int kind : {1, 2, 3}) { // powers; tables; powers of too high a resolution
            const Resolution resolution(kind == 3 ? 65536 : 4096);
            FakeColors fake(1.8F, {integers(3, 8), integers(1, 8), integers(1, 16)});
            fake.desc().act_left = 1;
            if (kind == 2)
                ZOR_response_curve_copy(&fake.desc().curve, &stored.curve);
            zor::Matrix to_xyz = zor::identity_matrix;
            if (push != &ZOR__xyz_transform)
                zor::rgb_to_xyz(fake.image()->primaries, &to_xyz);
            ZOR_color_matrix_set(3, wide);
            const zor::Matrix from_xyz = zor::color_matrices().from_xyz;
            log.clear();
            ASSERT_TRUE(fake.takes(push, kind == 2 ? wanted.curve : power(2.4F)));
            EXPECT_EQ(log.text(), kind != 3 ? ""
                                            : "Color response curve reduced to 14 bits of "
                                              "precision (limit is 14 bits)\n");
            const auto rows = fake.read(5);
            const size_t count = push == &ZOR__rgb_luminance ? 1 : 3;
            ASSERT_EQ(rows.size(), count + 2);
            EXPECT_EQ(rows[0][0], noise(0, 0, 5)); // not active
            for (int x = 1; x < 256; ++x) {
                zor::Triple xyz = {};
                for (int i = 0; i < 9; ++i)
                    xyz[i % 3] += std::pow(noise(i / 3, x, 5) / 255, 1.8) * to_xyz[i];
                for (size_t k = 0; k < count; ++k) {
                    double light = xyz[1];
                    if (count == 3)
                        light = xyz[0] * from_xyz[k] + xyz[1] * from_xyz[3 + k] +
                                xyz[2] * from_xyz[6 + k];
                    for (const int sign : {-1, 1}) {
                        const double bound = std::clamp(light + sign * 3.0 / 4095, 0.0, 1.0);
                        const double code = std::pow(bound, 1 / 2.4) * 255 + 0.51 * sign;
                        EXPECT_GE(sign * code, sign * rows[k][x]);
                    }
                }
                EXPECT_EQ(rows[count][x], noise(3, x, 5)); // the matte
                EXPECT_EQ(rows[count + 1][x], noise(4, x, 5));
            }
        }
    float to_xyz[9];
    ZOR_color_matrix_get(to_xyz, nullptr); // left by the luminance, of the image's primaries
    EXPECT_NEAR(to_xyz[4], 0.586421, 1e-6);
}

// Sums below the tables are black; the largest one and those above are white, whatever tables say.
TEST_F(Color, EveryWayToMixFollowsTheRule) {
    std::mt19937 random(1);
    const Tables inputs[] = {{1, 1, 256, ZOR_C_INTEGER, 8}, {2.2F, 3, 256, ZOR_C_INTEGER, 14}};
    const Tables outputs[] = {{1, 1, 256, ZOR_C_INTEGER, 8}, {0.4F, 3, 16384, ZOR_C_INTEGER, 8}};
    for (const auto &[curve] : outputs)
        for (int k = 0; k < curve.num_channels; ++k)
            std::fill_n(static_cast<uint8_t *>(curve.tables[k]), 8, uint8_t{7}); // not black
    std::fill_n(static_cast<uint8_t *>(outputs[0].curve.tables[0]) + 255, 1, uint8_t{7});
    int quick = 0;
    for (int round = 0; round < 60; ++round) {
        const int deep = round % 4 != 0;
        zor::ColorMix mix;
        mix.precision = deep ? 12 : 8;
        mix.reduction = deep ? 2 : 0;
        // Up to a few times 1, or up to all there is.
        const int shift = round % 3 == 0 ? 0 : 31 - mix.precision - round % 5;
        for (int32_t &weight : mix.matrix)
            weight = static_cast<int32_t>(random()) >> shift;
        const ZOR_RESPONSE_CURVE &output = outputs[deep].curve;
        ASSERT_TRUE(zor::prepare_mix(&mix, inputs[deep].curve, output));
        quick += mix.products != nullptr;
        std::array<std::array<uint8_t, 64>, 3> colors;
        for (size_t i = 0; i < 3; ++i)
            for (size_t x = 0; x < 64; ++x) // with runs of one colour
                colors[i][x] = static_cast<uint8_t>(
                    round % 2 != 0 ? (x / (9 + (i + round) % 3 * 8) + round / 2) * 40 : random());
        auto expected = colors;
        const size_t count = random() % 64;
        for (size_t x = 0; x < count; ++x)
            for (size_t k = 0; k < 3; ++k) {
                int64_t sum = 0;
                for (size_t i = 0; i < 3; ++i)
                    sum += int64_t{mix.matrix[3 * i + k]} * mix.light[i][colors[i][x]];
                sum >>= mix.precision; // rounds down
                const auto *table =
                    static_cast<const uint8_t *>(output.tables[output.num_channels > 1 ? k : 0]);
                expected[k][x] = sum < 0                          ? 0
                                 : sum < (1 << mix.precision) - 1 ? table[sum << mix.reduction]
                                                                  : 255;
            }
        for (const auto way : {&zor::mix_colors, &zor::mix_colors_plainly}) {
            auto rows = colors;
            way(mix, {rows[0].data(), rows[1].data(), rows[2].data()}, static_cast<int32_t>(count));
            EXPECT_EQ(rows, expected) << round;
        }
    }
    EXPECT_GT(quick, 15);
    EXPECT_LT(quick, 45);
}

TEST_F(Color, XyzLuminanceIsToBeHadWithoutMemoryOnly) {
    FakeColors fake(1.8F);
    const ZOR_RESPONSE_CURVE curve = power(2.4F);
    ASSERT_TRUE(fake.takes(&ZOR__gamma, linear)); // one that was there before stays
    EXPECT_FALSE(fake.takes(&ZOR__xyz_luminance, fake.desc().curve));
    EXPECT_EQ(zor__err, ZOR_E_MEMORY);
    EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);

    int pushed = 0;
    void *const driver = fake.image()->data[0];
    fake.set_format("xyz");
    for_each_failing_allocation([&](const Fault &) {
        const bool took = fake.takes(&ZOR__xyz_luminance, curve) && fake.desc().image.count == 1;
        EXPECT_EQ(zor__err, took ? 0 : ZOR_E_MEMORY);
        if (took) {
            ++pushed;
            void **rows = nullptr;
            EXPECT_EQ(ZOR_scan_read(fake.image(), 0, &rows), ZOR_E_MEMORY);
            EXPECT_EQ(ZOR__xyz_luminance_undo(fake.image()), 1);
            EXPECT_EQ(ZOR__gamma_undo(fake.image()), 1);
        }
        EXPECT_EQ(fake.desc().image.count, 3);
    });
    EXPECT_EQ(pushed, 2); // as soon as the first allocation is well, whatever follows
    // A display takes away what came with it.
    for_each_failing_allocation([&](const Fault &) {
        ZOR__display(fake.image(), ZOR_DISPLAY_LUMINANCE, nullptr, &curve);
        ZOR__display_undo(fake.image());
        EXPECT_EQ(fake.image()->data[0], driver);
    });
}

} // namespace
