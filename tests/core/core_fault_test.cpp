// core_fault_test.cpp - start-up, opening and closing with every allocation failing in turn.
#include <gtest/gtest.h>

#include "core/tape.h"
#include "support/fault.h"
#include "support/report_log.h"
#include "support/system.h"
#include "zor/driver.h"
#include "zor/fmt.h"

extern "C" TapeState tape_state;
extern "C" ZOR_CAPABILITY tape_capabilities[2];
extern "C" int imageMultiFrame;

namespace {

int delivered;

// This executable holds the tape module's symbols, and poses as three modules.
unsigned char next_module(void **module, const char **name) {
    *module = this_program();
    *name = "tape";
    return delivered++ < 3 ? 1 : 0;
}

TEST(CoreFaults, StartUpFailsCleanly) {
    ReportLog log;
    const long points = for_each_failing_allocation([&](const Fault &fault) {
        delivered = 0;
        log.clear();
        const int result = ZOR_init(nullptr, next_module);
        if (result != 0) {
            EXPECT_TRUE(fault.struck());
            EXPECT_EQ(zor__err, ZOR_E_MEMORY);
            EXPECT_FALSE(log.reports.empty());
        }
        ZOR_exit();
        FMT_exit();
        EXPECT_STREQ(tape_capabilities[0].name, "press") << "as the driver had it";
    });
    EXPECT_GT(points, 8);
}

TEST(CoreFaults, KeepingAFileOpenFailsCleanly) {
    ReportLog log;
    delivered = 0;
    imageMultiFrame = 1;
    ASSERT_EQ(ZOR_init(nullptr, next_module), 0);
    imageMultiFrame = 0;
    ZOR_CAP_SETTING chosen = {0, 0, {1}};
    ZOR_CAP_SETTING *settings[] = {&chosen, nullptr};
    const long points = for_each_failing_allocation([&](const Fault &fault) {
        ZOR_multiframe_set(1, 0); // none is kept once nobody uses it
        ZOR_INFO info;
        ZOR_info_init(&info);
        info.key = STR_save("tape");
        info.file_name = STR_save("."); // as good as any, so long as it is there
        info.cap_settings = settings;
        ZOR_IMAGE *images[2] = {};
        for (ZOR_IMAGE *&image : images) {
            image =
                info.file_name != nullptr && info.key != nullptr ? ZOR_open(&info, "r") : nullptr;
            EXPECT_TRUE(image != nullptr || fault.struck());
            EXPECT_TRUE(image == nullptr || zor__err == 0) << "not to be kept is no failure";
        }
        if (images[1] != nullptr && ZOR_seek(&images[1], tape_bottom) == 0)
            ZOR_seek(&images[1], -1);
        for (ZOR_IMAGE *image : images)
            EXPECT_EQ(image != nullptr ? ZOR_close(image) : 0, 0);
        ZOR_info_cleanup(&info, 1);
        ZOR_multiframe_set(1, 0);
        EXPECT_EQ(fault.live(), 0) << "blocks left behind";
    });
    EXPECT_GT(points, 30);
    ZOR_exit();
}

} // namespace
