// convert_test.cpp - conversions of images that take a program to make.
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zor/str.h>
#include <zor/zor.h>

#include "loader/loader.h"
#include "picture.h"
#include "support/files.h"
#include "zor/convert_image.h"
#include "zor/input.h"

namespace fs = std::filesystem;

namespace {

class Convert : public testing::Test {
protected:
    Convert() { EXPECT_EQ(loader_.start(), 0); }

    std::string path(const char *name) const { return (work_.path / name).string(); }

    zor::ExitCode convert(const char *from, const char *to, bool strict = false,
                          const zor::Operations &operations = {}) {
        const std::string input = path(from);
        const std::string output = path(to);
        auto conversion = zor::choose_formats(input, output, "", "", reports_);
        if (!conversion.has_value())
            return zor::EXIT_WRONG_USAGE;
        conversion->strict = strict;
        conversion->operations = operations;
        return zor::convert_image(input, output, *conversion, workplace_, reports_);
    }

    // Writes a MOX file of two images. The first one is 10 x 4 with rows 1 and 2, columns 2 to 9
    // stored, the other one has no scanlines.
    void write_two_images(const char *name) const {
        std::string file = read_file(SMALL_MOX);
        const size_t size = file.size();
        file[738] = static_cast<char>(size >> 8); // where the next header is
        file[739] = static_cast<char>(size);
        write_file(path(name), file + read_file(SMALL_MOX).substr(0, 748));
    }

    // Writes a picture of one row, in which pixel x has the value x in all channels, and a matte.
    void write_ramp(const char *name, float gamma, const char *chan_format = "rgb") const {
        const std::unique_ptr<ZOR_INFO, decltype([](ZOR_INFO *info) { ZOR_info_free(info, 1); })>
            info(ZOR_info_alloc());
        info->file_name = STR_save(path(name).c_str());
        info->complete_path = 1;
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(info.get(), 256, 1);
        desc->curve = {1, gamma, 0, 0, 0, 0, 0, nullptr};
        desc->matte = {1, ZOR_C_INTEGER, 8};
        desc->chan_format = STR_save(chan_format);
        ZOR_IMAGE *image = ZOR_open(info.get(), "w");
        ASSERT_NE(image, nullptr);
        std::array<uint8_t, 256> row;
        std::iota(row.begin(), row.end(), uint8_t{0});
        void *rows[] = {row.data(), row.data(), row.data(), row.data(), nullptr};
        EXPECT_EQ(ZOR_scan_write(image, 0, rows), 0);
        EXPECT_EQ(ZOR_close(image), 0);
    }

    // The first row of an 8-bit file's channel, and its gamma.
    std::pair<std::vector<int>, float> read_ramp(const char *name, int channel) {
        const zor::Image image = zor::open_input(path(name), "", reports_);
        if (image == nullptr)
            return {};
        const ZOR_IMAGE_DESC desc = *ZOR_image_desc(image.get(), 0);
        EXPECT_EQ(desc.image.bits, 8);
        EXPECT_STREQ(desc.chan_format, "rgb");
        void **rows = nullptr;
        EXPECT_EQ(ZOR_scan_read(image.get(), 0, &rows), 0);
        const auto *samples = static_cast<const uint8_t *>(rows[channel]);
        return {{samples, samples + desc.win_right + 1}, desc.curve.gamma};
    }

    zor::Loader loader_{{MODULES}};
    TempDir work_;
    zor::Workplace workplace_;
    zor::LibraryReports library_reports_;
    zor::Reports reports_{true};
};

TEST_F(Convert, WindowsAndFurtherImagesGoOverWhereTheyCan) {
    write_two_images("a.mox");
    EXPECT_EQ(convert("a.mox", "b.mox", true), zor::EXIT_OUTPUT_FAILED) << "one image only";
    EXPECT_EQ(convert("a.mox", "b.mox"), zor::EXIT_FINE);
    zor::Operations first;
    first.image = 1;
    EXPECT_EQ(convert("a.mox", "d.mox", true, first), zor::EXIT_FINE) << "no other one counts";
    EXPECT_EQ(convert("b.mox", "c.mox", true), zor::EXIT_FINE);
    EXPECT_EQ(read_file(path("a.mox")).substr(0, 16), read_file(path("b.mox")).substr(0, 16))
        << "window and active window";
    EXPECT_EQ(convert("b.mox", "c.pgm"), zor::EXIT_FINE);
    const std::string empty(10, '\0');
    const std::string row = empty.substr(8) + "\7\7\7\7\7\1\2\3";
    EXPECT_THAT(read_file(path("c.pgm")), testing::EndsWith(empty + row + row + empty));
}

// Colours are mixed as light and look as before, in the dark too; mattes are mixed as they are.
TEST_F(Convert, ResizedPicturesKeepTheirLook) {
    zor::Operations half;
    half.size = zor::parse_size("128x1");
    half.filter = ZOR_FILTER_BOX;
    zor::Operations shown = half;
    shown.display = true;
    shown.gamma = 1.8F;
    for (const float gamma : {1.0F, 2.2F}) {
        write_ramp("a.mox", gamma);
        for (const auto &operations : {half, shown}) {
            ASSERT_EQ(convert("a.mox", "b.mox", true, operations), zor::EXIT_FINE);
            const auto [colours, stated] = read_ramp("b.mox", 2);
            const auto [mattes, same] = read_ramp("b.mox", 3);
            EXPECT_EQ(stated, operations.display ? 1.8F : gamma);
            ASSERT_EQ(colours.size(), 128U);
            for (size_t x = 0; x < 128; ++x) {
                const double even = 2 * static_cast<double>(x);
                const double light =
                    (std::pow(even / 255, gamma) + std::pow((even + 1) / 255, gamma)) / 2;
                EXPECT_NEAR(colours[x], 255 * std::pow(light, 1 / stated), 1.2)
                    << x << " of gamma " << gamma << " to " << stated;
                EXPECT_NEAR(mattes[x], even + 0.5, 0.51);
            }
        }
    }
}

TEST_F(Convert, ADisplayMakesRgbOfOtherColours) {
    zor::Operations shown;
    shown.display = true;
    shown.gamma = 1.8F;
    for (const char *format : {"xyz", "sampled"}) {
        write_ramp("a.mox", 2.2F, format);
        ASSERT_EQ(convert("a.mox", "b.mox", true, shown), zor::EXIT_FINE);
        const auto [green, gamma] = read_ramp("b.mox", 1);
        EXPECT_EQ(gamma, 1.8F);
        ASSERT_EQ(green.size(), 256U);
        EXPECT_TRUE(std::is_sorted(green.begin(), green.end()));
        EXPECT_GT(green[255], 200) << format;
    }
    zor::Operations luminance = shown;
    std::swap(luminance.display, luminance.luminance);
    EXPECT_EQ(convert("a.mox", "c.mox", true, luminance), zor::EXIT_FINE) << "of samples";
    write_ramp("a.mox", 2.2F, "xyz");
    EXPECT_EQ(convert("a.mox", "d.mox", true, luminance), zor::EXIT_INPUT_FAILED);
}

} // namespace
