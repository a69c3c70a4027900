// display_test.cpp - what a display request pushes for which image, and what comes out of it.
#include <gmock/gmock.h>

#include <cmath>
#include <string>

#include "ops/fake_image.h"
#include "ops/operator.h"

namespace {

using testing::ElementsAre;
using zor::Tag;
using Tags = std::vector<Tag>;

constexpr ZOR_CHANNELS none = {0, ZOR_C_INTEGER, 8};
constexpr ZOR_CHANNELS one_float = {1, ZOR_C_FLOAT, 32};
constexpr FakeImage::Groups rendered = {{3, ZOR_C_FLOAT, 32}, one_float, one_float};
constexpr ZOR_RESPONSE_CURVE screen = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
constexpr int all = ZOR_DISPLAY_COLOR | ZOR_DISPLAY_MATTE | ZOR_DISPLAY_AUX;

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

ZOR_IMAGE *display(const FakeImage &fake, int flags, const float *primaries = nullptr,
                   const ZOR_RESPONSE_CURVE *curve = &screen) {
    return ZOR__display(fake.image(), static_cast<unsigned char>(flags), primaries, curve);
}

void set_format(const FakeImage &fake, const char *format) {
    ERR_free(fake.desc().chan_format);
    fake.desc().chan_format = STR_save(format);
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
        {"rgb", 16, 7, false, {}},
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
        FakeImage fake(ZOR_MODE_READ, 4, 2, {{3, ZOR_C_INTEGER, 16}, none, none});
        set_format(fake, format);
        fake.desc().size_code = size_code;
        const ZOR_CLOSE_FUNCTION close = fake.image()->close;
        display(fake, flags, primaries_of(fake, other_primaries ? 0.02F : 0).data());
        Tags expected = {Tag::display};
        expected.insert(expected.end(), tags.begin(), tags.end());
        expected.push_back(Tag::change_width);
        EXPECT_EQ(tags_of(fake.image()), expected) << format << size_code << " " << flags;
        EXPECT_EQ(fake.desc().image.bits, 8);
        EXPECT_EQ(log.text(), "");
        EXPECT_FALSE(fake.read(0).empty());
        // In one go, whatever the order.
        EXPECT_EQ(ZOR__display_undo(fake.image()), 1);
        EXPECT_EQ(fake.image()->close, close);
        EXPECT_EQ(fake.desc().image.bits, 16);
        EXPECT_EQ(fake.desc().image.count, 3);
        float to_xyz[9] = {};
        ZOR_color_matrix_get(to_xyz, nullptr);
        if ((flags & ZOR_DISPLAY_LUMINANCE) == 0) {
            EXPECT_THAT(to_xyz, ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
        }
    }
}

TEST(Display, LeavesEqualGammasAlone) {
    FakeImage fake(ZOR_MODE_READ, 4, 2, {});
    fake.desc().curve.gamma = 2.2F;
    display(fake, 7);
    EXPECT_THAT(tags_of(fake.image()), ElementsAre(Tag::display, Tag::change_width));
    ZOR__display_undo(fake.image());
    display(fake, 7, nullptr, nullptr); // for the usual screen, of 2.2 as well
    EXPECT_THAT(tags_of(fake.image()), ElementsAre(Tag::display, Tag::change_width));
    ZOR__display_undo(fake.image());
    display(fake, 0);
    EXPECT_THAT(tags_of(fake.image()), ElementsAre(Tag::display));
}

TEST(Display, RefusesMattesAndDepthsThereAreNot) {
    const auto reports = [](int flags, int mattes, int depths) {
        ReportLog log;
        FakeImage fake(
            ZOR_MODE_READ, 4, 2,
            {{3, ZOR_C_INTEGER, 8}, {mattes, ZOR_C_INTEGER, 8}, {depths, ZOR_C_INTEGER, 8}});
        display(fake, flags);
        EXPECT_THAT(tags_of(fake.image()), ElementsAre());
        EXPECT_EQ(log.reports.size(), 1U);
        return log.last();
    };
    EXPECT_EQ(reports(all, 0, 1), "The image has no matte channel information");
    EXPECT_EQ(reports(all, 2, 1), "display operator cannot handle multiple matte channels");
    EXPECT_EQ(reports(all, 1, 0), "The image has no auxiliary channel information");
    EXPECT_EQ(reports(all, 1, 2), "display operator cannot handle multiple auxiliary channels");
}

TEST(Display, GivesUpHalfWay) {
    FakeImage fake(ZOR_MODE_READ, 4, 2, {{3, ZOR_C_INTEGER, 16}, none, none});
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
    set_format(fake, "other");
    expect_half(16, nullptr, ZOR_E_CHANNELS);
    expect_half(7, nullptr, -5);
    EXPECT_EQ(log.count(ZOR_MSG_CHANNEL_FORMAT), 2);
}

// A rendered pixel for each x: inside its matte, outside, without any, not a number...
double rendered_value(int channel, int x, int y) {
    static const double pixels[][5] = {{0.25, 0.5, 1, 1, 1},      {0.5, 0.25, 0, 0.5, 100},
                                       {2, 0.5, 0.25, 1, 5000.5}, {0.5, 0.5, 0.5, 0, 10000},
                                       {-1, 3, 0.2, 0.9, 20000},  {NAN, 1, 1, 1, -7},
                                       {0.1, INFINITY, 0, 1, NAN}};
    if (x < 7)
        return pixels[x][channel];
    return channel == 4 ? x * 37.5 + y : std::fmod((x * 31 + y * 17 + channel * 71) * 0.0137, 1.1);
}

TEST(Display, ShowsARenderedFrame) {
    FakeImage fake(ZOR_MODE_READ, 300, 20, rendered);
    fake.value = rendered_value;
    display(fake, all);
    EXPECT_THAT(tags_of(fake.image()), ElementsAre(Tag::display, Tag::gamma, Tag::change_width,
                                                   Tag::quantize, Tag::remap, Tag::clip));
    const auto code = [](double light) {
        const double linear = std::floor(light * 255 + 0.5);
        return std::floor(std::pow(linear / 255, 1 / 2.2) * 255 + 0.5);
    };
    const auto rows = fake.read(0);
    EXPECT_THAT(rows[0], testing::Contains(code(0.25)));
    for (size_t k = 0; k < 3; ++k)
        for (const size_t x : {0U, 1U}) // inside: nothing is clipped
            EXPECT_EQ(rows[k][x],
                      code(rendered_value(static_cast<int>(k), static_cast<int>(x), 0)));
    EXPECT_EQ(rows[0][2], 255);             // 1 - 0.0001
    EXPECT_EQ(rows[2][2], code(0.8654447)); // its mean being 0.916666
    for (size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(rows[k][3], 0);
        EXPECT_EQ(rows[k][5], 0);
        EXPECT_EQ(rows[k][6], 255);
    }
    EXPECT_EQ(rows[3][1], 128); // the matte is not encoded
    EXPECT_EQ(rows[4][0], 0);
    EXPECT_EQ(rows[4][2], std::floor(4999.5 / 9999 * 255 + 0.5));
    EXPECT_THAT(std::vector<double>(rows[4].begin() + 3, rows[4].begin() + 7),
                ElementsAre(255, 255, 0, 0));

    // The same bytes on every machine.
    uint64_t hash = 14695981039346656037U;
    for (int y = 0; y < 20; ++y)
        for (const auto &row : fake.read(y))
            for (const double sample : row)
                hash = (hash ^ static_cast<uint64_t>(sample)) * 1099511628211U;
    EXPECT_EQ(hash, 6430676256958605792U);
}

} // namespace
