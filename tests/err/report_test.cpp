// report_test.cpp - catalogue reports, masks, the ring and the checked allocator.
#include <climits>
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/fault.h"
#include "support/report_log.h"

namespace {

TEST(Report, MaskedReportsAreNeitherCountedNorKept) {
    ReportLog log;
    const uint32_t before = ERR_stats(-1);
    ERR_OBJECT *latest = ERR_last(0);
    EXPECT_EQ(ERR_report_cat(nullptr, ZOR_MSG_ON_DEMAND_START, "a", "b"), 1) << "debug is masked";
    EXPECT_EQ(ERR_mask(nullptr), 0);
    EXPECT_EQ(ERR_mask(nullptr), 1);
    EXPECT_EQ(zor__fail(ZOR_E_WRITE, ZOR_MSG_NO_MEMORY), ZOR_E_WRITE);
    EXPECT_EQ(zor__err, ZOR_E_WRITE) << "a masked failure is still a failure";
    EXPECT_EQ(ERR_unmask(nullptr) * 10 + ERR_mask_s(ERR_ERROR), 10);
    ERR_printf(ERR_ERROR, "masked");
    EXPECT_EQ(ERR_unmask_s(ERR_ERROR) * 10 + ERR_unmask_s(ERR_DEBUG), 11);
    EXPECT_EQ(ERR_stats(-1), before);
    EXPECT_EQ(ERR_last(0), latest);
    EXPECT_TRUE(log.reports.empty()) << log.text();
    ERR_printf(ERR_DEBUG, "seen");
    EXPECT_EQ(ERR_mask_s(ERR_DEBUG), 0);
    EXPECT_EQ(zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, 12), zor__err);
    EXPECT_EQ(log.text(), "seen\nCannot decode scanline 12\n");
    EXPECT_EQ(ERR_stats(-1), before + 2);
    EXPECT_EQ(ERR_report_mp(1, 0) * 10 + ERR_report_mp(1, 1), 10);
}

TEST(Report, OddSeveritiesAndLongMessagesStayInBounds) {
    ReportLog log;
    const uint32_t before = ERR_stats(-1);
    const std::string text(40000, 'x');
    for (const int severity : {-1, 5, 256, 260, INT_MAX, INT_MIN}) {
        ERR_printf(severity, "%s", text.c_str());
        EXPECT_GT(ERR_last(0)->severity, ERR_FATAL) << severity;
        EXPECT_EQ(log.last(), text.substr(0, 32767));
        EXPECT_EQ(ERR_mask_s(severity) + ERR_unmask_s(severity), 0);
        EXPECT_NE(ERR_type(severity), nullptr);
    }
    EXPECT_EQ(ERR_stats(-1), before);
}

TEST(Report, RingKeepsSixteenRecordsAndSharesTheLibrarysOwn) {
    ReportLog log;
    ERR_OBJECT records[17] = {};
    for (ERR_OBJECT &record : records) {
        record.name = "ring";
        ERR_unmask_s(record.severity);
        ERR_report(&record);
    }
    ERR_mask_s(ERR_DEBUG);
    for (int n = 0; n < 17; ++n)
        EXPECT_EQ(ERR_last(n), &records[16 - n % 16]) << n;
    EXPECT_TRUE(ERR_last(INT_MAX) == nullptr && ERR_last(INT_MIN) == nullptr);
    for (int n = 0; n < 16; n += 2) {
        ERR_printf(ERR_WARNING, "direct");
        zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, n);
    }
    EXPECT_TRUE(ERR_last(0) == ERR_last(14) && ERR_last(0) != ERR_last(1));
    EXPECT_STREQ(ERR_last(14)->text, "Cannot decode scanline 14");
    EXPECT_STREQ(ERR_last(14)->name, "Cannot decode scanline %d");
}

TEST(Report, ErrorNumbersWithoutATextAreShownAsNumbers) {
    ReportLog log;
    const int count = zor::platform::error_text_count();
    const std::string text = zor::platform::error_text(2);
    ERR_report_errno(count, "%d");
    ERR_report_errno(-1, "");
    ERR_report_errno(2, nullptr);
    ERR_report_errno(2, "a");
    EXPECT_EQ(log.text(),
              "%d: error " + std::to_string(count) + "\nerror -1\n" + text + "\na: " + text + "\n");
}

TEST(ReportDeathTest, UnhandledReportsArePrintedAndFatalOnesAbort) {
    ERR_unmask_s(ERR_DEBUG);
    testing::internal::CaptureStderr();
    for (const int severity : {ERR_DEBUG, ERR_INFORMATION, ERR_WARNING, ERR_ERROR})
        EXPECT_EQ(ERR_report_cat(nullptr, 0, 0, severity, "text"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "DEBUG, text\nINFORMATION, text\nWARNING, text\nERROR, text\n");
    ERR_mask_s(ERR_DEBUG);
    const std::string text(3000, 'm');
    EXPECT_DEATH(ERR_printf(ERR_FATAL, "%s", text.c_str()), "FATAL, " + text + "\n");
    ReportLog log;
    ERR_printf(ERR_FATAL, "survived");
    EXPECT_EQ(log.last(), "survived");
}

TEST(Memory, ExhaustionIsReportedOnceAndNothingIsNotExhaustion) {
    ReportLog log;
    zor::set_allocator({[](size_t size) { return size == 0 ? nullptr : std::malloc(size); },
                        [](void *block, size_t n) { return n == 0 ? nullptr : realloc(block, n); },
                        std::free});
    auto *block = static_cast<char *>(ERR_realloc(ERR_malloc(0), 0));
    EXPECT_TRUE(log.reports.empty()) << log.text();
    *block = 'b';
    EXPECT_TRUE(ERR_malloc(SIZE_MAX) == nullptr && ERR_realloc(block, SIZE_MAX) == nullptr);
    Fault fault(1, true);
    EXPECT_TRUE(ERR_malloc(8) == nullptr && ERR_realloc(block, 8) == nullptr);
    EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), 4);
    EXPECT_EQ(*block, 'b');
    EXPECT_EQ(ERR_free(block) + ERR_free(nullptr), 2);
}

} // namespace
