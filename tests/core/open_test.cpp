// open_test.cpp - how an image finds its driver, and what is checked before a file is made.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "core/library.h"
#include "core/tape.h"
#include "zor/driver.h"
#include "zor/fmt.h"

namespace {

TEST(Open, ChoosesTheDriverByKeyThenExtensionThenDefaultKey) {
    const Library library({"minimal", "tape"});
    auto *tape = library.variable<TapeState>(1, "tape_state");
    for (const char *name : {"a.tape", "a.b.tape"}) {
        ZOR_IMAGE *image = ZOR_open(Info(name).get(), "r");
        ASSERT_NE(image, nullptr) << name;
        EXPECT_STREQ(image->key, "tape");
        EXPECT_STREQ(image->extension, ".tape");
        EXPECT_EQ(ZOR_image_format(image), ZOR_find("tape"));
        EXPECT_EQ(ZOR_close(image), 0);
    }
    ZOR_IMAGE *image = ZOR_open(Info("noextension", "tape").get(), "r");
    EXPECT_NE(image, nullptr);
    ZOR_close(image);
    EXPECT_EQ(tape->opens, 3);
    EXPECT_EQ(tape->closes, 3);

    // No driver claims the name, and none has the default key. An empty extension claims nothing.
    EXPECT_EQ(ZOR_open(Info("xtape").get(), "r"), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_KEY);
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_INVALID_TYPE)) << library.log.text();
    EXPECT_NE(library.log.last().find("Invalid type mox "), std::string::npos);
    EXPECT_EQ(ZOR_open(Info("a.tape", "nobody").get(), "w"), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_KEY);
}

TEST(Open, RefusesModesAndMissingRecords) {
    const Library library({"tape"});
    EXPECT_STREQ(ZOR_info()->key, "tape");
    for (const char *mode : {"rw", "", "R", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(ZOR_open(Info("a.tape").get(), mode), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_ARGUMENT);
    }
    EXPECT_EQ(library.log.count(ZOR_MSG_BAD_MODE), 4);
    EXPECT_EQ(library.log.last(),
              "File open mode (\"(null)\") not recognized; expecting \"r\" or \"w\"");
    EXPECT_EQ(ZOR_info(), nullptr) << "the enumeration was not touched";
    EXPECT_EQ(ZOR_open(nullptr, "r"), nullptr);
    EXPECT_EQ(ZOR_close(nullptr), ZOR_E_UNSUPPORTED);
}

TEST(Open, OnlyWarnsOfARecordThatWasNeverInitialised) {
    const Library library({"tape"});
    Info info("a.tape");
    info.record.marker = 0;
    testing::internal::CaptureStderr();
    ZOR_IMAGE *image = ZOR_open(&info.record, "r");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZOR_open: application programming error.\n"
              "The application must call ZOR_info_init or ZOR_info_alloc\n"
              "on the info structure before passing it to ZOR_open.\n");
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(ZOR_close(image), 0);
    info.record.marker = 22839;
}

TEST(Open, FreesTheHandleADriverRefuses) {
    const Library library({"tape", "minimal", "writes_only", "reads_only"});
    EXPECT_EQ(ZOR_open(Info("refused.tape").get(), "r"), nullptr);
    EXPECT_EQ(ZOR_open(Info("a", "minimal").get(), "r"), nullptr);
    EXPECT_TRUE(library.log.reports.empty());
    EXPECT_EQ(ZOR_open(Info("a", "writer").get(), "r"), nullptr);
    EXPECT_EQ(ZOR_open(Info("a", "reader").get(), "w"), nullptr); // though it has a function
    EXPECT_EQ(library.log.count(ZOR_MSG_CANNOT_HANDLE), 2);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    auto *tape = library.variable<TapeState>(0, "tape_state");
    for (const char *name : {"huge.tape", "empty.tape"}) { // windows that cannot be
        EXPECT_EQ(ZOR_open(Info(name).get(), "r"), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    }
    EXPECT_EQ(tape->closes, 2);
}

TEST(Open, HandsARequestForReadingOn) {
    const Library library({"tape"});
    Info info("rising.tape");
    ZOR_CAP_SETTING *settings[] = {nullptr};
    info.record.cap_settings = settings;
    info.record.complete_path = 0x101;
    info.record.first_frame = 9;
    ZOR_IMAGE *image = ZOR_open(info.get(), "r");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->cap_settings, settings);
    EXPECT_EQ(image->complete_path, 0x101);
    EXPECT_EQ(image->first_frame, 9);
    EXPECT_EQ(image->job_number, -1);
    EXPECT_EQ(image->primaries[0], 0.67F) << "what the file does not say is as in a new record";
    EXPECT_STREQ(image->images[0].chan_format, "rgb");
    EXPECT_EQ(image->images[0].curve.gamma, FMT_def_input_gamma());
    EXPECT_FLOAT_EQ(image->images[0].picture_aspect, 0.4F);
    ZOR_close(image);
}

