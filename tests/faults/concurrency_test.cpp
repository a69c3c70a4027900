// concurrency_test.cpp - many threads at once, no lock around what belongs to the application, and
// thousands of opens that leave nothing behind.
#include <atomic>
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
const char *const memory = keys[4];
constexpr int height = 5;

class Concurrency : public DriverTest {
protected:
    Concurrency() { EXPECT_EQ(loader_.start(), 0); }

    std::string path(const std::string &name) const { return (place_.path / name).string(); }

    // Moves all lines and closes the image. Returns 0 or the first status.
    static int move(const std::string &file, const char *key, const char *mode) {
        Request request(file, key);
        request.add(70, height);
        ZOR_IMAGE *image = request.open(mode);
        if (image == nullptr)
            return -1;
        int status = 0;
        for (const int y : lines(image->images[0]))
            if (status == 0)
                status = *mode == 'w' ? write(image, 0, y) : reads_back(image, 0, y) ? 0 : -1;
        const int closed = ZOR_close(image);
        return status != 0 ? status : closed;
    }

    const TempDir place_;
    zor::Loader loader_{{MODULES}};
};

std::atomic<int> inside; // functions of the shared image

int visit(void *, int, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) {
    EXPECT_EQ(++inside, 1);
    std::this_thread::yield();
    return --inside;
}

// Each with files of its own, with a picture in memory that all of them write alike, and with
// frames that are kept open for all.
TEST_F(Concurrency, EightThreads) {
    const std::string shared = path("shared");
    ASSERT_EQ(move(shared, "tiff", "w"), 0);
    ZOR_multiframe_set(1, 2);
    ZOR_IMAGE *held = Request(shared, "tiff").open("r");
    ASSERT_NE(held, nullptr);
    held->direct_scan = visit;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 40; ++i) {
                const char *key = keys[(t + i) % 5];
                const std::string own = path(key == memory ? "all" : ("own" + std::to_string(t)));
                EXPECT_EQ(move(own, key, "w"), 0);
                EXPECT_EQ(move(own, key, "r"), 0);
                ZOR_IMAGE *image = Request(shared, "tiff").open("r");
                ASSERT_EQ(image, held);
                void **rows = nullptr; // which others move on
                EXPECT_EQ(ZOR_scan_read(image, i % height, &rows), 0);
                EXPECT_EQ(ZOR_direct_scan_read(image, 0, 0, 0, 0, 0), 0);
                ZOR_chan_free(image, ZOR_chan_alloc(image, 0));
                EXPECT_EQ(ZOR_close(image), 0);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(ZOR_close(held), 0);
    EXPECT_EQ(log.text(), "");
}

// Whatever a handler waits for in another thread, opening an image among it, can happen, unless the
// report comes from opening or closing.
TEST_F(Concurrency, HandlersRunWithoutTheLibrarysLock) {
    const std::string file = path("a.mox");
    ASSERT_EQ(move(file, "mox", "w"), 0);
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

auto open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(Concurrency, TenThousandOpensLeaveNothingBehind) {
    const std::string file = path("file");
    const std::string missing = path("missing/file");
    const std::string bad = path("bad");
    write_file(bad, std::string(1000, 'x'));
    ZOR_multiframe_set(0, 0);
    size_t before = 0;
    std::ptrdiff_t descriptors = 0;
    for (int i = 0; i < 2500; ++i) { // four opens each that count, and one that does not
        if (i == 500) {
            before = mallinfo2().uordblks;
            descriptors = open_descriptors();
        }
        const char *key = keys[i % 5];
        EXPECT_EQ(move(file, key, "w"), 0);
        EXPECT_EQ(move(file, key, "r"), 0);
        EXPECT_LT(move(missing, key, "r"), 0);
        EXPECT_TRUE(key == memory || move(missing, key, "w") < 0);
        EXPECT_LT(move(bad, key, "r"), 0);
        log.reports = {};
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_LT(mallinfo2().uordblks, before + 4096);
}

} // namespace
