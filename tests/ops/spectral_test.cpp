// spectral_test.cpp - spectral samples as colours, against sums in double precision.
#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

#include "ops/fake_image.h"
#include "zor/clr.h"

namespace {

using testing::DoubleNear;
using testing::ElementsAre;

constexpr float rec709[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};

// A picture of n samples, with one matte and one auxiliary channel.
struct Spectral : FakeImage {
    explicit Spectral(ZOR_CHANNELS image, const char *format = "sampled", int width = 4)
        : FakeImage(ZOR_MODE_READ, width, 2, {image, integers(1, 8), floats(1)}) {
        set_format(format);
        std::copy_n(rec709, 12, this->image()->primaries);
    }
    // One column of a row: the colours, then matte and auxiliary.
    std::vector<double> column(int x) {
        std::vector<double> result;
        for (const auto &row : read(0))
            result.push_back(row[x]);
        return result;
    }
};

// X, Y, Z of light in each sample, by definition.
std::array<double, 3> xyz_of(const std::vector<double> &light) {
    const CLR_SAMPLES *space = CLR_find(static_cast<int32_t>(light.size()));
    const double white[3] = {0.3127 / 0.329, 1, (1 - 0.3127 - 0.329) / 0.329};
    std::array<double, 3> result;
    for (int c = 0; c < 3; ++c) {
        double sum = 0;
        double all = 0;
        for (size_t j = 0; j < light.size(); ++j) {
            sum += space->to_xyz[3 * j + c] * light[j];
            all += space->to_xyz[3 * j + c];
        }
        result[c] = white[c] * sum / all;
    }
    return result;
}

TEST(Samples, WeighTheSpaceOfTheirCount) {
    for (const int n : {1, 3, 10})
        for (const ZOR_CHANNELS &group :
             {integers(n, 5), integers(n, 12), integers(n, 32), floats(n), doubles(n)})
            for (const float gamma : {1.0F, 2.2F}) {
                const bool integer = group.type == ZOR_C_INTEGER;
                const double top = integer ? std::ldexp(1.0, group.bits) - 1 : 1;
                Spectral fake(group);
                fake.desc().curve.gamma = gamma;
                fake.value = [&](int channel, int x, int) {
                    const double value = (x == 3 ? 1 : 0.3 * x * (channel + 1) / (n + 1)) * top;
                    return channel >= n ? channel - n + 1 : integer ? std::floor(value) : value;
                };
                std::vector<double> light;
                for (int k = 0; k < n; ++k)
                    light.push_back(std::pow(fake.value(k, 2, 0) / top, gamma));
                const auto xyz = xyz_of(light);
                const auto near = [](double value) { return DoubleNear(value, 1e-6); };

                ZOR__samples_to_xyz(fake.image());
                EXPECT_STREQ(fake.desc().chan_format, "xyz");
                EXPECT_THAT(fake.column(2),
                            ElementsAre(near(xyz[0]), near(xyz[1]), near(xyz[2]), 1, 2));
                EXPECT_EQ(ZOR__samples_to_rgb_undo(fake.image()), 0);
                EXPECT_EQ(ZOR__samples_to_xyz_undo(fake.image()), 1);

                ZOR__samples_to_rgb(fake.image());
                const auto rgb = fake.column(2);
                // The known matrix of these primaries, back to X, Y, Z.
                EXPECT_NEAR(0.412391 * rgb[0] + 0.357584 * rgb[1] + 0.180481 * rgb[2], xyz[0],
                            1e-5);
                EXPECT_NEAR(0.019331 * rgb[0] + 0.119195 * rgb[1] + 0.950532 * rgb[2], xyz[2],
                            1e-5);
                EXPECT_THAT(fake.column(3), ElementsAre(near(1), near(1), near(1), 1, 2)); // white
                ZOR__samples_to_rgb_undo(fake.image());

                const ZOR_RESPONSE_CURVE curve = power(1.8F);
                ZOR__samples_to_luminance(fake.image(), &curve);
                EXPECT_THAT(fake.column(2),
                            ElementsAre(std::floor(std::pow(xyz[1], 1 / 1.8F) * 255 + 0.5), 1, 2));
                EXPECT_EQ(fake.column(3)[0], 255);
            }
}

TEST(Samples, GoToTheDisplayClampedAndDarkWhereTheyAreNoNumbers) {
    ASSERT_EQ(ZOR_color_matrix_set(3, rec709), 0);
    Spectral fake(floats(4));
    fake.value = [](int channel, int x, int) {
        return x == 0 ? 1 : x == 1 ? double{NAN} : channel == 1 ? 9 : -3;
    };
    const ZOR_RESPONSE_CURVE curve = power(2.2F);
    ZOR__samples_to_display(fake.image(), &curve);
    EXPECT_EQ(fake.desc().curve.gamma, 2.2F);
    EXPECT_THAT(fake.column(0), ElementsAre(255, 255, 255, 1, 1));
    EXPECT_THAT(fake.column(2), testing::IsSupersetOf({0.0, 255.0}));
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(fake.column(1)[k], 0);
    ZOR_color_matrix_reset();
}

// To the nearest byte, the same one where the curves are equal.
TEST(RawSamples, AreCorrectedChannelByChannel) {
    for (const int n : {1, 2, 5})
        for (const float gamma : {0.4F, 1.5F, 7.0F}) {
            Spectral fake(integers(n, 8), "raw", 256);
            fake.desc().curve.gamma = gamma;
            fake.value = [](int channel, int x, int) { return (x + channel) & 255; };
            const ZOR_RESPONSE_CURVE curve = power(1.5F);
            ZOR__samples_to_display(fake.image(), &curve);
            const auto rows = fake.read(0);
            ASSERT_EQ(rows.size(), 5U);
            for (int k = 0; k < 3; ++k)
                for (int x = 0; x < 256; ++x) {
                    const double in = fake.value(n == 1 ? 0 : k, x, 0) / 255;
                    const double out = std::pow(in, double{gamma} / 1.5) * 255;
                    // Where a half is rounded to hangs on the last bit.
                    EXPECT_NEAR(rows[k][x], n == 2 && k == 2 ? 0 : out, 0.5001) << k << " " << n;
                }
            EXPECT_EQ(rows[3][0], n); // the matte
        }
}

TEST(RawSamples, GoThroughTablesThatFit) {
    std::vector<uint16_t> rising(256);
    std::iota(rising.begin(), rising.end(), 0);
    std::vector<uint16_t> falling(rising.rbegin(), rising.rend());
    void *decoding[] = {rising.data(), falling.data()};
    std::vector<uint8_t> bytes(512);
    for (int i = 0; i < 512; ++i)
        bytes[i] = static_cast<uint8_t>(i / 2);
    void *encoding[] = {bytes.data(), bytes.data()};
    using Curve = ZOR_RESPONSE_CURVE;
    Curve in = {2, 1, 0, 2, 256, ZOR_C_INTEGER, 9, decoding};
    Curve out = {2, 1, 0, 1, 512, ZOR_C_INTEGER, 8, encoding};
    Spectral fake(integers(2, 8), "raw");
    fake.value = [](int channel, int x, int) { return channel < 2 ? x * 14 : 0; };
    const auto displays = [&] {
        fake.desc().curve = in;
        ZOR__samples_to_display(fake.image(), &out);
        return fake.image()->driver_state != nullptr;
    };
    ASSERT_TRUE(displays());
    EXPECT_THAT(fake.column(3), ElementsAre(21, 106, 0, 0, 0)); // 42 and 213 of 511
    EXPECT_EQ(ZOR__samples_to_display_undo(fake.image()), 1);
    const std::tuple<Curve &, int32_t Curve::*, int32_t> wrong[] = {
        {out, &Curve::num_channels, 2}, {out, &Curve::depth, 9},         {out, &Curve::type, 2},
        {out, &Curve::num_elements, 1}, {in, &Curve::num_elements, 255}, {in, &Curve::depth, 17}};
    for (const auto &[curve, field, value] : wrong) {
        const int32_t right = std::exchange(curve.*field, value);
        EXPECT_FALSE(displays()) << value;
        curve.*field = right;
    }
    for (const float gamma : {0.0F, -1.0F, NAN, HUGE_VALF}) {
        out = power(gamma);
        EXPECT_FALSE(displays()) << gamma;
    }
    fake.desc().curve = power(1); // the handle would free tables
}

} // namespace
