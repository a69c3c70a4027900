// stack_test.cpp - the stack itself: what pushes, undoes and closes leave in the handle; selecting
// a sub-image, and casting to float.
#include <gmock/gmock.h>

#include <cmath>

#include "ops/fake_image.h"
#include "ops/state.h"

namespace {

using testing::ElementsAre;

constexpr FakeImage::Groups all_kinds = {integers(3, 8), integers(1, 1), integers(2, 12)};

TEST(Stack, OperatorsGoFromTheTopOnly) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds, 3);
    ZOR_IMAGE *image = fake.image();
    void *const driver = image->data[0];
    EXPECT_EQ(ZOR__cast_undo(image), 0); // what is in slot 0 is the driver's
    ZOR__select(image, 0);
    ZOR__cast(image);
    EXPECT_EQ(ZOR__select_undo(image), 0);
    EXPECT_EQ(image->driver_state, driver); // which seeks and playback get
    fake.fail_at = 1;                       // what fails below is not converted
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(image, 1, &rows), ZOR_E_READ);
    EXPECT_EQ(rows, nullptr);
    EXPECT_EQ(ZOR__cast_undo(image), 1);
    EXPECT_EQ(ZOR__select_undo(image), 1);
    EXPECT_EQ(image->driver_state, nullptr);
}

TEST(Select, LeavesOneImageAndLocksTheOthers) {
    ReportLog log;
    FakeImage fake(ZOR_MODE_READ, 4, 2, all_kinds, 3);
    ZOR_IMAGE *image = fake.image();
    void *const chosen = image->data[2];
    fake.desc(2).image.count = 1;
    fake.settle();
    void *const slot = std::exchange(image->data[1], nullptr); // the driver has nothing for it
    for (const int index : {-1, 1, 3})
        EXPECT_EQ(ZOR__select(image, index)->num_images, 3);
    image->data[1] = slot;

    image->last_scanline = 1;
    const auto before = state_of(*image);
    ZOR__select(image, 2);
    EXPECT_EQ(image->num_images, 1);
    EXPECT_EQ(image->driver_state, chosen);
    EXPECT_EQ(image->last_scanline, 2); // none yet, in falling order
    EXPECT_EQ(fake.read(0).size(), 4U);
    zor__err = -5;
    EXPECT_EQ(image->scan(image->data[1], 0, nullptr), -1); // as if for image 1
    EXPECT_EQ(zor__err, -5);
    EXPECT_TRUE(log.has_only(ZOR_MSG_LOCKED));
    EXPECT_EQ(ZOR__select_undo(image), 1);
    EXPECT_EQ(state_of(*image), before);

    // It cannot reach past operators of the first image.
    ZOR__cast(image);
    EXPECT_EQ(ZOR__select(image, 1)->num_images, 3);
    EXPECT_TRUE(log.has(ZOR_MSG_CANNOT_HANDLE));
}

// Integers by the largest value of their group; bytes alone are decoded.
TEST(Cast, MakesFloatsOfAllKinds) {
    for (const int bits : {1, 7, 8, 9, 16, 32}) {
        FakeImage fake(ZOR_MODE_READ, 3, 1, {integers(1, bits), doubles(1), integers(1, 12)});
        fake.desc().curve.gamma = 2.2F;
        const double top = std::ldexp(1.0, bits) - 1;
        fake.value = [&](int channel, int x, int) {
            return channel == 1 ? x - 0.3 : std::floor((channel == 0 ? top : 4095) * x / 2);
        };
        ZOR__cast(fake.image());
        EXPECT_EQ(fake.desc().curve.gamma, 1.0F);
        const auto rows = fake.read(0);
        const double middle = std::floor(top / 2) / top;
        const double expected = bits == 8 ? std::pow(middle, 2.2) : middle;
        EXPECT_THAT(rows[0], ElementsAre(0, testing::DoubleNear(expected, 1e-7), 1));
        EXPECT_THAT(rows[1], ElementsAre(-0.3F, 0.7F, 1.7F));
        EXPECT_THAT(rows[2], ElementsAre(0, 2047 / 4095.0F, 1));
    }
    FakeImage fake(ZOR_MODE_READ, 3, 1, {floats(1), floats(1), floats(0)});
    void *driver = fake.image()->data[0];
    EXPECT_EQ(ZOR__cast(fake.image())->data[0], driver); // nothing to do
    fake.desc().aux = integers(1, 8);
    fake.settle();
    fake.value = [](int channel, int x, int) { return channel < 2 ? x - 0.3 : 51; };
    ZOR__cast(fake.image());
    const auto rows = fake.read(0);
    EXPECT_THAT(rows[1], ElementsAre(-0.3F, 0.7F, 1.7F));
    EXPECT_THAT(rows[2], ElementsAre(0.2F, 0.2F, 0.2F));
}

} // namespace
