// refusal_test.cpp - pushes that cannot work or have nothing to do push nothing, leave no trace, and
// what they say.
#include <cmath>

#include "ops/fake_image.h"
#include "ops/state.h"
#include "support/driver_test.h"

namespace {

constexpr FakeImage::Groups bytes = {integers(3, 8), none, none};
constexpr FakeImage::Groups one_float = {floats(1), none, none};

class Refusal : public DriverTest {
protected:
    // Does something with an image that is to push nothing. What it does to the image beforehand is
    // done by a first time, whose reports do not count; the second one is to change nothing.
    template<class Push>
    void push(const FakeImage::Groups &groups, Push operation, int mode = ZOR_MODE_READ) {
        const FakeImage fake(mode, 4, 4, groups);
        const auto told = log.reports;
        operation(fake.image());
        log.reports = told;
        const std::string before = state_of(*fake.image());
        zor__err = 0;
        operation(fake.image());
        EXPECT_EQ(state_of(*fake.image()), before);
        fake.image()->num_images = 1;
        EXPECT_EQ(fake.image()->driver_state, nullptr);
    }
    template<class Push>
    void refuse(Push operation, int mode = ZOR_MODE_READ) {
        push(one_float, operation, mode);
        expect({ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE}, zor__err);
    }
    void expect_silence() const {
        EXPECT_EQ(zor__err, 0);
        EXPECT_EQ(log.text(), "");
    }
};

TEST_F(Refusal, OfArgumentsThatMakeNoSense) {
    const ZOR_TARGET target = {ZOR_C_INTEGER, 8};
    ZOR_RESPONSE_CURVE curve = power(2.2F);
    const auto encode = [&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&target), &curve); };
    refuse(encode, ZOR_MODE_WRITE);
    for (const float gamma : {0.0F, -1.0F, NAN, HUGE_VALF})
        refuse([&](ZOR_IMAGE *i) { i->images->curve.gamma = gamma, encode(i); });
    curve.kind = 2;
    refuse(encode);
    curve = power(0);
    refuse(encode);
    for (const ZOR_TARGET &wrong :
         {ZOR_TARGET{ZOR_C_FLOAT, 32}, {ZOR_C_INTEGER, 0}, {ZOR_C_INTEGER, 33}})
        refuse([&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&wrong), nullptr); });
    for (const ZOR_RANGE &wrong : {ZOR_RANGE{1, 1}, {2, 1}, {0, HUGE_VALF}, {NAN, 1}}) {
        refuse([&](ZOR_IMAGE *i) { ZOR__min_max(i, Ranges(&wrong)); });
        refuse([&](ZOR_IMAGE *i) { ZOR__remap(i, Ranges(&wrong)); });
    }
    const float factors[] = {1, 1, HUGE_VALF};
    refuse([&](ZOR_IMAGE *i) { ZOR__scale(i, factors); });
    const int sizes[][3] = {{0, 4, 0}, {4, -1, 0}, {(1 << 24) + 1, 4, 0}, {4, 4, 5}, {4, 4, -1}};
    for (const auto &[width, height, filter] : sizes)
        refuse([&](ZOR_IMAGE *i) { ZOR__resize(i, width, height, filter); });

    // A field goes with another of its kind.
    const FakeImage other(ZOR_MODE_READ, 4, 4, one_float);
    const auto merge = [&](ZOR_IMAGE *i) { ZOR__merge_fields(i, other.image()); };
    refuse([](ZOR_IMAGE *i) { ZOR__merge_fields(i, i); });
    refuse([&](ZOR_IMAGE *i) { ZOR__merge_fields(other.image(), i); }, ZOR_MODE_WRITE);
    refuse([&](ZOR_IMAGE *i) { i->images->win_top = 4, merge(i); });
    refuse([&](ZOR_IMAGE *i) { i->images->orientation = ZOR_ORIENTATION_RISING, merge(i); });
    refuse([&](ZOR_IMAGE *i) { i->images->image.bits = 16, merge(i); });
    refuse([&](ZOR_IMAGE *i) { i->images->curve.gamma = 2.2F, merge(i); });
}

