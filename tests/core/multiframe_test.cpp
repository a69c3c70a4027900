// multiframe_test.cpp - files of several frames stay open after they were closed, and are given out
// again.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "core/library.h"
#include "core/tape.h"
#include "support/files.h"
#include "support/system.h"
#include "zor/driver.h"

namespace {

class MultiFrame : public testing::Test {
protected:
    MultiFrame() {
        for (const char *name : {"a", "b", "c"})
            write_file(path(name), name);
    }
    ~MultiFrame() override {
        ZOR_exit();
        EXPECT_EQ(reel.closes, reel.opens) << "nothing stays open in the end";
        set_variable("QK_ZOR_MULTIFRAME_OPEN", nullptr);
    }

    std::string path(const char *name) {
        return (directory.path / (std::string(name) + ".reel")).string();
    }
    ZOR_IMAGE *open(const char *name, ZOR_CAP_SETTING **with = nullptr) {
        Info info(path(name).c_str());
        info.cap_settings = with;
        return info.open("r");
    }
    // Whether the file was opened for it.
    bool opens_and_closes(const char *name) {
        const int before = reel.opens;
        EXPECT_EQ(ZOR_close(open(name)), 0);
        return reel.opens != before;
    }
    void touch(const char *name) { // time has passed, even on the coarsest clock
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const auto time = std::filesystem::last_write_time(path(name));
        std::filesystem::last_write_time(path(name), time + std::chrono::seconds(10));
    }

    ZOR_CAP_SETTING chosen = {0, 0, {1}};
    ZOR_CAP_SETTING *settings[2] = {&chosen, nullptr};
    const TempDir directory;
    Library library{"reel", "tape"};
    TapeState &reel = *library.variable<TapeState>(0, "tape_state");
};

TEST_F(MultiFrame, StayOpenUpToTheLimit) {
    set_variable("QK_ZOR_MULTIFRAME_OPEN", "2");
    library.restart();
    for (const char *name : {"a", "b", "c"})
        EXPECT_TRUE(opens_and_closes(name));
    EXPECT_EQ(reel.closes, 1);
    EXPECT_FALSE(opens_and_closes("c") || opens_and_closes("b")) << "a was the oldest";
    EXPECT_TRUE(opens_and_closes("a"));
    EXPECT_FALSE(opens_and_closes("b")) << "used later than c";

    ZOR_IMAGE *used[] = {open("a"), open("b"), open("c")};
    EXPECT_EQ(reel.closes, 2) << "what is in use is never closed";
    for (const int i : {1, 2, 0})
        EXPECT_EQ(ZOR_close(used[i]), 0);
    EXPECT_EQ(reel.closes, 3) << "one too many";
    EXPECT_TRUE(opens_and_closes("b")) << "the first that might go";

    set_variable("QK_ZOR_MULTIFRAME_OPEN", "many"); // no number: 0
    library.restart();
    EXPECT_EQ(reel.closes, reel.opens);
    EXPECT_TRUE(opens_and_closes("a") && opens_and_closes("a"));
    ZOR_multiframe_set(0, 5);
    EXPECT_EQ(ZOR_multiframe_used(), 0);
    EXPECT_TRUE(opens_and_closes("a") && opens_and_closes("a"));
}

TEST_F(MultiFrame, StayWithTheApplicationWhenTheyCannotBeClosed) {
    reel.mischief = [](ZOR_IMAGE &image, ZOR_IMAGE_DESC &) { image.close = nullptr; };
    ZOR_IMAGE *stuck = open("a");
    reel.mischief = nullptr;
    ZOR_IMAGE *images[] = {stuck, open("b")};
    EXPECT_EQ(ZOR_close(images[0]), ZOR_E_UNSUPPORTED);
    images[0]->close = images[1]->close;
    for (ZOR_IMAGE *image : images)
        EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(reel.closes, 1);
}

TEST_F(MultiFrame, ShareOneHandle) {
    ZOR_IMAGE *image = open("a");
    void **rows;
    EXPECT_EQ(ZOR_scan_read(image, tape_top, &rows), 0);
    EXPECT_EQ(open("a"), image);
    EXPECT_EQ(image->last_scanline, tape_top + 1) << "rewound";
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(ZOR_scan_read(image, tape_top - 1, &rows), 0) << "still in use";
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(ZOR_close(image), 0) << "once too often";
    EXPECT_EQ(open("a"), image);

    // Forgotten while it is in use: closing is closing again.
    ZOR_multiframe_set(1, 3);
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(reel.closes, 1);
}

TEST_F(MultiFrame, TellRequestsApart) {
    ZOR_CAP_SETTING more = {1, 0, {0}};
    ZOR_CAP_SETTING *both[] = {&chosen, &more, nullptr};
    Info info(path("a").c_str(), "reel");
    info.complete_path = 1;
    ZOR_IMAGE *images[] = {open("a"), open("a", settings), open("a", both), info.open("r")};
    EXPECT_EQ(reel.opens, 4);
    for (ZOR_IMAGE *image : images)
        ZOR_close(image);
    info.complete_path = 0;
    EXPECT_EQ(info.open("r"), images[0]) << "the key is the one that was found";
    EXPECT_EQ(open("a", settings), images[1]);
    chosen.value.number = 2; // the list is the application's again: the handle has a copy
    EXPECT_EQ(images[1]->cap_settings[0]->value.number, 1);
    info.key[0] = 'x';
    EXPECT_EQ(info.open("r"), nullptr);
    ZOR_close(images[0]);
    ZOR_close(images[1]);
}

TEST_F(MultiFrame, AreOpenedAfreshWhenTheFileChanged) {
    EXPECT_TRUE(opens_and_closes("a"));
    touch("a");
    EXPECT_TRUE(opens_and_closes("a"));
    EXPECT_EQ(reel.closes, 1);

    ZOR_IMAGE *image = open("a");
    touch("a");
    EXPECT_EQ(open("a"), image) << "shared all the same while in use";
    std::filesystem::remove(path("a"));
    EXPECT_EQ(open("a"), image);
    EXPECT_NE(library.log.last().find(path("a")), std::string::npos);
    for (int i = 0; i < 3; ++i)
        ZOR_close(image);
    EXPECT_TRUE(opens_and_closes("a")); // the driver itself needs no file
    EXPECT_EQ(reel.closes, 3) << "one that cannot be looked at is not kept";
    EXPECT_EQ(library.log.reports.size(), 3U);
}

TEST_F(MultiFrame, AreReopenedForASeek) {
    ZOR_IMAGE *image = open("a", settings);
    const auto rewind = [&image] { return ZOR_seek(&image, tape_bottom) + ZOR_seek(&image, -1); };
    void **rows;
    EXPECT_EQ(rewind(), 0);
    EXPECT_EQ(reel.closes, 1) << "the handle is not given out as it was";
    EXPECT_EQ(ZOR_scan_read(image, tape_top, &rows), 0);
    ZOR_close(image);

    // One that others use too stays with them.
    ZOR_IMAGE *shared = open("b", settings);
    image = open("b", settings);
    EXPECT_EQ(rewind(), 0);
    EXPECT_NE(image, shared);
    EXPECT_EQ(reel.closes, 1);
    EXPECT_EQ(ZOR_scan_read(shared, tape_bottom, &rows), 0);
    for (ZOR_IMAGE *one : {image, shared}) {
        EXPECT_EQ(one->cap_settings[0]->value.number, 1);
        ZOR_close(one);
    }
}

} // namespace
