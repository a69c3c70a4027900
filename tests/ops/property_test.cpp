// property_test.cpp - any operators on images of any kind while memory runs out: what cannot be
// pushed leaves no trace. That what was pushed leaves none either is seen by fuzz/operators.cpp.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "ops/any_operator.h"
#include "ops/fake_image.h"
#include "support/fault.h"
#include "zor/clr.h"

namespace {

// The same numbers everywhere, which distributions are not.
class SeededDice final : public Dice {
public:
    explicit SeededDice(uint32_t seed) : engine_(seed) {}

private:
    uint32_t below(uint32_t sides) override { return static_cast<uint32_t>(engine_() % sides); }
    std::mt19937 engine_;
};

std::unique_ptr<FakeImage> any_image(Dice &dice) {
    FakeImage::Groups groups = {any_group(dice, 4), any_group(dice, 2), any_group(dice, 2)};
    if (dice.toss()) // what most images are
        groups.image.count = 3;
    const int mode = dice.roll(4) == 0 ? ZOR_MODE_WRITE : ZOR_MODE_READ;
    auto fake = std::make_unique<FakeImage>(mode, 1 + dice.roll(600), 1 + dice.roll(6), groups,
                                            1 + dice.roll(2));
    for (int i = 0; i < fake->image()->num_images; ++i) {
        ZOR_IMAGE_DESC &desc = fake->desc(i);
        desc.chan_flag = dice.roll(8) == 0 ? 0 : 1;
        desc.curve.gamma = dice.pick({1.0F, 2.2F});
        fake->set_format(dice.pick<const char *>({"rgb", "rgb", "xyz", "sampled", "raw", "other"}),
                         i);
    }
    return fake;
}

TEST(Stacks, StayAsTheyWereWhenMemoryRunsOut) {
    ReportLog log;
    CLR_find(1); // which the library keeps
    std::set<const Operator *> struck;
    for (uint32_t seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(seed);
        const bool all = seed % 2 == 0; // every later allocation fails, too
        int left = 0;
        for (long n = 1;; ++n) {
            SeededDice dice(seed);
            const auto fake = any_image(dice);
            ZOR_IMAGE *image = fake->image();
            for (int i = dice.roll(3); i > 0; --i)
                dice.pick(operators).push(image, dice);
            const Operator &op = dice.pick(operators);
            // The luminance of xyz is only there when memory is not.
            if (op.undo == &ZOR__xyz_luminance_undo ||
                (op.undo == &ZOR__display_undo && fake->desc().chan_format == std::string("xyz")))
                break;
            const void *below = image->data[0];
            const std::string before = snapshot(*image);
            const Fault fault(n, all);
            zor__err = 0;
            op.push(image, dice);
            if (!fault.struck()) {
                ASSERT_TRUE(image->data[0] == below || take_off(image, op, below));
                ASSERT_EQ(fault.live(), 0);
                break;
            }
            struck.insert(&op);
            ASSERT_EQ(fault.live(), 0);
            ASSERT_EQ(zor__err, ZOR_E_MEMORY);
            ASSERT_EQ(image->data[0], below);
            // A cast leaves its description behind, as always; so does what begins with one.
            left += snapshot(*image) != before;
            ASSERT_LE(left, op.undo == &ZOR__cast_undo || op.undo == &ZOR__resize_undo ? 1 : 0);
        }
    }
    EXPECT_EQ(struck.size(), std::size(operators) - 1);
}

} // namespace
