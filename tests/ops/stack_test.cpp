// stack_test.cpp - the stack itself: what pushes, undoes and closes leave in the handle; selecting a
// sub-image, and casting to float.
#include <gmock/gmock.h>

#include <cmath>

#include "ops/fake_image.h"

namespace {

using testing::ElementsAre;

constexpr FakeImage::Groups all_kinds = {
    {3, ZOR_C_INTEGER, 8}, {1, ZOR_C_INTEGER, 1}, {2, ZOR_C_INTEGER, 12}};

TEST(Stack, OperatorsGoFromTheTopOnly) {
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds, 3);
    ZOR_IMAGE *image = fake.image();
    void *driver = image->data[0];
    EXPECT_EQ(ZOR__cast_undo(image), 0); // what is in slot 0 is the driver's
    ZOR__select(image, 0);
    ZOR__cast(image);
    EXPECT_EQ(ZOR__select_undo(image), 0);
    EXPECT_EQ(image->num_images, 1);
    EXPECT_EQ(image->driver_state, driver); // which seeks and playback get
    EXPECT_EQ(ZOR__cast_undo(image), 1);
    EXPECT_EQ(ZOR__select_undo(image), 1);
    EXPECT_EQ(image->data[0], driver);
    EXPECT_EQ(image->driver_state, nullptr);
    image->data[0] = nullptr;
    EXPECT_EQ(ZOR__cast_undo(image), 1);
    image->data[0] = driver;
}

TEST(Stack, FailuresBelowComeThroughUnconverted) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds);
    ZOR__cast(fake.image());
    fake.fail_at = 1;
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(fake.image(), 1, &rows), ZOR_E_READ);
    EXPECT_EQ(rows, nullptr);
}

TEST(Select, LeavesOneImageAndLocksTheOthers) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds, 3);
    ZOR_IMAGE *image = fake.image();
    void *const slots[] = {image->data[0], image->data[1], image->data[2]};
    fake.desc(2).image.count = 1;
    fake.settle();
    for (const int index : {-1, 3})
        EXPECT_EQ(ZOR__select(image, index)->num_images, 3);
    image->data[1] = nullptr; // an image that the driver has nothing for
    EXPECT_EQ(ZOR__select(image, 1)->num_images, 3);
    image->data[1] = slots[1];

    image->last_scanline = 1;
    ZOR__select(image, 2);
    EXPECT_EQ(image->num_images, 1);
    EXPECT_EQ(fake.desc().image.count, 1);
    EXPECT_EQ(image->data[1], nullptr);
    EXPECT_EQ(image->data[2], nullptr);
    EXPECT_EQ(image->driver_state, slots[2]);
    EXPECT_EQ(image->last_scanline, 2); // none yet, in falling order
    EXPECT_EQ(fake.read(0).size(), 4U);
    zor__err = -5;
    EXPECT_EQ(image->scan(image->data[1], 0, nullptr), -1); // as if for image 1
    EXPECT_EQ(zor__err, -5);
    EXPECT_TRUE(log.has_only(ZOR_MSG_LOCKED));

    EXPECT_EQ(ZOR__select_undo(image), 1);
    EXPECT_EQ(image->num_images, 3);
    EXPECT_EQ(image->last_scanline, 1);
    EXPECT_THAT(std::vector<void *>(image->data, image->data + 3),
                testing::ElementsAreArray(slots));
    EXPECT_EQ(image->driver_state, nullptr);
}

TEST(Select, CannotReachPastOperatorsOfTheFirstImage) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds, 2);
    ZOR__cast(fake.image());
    EXPECT_EQ(ZOR__select(fake.image(), 1)->num_images, 2);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_HANDLE));
}

TEST(Cast, DividesByTheLargestValueOfEachGroup) {
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds);
    fake.value = [](int channel, int x, int) {
        return channel < 3 ? 85 * x : channel == 3 ? x % 2 : 1365 * x;
    };
    ZOR__cast(fake.image());
    const auto rows = fake.read(0);
    EXPECT_THAT(rows[0], ElementsAre(0, 85 / 255.0F, 170 / 255.0F, 1));
    EXPECT_THAT(rows[3], ElementsAre(0, 1, 0, 1));
    EXPECT_THAT(rows[5], ElementsAre(0, 1365 / 4095.0F, 2730 / 4095.0F, 1));
}

TEST(Cast, DecodesTheGammaOfBytesAlone) {
    for (const int bits : {7, 8, 16, 32}) {
        FakeImage fake(ZOR_MODE_READ, 3, 1, {{1, ZOR_C_INTEGER, bits}, {}, {}});
        fake.desc().curve.gamma = 2.2F;
        const double top = std::ldexp(1.0, bits) - 1;
        fake.value = [&](int, int x, int) { return std::floor(top * x / 2); };
        ZOR__cast(fake.image());
        EXPECT_EQ(fake.desc().curve.gamma, 1.0F);
        const double middle = std::floor(top / 2) / top;
        const double expected = bits == 8 ? std::pow(middle, 2.2) : middle;
        EXPECT_THAT(fake.read(0)[0], ElementsAre(0, testing::DoubleNear(expected, 1e-7), 1));
        EXPECT_EQ(ZOR__cast_undo(fake.image()), 1);
        EXPECT_EQ(fake.desc().curve.gamma, 2.2F);
    }
}

TEST(Cast, HandsFloatsOnAndNarrowsDoubles) {
    FakeImage floats(ZOR_MODE_READ, 3, 1,
                     {{1, ZOR_C_FLOAT, 32}, {1, ZOR_C_FLOAT, 32}, {0, ZOR_C_FLOAT, 32}});
    void *driver = floats.image()->data[0];
    EXPECT_EQ(ZOR__cast(floats.image())->data[0], driver); // nothing to do

    FakeImage mixed(ZOR_MODE_READ, 3, 1,
                    {{1, ZOR_C_FLOAT, 32}, {1, ZOR_C_DOUBLE, 64}, {1, ZOR_C_INTEGER, 8}});
    mixed.value = [](int channel, int x, int) { return channel < 2 ? x - 0.3 : 255; };
    ZOR__cast(mixed.image());
    const auto rows = mixed.read(0);
    EXPECT_THAT(rows[0], ElementsAre(-0.3F, 0.7F, 1.7F));
    EXPECT_EQ(rows[1], rows[0]);
    EXPECT_THAT(rows[2], ElementsAre(1, 1, 1));
}

} // namespace
