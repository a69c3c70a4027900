// property_test.cpp - stacks of any operators on images of any kind: what was pushed comes off
// without a trace, in whatever order it came and whenever memory runs out.
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

ZOR_CHANNELS any_group(Dice &dice, int most) {
    const int count = dice.roll(most + 1);
    const int bits = dice.pick({1, 4, 8, 8, 8, 10, 16, 24, 32});
    return dice.pick({integers(count, bits), integers(count, bits), floats(count), doubles(count)});
}

std::unique_ptr<FakeImage> any_image(Dice &dice) {
    FakeImage::Groups groups = {any_group(dice, 4), any_group(dice, 2), any_group(dice, 2)};
    if (dice.toss()) // what most images are
        groups.image.count = 3;
    const int mode = dice.roll(4) == 0 ? ZOR_MODE_WRITE : ZOR_MODE_READ;
    auto fake = std::make_unique<FakeImage>(mode, 1 + dice.roll(600), 1 + dice.roll(6), groups,
                                            1 + dice.roll(2));
    for (int i = 0; i < fake->image()->num_images; ++i) {
        ZOR_IMAGE_DESC &desc = fake->desc(i);
        const int left = dice.roll(20) - 10;
        desc.win_left += left;
        desc.win_right += left;
        desc.act_left = desc.win_left + dice.roll(desc.win_right - desc.win_left + 1);
        desc.act_right = desc.act_left + dice.roll(desc.win_right - desc.act_left + 1);
        desc.act_bottom = dice.roll(desc.win_top + 1);
        desc.act_top = desc.act_bottom + dice.roll(desc.win_top - desc.act_bottom + 1);
        desc.chan_flag = dice.roll(8) == 0 ? 0 : 1;
        desc.curve.gamma = dice.pick({1.0F, 2.2F});
        fake->set_format(dice.pick<const char *>({"rgb", "rgb", "xyz", "sampled", "raw", "other"}),
                         i);
    }
    fake->settle();
    fake->value = [desc = fake->desc()](int channel, int x, int y) {
        const ZOR_CHANNELS &group = group_of_row(desc, channel);
        const int code = (channel * 89 + x * 31 + y * 7) & 255;
        if (group.type == ZOR_C_INTEGER)
            return std::ldexp(code, std::max(group.bits - 8, 0));
        return code == 0 ? std::nan("") : code == 1 ? HUGE_VAL : (code - 32) / 192.0;
    };
    return fake;
}

// Moves a line or two through the stack.
void scan(FakeImage &fake, Dice &dice) {
    for (int i = 0; i < 2; ++i) {
        const int y = fake.desc().win_bottom + dice.roll(fake.desc().win_top + 1);
        if (fake.image()->mode == ZOR_MODE_READ)
            fake.read(y);
        else
            fake.write(y, [](int channel, int x, int) { return (channel + x) & 1; });
    }
}

TEST(Stacks, ComeOffWithoutATrace) {
    ReportLog log;
    size_t pushed = 0;
    for (uint32_t seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE(seed);
        SeededDice dice(seed);
        const auto fake = any_image(dice);
        ZOR_IMAGE *image = fake->image();
        struct Layer {
            const Operator *op;
            void *data;
            std::string below;
        };
        std::vector<Layer> stack;
        for (int i = 1 + dice.roll(6); i > 0; --i) {
            const Operator &op = dice.pick(operators);
            const Layer layer = {&op, image->data[0], snapshot(*image)};
            op.push(image, dice);
            if (image->data[0] != layer.data)
                stack.push_back(layer);
            else
                ASSERT_TRUE(snapshot(*image) == layer.below);
            scan(*fake, dice);
        }
        pushed += stack.size();
        // The rest of some stacks is left to the close function.
        const size_t left = dice.toss() ? 0 : stack.size() / 2;
        for (; stack.size() > left; stack.pop_back()) {
            ASSERT_TRUE(take_off(image, *stack.back().op, stack.back().data));
            ASSERT_TRUE(snapshot(*image) == stack.back().below);
            scan(*fake, dice);
        }
    }
    EXPECT_GT(pushed, 1500U); // most pushes found something to do
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
