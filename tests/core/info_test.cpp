// info_test.cpp - the life of an open request.
#include <gtest/gtest.h>

#include <cstring>

#include "core/library.h"
#include "zor/driver.h"

namespace {

TEST(Info, StartsWithItsInitialValues) {
    ZOR_INFO info;
    std::memset(&info, 0x5A, sizeof info);
    ZOR_info_init(&info);
    EXPECT_EQ(info.marker, 22839);
    EXPECT_EQ(info.job_number, -1);
    EXPECT_EQ(info.add_extension, 1);
    EXPECT_EQ(info.frame_count, 1);
    EXPECT_EQ(info.first_frame, 1);
    EXPECT_FLOAT_EQ(info.frame_rate, 29.97F);
    const float primaries[] = {.67F, .33F, 0,    .21F, .71F,  .08F,
                               .14F, .08F, .78F, .31F, .316F, .374F};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(info.primaries[i], primaries[i]);
    EXPECT_TRUE(info.key == nullptr && info.compression == nullptr && info.images == nullptr);
    ZOR_WORD untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    EXPECT_EQ(info.untouched[0], untouched);
    EXPECT_EQ(info.untouched[4], untouched);
}

TEST(Info, IsCleanedUpOnceAndComplainsTheSecondTime) {
    ZOR_INFO *info = ZOR_info_alloc();
    ASSERT_NE(info, nullptr);
    info->key = STR_save("mox");
    for (int i = 0; i < 3; ++i) {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(info, 20 + i, 10);
        ASSERT_NE(desc, nullptr);
        desc->chan_format = STR_save("rgb");
        EXPECT_EQ(desc->act_right, 19 + i);
    }
    EXPECT_EQ(info->images[1].image.count, 3);
    testing::internal::CaptureStderr();
    ZOR_info_cleanup(info, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(info->marker, 0);
    EXPECT_TRUE(info->key == nullptr && info->images == nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ZOR_info_free(info, 1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZOR_info_cleanup: application programming error.\n"
              "The ZOR_INFO structure being freed has either been freed already or else was never "
              "initialised.\n");
}

TEST(Info, KeepsItsContentsWithoutTheFlag) {
    Info info("name");
    char *name = info.record.file_name;
    ZOR_info_cleanup(&info.record, 0);
    EXPECT_EQ(info.record.file_name, name);
    EXPECT_EQ(info.record.marker, 0);
    info.record.num_images = 3; // left over: without descriptions it counts for nothing
    ASSERT_NE(ZOR_info_add_image(&info.record, 1, 1), nullptr);
    EXPECT_EQ(info.record.num_images, 1);
    info.record.marker = 22839; // for the clean-up of the scope
}

TEST(Channels, HaveARowForEachAndRefuseWhatCannotBeHeld) {
    ReportLog log;
    ZOR_IMAGE_DESC desc;
    zor__describe(&desc, 100, 10, 2, 12);
    desc.matte = {1, ZOR_C_FLOAT, 32};
    desc.aux = {1, ZOR_C_DOUBLE, 64};
    void **rows = zor__chan_alloc(&desc, 100, "test");
    ASSERT_NE(rows, nullptr);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(rows[i]) % 64, 0U);
    EXPECT_EQ(rows[4], nullptr);
    EXPECT_GE(static_cast<char *>(rows[1]) - static_cast<char *>(rows[0]), 200 + 64);
    std::memset(rows[3], 0xFF, 100 * 8 + 64); // the last row and what is spare behind it
    zor__chan_free(rows);

    desc.image.bits = 40;
    EXPECT_EQ(zor__chan_alloc(&desc, 100, "test"), nullptr);
    EXPECT_TRUE(log.has_only(ZOR_MSG_IMAGE_WIDTH));
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_EQ(log.last(), "test cannot handle image channel width");
    desc.image.bits = 32;
    desc.aux = {INT32_MAX, ZOR_C_DOUBLE, 64};
    EXPECT_EQ(zor__chan_alloc(&desc, INT32_MAX, "test"), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_MEMORY);
    EXPECT_TRUE(log.has(ZOR_MSG_NO_MEMORY));
}

} // namespace
