// scan_test.cpp - scanlines and seeking in files that only go forward, and
// calls that go straight on to the driver.
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

    // Seeks. Returns the result, the lines read on the way and how often the file
    // was opened.
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

constexpr int no = ZOR_E_UNSUPPORTED;
void *driver; // its state

// What a driver answers: the words it got, as a decimal number.
template<class... Words>
int told(void *state, Words... words) {
    int number = 0;
    ((number = number * 10 + static_cast<int>(words)), ...);
    return state == driver ? number : 0;
}

// Calls that go straight on to the driver.
class OtherCalls : public Scan {
protected:
    OtherCalls() {
        open("shy");
        driver = image->data[0];
    }
    void offer_all() const {
        image->direct_scan = told;
        image->raster = image->region = told;
        image->get_frame = image->set_frame = image->playback_goto = image->playback_stop = told;
        image->playback_bind = told;
        image->playback_play = told;
        image->playback_params = told;
        image->seek = told;
        zor__offer_rasters(image, [](void *, ZOR_RASTER *) { return 7; });
        image->num_frames = 2;
    }
    // The driver's answers.
    std::vector<int> call_all() {
        std::vector<int> answers = {ZOR_direct_scan_read(image, 9, 1, 2, 3, 4),
                                    ZOR_direct_scan_write(image, 9, 1, 2, 3, 4),
                                    ZOR_seek(&image, 8)};
        zor__err = ZOR_E_DECODE;
        for (const int answer :
             {ZOR_get_raster(image, 1, 2, 3, 4, 5), ZOR_get_region(image, 1, 2, 3, 4, 5),
              ZOR_get_frame(image, 8), ZOR_set_frame(image, 7), ZOR_playback_bind(image, 1, 2),
              ZOR_playback_goto(image, 3), ZOR_playback_play(image, 1, 2, 3, 4, 5),
              ZOR_playback_params(image, 1, 2, 3, 4, 5, 6, 7, 8), ZOR_playback_stop(image, 6)})
            answers.push_back(answer);
        EXPECT_EQ(zor__err, ZOR_E_DECODE) << "refusals of these leave it alone";
        return answers;
    }
    bool refuses_all() {
        ZOR_PLANE plane = {};
        ZOR_RASTER raster = {0, 0, tape_width - 1, tape_bottom, tape_top, 1, 1, &plane, 0};
        return call_all() == std::vector(12, no) && ZOR_raster_read(image, &raster) == no &&
               sample(tape_top) == no && zor__err == no;
    }
};

TEST_F(OtherCalls, AreAnsweredByTheDriver) {
    offer_all();
    EXPECT_EQ(call_all(),
              (std::vector{91234, 91234, 8, 12345, 12345, 8, 7, 12, 3, 12345, 12345678, 6}));
    EXPECT_EQ(image->last_scanline, -1) << "after rasters";
    EXPECT_EQ(ZOR_direct_scan_read(image, 9, 0, 0, 0, 0), 90000);
    EXPECT_EQ(image->last_scanline, -1);
    EXPECT_EQ(ZOR_direct_scan_read(image, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(image->last_scanline, 0);
    // What operators have settled for must not change under them, nor be passed
    // by.
    ZOR__cast(image);
    ASSERT_NE(image->data[0], driver);
    library.log.clear();
    EXPECT_EQ(call_all(), (std::vector{no, no, 8, no, no, 8, no, 12, no, no, 12345678, 6}));
    EXPECT_EQ(library.log.reports.size(), 5U) << library.log.text();
}

TEST_F(OtherCalls, AreRefusedWhereThereIsNoFunction) {
    image->scan = nullptr;
    image->num_frames = 2;
    const ZOR_FORMAT *const format = std::exchange(image->format, nullptr); // for seeks
    EXPECT_TRUE(refuses_all());
    std::string reported; // the reasons left out
    for (const auto &report : library.log.reports)
        reported += report.message.substr(0, report.message.find(" for") + 1);
    const char *raster = "shy: cannot read whole rasters from this tape file (this function is "
                         "unsupported ";
    EXPECT_EQ(reported, std::string(raster) + raster +
                            "shy: cannot set the current frame shy: cannot set the current frame "
                            "shy: cannot bind the playback window "
                            "shy: cannot set the playback frame shy: cannot start playback "
                            "shy: cannot set the playback parameters shy: cannot stop playback ");
    image->format = format;
}

TEST_F(OtherCalls, AreRefusedWhereThereIsNoStateOrOneFrame) {
    offer_all();
    image->num_frames = 0;
    EXPECT_EQ(call_all(), (std::vector{91234, 91234, 8, 12345, 12345, no, no, no, no, no, no, no}));
    image->num_frames = 2;
    void **const slots = image->data;
    image->data[0] = nullptr;
    for (void **there : {slots, static_cast<void **>(nullptr)}) {
        image->data = there;
        EXPECT_TRUE(refuses_all());
        zor__err = 0;
        ZOR__cast(image);
        EXPECT_EQ(zor__err, no);
    }
    image->data = slots;
    image->data[0] = driver;
}

TEST_F(Scan, GoesTheWayOfTheHandleWhicheverCallIsUsed) {
    open("written", "w");
    image->scan = [](void *, int, void **rows) { return rows[0] == rows ? 0 : -3; };
    void *row = &row;
    EXPECT_EQ(ZOR_scan_read(image, tape_top, reinterpret_cast<void ***>(&row)), 0);
    EXPECT_EQ(ZOR_scan_write(image, tape_top, &row), 0);
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

TEST_F(Scan, SeeksWhereLinesAreNegativeAndLeavesSeekingToDriversThatCan) {
    open("rising and below");
    EXPECT_EQ(seek(-3), Sought(0, 2, 1)) << "-1, for no line yet, looks like a line behind";
    EXPECT_EQ(seek(3), Sought(0, 6, 0));
    open("falling");
    ZOR_FORMAT random = *image->format;
    image->format = &random;
    for (const int32_t access : {4 + 16, 16, 4}) {
        random.access = access;
        EXPECT_EQ(seek(image->last_scanline - 2), Sought(0, access == 20 ? 0 : 1, 0));
    }
}

} // namespace