TEST(Open, FillsAHandleForWritingWithDefaults) {
    const Library library({"tape"});
    setenv("QK_JOB_NUM", "42", 1);
    Info info("new.tape");
    info.record.job_number = 0;
    info.record.complete_path = 0x101;
    info.record.program = STR_save("painter");
    info.record.first_frame = 7;
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, 4, 30);
    desc->image = {1, ZOR_C_INTEGER, 8};
    desc->act_bottom = 7; // the format stores no active window: it is the whole one
    info.record.reserved16[2] = 162;
    info.record.reserved18[0] = 180;
    info.record.frame_rate = 24;
    info.record.extension = STR_save(".reel");
    ZOR_IMAGE *image = ZOR_open(&info.record, "w");
    unsetenv("QK_JOB_NUM");
    ASSERT_NE(image, nullptr) << library.log.text();
    EXPECT_EQ(image->mode, ZOR_MODE_WRITE);
    EXPECT_EQ(image->job_number, 42);
    EXPECT_EQ(image->complete_path, 1) << "the low byte";
    EXPECT_EQ(image->first_frame, 7);
    EXPECT_STREQ(image->program, "painter");
    for (const char *text :
         {image->name, image->description, image->time, image->filter, image->compression})
        EXPECT_STREQ(text, "unknown");
    EXPECT_EQ(image->date[0], '{');
    EXPECT_GT(std::atoll(image->date + 1), 1600000000);
    EXPECT_STRNE(image->machine, "");
    EXPECT_STRNE(image->user, "");
    EXPECT_STREQ(image->extension, ".reel");
    EXPECT_TRUE(image->reserved16[2] == 162 && image->reserved18[0] == 180);
    EXPECT_EQ(image->frame_rate, 24);
    EXPECT_EQ(image->last_scanline, -1);
    const ZOR_IMAGE_DESC &own = image->images[0];
    EXPECT_NE(&own, desc);
    EXPECT_EQ(own.act_bottom, 0);
    EXPECT_STREQ(own.chan_format, "rgb");
    EXPECT_STREQ(own.picture_format, "ntsc_640");
    EXPECT_EQ(own.picture_height, 30);
    EXPECT_FLOAT_EQ(own.picture_aspect, 1.33F);
    EXPECT_EQ(own.curve.kind, 1);
    EXPECT_FLOAT_EQ(own.curve.gamma, FMT_def_gamma());
    EXPECT_EQ(own.orientation, 0) << "the driver's order, whatever the record said";

    ZOR_INFO copy;
    EXPECT_EQ(ZOR_info_from_image(&copy, image), 0);
    EXPECT_STREQ(copy.program, "painter");
    EXPECT_EQ(copy.num_images, 1);
    EXPECT_STREQ(copy.images[0].picture_format, "ntsc_640");
    EXPECT_EQ(ZOR_close(image), 0);
    ZOR_info_cleanup(&copy, 1);
}

TEST(Open, KeepsATabulatedCurveOfItsOwn) {
    const Library library({"tape"});
    Info info("new.tape");
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, 4, 4);
    uint16_t entries[] = {1, 2, 3, 4};
    void *tables[] = {entries, entries + 2};
    desc->curve = {2, 1.0F, 0, 2, 2, ZOR_C_INTEGER, 12, tables};
    ZOR_IMAGE *image = ZOR_open(&info.record, "w");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(static_cast<uint16_t *>(image->images[0].curve.tables[1])[1], 4);
    EXPECT_NE(image->images[0].curve.tables[1], tables[1]);
    EXPECT_EQ(ZOR_close(image), 0);
    desc->curve.depth = 20;
    EXPECT_EQ(ZOR_open(&info.record, "w"), nullptr);
    EXPECT_EQ(library.log.reports.front().message,
              "Invalid curve depth 1 found: must be in the range 8 to 16");
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    desc->curve.tables = nullptr;
    EXPECT_EQ(ZOR_open(&info.record, "w"), nullptr);
    EXPECT_EQ(library.log.last(), "Required field, curve, uninitialized");
}

