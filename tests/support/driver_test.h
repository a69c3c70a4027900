// driver_test.h - what the tests of drivers share: samples that can be told from their place,
// requests to open, and how calls should fail.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/info.h"
#include "support/report_log.h"
#include "zor/driver.h"

// The rows of one scanline, with samples that are a function of channel and place: long runs, then
// noise. Samples outside the active window are 0 when they come from a file. Salt makes rows that
// differ.
struct Rows {
    Rows(const ZOR_IMAGE_DESC &desc, int y, bool from_file, int salt = 0) {
        for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
            for (int i = 0; i < group.count; ++i)
                add(desc, group, y, from_file);
        for (auto &row : bytes) {
            row.back() = static_cast<uint8_t>(row.back() ^ salt);
            pointers.push_back(row.data());
        }
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
    explicit Request(const std::string &path, const char *key = nullptr)
        : info(path.c_str(), key) {}
    ZOR_IMAGE_DESC &add(int width, int height) { return *ZOR_info_add_image(&info, width, height); }
    ZOR_IMAGE *open(const char *mode) { return info.open(mode); }

    Info info;
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

    // Move a line of any sub-image. Rows that were handed over or out are scribbled on, as
    // operators may do: it must not reach what is stored.
    //   bottom  the line that the driver calls 0
    static int write(ZOR_IMAGE *image, int k, int y, int salt = 0, int bottom = 0) {
        Rows rows(image->images[k], y + bottom, false, salt);
        void **pointers = rows.pointers.data();
        const int status =
            k == 0 ? ZOR_scan_write(image, y, pointers) : image->scan(image->data[k], y, pointers);
        for (auto &row : rows.bytes)
            std::fill(row.begin(), row.end(), uint8_t{0xAA});
        return status;
    }
    static int read(ZOR_IMAGE *image, int k, int y, void **&rows) {
        return k == 0 ? ZOR_scan_read(image, y, &rows)
                      : image->scan(image->data[k], y, reinterpret_cast<void **>(&rows));
    }
    static int read(ZOR_IMAGE *image, int k, int y) {
        void **rows = nullptr;
        return read(image, k, y, rows);
    }
    static bool reads_back(ZOR_IMAGE *image, int k, int y, int salt = 0, int bottom = 0) {
        void **rows = nullptr;
        bool equal = read(image, k, y, rows) == 0;
        for (const auto &row : Rows(image->images[k], y + bottom, true, salt).bytes) {
            equal = equal && std::memcmp(*rows, row.data(), row.size()) == 0;
            if (equal)
                std::memset(*rows++, 0xAA, row.size());
        }
        return equal;
    }

    // The lines in the file's order.
    static std::vector<int> lines(const ZOR_IMAGE_DESC &desc) {
        std::vector<int> all;
        for (int y = desc.win_bottom; y <= desc.win_top; ++y)
            all.push_back(y);
        if ((desc.orientation & ZOR_ORIENTATION_RISING) == 0)
            std::reverse(all.begin(), all.end());
        return all;
    }
    static void write_all(ZOR_IMAGE *image, int k) {
        for (const int y : lines(image->images[k]))
            ASSERT_EQ(write(image, k, y), 0);
    }

    ReportLog log;
};

// With the drivers that the library carries, and no other.
class BuiltInDriverTest : public DriverTest {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(ZOR_init(nullptr, nullptr), 0); }
    static void TearDownTestSuite() { ZOR_exit(); }
};
