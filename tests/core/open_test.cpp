// open_test.cpp - how an image finds its driver, and what is checked before a file is made.
#include <gtest/gtest.h>

#include <cstdlib>

#include "core/library.h"
#include "core/tape.h"
#include "support/system.h"
#include "zor/driver.h"
#include "zor/fmt.h"

namespace {

TEST(Open, ChoosesTheDriverByKeyThenExtensionThenDefaultKey) {
    const Library library({"minimal", "tape"});
    for (const Info &info : {Info("a.tape"), Info("a.b.tape"), Info("noextension", "tape")}) {
        const Image image(info.open("r"));
        ASSERT_NE(image, nullptr) << info.file_name;
        EXPECT_STREQ(image->key, "tape");
        EXPECT_STREQ(image->extension, ".tape");
        EXPECT_EQ(ZOR_image_format(image.get()), ZOR_find("tape"));
    }
    // No driver claims the name, and none has the default key. An empty extension claims nothing.
    EXPECT_EQ(Info("xtape").try_open("r"), ZOR_E_KEY);
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_INVALID_TYPE)) << library.log.text();
    EXPECT_NE(library.log.last().find("Invalid type mox "), std::string::npos);
    EXPECT_EQ(Info("a.tape", "nobody").try_open("w"), ZOR_E_KEY);
}

