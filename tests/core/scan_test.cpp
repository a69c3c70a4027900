// scan_test.cpp - scanlines, rasters, and seeking in files that only go forward.
#include <gtest/gtest.h>

#include <utility>

#include "core/library.h"
#include "core/tape.h"
#include "zor/driver.h"
#include "zor/ops.h"

namespace {

class Scan : public testing::Test {
protected:
    Scan() : tape(*library.variable<TapeState>(0, "tape_state")) {}
    ~Scan() override { ZOR_close(image); }

    // Opens a tape in place of the one before.
    void open(const char *name, const char *mode = "r") {
        ZOR_close(image);
        Info info(name, "tape");
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, tape_width, 20);
        desc->win_bottom = tape_bottom;
        image = info.open(mode);
        ASSERT_NE(image, nullptr);
    }

    // A sample of a line, or why it could not be read.
    int sample(int y) {
        void **rows = nullptr;
        const int result = ZOR_scan_read(image, y, &rows);
        return result != 0 ? result : static_cast<uint8_t *>(rows[0])[tape_width - 1];
    }

    // Seeks. Returns the result, the lines read on the way and how often the file was opened.
    std::tuple<int, int, int> seek(int target) {
        tape.lines = tape.opens = 0;
        const int result = ZOR_seek(&image, target);
        return {result, tape.lines, tape.opens};
    }
    using Sought = std::tuple<int, int, int>;

    Library library{"tape"};
    TapeState &tape;
    ZOR_IMAGE *image = nullptr;
};

