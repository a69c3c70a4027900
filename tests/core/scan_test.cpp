// scan_test.cpp - scanlines, rasters, and seeking in files that only go forward.
#include <gtest/gtest.h>

#include "core/library.h"
#include "core/tape.h"
#include "zor/driver.h"

namespace {

class Scan : public testing::Test {
protected:
    Scan() : tape(*library.variable<TapeState>(0, "tape_state")) {}

    ZOR_IMAGE *open(const char *name, const char *mode = "r") {
        Info info(name, "tape");
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, tape_width, 20);
        desc->win_bottom = desc->act_bottom = tape_bottom;
        desc->image.count = 1;
        return ZOR_open(&info.record, mode);
    }

    static int sample(ZOR_IMAGE *image, int y) {
        void **rows = nullptr;
        const int result = ZOR_scan_read(image, y, &rows);
        return result != 0 ? result : static_cast<uint8_t *>(rows[0])[tape_width - 1];
    }

    Library library{"tape"};
    TapeState &tape;
};

TEST_F(Scan, RemembersTheLastLineThatCameThrough) {
    ZOR_IMAGE *image = open("falling");
    EXPECT_EQ(image->last_scanline, tape_top + 1);
    EXPECT_EQ(sample(image, tape_top), tape_top);
    EXPECT_EQ(image->last_scanline, tape_top);
    EXPECT_EQ(sample(image, 3), ZOR_E_SCANLINE);
    EXPECT_EQ(image->last_scanline, tape_top) << "a failure changes nothing";
    ZOR_close(image);

    image = open("rising");
    EXPECT_EQ(image->last_scanline, -1);
    ZOR_close(image);
}

TEST_F(Scan, WritesTheRowsItIsGiven) {
    ZOR_IMAGE *image = open("new", "w");
    ASSERT_NE(image, nullptr);
    for (int y = tape_top; y >= tape_bottom; --y) {
        uint8_t samples[tape_width] = {static_cast<uint8_t>(y + 100)};
        void *rows[] = {samples};
        EXPECT_EQ(ZOR_scan_write(image, y, rows), 0);
        EXPECT_EQ(tape.written[y], y + 100);
    }
    EXPECT_EQ(ZOR_seek(&image, -1), ZOR_E_UNSUPPORTED) << "reopening would empty the file";
    ZOR_close(image);
}

