// mox_files.h - what the tests of the MOX driver share: the library started with this executable as
// its module, files as strings of bytes, and pictures whose samples can be told from their place.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/driver_test.h"
#include "support/files.h"
#include "support/memory_watch.h"
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

class MoxTest : public DriverTest {
protected:
    static void SetUpTestSuite() {
        delivered_ = 0;
        watch::start_counting();
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