TEST_F(Scan, RefusesWhatTheDriverDoesNotOffer) {
    open("mute");
    image->scan = nullptr;
    zor__err = 0;
    EXPECT_EQ(sample(tape_top), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_direct_scan_read(image, 0, 1, 2, 3, 4), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(library.log.text(), "");
    zor__err = ZOR_E_DECODE;
    EXPECT_EQ(ZOR_get_raster(image, 1, 2, 3, 4, 5), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_get_region(image, 1, 2, 3, 4, 5), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(zor__err, ZOR_E_DECODE) << "rasters leave it alone";
    EXPECT_EQ(library.log.count(ZOR_MSG_NO_RASTER), 2);
    EXPECT_EQ(library.log.last(), "mute: cannot read whole rasters from this tape file (this "
                                  "function is unsupported for this file type)");
    const auto close = std::exchange(image->close, nullptr);
    EXPECT_EQ(ZOR_close(image), ZOR_E_UNSUPPORTED) << "and the handle lives on";
    EXPECT_EQ(ZOR_close_do_it(image), ZOR_E_UNSUPPORTED);
    image->close = close;
}

TEST_F(Scan, ForwardsRastersAndDirectScans) {
    open("random");
    image->direct_scan = [](void *, int y, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d) {
        return y == tape_top ? 0 : static_cast<int>(a * 1000 + b * 100 + c * 10 + d);
    };
    image->raster = [](void *, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d, ZOR_WORD e) {
        return static_cast<int>(a * 10000 + b * 1000 + c * 100 + d * 10 + e);
    };
    image->region = image->raster;
    EXPECT_EQ(ZOR_direct_scan_read(image, tape_top, 1, 2, 3, 4), 0);
    EXPECT_EQ(image->last_scanline, tape_top);
    EXPECT_EQ(ZOR_direct_scan_write(image, tape_top - 1, 1, 2, 3, 4), 1234);
    EXPECT_EQ(image->last_scanline, tape_top);
    EXPECT_EQ(ZOR_get_region(image, 1, 2, 3, 4, 5), 12345);
    EXPECT_EQ(image->last_scanline, -1) << "even when it fails";
    image->last_scanline = 12;
    EXPECT_EQ(ZOR_get_raster(image, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(image->last_scanline, -1);
}

TEST_F(Scan, GoesTheWayOfTheHandleWhicheverCallIsUsed) {
    open("written", "w");
    image->scan = [](void *, int, void **rows) { return rows[0] == rows ? 0 : -3; };
    void *row = &row;
    EXPECT_EQ(ZOR_scan_read(image, tape_top, reinterpret_cast<void ***>(&row)), 0);
    EXPECT_EQ(ZOR_scan_write(image, tape_top, &row), 0);
}

TEST_F(Scan, KeepsOperatorsAndTheDriverApart) {
    open("random");
    static void *driver;
    driver = image->data[0];
    image->num_frames = 1;
    image->direct_scan = [](void *, int, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) { return 7; };
    image->raster = [](void *, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) { return 7; };
    image->get_frame = [](void *state, ZOR_WORD) { return state == driver ? 7 : 0; };
    image->set_frame = image->get_frame;
    image->seek = [](void *state, int) { return state == driver ? 7 : 0; };
    ZOR__cast(image);
    ASSERT_NE(image->data[0], driver);
    // What they have settled for must not change under them, nor be passed by.
    EXPECT_EQ(ZOR_set_frame(image, 1), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_get_raster(image, 1, 2, 3, 4, 5), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_direct_scan_read(image, 0, 1, 2, 3, 4), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(library.log.count(ZOR_MSG_NO_SET_FRAME), 1);
    EXPECT_EQ(ZOR_get_frame(image, 1), 7);
    EXPECT_EQ(ZOR_seek(&image, tape_top - 3), 7);
}

TEST_F(Scan, SeeksForwardByReadingAndBackByReopening) {
    for (const char *name : {"falling", "rising"}) {
        const bool rising = name[0] == 'r';
        const int first = rising ? tape_bottom : tape_top;
        const int step = rising ? 1 : -1;
        open(name);
        EXPECT_EQ(sample(3), ZOR_E_SCANLINE);
        EXPECT_EQ(image->last_scanline, rising ? -1 : tape_top + 1) << "no line yet";
        EXPECT_EQ(seek(first + 4 * step), Sought(0, 4, 0)) << "the target is left to the scan call";
        EXPECT_EQ(sample(first + 4 * step), first + 4 * step);
        EXPECT_EQ(seek(first + 5 * step), Sought(0, 0, 0));

        ZOR_CAP_SETTING *settings[] = {nullptr};
        image->cap_settings = settings;
        tape.closes = 0;
        EXPECT_EQ(seek(-1), Sought(0, 0, 1));
        EXPECT_EQ(tape.closes, 1);
        EXPECT_EQ(image->cap_settings, settings) << "moved over";
        EXPECT_EQ(image->complete_path, 1);
        EXPECT_EQ(sample(first), first);
        EXPECT_EQ(seek(first), Sought(0, 0, 0)) << "the line just read: nothing happens";

        tape.fail_at = first + 2 * step;
        EXPECT_EQ(seek(first + 5 * step), Sought(ZOR_E_READ, 1, 0)) << "the first failure ends it";
        EXPECT_EQ(image->last_scanline, first + step);
        tape.fail_at = never;
    }
}

TEST_F(Scan, LosesTheHandleWhenReopeningFails) {
    open("new", "w");
    EXPECT_EQ(ZOR_seek(&image, -1), ZOR_E_UNSUPPORTED) << "reopening would empty the file";
    open("falling");
    EXPECT_EQ(ZOR_seek(&image, tape_bottom), 0);
    ERR_free(image->file_name);
    image->file_name = STR_save("refused");
    tape.closes = 0;
    EXPECT_EQ(ZOR_seek(&image, -1), ZOR_E_OPEN);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(tape.closes, 1);
    EXPECT_EQ(ZOR_seek(&image, -1), ZOR_E_UNSUPPORTED);
}

TEST_F(Scan, SeeksWhereLinesAreNegative) {
    open("rising and below");
    EXPECT_EQ(seek(-3), Sought(0, 2, 1)) << "-1, for no line yet, looks like a line behind";
    EXPECT_EQ(seek(3), Sought(0, 6, 0));
}

TEST_F(Scan, LeavesSeekingToFilesOfAnyOrderAndDriversThatCan) {
    open("falling");
    ZOR_FORMAT random = *image->format;
    image->format = &random;
    for (const int32_t access : {4 + 16, 16, 4}) {
        random.access = access;
        EXPECT_EQ(seek(image->last_scanline - 2), Sought(0, access == 20 ? 0 : 1, 0));
    }
    image->seek = [](void *, int y) { return -7 - y; };
    EXPECT_EQ(seek(12), Sought(-19, 0, 0));
}

} // namespace
