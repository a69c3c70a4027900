// spectral_test.cpp - spectral samples as colours, against sums in double precision.
#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

#include "ops/fake_image.h"
#include "ops/state.h"
#include "support/fault.h"
#include "zor/clr.h"

namespace {

using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;

constexpr float rec709[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
constexpr float equal[12] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 1 / 3.0F, 1 / 3.0F, 1 / 3.0F};

ZOR_RESPONSE_CURVE power(float gamma) { return {1, gamma, 0, 0, 0, 0, 0, nullptr}; }

// A picture of n samples, with one matte and one auxiliary channel.
struct Spectral : FakeImage {
    explicit Spectral(ZOR_CHANNELS image, const char *format = "sampled",
                      const float *primaries = rec709, int width = 4)
        : FakeImage(ZOR_MODE_READ, width, 2, {image, {1, ZOR_C_INTEGER, 8}, {1, ZOR_C_FLOAT, 32}}) {
        ERR_free(desc().chan_format);
        desc().chan_format = STR_save(format);
        std::copy_n(primaries, 12, this->image()->primaries);
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
std::array<double, 3> xyz_of(const std::vector<double> &light, const float *primaries) {
    const CLR_SAMPLES *space = CLR_find(static_cast<int32_t>(light.size()));
    const double x = primaries[9];
    const double y = primaries[10];
    const double white[3] = {x / y, 1, (1 - x - y) / y};
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
    for (const int n : {1, 3, 5, 10})
        for (const ZOR_CHANNELS &group : {ZOR_CHANNELS{n, ZOR_C_INTEGER, 8},
                                          {n, ZOR_C_INTEGER, 5},
                                          {n, ZOR_C_INTEGER, 12},
                                          {n, ZOR_C_INTEGER, 32},
                                          {n, ZOR_C_FLOAT, 32},
                                          {n, ZOR_C_DOUBLE, 64}})
            for (const float gamma : {1.0F, 2.2F}) {
                const double top =
                    group.type == ZOR_C_INTEGER ? std::ldexp(1.0, group.bits) - 1 : 1;
                Spectral fake(group);
                fake.desc().curve.gamma = gamma;
                fake.value = [&](int channel, int x, int) {
                    const double value = x / 3.0 * (channel + 1) / (n + 1);
                    return channel >= n                  ? channel - n + 1
                           : x == 3                      ? top
                           : group.type == ZOR_C_INTEGER ? std::floor(value * top)
                                                         : value;
                };
                std::vector<double> light;
                for (int k = 0; k < n; ++k)
                    light.push_back(std::pow(fake.value(k, 2, 0) / top, gamma));
                const auto before = state_of(*fake.image());

                ZOR__samples_to_xyz(fake.image());
                EXPECT_STREQ(fake.desc().chan_format, "xyz");
                EXPECT_EQ(fake.desc().curve.gamma, 1.0F);
                const auto xyz = xyz_of(light, rec709);
                EXPECT_THAT(fake.column(2),
                            ElementsAre(DoubleNear(xyz[0], 1e-6), DoubleNear(xyz[1], 1e-6),
                                        DoubleNear(xyz[2], 1e-6), 1, 2));
                EXPECT_EQ(ZOR__samples_to_rgb_undo(fake.image()), 0);
                EXPECT_EQ(ZOR__samples_to_xyz_undo(fake.image()), 1);
                EXPECT_EQ(state_of(*fake.image()), before);

                ZOR__samples_to_rgb(fake.image());
                EXPECT_STREQ(fake.desc().chan_format, "rgb");
                const auto rgb = fake.column(2);
                // The known matrix of these primaries, back to X, Y, Z.
                EXPECT_NEAR(0.412391 * rgb[0] + 0.357584 * rgb[1] + 0.180481 * rgb[2], xyz[0],
                            1e-5);
                EXPECT_NEAR(0.212639 * rgb[0] + 0.715169 * rgb[1] + 0.072192 * rgb[2], xyz[1],
                            1e-5);
                EXPECT_NEAR(0.019331 * rgb[0] + 0.119195 * rgb[1] + 0.950532 * rgb[2], xyz[2],
                            1e-5);
                EXPECT_THAT(fake.column(3), // white
                            ElementsAre(DoubleNear(1, 1e-6), DoubleNear(1, 1e-6),
                                        DoubleNear(1, 1e-6), 1, 2));
                ZOR__samples_to_rgb_undo(fake.image());

                const ZOR_RESPONSE_CURVE curve = power(1.8F);
                ZOR__samples_to_luminance(fake.image(), &curve);
                EXPECT_THAT(fake.column(2),
                            ElementsAre(std::floor(std::pow(xyz[1], 1 / 1.8F) * 255 + 0.5), 1, 2));
                EXPECT_EQ(fake.column(3)[0], 255);
                ZOR__samples_to_luminance_undo(fake.image());
                EXPECT_EQ(state_of(*fake.image()), before);
            }
}

TEST(Samples, GoToTheDisplayThroughTheColourMatrices) {
    ASSERT_EQ(ZOR_color_matrix_set(3, rec709), 0);
    Spectral fake({4, ZOR_C_FLOAT, 32});
    fake.value = [](int channel, int x, int) {
        return x == 0 ? 1 : x == 1 ? NAN : x == 2 ? (channel == 1 ? 9 : -3) : 0.2 * channel;
    };
    ZOR__samples_to_rgb(fake.image());
    const auto light = fake.column(3);
    ZOR__samples_to_rgb_undo(fake.image());
    const auto before = state_of(*fake.image());
    const ZOR_RESPONSE_CURVE curve = power(2.2F);
    ZOR__samples_to_display(fake.image(), &curve);
    EXPECT_STREQ(fake.desc().chan_format, "rgb");
    EXPECT_EQ(fake.desc().image.bits, 8);
    EXPECT_EQ(fake.desc().curve.gamma, 2.2F);
    EXPECT_THAT(fake.column(0), ElementsAre(255, 255, 255, 1, 1));
    EXPECT_THAT(fake.column(1), testing::Contains(0).Times(testing::Ge(3))); // what is no number
    EXPECT_THAT(fake.column(2), testing::Contains(255));                     // clamped either way
    EXPECT_THAT(fake.column(2), testing::Contains(0));
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(fake.column(3)[k],
                  std::floor(std::pow(std::clamp(light[k], 0.0, 1.0), 1 / 2.2) * 255 + 0.5));
    ZOR__samples_to_display_undo(fake.image());
    EXPECT_EQ(state_of(*fake.image()), before);
    ZOR_color_matrix_reset();
}

// Every byte comes back when the curves are equal, and a curve goes to the nearest byte.
TEST(RawSamples, AreCorrectedChannelByChannel) {
    for (const int n : {1, 2, 3, 5})
        for (const float gamma : {0.4F, 1.0F, 2.2F, 7.0F}) {
            Spectral fake({n, ZOR_C_INTEGER, 8}, "raw", rec709, 256);
            fake.desc().curve.gamma = gamma;
            fake.value = [](int channel, int x, int) { return (x + channel) & 255; };
            for (const float wanted : {gamma, 1.5F}) {
                const ZOR_RESPONSE_CURVE curve = power(wanted);
                ZOR__samples_to_display(fake.image(), &curve);
                EXPECT_STREQ(fake.desc().chan_format, "raw");
                for (int x = 0; x < 256; ++x) {
                    const auto column = fake.column(x);
                    ASSERT_EQ(column.size(), 5U);
                    for (int k = 0; k < 3; ++k) {
                        const double in = fake.value(n == 1 ? 0 : k, x, 0);
                        const double out = std::pow(in / 255, double{gamma} / wanted) * 255;
                        // Where a half is rounded to hangs on the last bit.
                        EXPECT_NEAR(column[k], k < n || n == 1 ? out : 0, 0.5001) << k << " " << n;
                    }
                }
                ZOR__samples_to_display_undo(fake.image());
            }
        }
}

// Tables of curves, with as many channels as fit in the block.
struct Tables {
    ZOR_RESPONSE_CURVE curve;
    std::vector<std::vector<uint16_t>> entries; // bytes are packed
    std::vector<void *> pointers;
    Tables(int channels, int elements, int depth, const std::function<int(int, int)> &at) {
        for (int k = 0; k < channels; ++k) {
            entries.emplace_back(elements);
            for (int i = 0; i < elements; ++i)
                if (depth == 8)
                    reinterpret_cast<uint8_t *>(entries[k].data())[i] =
                        static_cast<uint8_t>(at(k, i));
                else
                    entries[k][i] = static_cast<uint16_t>(at(k, i));
        }
        for (auto &table : entries)
            pointers.push_back(table.data());
        curve = {2, 1, 0, channels, elements, ZOR_C_INTEGER, depth, pointers.data()};
    }
};

TEST(RawSamples, GoThroughTables) {
    Tables in(2, 256, 12, [](int k, int i) { return k == 0 ? i * 16 : 4095 - i * 16; });
    Tables out(1, 4096, 8, [](int, int i) { return i / 16; });
    Spectral fake({2, ZOR_C_INTEGER, 8}, "raw");
    fake.desc().curve = in.curve;
    fake.value = [](int channel, int x, int) { return channel < 2 ? 50 * x + 7 : 0; };
    ZOR__samples_to_display(fake.image(), &out.curve);
    for (int x = 0; x < 4; ++x)
        EXPECT_THAT(fake.column(x), ElementsAre(50 * x + 7, 255 - (50 * x + 7), 0, 0, 0));
    ZOR__samples_to_display_undo(fake.image());
    fake.desc().curve = power(1); // the handle would free tables
}

TEST(Samples, AreLeftAloneWhenTheyDoNotFit) {
    const ZOR_RESPONSE_CURVE good = power(2.2F);
    const auto untouched = [&](Spectral &fake, const ZOR_RESPONSE_CURVE &curve) {
        const auto before = state_of(*fake.image());
        ZOR__samples_to_display(fake.image(), &curve);
        return state_of(*fake.image()) == before;
    };
    Spectral eleven({11, ZOR_C_INTEGER, 8}); // no such space
    EXPECT_TRUE(untouched(eleven, good));
    Spectral rgb({3, ZOR_C_INTEGER, 8}, "rgb");
    EXPECT_TRUE(untouched(rgb, good));
    constexpr float no_white[12] = {0.6F, 0.3F, 0, 0.3F, 0.6F, 0, 0.1F, 0.1F, 0, 0.3F, 0, 0};
    Spectral dark({3, ZOR_C_INTEGER, 8}, "sampled", no_white);
    EXPECT_TRUE(untouched(dark, good));

    Spectral fake({3, ZOR_C_INTEGER, 8});
    for (const float gamma : {0.0F, -1.0F, NAN, HUGE_VALF})
        EXPECT_TRUE(untouched(fake, power(gamma)));
    const auto zero = [](int, int) { return 0; };
    EXPECT_TRUE(untouched(fake, Tables(2, 256, 8, zero).curve));  // too few channels
    EXPECT_TRUE(untouched(fake, Tables(3, 256, 12, zero).curve)); // no bytes
    for (const Tables &tables : {Tables(3, 255, 8, zero), Tables(2, 256, 8, zero)}) {
        fake.desc().curve = tables.curve; // does not fit the samples
        EXPECT_TRUE(untouched(fake, good));
    }
    fake.desc().curve = power(1);
    EXPECT_EQ(ZOR__samples_to_display(fake.image(), nullptr), fake.image());
    EXPECT_FALSE(untouched(fake, good));
}

TEST(Samples, PushNothingWithoutMemory) {
    ReportLog log;
    CLR_find(1);
    const ZOR_RESPONSE_CURVE curve = power(2.2F);
    Spectral fake({5, ZOR_C_INTEGER, 16});
    fake.desc().curve.gamma = 2.2F;
    const auto before = state_of(*fake.image());
    const long count = for_each_failing_allocation([&](Fault &fault) {
        zor__err = 0;
        ZOR__samples_to_display(fake.image(), &curve);
        if (fault.struck()) {
            EXPECT_EQ(zor__err, ZOR_E_MEMORY);
            EXPECT_EQ(state_of(*fake.image()), before);
        } else {
            EXPECT_EQ(ZOR__samples_to_display_undo(fake.image()), 1);
        }
        EXPECT_EQ(fault.live(), 0);
    });
    EXPECT_GE(count, 9);
}

// The same on all systems.
TEST(Samples, GiveTheSameBitsEverywhere) {
    ASSERT_EQ(ZOR_color_matrix_set(3, equal), 0);
    uint64_t hash = hash_start;
    const ZOR_RESPONSE_CURVE curve = power(2.2F);
    for (const int n : {1, 3, 7})
        for (const ZOR_CHANNELS &group :
             {ZOR_CHANNELS{n, ZOR_C_INTEGER, 8}, {n, ZOR_C_INTEGER, 16}, {n, ZOR_C_FLOAT, 32}}) {
            Spectral fake(group, "sampled", rec709, 200);
            fake.desc().curve.gamma = 1.7F;
            fake.value = [&](int channel, int x, int) {
                const int value = (x * 7919 + channel * 31) & 255;
                return group.type == ZOR_C_FLOAT ? value / 256.0 : value;
            };
            ZOR__samples_to_rgb(fake.image());
            hash_rows(&hash, fake.read(0));
            ZOR__samples_to_rgb_undo(fake.image());
            ZOR__samples_to_display(fake.image(), &curve);
            hash_rows(&hash, fake.read(0));
            ZOR__samples_to_display_undo(fake.image());
            ZOR__samples_to_luminance(fake.image(), &curve);
            hash_rows(&hash, fake.read(0));
        }
    EXPECT_EQ(hash, 6691445082390756677U);
    ZOR_color_matrix_reset();
}

} // namespace
