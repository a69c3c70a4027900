// resize_test.cpp - resampling, against a direct convolution in two dimensions, and what it does to
// the description and to the order of reads.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "ops/fake_image.h"
#include "ops/state.h"
#include "support/fault.h"

namespace {

constexpr int all_filters[] = {ZOR_FILTER_BOX, ZOR_FILTER_TRIANGLE, ZOR_FILTER_CATMULL_ROM,
                               ZOR_FILTER_MITCHELL, ZOR_FILTER_LANCZOS_3};
constexpr FakeImage::Groups floats = {
    {1, ZOR_C_FLOAT, 32}, {0, ZOR_C_FLOAT, 32}, {0, ZOR_C_FLOAT, 32}};

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
    switch (filter) {
    case ZOR_FILTER_TRIANGLE:
        return std::max(0.0, 1 - x);
    case ZOR_FILTER_CATMULL_ROM:
        return x < 1   ? 1.5 * x * x * x - 2.5 * x * x + 1
               : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2
                       : 0;
    case ZOR_FILTER_MITCHELL:
        return x < 1   ? (7 * x * x * x - 12 * x * x + 16.0 / 3) / 6
               : x < 2 ? (-7.0 / 3 * x * x * x + 12 * x * x - 20 * x + 32.0 / 3) / 6
                       : 0;
    default:
        return x < 3 ? sinc(x) * sinc(x / 3) : 0;
    }
}

struct Size {
    int width, height;
};

// A new sample, from all old ones and as many beyond the edges as can matter.
double convolve(int filter, Size from, Size to, int x, int y,
                const std::function<double(int, int)> &at) {
    double sum = 0;
    double weights = 0;
    for (int v = -4 * from.height; v < 5 * from.height; ++v) {
        const double down = weigh(filter, from.height, to.height, y, v);
        for (int u = down == 0 ? 5 * from.width : -4 * from.width; u < 5 * from.width; ++u) {
            const double weight = down * weigh(filter, from.width, to.width, x, u);
            weights += weight;
            sum += weight * at(std::clamp(u, 0, from.width - 1), std::clamp(v, 0, from.height - 1));
        }
    }
    return sum / weights;
}

double noise(int channel, int x, int y) {
    return static_cast<double>((x * 7919 + y * 104729 + channel * 31 + x * y * 13) & 255);
}

TEST(Resize, ConvolvesInFileOrderReadingEachLineOnce) {
    constexpr Size from = {7, 9};
    for (const int filter : all_filters)
        for (const Size to : {Size{3, 4}, {16, 20}, {7, 9}, {1, 1}, {3, 13}, {15, 2}})
            for (const int orientation : {0, int{ZOR_ORIENTATION_RISING}}) {
                FakeImage fake(
                    ZOR_MODE_READ, from.width, from.height,
                    {{1, ZOR_C_FLOAT, 32}, {1, ZOR_C_INTEGER, 8}, {0, ZOR_C_INTEGER, 8}});
                fake.desc().orientation = orientation;
                for (auto field : {&ZOR_IMAGE_DESC::win_bottom, &ZOR_IMAGE_DESC::win_top,
                                   &ZOR_IMAGE_DESC::act_bottom, &ZOR_IMAGE_DESC::act_top})
                    fake.desc().*field -= 5;
                fake.settle();
                fake.value = noise;
                ZOR__resize(fake.image(), to.width, to.height, filter);
                for (int i = 0; i < to.height; ++i) {
                    const int y = orientation != 0 ? i : to.height - 1 - i;
                    const auto rows = fake.read(y);
                    ASSERT_EQ(rows.size(), 2U);
                    for (int k = 0; k < 2; ++k)
                        for (int x = 0; x < to.width; ++x)
                            EXPECT_NEAR(rows[k][x],
                                        convolve(filter, from, to, x, y,
                                                 [k](int u, int v) {
                                                     return noise(k, u, v - 5) / (k == 0 ? 1 : 255);
                                                 }),
                                        k == 0 ? 1e-4 : 4e-7)
                                << filter << ": " << to.width << "x" << to.height << " " << x;
                }
                std::vector<int> in_order;
                for (int v = -5; v < from.height - 5; ++v)
                    in_order.insert(orientation != 0 ? in_order.end() : in_order.begin(), v);
                EXPECT_EQ(fake.lines, in_order) << filter << ": " << to.height;
            }
}