TEST_F(Scan, RefusesWhatTheDriverDoesNotOffer) {
    ZOR_IMAGE *image = open("mute");
    zor__err = 0;
    EXPECT_EQ(sample(image, tape_top), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_direct_scan_read(image, 0, 1, 2, 3, 4), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(library.log.reports.size(), 0U);
    zor__err = ZOR_E_DECODE;
    EXPECT_EQ(ZOR_get_raster(image, 1, 2, 3, 4, 5), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_get_region(image, 1, 2, 3, 4, 5), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(zor__err, ZOR_E_DECODE) << "rasters leave it alone";
    EXPECT_EQ(library.log.count(ZOR_MSG_NO_RASTER), 2);
    EXPECT_EQ(library.log.last(), "mute: cannot read whole rasters from this tape file (this "
                                  "function is unsupported for this file type)");
    image->close = nullptr;
    EXPECT_EQ(ZOR_close(image), ZOR_E_UNSUPPORTED) << "and the handle lives on";
    EXPECT_EQ(ZOR_close_do_it(image), ZOR_E_UNSUPPORTED);
    image->close = [](ZOR_IMAGE *handle) {
        ERR_free(handle->data[0]);
        zor__free_obj(handle);
        return ZOR_E_WRITE + 0;
    };
    EXPECT_EQ(ZOR_close(image), ZOR_E_WRITE);
}

TEST_F(Scan, ForwardsRastersAndDirectScans) {
    ZOR_IMAGE *image = open("random");
    EXPECT_EQ(ZOR_direct_scan_read(image, tape_top, 1, 2, 3, 4), 0);
    EXPECT_EQ(image->last_scanline, tape_top);
    EXPECT_EQ(ZOR_direct_scan_write(image, tape_top - 1, 1, 2, 3, 9), ZOR_E_READ);
    EXPECT_EQ(image->last_scanline, tape_top);
    EXPECT_EQ(ZOR_get_region(image, 1, 2, 3, 4, 5), 0);
    EXPECT_EQ(image->last_scanline, -1);
    image->last_scanline = 12;
    EXPECT_EQ(ZOR_get_raster(image, 1, 2, 3, 4, 6), ZOR_E_READ);
    EXPECT_EQ(image->last_scanline, -1) << "even when it fails";
    ZOR_close(image);
}

TEST_F(Scan, SeeksForwardByReadingAndBackByReopening) {
    for (const char *name : {"falling", "rising"}) {
        const bool rising = name[0] == 'r';
        const int first = rising ? tape_bottom : tape_top;
        const int step = rising ? 1 : -1;
        tape.opens = tape.lines = 0;
        ZOR_IMAGE *image = open(name);
        EXPECT_EQ(ZOR_seek(&image, first + 4 * step), 0);
        EXPECT_EQ(tape.lines, 4) << "the target itself is left to the scan call";
        EXPECT_EQ(sample(image, first + 4 * step), first + 4 * step);
        EXPECT_EQ(ZOR_seek(&image, first + 5 * step), 0);
        EXPECT_EQ(tape.opens, 1);

        ZOR_CAP_SETTING *settings[] = {nullptr};
        image->cap_settings = settings;
        EXPECT_EQ(ZOR_seek(&image, -1), 0);
        EXPECT_EQ(image->cap_settings, settings) << "moved over";
        EXPECT_EQ(image->complete_path, 1);
        EXPECT_EQ(tape.opens, 2) << name;
        EXPECT_EQ(tape.closes, tape.opens - 1);
        EXPECT_EQ(sample(image, first), first);
        EXPECT_EQ(ZOR_seek(&image, first), 0) << "the line just read: nothing happens";
        EXPECT_EQ(tape.opens, 2);

        tape.fail_at = first + 2 * step;
        EXPECT_EQ(ZOR_seek(&image, first + 5 * step), ZOR_E_READ) << "stops at the first failure";
        EXPECT_EQ(image->last_scanline, first + step);
        tape.fail_at = never;
        ZOR_close(image);
        tape.closes = 0;
    }
}

TEST_F(Scan, LosesTheHandleWhenReopeningFails) {
    ZOR_IMAGE *image = open("falling");
    EXPECT_EQ(ZOR_seek(&image, tape_bottom), 0);
    ERR_free(image->file_name);
    image->file_name = STR_save("refused");
    EXPECT_LT(ZOR_seek(&image, -1), 0);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(tape.closes, 1);
    EXPECT_EQ(ZOR_seek(&image, -1), ZOR_E_UNSUPPORTED);
}

TEST_F(Scan, SeeksWhereLinesAreNegative) {
    ZOR_IMAGE *image = open("rising and below");
    EXPECT_EQ(ZOR_seek(&image, -3), 0);
    EXPECT_EQ(tape.lines, 2);
    EXPECT_EQ(tape.opens, 2) << "-1, for no line yet, looks like a line behind the target";
    EXPECT_EQ(ZOR_seek(&image, 3), 0);
    EXPECT_EQ(tape.lines, 8);
    EXPECT_EQ(tape.opens, 2);
    ZOR_close(image);
}

TEST_F(Scan, HasNothingToSeekInFilesOfAnyOrder) {
    ZOR_IMAGE *image = open("falling");
    ZOR_FORMAT random = *image->format;
    image->format = &random;
    for (const int32_t access : {4 + 16, 16, 4}) {
        random.access = access;
        tape.lines = 0;
        EXPECT_EQ(ZOR_seek(&image, image->last_scanline - 2), 0);
        EXPECT_EQ(tape.lines, access == 20 ? 0 : 1);
    }
    ZOR_close(image);
}

TEST_F(Scan, LeavesSeekingToADriverThatCan) {
    ZOR_IMAGE *image = open("seeks");
    tape.seek_result = -7;
    EXPECT_EQ(ZOR_seek(&image, 12), -7);
    EXPECT_EQ(tape.seek_target, 12);
    EXPECT_EQ(image->last_scanline, tape_top + 1);
    ZOR_close(image);
}

} // namespace
