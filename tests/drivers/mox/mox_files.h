// mox_files.h - what the tests of the MOX driver share: the library started with this executable as
// its module, files as strings of bytes, and pictures whose samples can be told from their place.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "err/memory.h"
#include "support/driver_test.h"
#include "support/files.h"
#include "zor/driver.h"

extern "C" const char *imageKey; // of the module in this executable
extern "C" const char *imageExtension;

// A picture of 10 x 4 with rows 1 and 2, columns 2 to 9 stored, all rows alike: a byte channel (7 7
// 7 7 7 1 2 3), a 12-bit matte (0xABC) and a float auxiliary channel (1.0). Put together by hand.
inline std::string small_file() { return read_file(TEST_DATA_DIR "small.mox"); }

// Changes a file: a big-endian number, or a text with its terminator.
inline void put(std::string &file, size_t at, size_t size, uint32_t value) {
    for (size_t i = 0; i < size; ++i)
        file[at + i] = static_cast<char>(value >> 8 * (size - 1 - i) & 0xFF);
}
inline void put_text(std::string &file, size_t at, const std::string &text) {
    file.replace(at, text.size() + 1, text + '\0');
}

// The library's memory in bytes, now and at most since that was last set. Each block begins with its
// size.
struct MemoryWatch {
    static constexpr size_t head = 16;
    inline static size_t live, most;

    static void *reallocate(void *block, size_t size) {
        char *start = block != nullptr ? static_cast<char *>(block) - head : nullptr;
        const size_t before = size_of(start);
        start = static_cast<char *>(std::realloc(start, size + head));
        if (start == nullptr)
            return nullptr;
        std::memcpy(start, &size, sizeof size);
        live += size - before;
        most = std::max(most, live);
        return start + head;
    }
    static void release(void *block) {
        if (block == nullptr)
            return;
        char *start = static_cast<char *>(block) - head;
        live -= size_of(start);
        std::free(start);
    }
    static void begin() { // for good: some blocks outlive the library
        zor::set_allocator(
            {[](size_t size) { return reallocate(nullptr, size); }, reallocate, release});
    }

private:
    static size_t size_of(const char *start) {
        size_t size = 0;
        if (start != nullptr)
            std::memcpy(&size, start, sizeof size);
        return size;
    }
};

class MoxTest : public DriverTest {
protected:
    static void SetUpTestSuite() {
        delivered_ = 0;
        MemoryWatch::begin();
        ASSERT_EQ(ZOR_init(nullptr, next_module), 0);
    }
    static void TearDownTestSuite() { ZOR_exit(); }

    // Opens bytes as a file.
    ZOR_IMAGE *open_bytes(const std::string &bytes) {
        write_file(file, bytes);
        log.clear();
        return Request(file, "mox").open("r");
    }
    void expect_refused(const std::string &bytes, const Failure &failure) {
        ZOR_IMAGE *image = open_bytes(bytes);
        expect(failure, image == nullptr ? zor__err : 0);
        ZOR_close(image);
    }

    // Scans of any sub-image, as operators see them. Rows that were read are scribbled on, as
    // operators may do.
    static int write(ZOR_IMAGE *image, int k, int y) {
        return image->scan(image->data[k], y, Rows(image->images[k], y, false).pointers.data());
    }
    static int read(ZOR_IMAGE *image, int k, int y) {
        void **rows;
        return image->scan(image->data[k], y, reinterpret_cast<void **>(&rows));
    }
    static bool reads_back(ZOR_IMAGE *image, int k, int y) {
        void **rows = nullptr;
        bool equal = image->scan(image->data[k], y, reinterpret_cast<void **>(&rows)) == 0;
        for (const auto &row : Rows(image->images[k], y, true).bytes) {
            equal = equal && std::memcmp(*rows, row.data(), row.size()) == 0;
            if (equal)
                std::memset(*rows++, 0xAA, row.size());
        }
        return equal;
    }
    static void write_all(ZOR_IMAGE *image, int k) {
        for (int y = image->images[k].win_bottom; y <= image->images[k].win_top; ++y)
            ASSERT_EQ(write(image, k, y), 0);
    }

    const TempDir place_;
    std::string directory = place_.path.string(), file = directory + "/file.mox";

private:
    // The module poses as both of the formats.
    static unsigned char next_module(void **module, const char **name) {
        imageKey = delivered_ == 0 ? "mox" : "mob";
        imageExtension = delivered_ == 0 ? ".mox" : ".mob";
        *module = this_program();
        *name = imageKey;
        return delivered_++ < 2 ? 1 : 0;
    }
    inline static int delivered_;
};