TEST(Resize, LeavesEvenPicturesEvenAndCopiesEqualSizes) {
    for (const int filter : all_filters) {
        FakeImage fake(ZOR_MODE_READ, 13, 6, floats);
        fake.value = [](int, int, int) { return double{0.1F}; };
        for (const Size to : {Size{29, 31}, {5, 2}, {1, 1}, {13, 6}, {70000, 1}}) {
            ZOR__resize(fake.image(), to.width, to.height, filter);
            const auto rows = fake.read(to.height / 2);
            ASSERT_EQ(rows.size(), 1U) << to.width;
            for (const double sample : rows[0])
                ASSERT_EQ(sample, double{0.1F}) << filter;
            ASSERT_EQ(ZOR__resize_undo(fake.image()), 1);
        }
        fake.value = noise;
        const auto before = fake.read(3);
        ZOR__resize(fake.image(), 13, 6, filter);
        EXPECT_EQ(fake.read(3) == before, filter != ZOR_FILTER_MITCHELL); // which softens
    }
}

// What is not a number stays under the filter.
TEST(Resize, KeepsBadSamplesWhereTheyAre) {
    for (const int filter : all_filters) {
        FakeImage fake(ZOR_MODE_READ, 40, 1, floats);
        fake.value = [](int, int x, int) { return x == 20 ? HUGE_VAL : x == 4 ? NAN : 1; };
        ZOR__resize(fake.image(), 20, 1, filter);
        const auto row = fake.read(0)[0];
        EXPECT_TRUE(std::isnan(row[2]));
        EXPECT_FALSE(std::isfinite(row[10]));
        for (const size_t x : {6U, 19U})
            EXPECT_EQ(row[x], 1);
    }
}

int no_seek(void *, int) { return 0; }
int no_raster(void *, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) { return 0; }
int no_direct(void *, int, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) { return 0; }
int no_frame(void *, ZOR_WORD) { return 0; }

TEST(Resize, DescribesTheNewPictureAndPutsTheOldOneBack) {
    FakeImage fake(ZOR_MODE_READ, 100, 50, {});
    ZOR_IMAGE *image = fake.image();
    image->seek = no_seek;
    image->raster = image->region = no_raster;
    image->direct_scan = no_direct;
    image->last_scanline = 50;
    ZOR_IMAGE_DESC &desc = fake.desc();
    desc.curve.gamma = 2.2F;
    desc.act_left = 20;
    desc.act_right = 29;
    desc.act_bottom = 0;
    desc.act_top = 9;
    desc.picture_width = 100;
    desc.picture_height = 75;
    const auto before = state_of(*image);
    ZOR__resize(image, 50, 101, ZOR_FILTER_BOX);
    EXPECT_THAT((std::array{desc.win_left, desc.win_right, desc.win_bottom, desc.win_top}),
                testing::ElementsAre(0, 49, 0, 100));
    EXPECT_THAT((std::array{desc.act_left, desc.act_right, desc.act_bottom}),
                testing::ElementsAre(10, 14, 0));
    EXPECT_THAT(desc.act_top, testing::AllOf(testing::Ge(19), testing::Le(20)));
    EXPECT_EQ(desc.picture_width, 50);
    EXPECT_EQ(desc.picture_height, 152); // 151.5
    EXPECT_EQ(desc.image.type, ZOR_C_FLOAT);
    EXPECT_EQ(desc.curve.gamma, 1.0F);
    EXPECT_EQ(image->last_scanline, 101);
    EXPECT_TRUE(image->seek == nullptr && image->raster == nullptr && image->region == nullptr &&
                image->direct_scan == nullptr);
    EXPECT_EQ(ZOR__cast_undo(image), 0);
    EXPECT_EQ(ZOR__resize_undo(image), 1);
    EXPECT_EQ(state_of(*image), before); // the cast is gone too
}

