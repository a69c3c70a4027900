// driver_test.h - what the tests of drivers share: samples that can be told from their place,
// requests to open, and how calls should fail.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/report_log.h"
#include "zor/driver.h"

// The rows of one scanline, with samples that are a function of channel and place: long runs, then
// noise. Samples outside the active window are 0 when they come from a file.
struct Rows {
    Rows(const ZOR_IMAGE_DESC &desc, int y, bool from_file) {
        for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
            for (int i = 0; i < group.count; ++i)
                add(desc, group, y, from_file);
        for (auto &row : bytes)
            pointers.push_back(row.data());
    }
    void add(const ZOR_IMAGE_DESC &desc, const ZOR_CHANNELS &group, int y, bool from_file) {
        const auto size = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
        const uint64_t mask = ~0ULL >> (64 - group.bits);
        const int offset = 31 * y + 177 * static_cast<int>(bytes.size()) + 1;
        auto &row = bytes.emplace_back();
        for (int x = desc.win_left; x <= desc.win_right; ++x) {
            const bool active = x >= desc.act_left && x <= desc.act_right && y >= desc.act_bottom &&
                                y <= desc.act_top;
            const auto seed = static_cast<uint64_t>((x % 500 < 400 ? x / 100 : x) + offset);
            const uint64_t value = active || !from_file ? seed * 2654435761U >> 7 & mask : 0;
            row.resize(row.size() + size);
            std::memcpy(row.data() + row.size() - size, &value, size); // low byte first
        }
    }
    std::vector<std::vector<uint8_t>> bytes;
    std::vector<void *> pointers;
};

// A request to be filled in and opened.
struct Request {
    explicit Request(const std::string &path, const char *key = nullptr) {
        ZOR_info_init(&info);
        info.file_name = STR_save(path.c_str());
        info.key = key != nullptr ? STR_save(key) : nullptr;
    }
    ~Request() { ZOR_info_cleanup(&info, 1); }
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;
    ZOR_IMAGE_DESC &add(int width, int height) { return *ZOR_info_add_image(&info, width, height); }
    ZOR_IMAGE *open(const char *mode) { return ZOR_open(&info, mode); }

    ZOR_INFO info;
};

// How a call should fail: {ZOR_E_READ, ZOR_MSG_CANNOT_READ}.
struct Failure {
    Failure(int failing_status, int, int, int, const char *message)
        : status(failing_status), format(message) {}
    int status;
    std::string format;
};

class DriverTest : public testing::Test {
protected:
    // Whether the latest call failed as it should, having said so once.
    void expect(const Failure &failure, int status) {
        EXPECT_EQ(status, failure.status) << log.text();
        EXPECT_EQ(zor__err, failure.status);
        ASSERT_EQ(log.reports.size(), 1U) << log.text();
        EXPECT_EQ(log.reports[0].format, failure.format) << log.text();
        log.clear();
    }

    ReportLog log;
};
