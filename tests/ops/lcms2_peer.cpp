// lcms2_peer.cpp - the rgb transform beside a colour management library: the same primaries, white
// and gammas must give the same bytes, give or take one.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>

#include "ops/fake_image.h"
#include "support/resolution.h"

namespace {

constexpr float hdtv[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
constexpr float wide[12] = {0.68F, 0.32F, 0, 0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};

// Every fifth value of each channel, and below them a line of greys.
constexpr int steps = 52;
constexpr int width = steps * steps;
double sample(int channel, int x, int y) {
    if (y == steps)
        return x & 255;
    return 5 * (channel == 0 ? y : channel == 1 ? x / steps : x % steps);
}

// Both whites are the same, so that no adaptation comes in.
cmsHPROFILE profile(const float *p, double gamma) {
    const cmsCIExyY white = {p[9], p[10], 1};
    const cmsCIExyYTRIPLE primaries = {{p[0], p[1], 1}, {p[3], p[4], 1}, {p[6], p[7], 1}};
    cmsToneCurve *curve = cmsBuildGamma(nullptr, gamma);
    cmsToneCurve *curves[] = {curve, curve, curve};
    cmsHPROFILE result = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    return result;
}

class Peer {
public:
    Peer(const float *from, const float *to, double gamma) {
        cmsHPROFILE profiles[] = {profile(from, gamma), profile(to, gamma)};
        transform_ = cmsCreateTransform(profiles[0], TYPE_RGB_8, profiles[1], TYPE_RGB_8,
                                        INTENT_RELATIVE_COLORIMETRIC, 0);
        for (cmsHPROFILE each : profiles)
            cmsCloseProfile(each);
    }
    ~Peer() { cmsDeleteTransform(transform_); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    [[nodiscard]] std::vector<uint8_t> line(int y) const {
        std::vector<uint8_t> row;
        for (int x = 0; x < width; ++x)
            for (int k = 0; k < 3; ++k)
                row.push_back(static_cast<uint8_t>(sample(k, x, y)));
        cmsDoTransform(transform_, row.data(), row.data(), width);
        return row;
    }

private:
    cmsHTRANSFORM transform_;
};

// Whether a byte is near enough. Near black one step of light is several codes, and rounding in
// three tables, the matrix and the sum is up to three steps.
bool is_near(int value, int expected, double gamma, int levels) {
    const auto moved = [&](int by) {
        const double light = std::pow(expected / 255.0, gamma) + 1.0 * by / (levels - 1);
        return std::pow(std::max(light, 0.0), 1 / gamma) * 255;
    };
    return expected >= 12 ? std::abs(value - expected) <= 1
                          : value >= moved(-3) - 1 && value <= moved(3) + 1;
}

TEST(RgbTransform, AgreesWithColourManagement) {
    const struct {
        const float *from, *to;
        float gamma;
        int resolution;
    } cases[] = {{hdtv, wide, 1.0F, 4096},
                 {wide, hdtv, 1.8F, 4096},
                 {hdtv, wide, 2.2F, 4096},
                 {wide, hdtv, 2.2F, 4096},
                 {hdtv, wide, 2.2F, 65536}};
    for (const auto &c : cases) {
        ReportLog log; // of reduced precision
        const Resolution resolution(c.resolution);
        FakeImage fake(ZOR_MODE_READ, width, steps + 1, {});
        fake.value = &sample;
        fake.desc().curve.gamma = c.gamma;
        std::copy_n(c.from, 12, fake.image()->primaries);
        const ZOR_RESPONSE_CURVE curve = power(c.gamma);
        ASSERT_EQ(ZOR_color_matrix_set(3, c.to), 0);
        ZOR__rgb_transform(fake.image(), &curve);
        const Peer peer(c.from, c.to, static_cast<double>(c.gamma));
        int off = 0;
        for (int y = 0; y <= steps; ++y) {
            const auto rows = fake.read(y);
            const std::vector<uint8_t> expected = peer.line(y);
            for (size_t i = 0; i < expected.size(); ++i)
                off += !is_near(static_cast<int>(rows[i % 3][i / 3]), expected[i],
                                static_cast<double>(c.gamma), std::min(c.resolution, 16384));
        }
        EXPECT_EQ(off, 0) << c.gamma << ", " << c.resolution;
    }
    ZOR_color_matrix_reset();
}

} // namespace
