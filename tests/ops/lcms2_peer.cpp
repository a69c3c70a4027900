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

// Whether a byte is near enough. Near black one step of light is several codes, and rounding in
// three tables, the matrix and the sum is up to three steps.
bool is_near(double value, int expected, double gamma, int levels) {
    const auto moved = [&](int by) {
        const double light = std::pow(expected / 255.0, gamma) + 1.0 * by / (levels - 1);
        return std::pow(std::max(light, 0.0), 1 / gamma) * 255;
    };
    return expected >= 12 ? std::abs(value - expected) <= 1
                          : value >= moved(-3) - 1 && value <= moved(3) + 1;
}

void compare(const float *from, const float *to, float gamma, int resolution) {
    ReportLog log; // of reduced precision
    const Resolution tables(resolution);
    FakeImage fake(ZOR_MODE_READ, width, steps + 1, {});
    fake.value = &sample;
    fake.desc().curve.gamma = gamma;
    std::copy_n(from, 12, fake.image()->primaries);
    const ZOR_RESPONSE_CURVE curve = power(gamma);
    ASSERT_EQ(ZOR_color_matrix_set(3, to), 0);
    ZOR__rgb_transform(fake.image(), &curve);

    const cmsHPROFILE profiles[] = {profile(from, double{gamma}), profile(to, double{gamma})};
    const cmsHTRANSFORM peer = cmsCreateTransform(profiles[0], TYPE_RGB_8, profiles[1], TYPE_RGB_8,
                                                  INTENT_RELATIVE_COLORIMETRIC, 0);
    int off = 0;
    for (int y = 0; y <= steps; ++y) {
        std::vector<uint8_t> expected;
        for (int i = 0; i < 3 * width; ++i)
            expected.push_back(static_cast<uint8_t>(sample(i % 3, i / 3, y)));
        cmsDoTransform(peer, expected.data(), expected.data(), width);
        const auto rows = fake.read(y);
        for (size_t i = 0; i < expected.size(); ++i)
            off += !is_near(rows[i % 3][i / 3], expected[i], double{gamma},
                            std::min(resolution, 16384));
    }
    EXPECT_EQ(off, 0) << gamma << ", " << resolution;
    cmsDeleteTransform(peer);
    for (const cmsHPROFILE each : profiles)
        cmsCloseProfile(each);
    ZOR_color_matrix_reset();
}

TEST(RgbTransform, AgreesWithColourManagement) {
    compare(hdtv, wide, 1.0F, 4096);
    compare(wide, hdtv, 1.8F, 4096);
    compare(hdtv, wide, 2.2F, 4096);
    compare(wide, hdtv, 2.2F, 65536);
}

} // namespace
