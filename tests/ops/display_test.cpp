// display_test.cpp - what a display request pushes for which image, and what comes out of it.
#include <gmock/gmock.h>

#include <cmath>
#include <string>

#include "ops/color_matrix.h"
#include "ops/fake_image.h"
#include "ops/operator.h"

namespace {

using testing::ElementsAre;
using zor::Tag;
using Tags = std::vector<Tag>;

constexpr ZOR_RESPONSE_CURVE screen = power(2.2F);

// The stack of an image, from the top.
Tags tags_of(const ZOR_IMAGE *image) {
    Tags tags;
    const void *at = image->data[0];
    while (image->driver_state != nullptr && at != image->driver_state) {
        const auto *head = static_cast<const zor::OperatorHead *>(at);
        tags.push_back(head->tag);
        at = head->data;
    }
    return tags;
}

void display(const FakeImage &fake, int flags, const float *primaries = nullptr,
             const ZOR_RESPONSE_CURVE *curve = &screen) {
    ZOR__display(fake.image(), static_cast<unsigned char>(flags), primaries, curve);
}

// Primaries for a display: those of an image, its red moved.
std::vector<float> primaries_of(const FakeImage &fake, float move) {
    std::vector<float> primaries(6);
    primaries.insert(primaries.end(), fake.image()->primaries, fake.image()->primaries + 12);
    primaries[6] += move;
    primaries[8] = 77; // z, which does not count
    return primaries;
}

TEST(Display, PushesWhatFormatAndSizeCodeAskFor) {
    const struct {
        const char *format;
        int size_code, flags;
        bool other_primaries;
        Tags tags; // under the display's and above that of the width
    } cases[] = {
        {"rgb", 0, 7, false, {Tag::gamma}},
        {"rgb", 0, 2, true, {Tag::rgb_transform}},
        {"rgb", 8, 7, true, {}},
        {"rgb", 0, 16, true, {Tag::rgb_luminance}},
        {"rgb", 0, 23, true, {Tag::gamma, Tag::rgb_luminance}},
        {"xyz", 0, 7, false, {Tag::xyz_transform}},
        {"xyz", 16, 7, false, {}},
        {"xyz", 0, 16, false, {}}, // see ZOR__xyz_luminance
        {"sampled", 8, 7, false, {Tag::samples_to_display}},
        {"sampled", 16, 7, false, {}},
        {"sampled", 0, 16, false, {Tag::samples_to_luminance}},
        {"raw", 16, 1, false, {Tag::samples_to_display}},
        {"raw", 0, 16, false, {}},
        {"other", 8, 7, false, {}},
    };
    for (const auto &[format, size_code, flags, other_primaries, tags] : cases) {
        ReportLog log;
        FakeImage fake(ZOR_MODE_READ, 4, 2, {integers(3, 16), none, none});
        fake.set_format(format);
        fake.desc().size_code = size_code;
        display(fake, flags, primaries_of(fake, other_primaries ? 0.02F : 0).data());
        Tags expected = {Tag::display};
        expected.insert(expected.end(), tags.begin(), tags.end());
        expected.push_back(Tag::change_width);
        EXPECT_EQ(tags_of(fake.image()), expected) << format << size_code << " " << flags;
        EXPECT_EQ(fake.desc().image.bits, 8);
        EXPECT_EQ(log.text(), "");
        EXPECT_FALSE(fake.read(0).empty());
        EXPECT_EQ(ZOR__display_undo(fake.image()), 1); // in one go
        EXPECT_TRUE((flags & ZOR_DISPLAY_LUMINANCE) != 0 ||
                    zor::color_matrices().from_xyz == zor::identity_matrix);
    }
}

TEST(Display, LeavesEqualGammasAloneAndTakesFloatsThroughTheirRange) {
    FakeImage bytes(ZOR_MODE_READ, 4, 2, {});
    bytes.desc().curve.gamma = 2.2F;
    const ZOR_RESPONSE_CURVE *const curves[] = {&screen, nullptr}; // the usual screen's is 2.2 too
    for (const ZOR_RESPONSE_CURVE *curve : curves) {
        display(bytes, 7, nullptr, curve);
        EXPECT_THAT(tags_of(bytes.image()), ElementsAre(Tag::display, Tag::change_width));
        EXPECT_EQ(ZOR__display_undo(bytes.image()), 1);
    }

    FakeImage light(ZOR_MODE_READ, 4, 1, {floats(3), floats(1), floats(1)});
    light.value = [](int channel, int x, int) {
        return channel == 4 ? 5000.5 : x == 3 ? double{NAN} : x;
    };
    display(light, ZOR_DISPLAY_COLOR | ZOR_DISPLAY_MATTE | ZOR_DISPLAY_AUX);
    EXPECT_THAT(tags_of(light.image()), ElementsAre(Tag::display, Tag::gamma, Tag::change_width,
                                                    Tag::quantize, Tag::remap, Tag::clip));
    const auto rows = light.read(0);
    EXPECT_THAT(rows[0], ElementsAre(0, 255, 255, 0));
    EXPECT_EQ(rows[4][0], 128); // 4999.5 of 9999
}

TEST(Display, GivesUpHalfWay) {
    FakeImage fake(ZOR_MODE_READ, 4, 2, {integers(3, 16), none, none});
    const auto expect_half = [&](int flags, const float *primaries, int32_t status) {
        zor__err = -5;
        display(fake, flags, primaries);
        EXPECT_EQ(zor__err, status);
        EXPECT_THAT(tags_of(fake.image()), ElementsAre(Tag::change_width));
        EXPECT_EQ(ZOR__change_width_undo(fake.image()), 1);
    };
    ReportLog log;
    auto primaries = primaries_of(fake, 0);
    primaries[16] = 0; // white's y
    expect_half(7, primaries.data(), -5);
    EXPECT_EQ(log.text(), "");
    fake.set_format("other");
    expect_half(16, nullptr, ZOR_E_CHANNELS);
    expect_half(7, nullptr, -5);
    EXPECT_EQ(log.count(ZOR_MSG_CHANNEL_FORMAT), 2);
}

} // namespace
