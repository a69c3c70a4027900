// property_test.cpp - stacks of any operators on images of any kind: what was pushed comes off
// without a trace, in whatever order it came and whenever memory runs out.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>

#include "ops/fake_image.h"
#include "support/fault.h"
#include "zor/clr.h"

namespace {

// The same numbers everywhere, which distributions are not.
class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}
    int roll(int sides) { return static_cast<int>(engine_() % static_cast<uint32_t>(sides)); }
    bool toss() { return roll(2) == 0; }
    template<class T>
    T pick(std::initializer_list<T> from) {
        return from.begin()[roll(static_cast<int>(from.size()))];
    }

private:
    std::mt19937 engine_;
};

// All that a push may change.
struct Snapshot {
    explicit Snapshot(const ZOR_IMAGE &image)
        : slots(image.data, image.data + image.num_slots), handle(sizeof image) {
        std::memcpy(handle.data(), &image, sizeof image);
        // Which scans move.
        const size_t at = offsetof(ZOR_IMAGE, last_scanline);
        std::fill_n(handle.begin() + at, sizeof image.last_scanline, '\0');
        for (int i = 0; i < image.num_images; ++i) {
            const ZOR_IMAGE_DESC &d = image.images[i];
            for (const int32_t number : {d.size_code,
                                         d.curve.kind,
                                         std::bit_cast<int32_t>(d.curve.gamma),
                                         d.win_left,
                                         d.win_right,
                                         d.win_bottom,
                                         d.win_top,
                                         d.act_left,
                                         d.act_right,
                                         d.act_bottom,
                                         d.act_top,
                                         d.orientation,
                                         d.chan_flag,
                                         d.image.count,
                                         d.image.type,
                                         d.image.bits,
                                         d.matte.count,
                                         d.matte.type,
                                         d.matte.bits,
                                         d.aux.count,
                                         d.aux.type,
                                         d.aux.bits,
                                         d.picture_width,
                                         d.picture_height,
                                         std::bit_cast<int32_t>(d.picture_aspect),
                                         d.frame})
                numbers.push_back(number);
            texts.insert(texts.end(), {d.chan_format, d.aux_name, d.picture_format, d.ratio_text});
        }
    }
    bool operator==(const Snapshot &) const = default;

    std::vector<void *> slots;
    std::vector<char> handle;
    std::vector<int32_t> numbers;
    std::vector<const void *> texts;
};

ZOR_CHANNELS any_group(Dice &dice, int most) {
    const int type = dice.pick({ZOR_C_INTEGER, ZOR_C_INTEGER, ZOR_C_FLOAT, ZOR_C_DOUBLE});
    const int bits = dice.pick({1, 4, 8, 8, 8, 10, 16, 24, 32});
    return {dice.roll(most + 1), type, type == ZOR_C_INTEGER ? bits : 32 * (type - 1)};
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
        ERR_free(desc.chan_format);
        desc.chan_format = STR_save(dice.pick({"rgb", "rgb", "xyz", "sampled", "raw", "other"}));
    }
    fake->settle();
    fake->value = [desc = fake->desc()](int channel, int x, int y) {
        const ZOR_CHANNELS &group = group_of_row(desc, channel);
        const int code = (channel * 89 + x * 31 + y * 7) & 255;
        if (group.type == ZOR_C_INTEGER)
            return std::ldexp(code, group.bits - 8 < 0 ? 0 : group.bits - 8);
        return code == 0 ? std::nan("") : code == 1 ? HUGE_VAL : (code - 32) / 192.0;
    };
    return fake;
}

// An operator: a push with arguments from the dice, and its undo.
struct Operator {
    void (*push)(ZOR_IMAGE *image, Dice &dice);
    int (*undo)(ZOR_IMAGE *image);
};

template<class T, class Make>
std::array<T, 3> three(Make make) {
    return {make(), make(), make()};
}

// Targets, ranges or nothing for each group.
template<class T>
struct ByGroup {
    template<class Make>
    ByGroup(Dice &dice, Make make) : values(three<T>(make)) {
        for (size_t g = 0; g < 3; ++g)
            of[g] = dice.roll(3) != 0 ? &values[g] : nullptr;
    }
    std::array<T, 3> values;
    const T *of[3];
};

ByGroup<ZOR_TARGET> any_targets(Dice &dice) {
    return {dice, [&] { return ZOR_TARGET{ZOR_C_INTEGER, dice.pick({4, 8, 8, 8, 16, 32})}; }};
}
ByGroup<ZOR_RANGE> any_ranges(Dice &dice) {
    return {dice, [&] {
                return ZOR_RANGE{dice.pick({-1.0F, 0.0F, 0.25F}), dice.pick({0.5F, 1.0F})};
            }};
}
ZOR_RESPONSE_CURVE any_curve(Dice &dice) {
    return {1, dice.pick({1.0F, 1.8F, 2.2F}), 0, 0, 0, 0, 0, nullptr};
}