// The active window takes in all that the old one has a part in.
TEST(Resize, LeavesNothingOutsideTheActiveWindow) {
    for (const int filter : all_filters)
        for (const int width : {4, 11, 20, 33, 170}) {
            FakeImage fake(ZOR_MODE_READ, 20, 1, floats);
            fake.desc().act_left = 8;
            fake.desc().act_right = 10;
            fake.value = [](int, int x, int) { return x >= 8 && x <= 10 ? 1 : 0; };
            ZOR__resize(fake.image(), width, 1, filter);
            const auto row = fake.read(0)[0];
            const auto lit = [](double sample) { return sample != 0; };
            const auto first = std::find_if(row.begin(), row.end(), lit) - row.begin();
            const auto last = row.rend() - std::find_if(row.rbegin(), row.rend(), lit) - 1;
            EXPECT_LE(fake.desc().act_left, first) << filter << " " << width;
            EXPECT_GE(fake.desc().act_right, last) << filter << " " << width;
            EXPECT_LE(first - fake.desc().act_left, 1 + width / 20);
            EXPECT_LE(fake.desc().act_right - last, 1 + width / 20);
        }
}

TEST(Resize, ReadsAgainWhatIsAskedForAgain) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 8, 60, floats);
    fake.image()->set_frame = no_frame;
    fake.value = noise;
    ZOR__resize(fake.image(), 8, 20, ZOR_FILTER_MITCHELL);
    const auto low = fake.read(2);
    const auto high = fake.read(17);
    EXPECT_EQ(fake.read(2), low);
    EXPECT_EQ(fake.read(17), high);
    fake.value = [](int, int, int) { return 5; }; // another frame
    EXPECT_EQ(fake.read(17)[0][0], 5);
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(fake.image(), 20, &rows), ZOR_E_SCANLINE);
    EXPECT_EQ(ZOR_scan_read(fake.image(), -1, &rows), ZOR_E_SCANLINE);
    fake.fail_at = 30;
    EXPECT_EQ(ZOR_scan_read(fake.image(), 10, &rows), ZOR_E_READ);
    EXPECT_EQ(rows, nullptr);
    fake.fail_at = -1000;
    EXPECT_EQ(fake.read(10)[0][0], 5);
}

TEST(Resize, RefusesWhatMakesNoSense) {
    FakeImage fake(ZOR_MODE_READ, 4, 4, {});
    const auto before = state_of(*fake.image());
    const int wrong[][3] = {{0, 4, 0}, {4, -1, 0}, {(1 << 24) + 1, 4, 0}, {4, 4, 5}, {4, 4, -1}};
    for (const auto &[width, height, filter] : wrong) {
        ReportLog log;
        zor__err = 0;
        ZOR__resize(fake.image(), width, height, filter);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_HANDLE));
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_EQ(state_of(*fake.image()), before);
    }
    FakeImage written(ZOR_MODE_WRITE, 4, 4, {});
    const void *slot = written.image()->data[0];
    EXPECT_EQ(ZOR__resize(written.image(), 2, 2, 0)->data[0], slot);
    EXPECT_EQ(ZOR__resize(nullptr, 2, 2, 0), nullptr);
}

TEST(Resize, PushesNothingWithoutMemory) {
    ReportLog log;
    long failures = 0;
    for (bool struck = true; struck; ++failures) {
        FakeImage fake(ZOR_MODE_READ, 4, 4, {});
        const auto before = state_of(*fake.image());
        const void *slot = fake.image()->data[0];
        zor__err = 0;
        {
            Fault fault(failures + 1);
            ZOR__resize(fake.image(), 9, 2, ZOR_FILTER_LANCZOS_3);
            struck = fault.struck();
        }
        if (struck) {
            EXPECT_EQ(zor__err, ZOR_E_MEMORY);
            EXPECT_EQ(fake.image()->data[0], slot);
            if (failures != 2) { // the cast's rows, without which its description stays
                EXPECT_EQ(state_of(*fake.image()), before) << failures;
            }
        }
    }
    EXPECT_GE(failures, 9);
}

// The same on all systems.
TEST(Resize, GivesTheSameBitsEverywhere) {
    uint64_t hash = hash_start;
    for (const int filter : all_filters) {
        FakeImage fake(ZOR_MODE_READ, 61, 43, {});
        fake.value = noise;
        fake.desc().curve.gamma = 1.0F;
        for (const Size to : {Size{40, 17}, {97, 101}}) {
            ZOR__resize(fake.image(), to.width, to.height, filter);
            for (int y = 0; y < to.height; ++y)
                hash_rows(&hash, fake.read(y));
            ZOR__resize_undo(fake.image());
        }
    }
    EXPECT_EQ(hash, 18333368317384260663U);
}

} // namespace
