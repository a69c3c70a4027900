// info_test.cpp - the life of an open request.
#include <gtest/gtest.h>

#include <cstring>

#include "core/library.h"
#include "zor/driver.h"

namespace {

TEST(Info, StartsWithItsInitialValuesAndIsCleanedUpOnce) {
    ZOR_INFO info;
    std::memset(&info, 0x5A, sizeof info);
    const ZOR_WORD untouched = info.untouched[0];
    ZOR_info_init(&info);
    EXPECT_TRUE(info.add_extension == 1 && info.frame_rate == 29.97F && info.key == nullptr);
    EXPECT_TRUE(info.untouched[0] == untouched && info.untouched[4] == untouched);
    info.key = STR_save("mox");
    info.num_images = 3; // without descriptions it counts for nothing
    for (int i = 0; i < 3; ++i) {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, 20 + i, 10);
        desc->chan_format = STR_save("rgb");
        EXPECT_TRUE(desc->act_right == 19 + i && desc->image.count == 3);
        EXPECT_EQ(info.num_images, 1 + i);
    }
    testing::internal::CaptureStderr();
    ZOR_info_cleanup(&info, 0);
    EXPECT_STREQ(info.key, "mox") << "contents stay without the flag";
    info.marker = 22839;
    ZOR_info_cleanup(&info, 1);
    EXPECT_TRUE(info.marker == 0 && info.key == nullptr && info.images == nullptr);
    EXPECT_EQ(ZOR_info_free(ZOR_info_alloc(), 1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    ZOR_info_cleanup(&info, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZOR_info_cleanup: application programming error.\n"
              "The ZOR_INFO structure being freed has either been freed already or else was never "
              "initialised.\n");
}

TEST(Channels, HaveARowForEachThatFitMemory) {
    const ReportLog log;
    ZOR_IMAGE_DESC desc;
    zor__describe(&desc, 100, 10, 2, 12);
    desc.matte = {1, ZOR_C_FLOAT, 32};
    desc.aux = {1, ZOR_C_DOUBLE, 64};
    void **rows = zor__chan_alloc(&desc, 100, "test");
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(rows[i]) % 64, 0U);
    EXPECT_EQ(rows[4], nullptr);
    EXPECT_GE(static_cast<char *>(rows[1]) - static_cast<char *>(rows[0]), 200 + 64);
    std::memset(rows[3], 0xFF, 100 * 8 + 64); // the last row and what is spare behind it
    zor__chan_free(rows);
    desc.image.bits = 40;
    EXPECT_EQ(zor__chan_alloc(&desc, 100, "test"), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_EQ(log.last(), "test cannot handle image channel width");
    desc.image.bits = 32;
    desc.aux.count = INT32_MAX;
    EXPECT_EQ(zor__chan_alloc(&desc, INT32_MAX, "test"), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_MEMORY);
    EXPECT_TRUE(log.has(ZOR_MSG_NO_MEMORY));
}

} // namespace
