// resize_test.cpp - resampling, against a direct convolution in two dimensions, and what it does to
// the description and to the order of reads.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "ops/fake_image.h"
#include "ops/state.h"

namespace {

using testing::ElementsAre;

constexpr int all_filters[] = {ZOR_FILTER_BOX, ZOR_FILTER_TRIANGLE, ZOR_FILTER_CATMULL_ROM,
                               ZOR_FILTER_MITCHELL, ZOR_FILTER_LANCZOS_3};
constexpr FakeImage::Groups one_float = {floats(1), none, none};

double sinc(double x) {
    return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

// What sample j, wherever it lies, weighs in new sample i of a row of "from" that becomes "to".
double weigh(int filter, double from, double to, int i, int j) {
    const double low = i * from / to;
    const double high = (i + 1) * from / to;
    if (filter == ZOR_FILTER_BOX && to < from)
        return std::max(0.0, std::min(j + 1.0, high) - std::max(double(j), low));
    if (filter == ZOR_FILTER_BOX)
        return j == std::floor((2 * i + 1) * from / (2 * to) + 1e-12) ? 1 : 0;
    const double x = std::abs(j + 0.5 - (low + high) / 2) / std::max(1.0, from / to);
    if (x >= (filter == ZOR_FILTER_TRIANGLE ? 1 : filter == ZOR_FILTER_LANCZOS_3 ? 3 : 2))
        return 0;
    switch (filter) {
    case ZOR_FILTER_TRIANGLE:
        return 1 - x;
    case ZOR_FILTER_CATMULL_ROM:
        return x < 1 ? 1.5 * x * x * x - 2.5 * x * x + 1
                     : -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
    case ZOR_FILTER_MITCHELL:
        return x < 1 ? (7 * x * x * x - 12 * x * x + 16.0 / 3) / 6
                     : (-7.0 / 3 * x * x * x + 12 * x * x - 20 * x + 32.0 / 3) / 6;
    default:
        return sinc(x) * sinc(x / 3);
    }
}

struct Size {
    int width, height;
};

constexpr int bottom = -5; // the lowest old line

// A new sample, from all old ones and as many beyond the edges as can matter.
double convolve(int filter, Size from, Size to, int channel, int x, int y) {
    double sum = 0;
    double weights = 0;
    for (int v = -4 * from.height; v < 5 * from.height; ++v)
        if (const double down = weigh(filter, from.height, to.height, y, v); down != 0)
            for (int u = -4 * from.width; u < 5 * from.width; ++u) {
                const double weight = down * weigh(filter, from.width, to.width, x, u);
                weights += weight;
                sum += weight * noise(channel, std::clamp(u, 0, from.width - 1),
                                      bottom + std::clamp(v, 0, from.height - 1));
            }
    return sum / weights;
}

TEST(Resize, ConvolvesInFileOrderReadingEachLineOnce) {
    constexpr Size from = {7, 9};
    for (const int filter : all_filters)
        for (const Size to : {Size{3, 4}, {16, 20}, {7, 9}, {1, 1}, {3, 13}, {15, 2}})
            for (const int rising : {0, int{ZOR_ORIENTATION_RISING}}) {
                FakeImage fake(ZOR_MODE_READ, from.width, from.height,
                               {floats(1), integers(1, 8), none});
                fake.desc().orientation = rising;
                fake.desc().win_bottom += bottom;
                fake.desc().win_top += bottom;
                fake.value = noise;
                ZOR__resize(fake.image(), to.width, to.height, filter);
                for (int i = 0; i < to.height; ++i) {
                    const int y = rising != 0 ? i : to.height - 1 - i;
                    const auto rows = fake.read(y);
                    for (int k = 0; k < 2; ++k)
                        for (int x = 0; x < to.width; ++x)
                            EXPECT_NEAR(rows[k][x] * (k == 0 ? 1 : 255),
                                        convolve(filter, from, to, k, x, y), 1e-4)
                                << filter << ": " << to.width << "x" << to.height << " " << x;
                }
                std::vector<int> in_order;
                for (int v = bottom; v < bottom + from.height; ++v)
                    in_order.insert(rising != 0 ? in_order.end() : in_order.begin(), v);
                EXPECT_EQ(fake.lines, in_order) << filter << ": " << to.height;
            }
}

TEST(Resize, KeepsEvenPicturesEqualSizesAndBadSamplesWhereTheyAre) {
    for (const int filter : all_filters) {
        FakeImage fake(ZOR_MODE_READ, 40, 6, one_float);
        fake.value = [](int, int, int) { return double{0.1F}; };
        for (const Size to : {Size{89, 31}, {5, 2}, {1, 1}, {70000, 1}}) {
            ZOR__resize(fake.image(), to.width, to.height, filter);
            EXPECT_THAT(fake.read(to.height / 2), ElementsAre(testing::Each(double{0.1F})));
            ASSERT_EQ(ZOR__resize_undo(fake.image()), 1);
        }
        fake.value = [](int, int x, int) { return x == 20 ? HUGE_VAL : x == 4 ? NAN : 1; };
        ZOR__resize(fake.image(), 20, 6, filter);
        const auto row = fake.read(0)[0];
        EXPECT_TRUE(std::isnan(row[2]) && !std::isfinite(row[10]));
        EXPECT_EQ(row[6] + row[19], 2);
        ZOR__resize_undo(fake.image());
        fake.value = [](int, int x, int y) { return x == 20 ? HUGE_VAL : noise(0, x, y); };
        const auto before = fake.read(3);
        ZOR__resize(fake.image(), 40, 6, filter);
        EXPECT_EQ(fake.read(3) == before, filter != ZOR_FILTER_MITCHELL); // which softens
    }
}

TEST(Resize, DescribesTheNewPictureAndPutsTheOldOneBack) {
    FakeImage fake(ZOR_MODE_READ, 100, 50, {});
    ZOR_IMAGE *image = fake.image();
    image->seek = [](void *, int) { return 0; };
    image->last_scanline = 50;
    ZOR_IMAGE_DESC &desc = fake.desc();
    desc.curve.gamma = 2.2F;
    desc.act_left = 20;
    desc.act_right = 29;
    desc.act_bottom = 40;
    desc.picture_width = 100;
    desc.picture_height = 75;
    const auto before = state_of(*image);
    ZOR__resize(image, 50, 101, ZOR_FILTER_BOX);
    EXPECT_THAT(
        (std::array{desc.win_left, desc.win_right, desc.win_bottom, desc.win_top, desc.act_left,
                    desc.act_right, desc.act_top, desc.picture_width, desc.picture_height}),
        ElementsAre(0, 49, 0, 100, 10, 14, 100, 50, 152)); // 151.5
    EXPECT_EQ(image->last_scanline, 101);
    EXPECT_EQ(image->seek, nullptr);
    EXPECT_EQ(ZOR__resize_undo(image), 1);
    EXPECT_EQ(state_of(*image), before); // the cast is gone too
}

// The active window takes in all that the old one has a part in, and little more.
TEST(Resize, LeavesNothingOutsideTheActiveWindow) {
    for (const int filter : all_filters)
        for (const int width : {4, 11, 20, 33, 170}) {
            FakeImage fake(ZOR_MODE_READ, 20, 1, one_float);
            const ZOR_IMAGE_DESC &desc = fake.desc();
            fake.desc().act_left = 8;
            fake.desc().act_right = 10;
            fake.value = [](int, int x, int) { return x >= 8 && x <= 10 ? 1 : 0; };
            ZOR__resize(fake.image(), width, 1, filter);
            const auto row = fake.read(0)[0];
            const int more = 1 + width / 20;
            int lit = 0;
            for (int x = 0; x < width; ++x) {
                const bool active = x >= desc.act_left && x <= desc.act_right;
                EXPECT_TRUE(active || row[x] == 0) << filter << ": " << x << " of " << width;
                lit += row[x] != 0;
            }
            EXPECT_LE(desc.act_right - desc.act_left + 1, lit + 2 * more);
        }
}

TEST(Resize, ReadsAgainWhatIsAskedForAgain) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 8, 60, one_float);
    fake.image()->set_frame = [](void *, ZOR_WORD) { return 0; };
    fake.value = noise;
    ZOR__resize(fake.image(), 8, 20, ZOR_FILTER_MITCHELL);
    const auto low = fake.read(2);
    const auto high = fake.read(17);
    EXPECT_EQ(fake.read(2), low);
    EXPECT_EQ(fake.read(17), high);
    fake.value = [](int, int, int) { return 5; }; // another frame
    EXPECT_EQ(fake.read(17)[0][0], 5);
    void **rows = nullptr;
    for (const int y : {20, -1})
        EXPECT_EQ(ZOR_scan_read(fake.image(), y, &rows), ZOR_E_SCANLINE);
    fake.fail_at = 30;
    EXPECT_EQ(ZOR_scan_read(fake.image(), 10, &rows), ZOR_E_READ);
    fake.fail_at = -1000;
    EXPECT_EQ(fake.read(10)[0][0], 5);
}

} // namespace