TEST_F(Refusal, OfWhatThereIsNothingToDoFor) {
    const ZOR_TARGET words = {ZOR_C_INTEGER, 16};
    const ZOR_RANGE range = {0, 2};
    const float factors[] = {1, 1, 7};
    const auto clip = [](ZOR_IMAGE *i) { ZOR__clip(i); };
    push(bytes, [&](ZOR_IMAGE *i) { ZOR__quantize(i, Targets(&words), nullptr); });
    push({floats(1), doubles(1), none},
         [&](ZOR_IMAGE *i) { ZOR__remap(i, Ranges(&range, &range)); });
    push({floats(1), none, floats(0)}, [&](ZOR_IMAGE *i) { ZOR__scale(i, factors); });
    push(
        {integers(3, 32), none, none}, [&](ZOR_IMAGE *i) { ZOR__change_width(i, Targets(&words)); },
        ZOR_MODE_WRITE);
    push({floats(3), floats(0), none}, clip);
    push({floats(3), doubles(1), none}, clip);
    push({floats(3), floats(1), none}, [&](ZOR_IMAGE *i) { i->images->chan_flag = 2, clip(i); });
    expect_silence();
}

TEST_F(Refusal, OfColoursThatCannotBeCorrected) {
    for (const auto correct : {&ZOR__gamma, &ZOR__xyz_transform, &ZOR__rgb_transform,
                               &ZOR__rgb_luminance, &ZOR__xyz_luminance}) {
        const ZOR_RESPONSE_CURVE curve = power(2);
        const auto operation = [&](ZOR_IMAGE *i) { correct(i, &curve); };
        push({integers(3, 9), none, none}, operation);
        expect({ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH}, zor__err);
        push(bytes, [&](ZOR_IMAGE *i) { i->num_images = 0, operation(i); });
        expect({ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES}, zor__err);
        push({floats(3), none, none}, operation);
        EXPECT_EQ(correct(nullptr, &curve), nullptr);
        if (correct != &ZOR__gamma) {
            push({integers(1, 8), none, none}, operation);
            push(bytes, operation, ZOR_MODE_WRITE);
            if (correct != &ZOR__xyz_transform) // a white without Y
                push(bytes, [&](ZOR_IMAGE *i) { i->primaries[10] = 0, operation(i); });
        }
        expect_silence();

        // Tables that are too short, too deep, too few, or floats, where bytes are to come out.
        const Tables shapes[] = {{1, 3, 255, ZOR_C_INTEGER, 8},
                                 {1, 3, 4096, ZOR_C_INTEGER, 9},
                                 {1, 2, 4096, ZOR_C_INTEGER, 8},
                                 {1, 3, 4096, ZOR_C_FLOAT, 8}};
        for (const Tables &wrong : shapes) {
            push(bytes, [&](ZOR_IMAGE *i) { correct(i, &wrong.curve); });
            EXPECT_EQ(zor__err, correct == &ZOR__xyz_luminance ? ZOR_E_MEMORY : 0);
        }
        log.clear();
    }
}

TEST_F(Refusal, OfWhatAnImageDoesNotHave) {
    constexpr ZOR_RESPONSE_CURVE linear = power(1);
    zor__err = 0;
    // No samples; no curve; a white without Y; no space of so many.
    for (const int count : {3, 4, 5, 11}) {
        FakeImage fake(ZOR_MODE_READ, 4, 4, {integers(count, 8), none, none});
        fake.set_format(count == 3 ? "rgb" : "sampled");
        fake.image()->primaries[10] = count == 5 ? 0 : 0.3F;
        ZOR__samples_to_display(fake.image(), count != 4 ? &linear : nullptr);
        EXPECT_EQ(fake.image()->driver_state, nullptr);
    }
    expect_silence();

    constexpr int all = ZOR_DISPLAY_COLOR | ZOR_DISPLAY_MATTE | ZOR_DISPLAY_AUX;
    const std::tuple<int, int, std::string> cases[] = {
        {0, 1, "The image has no matte channel information\n"},
        {2, 1, "display operator cannot handle multiple matte channels\n"},
        {1, 0, "The image has no auxiliary channel information\n"},
        {1, 2, "display operator cannot handle multiple auxiliary channels\n"}};
    for (const auto &[mattes, depths, report] : cases) {
        push({integers(3, 8), integers(mattes, 8), integers(depths, 8)},
             [&](ZOR_IMAGE *i) { ZOR__display(i, all, nullptr, &linear); });
        EXPECT_EQ(log.text(), report);
        log.clear();
    }
}

} // namespace
