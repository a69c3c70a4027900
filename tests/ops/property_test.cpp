// property_test.cpp - stacks of any operators on images of any kind: what was pushed comes off
// without a trace, in whatever order it came and whenever memory runs out.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "ops/fake_image.h"
#include "ops/state.h"
#include "support/fault.h"
#include "zor/clr.h"

namespace {

// The same numbers everywhere, which distributions are not.
class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}
    int roll(int sides) { return static_cast<int>(engine_() % static_cast<uint32_t>(sides)); }
    bool toss() { return roll(2) == 0; }
    template<class T, size_t n>
    const T &pick(const T (&from)[n]) {
        return from[roll(n)];
    }

private:
    std::mt19937 engine_;
};

// All that a push may change, but for what scans move too, and for the measures that a curve
// without tables has.
std::string snapshot(ZOR_IMAGE image) {
    image.last_scanline = 0;
    for (int i = 0; i < image.num_images; ++i)
        if (ZOR_RESPONSE_CURVE &curve = image.images[i].curve; curve.kind == 1) {
            const size_t kept = offsetof(ZOR_RESPONSE_CURVE, reserved);
            std::memset(reinterpret_cast<char *>(&curve) + kept, 0, sizeof curve - kept);
        }
    return state_of(image);
}

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

// An operator: a push with arguments from the dice, and its undo.
struct Operator {
    void (*push)(ZOR_IMAGE *image, Dice &dice);
    int (*undo)(ZOR_IMAGE *image);
};

constexpr ZOR_TARGET targets[] = {{ZOR_C_INTEGER, 4}, {ZOR_C_INTEGER, 8},  {ZOR_C_INTEGER, 8},
                                  {ZOR_C_INTEGER, 8}, {ZOR_C_INTEGER, 16}, {ZOR_C_INTEGER, 32}};
constexpr ZOR_RANGE ranges[] = {{-1, 0.5F}, {-1, 1}, {0, 0.5F}, {0, 1}, {0.25F, 0.5F}, {0.25F, 1}};
constexpr ZOR_RESPONSE_CURVE curves[] = {power(1), power(1.8F), power(2.2F)};

// For each group one of a table, or nothing.
template<class T, size_t n>
ByGroup<T> any_of(Dice &dice, const T (&table)[n]) {
    const auto any = [&] { return dice.roll(3) != 0 ? &dice.pick(table) : nullptr; };
    return {any(), any(), any()};
}

template<auto push>
void with_curve(ZOR_IMAGE *image, Dice &dice) {
    push(image, &dice.pick(curves));
}

const Operator operators[] = {
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__select(image, dice.roll(2)); }, &ZOR__select_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__cast(image); }, &ZOR__cast_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const auto to = any_of(dice, targets);
         ZOR__quantize(image, to, dice.toss() ? &dice.pick(curves) : nullptr);
     },
     &ZOR__quantize_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__change_width(image, any_of(dice, targets)); },
     &ZOR__change_width_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__remap(image, any_of(dice, ranges)); },
     &ZOR__remap_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__min_max(image, any_of(dice, ranges)); },
     &ZOR__min_max_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         float factors[3];
         for (float &factor : factors)
             factor = dice.pick({1.0F, -1.0F, 0.5F, 3.0F});
         ZOR__scale(image, factors);
     },
     &ZOR__scale_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__clip(image); }, &ZOR__clip_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__samples_to_rgb(image); }, &ZOR__samples_to_rgb_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__samples_to_xyz(image); }, &ZOR__samples_to_xyz_undo},
    {with_curve<ZOR__samples_to_display>, &ZOR__samples_to_display_undo},
    {with_curve<ZOR__samples_to_luminance>, &ZOR__samples_to_luminance_undo},
    {with_curve<ZOR__gamma>, &ZOR__gamma_undo},
    {with_curve<ZOR__rgb_transform>, &ZOR__rgb_transform_undo},
    {with_curve<ZOR__xyz_transform>, &ZOR__xyz_transform_undo},
    {with_curve<ZOR__rgb_luminance>, &ZOR__rgb_luminance_undo},
    {with_curve<ZOR__xyz_luminance>, &ZOR__xyz_luminance_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const int width = 1 + dice.roll(80);
         const int height = 1 + dice.roll(8);
         ZOR__resize(image, width, height, dice.roll(5));
     },
     &ZOR__resize_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         float primaries[18] = {};
         std::copy_n(image->primaries, 12, primaries + 6);
         primaries[6] += dice.pick({0.0F, 0.02F});
         const int flags = dice.roll(4) != 0 ? dice.pick({7, 16}) : dice.roll(64);
         const ZOR_RESPONSE_CURVE &curve = dice.pick(curves);
         ZOR__display(image, static_cast<unsigned char>(flags), dice.toss() ? primaries : nullptr,
                      &curve);
     },
     &ZOR__display_undo},
};

// Undoes a push. A display that gave up half way has left other operators, and nothing of its own.
void take_off(ZOR_IMAGE *image, const Operator &op, const void *below) {
    if (op.undo(image) == 1)
        return;
    EXPECT_EQ(op.undo, &ZOR__display_undo);
    for (int i = 0; i < 4; ++i)
        for (const Operator &other : operators)
            if (image->data[0] != below)
                other.undo(image);
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
        Dice dice(seed);
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
            take_off(image, *stack.back().op, stack.back().data);
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
            Dice dice(seed);
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
                if (image->data[0] != below)
                    take_off(image, op, below);
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