TEST(Open, RefusesModesMissingRecordsAndWhatTheDriverRefuses) {
    const Library library({"tape", "minimal", "writes_only", "reads_only"});
    EXPECT_STREQ(ZOR_info()->key, "tape");
    for (const char *mode : {"rw", "", "R", static_cast<const char *>(nullptr)})
        EXPECT_EQ(Info("a.tape").try_open(mode), ZOR_E_ARGUMENT);
    EXPECT_EQ(library.log.count(ZOR_MSG_BAD_MODE), 4);
    EXPECT_EQ(library.log.last(),
              "File open mode (\"(null)\") not recognized; expecting \"r\" or \"w\"");
    EXPECT_STREQ(ZOR_info()->key, "minimal") << "the enumeration was not touched";
    EXPECT_EQ(ZOR_open(nullptr, "r"), nullptr);
    EXPECT_EQ(ZOR_close(nullptr), ZOR_E_UNSUPPORTED);

    const size_t before = library.log.reports.size();
    EXPECT_EQ(Info("refused.tape").try_open("r"), 0);
    EXPECT_EQ(Info("a", "minimal").try_open("r"), 0);
    EXPECT_EQ(library.log.reports.size(), before) << "what there is to say is the driver's";
    EXPECT_EQ(Info("a", "writer").try_open("r"), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(Info("a", "reader").try_open("w"), ZOR_E_UNSUPPORTED); // though it has a function
    EXPECT_EQ(library.log.count(ZOR_MSG_CANNOT_HANDLE), 2);
}

TEST(Open, HandsARequestForReadingOnAndWarnsIfItWasNeverInitialised) {
    const Library library({"tape"});
    Info info("rising.tape");
    ZOR_CAP_SETTING *settings[] = {nullptr};
    info.cap_settings = settings;
    info.complete_path = 0x101;
    info.first_frame = 9;
    info.marker = 0;
    testing::internal::CaptureStderr();
    const Image image(info.open("r"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZOR_open: application programming error.\n"
              "The application must call ZOR_info_init or ZOR_info_alloc\n"
              "on the info structure before passing it to ZOR_open.\n");
    info.marker = 22839;
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(image->cap_settings == settings && image->complete_path == 0x101);
    EXPECT_TRUE(image->first_frame == 9 && image->job_number == -1);
    EXPECT_EQ(image->primaries[0], 0.67F) << "what the file does not say is as in a new record";
    EXPECT_STREQ(image->images[0].chan_format, "rgb");
    EXPECT_EQ(image->images[0].curve.gamma, FMT_def_input_gamma());
    EXPECT_EQ(image->images[0].picture_aspect, 0.4F);
}

TEST(Open, FillsAHandleForWriting) {
    const Library library({"tape"});
    set_variable("QK_JOB_NUM", "42");
    Info info("new.tape");
    info.job_number = 0;
    info.complete_path = 0x101;
    info.program = STR_save("painter");
    info.extension = STR_save(".reel");
    info.first_frame = 7;
    info.frame_rate = 24;
    info.reserved16[2] = 162;
    info.reserved18[0] = 180;
    uint16_t entries[] = {1, 2, 3, 4};
    void *tables[] = {entries, entries + 2};
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, 4, 30);
    desc->act_bottom = 7; // the format stores no active window: it is the whole one
    desc->curve = {2, 1.0F, 0, 2, 2, ZOR_C_INTEGER, 12, tables};
    Image image(info.open("w"));
    set_variable("QK_JOB_NUM", nullptr);
    ASSERT_NE(image, nullptr) << library.log.text();
    EXPECT_TRUE(image->mode == ZOR_MODE_WRITE && image->last_scanline == -1);
    EXPECT_EQ(image->job_number, 42);
    EXPECT_EQ(image->complete_path, 1) << "the low byte";
    EXPECT_TRUE(image->first_frame == 7 && image->frame_rate == 24);
    EXPECT_TRUE(image->reserved16[2] == 162 && image->reserved18[0] == 180);
    EXPECT_STREQ(image->extension, ".reel");
    for (const char *text :
         {image->name, image->description, image->time, image->filter, image->compression})
        EXPECT_STREQ(text, "unknown");
    EXPECT_GT(std::atoll(image->date + 1), 1600000000) << image->date;
    EXPECT_TRUE(image->date[0] == '{' && *image->machine != '\0' && *image->user != '\0');
    void **const own_tables = image->images[0].curve.tables;
    EXPECT_TRUE(own_tables[1] != tables[1] && static_cast<uint16_t *>(own_tables[1])[1] == 4);

    desc->curve.depth = 20;
    EXPECT_EQ(info.try_open("w"), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(library.log.reports.front().message,
              "Invalid curve depth 1 found: must be in the range 8 to 16");
    desc->curve.tables = nullptr;
    EXPECT_EQ(info.try_open("w"), ZOR_E_OPEN);
    EXPECT_EQ(library.log.last(), "Required field, curve, uninitialized");

    desc->curve.kind = 0;
    image.reset(info.open("w"));
    ZOR_INFO copy; // of what the handle says
    EXPECT_EQ(ZOR_info_from_image(&copy, image.get()), 0);
    EXPECT_STREQ(copy.program, "painter");
    ASSERT_EQ(copy.num_images, 1);
    const ZOR_IMAGE_DESC &own = copy.images[0];
    EXPECT_STREQ(own.chan_format, "rgb");
    EXPECT_STREQ(own.picture_format, "ntsc_640");
    EXPECT_TRUE(own.act_bottom == 0 && own.picture_height == 30 && own.picture_aspect == 1.33F);
    EXPECT_TRUE(own.curve.kind == 1 && own.curve.gamma == FMT_def_gamma());
    EXPECT_EQ(own.orientation, 0) << "the driver's order, whatever the record said";
    ZOR_info_cleanup(&copy, 1);
}

TEST(Open, ChecksFileNames) {
    const Library library({"tape"});
    const auto status = [](const char *name) {
        Info info(name, "tape");
        ZOR_info_add_image(&info, 4, 4);
        return info.try_open("w");
    };
    for (const char *name : {"plain name-1.tape", "dir\x01/good.tape", "/nowhere/at/all/",
                             "caf\xC3\xA9.tape", "\xE6\x97\xA5.tape", "\xF0\x9F\x8E\xA8.tape"})
        EXPECT_EQ(status(name), 1) << name;
    for (const char *name : {"tab\t.tape", "cut\xC3", "over\xC0\xAF.tape", "c1\xC2\x85.tape",
                             "half\xED\xA0\x80", "far\xF4\x90\x80\x80"})
        EXPECT_EQ(status(name), ZOR_E_OPEN) << name;
    EXPECT_EQ(library.log.count(ZOR_MSG_BAD_FILE_NAME), 6);
    if (*name_below_a_file != '\0') {
        EXPECT_EQ(status(name_below_a_file), ZOR_E_OPEN);
        EXPECT_EQ(library.log.count(ZOR_MSG_BAD_FILE_NAME), 7);
    }
    EXPECT_EQ(status(nullptr), ZOR_E_OPEN);
    EXPECT_EQ(library.log.last(), "Required field, handle, uninitialized");
}

TEST(Open, RefusesWhatTheFormatCannotStore) {
    Library library({"tape"}); // three 8-bit channels and one 1-bit matte at most
    const auto answer = [&library](auto change) {
        Info info("new.tape");
        ZOR_info_add_image(&info, 4, 4);
        change(info);
        library.log.clear();
        const int status = info.try_open("w");
        return std::to_string(status) + " " + library.log.text();
    };
    const auto answer_to = [&](auto group, ZOR_CHANNELS value) {
        return answer([=](ZOR_INFO &info) { info.images[0].*group = value; });
    };
    const auto image = &ZOR_IMAGE_DESC::image;
    const auto matte = &ZOR_IMAGE_DESC::matte;
    const auto aux = &ZOR_IMAGE_DESC::aux;
    for (const auto &value : {ZOR_CHANNELS{4, 1, 8}, {-1, 1, 8}, {1, 4, 8}})
        EXPECT_EQ(answer_to(image, value), "-16 tape cannot handle image channel type\n");
    for (const auto &value : {ZOR_CHANNELS{1, 1, 40}, {1, 1, 0}, {1, 1, 7}})
        EXPECT_EQ(answer_to(image, value), "-16 tape cannot handle image channel width\n");
    EXPECT_EQ(answer_to(matte, {2, 1, 1}), "-16 tape cannot handle matte channel type\n");
    EXPECT_EQ(answer_to(matte, {1, 1, 8}), "-16 tape cannot handle matte channel width\n");
    EXPECT_EQ(answer_to(aux, {1, 2, 32}), "-16 tape cannot handle auxiliary channel type\n");
    EXPECT_EQ(answer_to(aux, {0, 9, 99}), "1 ");
    EXPECT_EQ(answer_to(image, {3, 2, 32}), "1 ") << "the width of floats is the driver's to check";
    EXPECT_EQ(answer([](ZOR_INFO &info) { ZOR_info_add_image(&info, 4, 4); }),
              "-16 tape cannot store multiple images\n");
    EXPECT_EQ(answer([](ZOR_INFO &info) { info.num_images = 0; }),
              "-5 Required field, images, uninitialized\n");
    const std::string no_window = "-5 Required field, window, uninitialized\n";
    EXPECT_EQ(answer([](ZOR_INFO &info) { info.images[0].win_top = -1; }), no_window);
    EXPECT_EQ(answer([](ZOR_INFO &info) { info.images[0].win_left = INT32_MIN; }), no_window);
}

} // namespace