template<auto push>
void with_curve(ZOR_IMAGE *image, Dice &dice) {
    const ZOR_RESPONSE_CURVE curve = any_curve(dice);
    push(image, &curve);
}

const Operator operators[] = {
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__select(image, dice.roll(2)); }, &ZOR__select_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__cast(image); }, &ZOR__cast_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const auto targets = any_targets(dice);
         const ZOR_RESPONSE_CURVE encode = any_curve(dice);
         ZOR__quantize(image, targets.of, dice.toss() ? &encode : nullptr);
     },
     &ZOR__quantize_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__change_width(image, any_targets(dice).of); },
     &ZOR__change_width_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__remap(image, any_ranges(dice).of); },
     &ZOR__remap_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__min_max(image, any_ranges(dice).of); },
     &ZOR__min_max_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const auto factors = three<float>([&] { return dice.pick({1.0F, -1.0F, 0.5F, 3.0F}); });
         ZOR__scale(image, factors.data());
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
         const ZOR_RESPONSE_CURVE curve = any_curve(dice);
         const int flags = dice.roll(4) != 0 ? dice.pick({7, 16}) : dice.roll(64);
         ZOR__display(image, static_cast<unsigned char>(flags), dice.toss() ? primaries : nullptr,
                      &curve);
     },
     &ZOR__display_undo},
};
const Operator &any_operator(Dice &dice) {
    return operators[dice.roll(static_cast<int>(std::size(operators)))];
}

// Undoes a push. A display that gave up half way has left other operators, and nothing of its own.
void take_off(ZOR_IMAGE *image, const Operator &op, const Snapshot &below) {
    if (op.undo(image) == 1)
        return;
    EXPECT_EQ(op.undo, &ZOR__display_undo);
    for (int i = 0; i < 4 && image->data[0] != below.slots[0]; ++i)
        for (const Operator &other : operators)
            if (image->data[0] != below.slots[0])
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
    int pushed = 0;
    for (uint32_t seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        const auto fake = any_image(dice);
        ZOR_IMAGE *image = fake->image();
        struct Layer {
            const Operator *op;
            Snapshot below;
        };
        std::vector<Layer> stack;
        for (int i = 1 + dice.roll(6); i > 0; --i) {
            const Operator &op = any_operator(dice);
            const Snapshot before(*image);
            op.push(image, dice);
            if (image->data[0] != before.slots[0])
                stack.push_back({&op, before});
            else
                ASSERT_TRUE(Snapshot(*image) == before);
            scan(*fake, dice);
        }
        pushed += static_cast<int>(stack.size());
        // The rest of some stacks is left to the close function.
        const size_t left = dice.toss() ? 0 : stack.size() / 2;
        for (; stack.size() > left; stack.pop_back()) {
            take_off(image, *stack.back().op, stack.back().below);
            ASSERT_TRUE(Snapshot(*image) == stack.back().below);
            scan(*fake, dice);
        }
    }
    EXPECT_GT(pushed, 1500); // most pushes found something to do
}

TEST(Stacks, StayAsTheyWereWhenMemoryRunsOut) {
    ReportLog log;
    CLR_find(1); // which the library keeps
    long struck = 0;
    for (uint32_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        const auto fake = any_image(dice);
        ZOR_IMAGE *image = fake->image();
        for (int i = dice.roll(3); i > 0; --i)
            any_operator(dice).push(image, dice);
        const Operator &op = any_operator(dice);
        // The luminance of xyz is only there when memory is not.
        if (op.undo == &ZOR__xyz_luminance_undo ||
            (op.undo == &ZOR__display_undo && fake->desc().chan_format == std::string("xyz")))
            continue;
        const Snapshot before(*image);
        for (long n = 1;; ++n) {
            Dice same = dice;
            Fault fault(n);
            zor__err = 0;
            op.push(image, same);
            if (!fault.struck())
                break;
            ++struck;
            ASSERT_EQ(fault.live(), 0);
            ASSERT_EQ(zor__err, ZOR_E_MEMORY);
            ASSERT_EQ(image->data[0], before.slots[0]);
            // A cast leaves its description behind, as always; so does what begins with one.
            if ((op.undo == &ZOR__cast_undo || op.undo == &ZOR__resize_undo) &&
                Snapshot(*image) != before) {
                EXPECT_EQ(fake->desc().image.type, ZOR_C_FLOAT);
                break;
            }
            ASSERT_TRUE(Snapshot(*image) == before);
        }
    }
    EXPECT_GT(struck, 200);
}

} // namespace