TEST(Open, ChecksFileNames) {
    const Library library({"tape"});
    struct Case {
        const char *name;
        bool good;
    };
    const Case cases[] = {
        {"plain name-1.tape", true},
        {"dir\x01/good.tape", true},
        {"tab\t.tape", false},
        {"/nowhere/at/all/", true},
        {"caf\xC3\xA9.tape", true},
        {"\xE6\x97\xA5.tape", true},
        {"\xF0\x9F\x8E\xA8.tape", true},
        {"cut\xC3", false},
        {"over\xC0\xAF.tape", false},
        {"c1\xC2\x85.tape", false},
        {"half\xED\xA0\x80", false},
        {"far\xF4\x90\x80\x80", false},
        {"/etc/passwd/below.tape", false},
    };
    for (const Case &name : cases) {
        const int before = library.log.count(ZOR_MSG_BAD_FILE_NAME);
        Info info(name.name, "tape");
        ZOR_info_add_image(&info.record, 4, 4);
        ZOR_IMAGE *image = ZOR_open(&info.record, "w");
        EXPECT_EQ(image != nullptr, name.good) << name.name;
        EXPECT_EQ(library.log.count(ZOR_MSG_BAD_FILE_NAME) - before, name.good ? 0 : 1);
        EXPECT_EQ(zor__err, name.good ? 0 : ZOR_E_OPEN);
        if (image != nullptr)
            ZOR_close(image);
    }
    EXPECT_EQ(ZOR_open(Info(nullptr, "tape").get(), "w"), nullptr);
    EXPECT_EQ(library.log.last(), "Required field, handle, uninitialized");
}

TEST(Open, RefusesWhatTheFormatCannotStore) {
    const Library library({"tape"}); // three 8-bit channels and one 1-bit matte at most
    struct Case {
        std::function<void(ZOR_INFO *)> change;
        int status;
        std::string report;
    };
    const auto of = [](auto group, ZOR_CHANNELS value) {
        return [=](ZOR_INFO *info) { info->images[0].*group = value; };
    };
    const auto image = &ZOR_IMAGE_DESC::image;
    const auto matte = &ZOR_IMAGE_DESC::matte;
    const auto aux = &ZOR_IMAGE_DESC::aux;
    const Case cases[] = {
        {of(image, {4, 1, 8}), -16, "tape cannot handle image channel type"},
        {of(image, {-1, 1, 8}), -16, "tape cannot handle image channel type"},
        {of(image, {1, 4, 8}), -16, "tape cannot handle image channel type"},
        {of(image, {1, 1, 40}), -16, "tape cannot handle image channel width"},
        {of(image, {1, 1, 0}), -16, "tape cannot handle image channel width"},
        {of(image, {1, 1, 7}), -16, "tape cannot handle image channel width"},
        {of(matte, {2, 1, 1}), -16, "tape cannot handle matte channel type"},
        {of(matte, {1, 1, 8}), -16, "tape cannot handle matte channel width"},
        {of(aux, {1, 2, 32}), -16, "tape cannot handle auxiliary channel type"},
        {of(aux, {0, 9, 99}), 0, ""},
        {of(image, {3, 2, 32}), 0, ""}, // floats have no width to check: that is the driver's
        {[](ZOR_INFO *info) { ZOR_info_add_image(info, 4, 4); }, -16,
         "tape cannot store multiple images"},
        {[](ZOR_INFO *info) { info->num_images = 0; }, -5, "Required field, images, uninitialized"},
        {[](ZOR_INFO *info) { info->images[0].win_top = -1; }, -5,
         "Required field, window, uninitialized"},
        {[](ZOR_INFO *info) { info->images[0].win_left = INT32_MIN; }, -5,
         "Required field, window, uninitialized"},
    };
    for (const Case &wanted : cases) {
        Info info("new.tape");
        ZOR_info_add_image(&info.record, 4, 4);
        wanted.change(&info.record);
        const size_t before = library.log.reports.size();
        ZOR_IMAGE *opened = ZOR_open(&info.record, "w");
        EXPECT_EQ(zor__err, wanted.status) << wanted.report;
        EXPECT_EQ(opened == nullptr, wanted.status != 0);
        EXPECT_EQ(library.log.reports.size() - before, wanted.status != 0 ? 1U : 0U);
        if (opened != nullptr)
            ZOR_close(opened);
        else
            EXPECT_EQ(library.log.last(), wanted.report);
        info.record.num_images = 1 + (info.record.num_images > 1 ? 1 : 0);
    }
}

} // namespace
