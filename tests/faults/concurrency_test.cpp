// concurrency_test.cpp - many threads at once, no lock around what belongs to the application, and
// thousands of opens that leave nothing behind.
#include <dirent.h>
#include <functional>
#include <malloc.h>
#include <thread>

#include "loader/loader.h"
#include "support/driver_test.h"
#include "support/files.h"
#include "support/library_lock.h"
#include "zor/ops.h"
#include "zor/str.h"

namespace {

constexpr const char *keys[] = {"mox", "pnm", "png", "tiff", "mem"};
constexpr int height = 5;

class Concurrency : public DriverTest {
protected:
    Concurrency() { EXPECT_EQ(loader_.start(), 0); }

    std::string path(const char *name) const { return (place_.path / name).string(); }

    // Moves all lines. Returns 0 or the first status, and closes the image.
    static int move(ZOR_IMAGE *image) {
        if (image == nullptr)
            return -1;
        int status = 0;
        for (const int y : lines(image->images[0]))
            if (status == 0 && image->mode == ZOR_MODE_WRITE)
                status = DriverTest::write(image, 0, y);
            else if (status == 0)
                status = reads_back(image, 0, y) ? 0 : ZOR_E_READ;
        const int closed = ZOR_close(image);
        return status != 0 ? status : closed;
    }
    static int write(const std::string &file, const char *key) {
        Request request(file, key);
        request.add(70, height);
        return move(request.open("w"));
    }
    static int read(const std::string &file, const char *key) {
        return move(Request(file, key).open("r"));
    }

    const TempDir place_;
    zor::Loader loader_{{MODULES}};
};

// Each with files of its own, and with frames that are kept open for all.
TEST_F(Concurrency, EightThreads) {
    const std::string shared = path("shared");
    ASSERT_EQ(write(shared, "tiff"), 0);
    ZOR_multiframe_set(1, 2);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 40; ++i) {
                const char *key = keys[(t + i) % 5];
                const std::string own = path(("own" + std::to_string(t)).c_str());
                EXPECT_EQ(write(own, key), 0);
                EXPECT_EQ(read(own, key), 0);
                ZOR_IMAGE *image = Request(shared, "tiff").open("r");
                ASSERT_NE(image, nullptr);
                void **rows = nullptr; // which others move on
                EXPECT_EQ(ZOR_scan_read(image, i % height, &rows), 0);
                EXPECT_EQ(ZOR_close(image), 0);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(log.text(), "");
}

// Whatever a handler waits for in another thread, opening an image among it, can happen, unless the
// report comes from opening or closing.
TEST_F(Concurrency, HandlersRunWithoutTheLibrarysLock) {
    const std::string file = path("a.mox");
    ASSERT_EQ(write(file, "mox"), 0);
    static int calls;
    static int delivered;
    calls = delivered = 0;
    ERR_dcl_handler(
        nullptr,
        [](const char *, int, const char *, ERR_OBJECT *, void *) {
            EXPECT_TRUE(library_lock_is_free());
            ++calls;
            return 1;
        },
        nullptr);
    ZOR_IMAGE *image = Request(file, "mox").open("r");
    ASSERT_NE(image, nullptr);
    const ZOR_RESPONSE_CURVE curve = {1, 1.8F, 0, 0, 0, 0, 0, nullptr};
    void **rows = nullptr;
    const std::function<void()> reporting[] = {
        [&] { ZOR_scan_read(image, 99, &rows); },
        [&] { ZOR_get_region(image, 0, 0, 0, 0, 0); },
        [&] { ZOR_set_frame(image, 3); },
        [&] { ZOR_name_from_key("nobody"); },
        [&] { ZOR__resize(image, 0, 0, 0); },
        [&] { ZOR__display(image, ZOR_DISPLAY_MATTE, nullptr, &curve); },
        [&] {
            ERR_free(image->images[0].chan_format);
            image->images[0].chan_format = STR_save("other");
            ZOR__display(image, ZOR_DISPLAY_LUMINANCE, nullptr, &curve);
        },
        [&] { // start-up, module by module
            ZOR_close(image);
            ZOR_exit();
            ZOR_init(nullptr, [](void **module, const char **name) -> unsigned char {
                *module = this_program();
                *name = "not one";
                return delivered++ == 0 ? 1 : 0;
            });
        }};
    for (const auto &report : reporting) {
        const int before = calls;
        report();
        EXPECT_GT(calls, before) << &report - reporting;
    }
    ERR_can_handler(nullptr);
}

int open_descriptors() {
    int count = 0;
    DIR *directory = opendir("/proc/self/fd");
    while (directory != nullptr && readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count;
}

TEST_F(Concurrency, TenThousandOpensLeaveNothingBehind) {
    const std::string missing = path("missing/file");
    const std::string bad = path("bad");
    write_file(bad, std::string(1000, 'x'));
    const auto cycle = [&](int i) {
        const char *key = keys[i % 5];
        EXPECT_EQ(write(path("file"), key), 0);
        EXPECT_EQ(read(path("file"), key), 0);
        EXPECT_LT(read(missing, key), 0);
        EXPECT_TRUE(key == std::string("mem") || write(missing, key) < 0);
        EXPECT_LT(read(bad, key), 0);
        log.reports = {};
    };
    ZOR_multiframe_set(0, 0);
    size_t before = 0;
    int descriptors = 0;
    for (int i = 0; i < 2500; ++i) { // four opens each that count, and one that does not
        if (i == 500) {
            before = mallinfo2().uordblks;
            descriptors = open_descriptors();
        }
        cycle(i);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_LT(mallinfo2().uordblks, before + 4096);
}

} // namespace
