// thread_test.cpp - two threads at one image, and at many.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/library.h"
#include "core/tape.h"
#include "zor/driver.h"

namespace {

// Runs a function in two threads at once.
template<class Function>
void in_two_threads(Function function) {
    std::thread other(function);
    function();
    other.join();
}

TEST(Threads, OpenAndCloseOneAtATime) {
    const Library library({"tape"});
    in_two_threads([] {
        for (int i = 0; i < 200; ++i) {
            ZOR_IMAGE *image = ZOR_open(Info("falling.tape").get(), "r");
            void **rows = nullptr;
            EXPECT_EQ(ZOR_scan_read(image, tape_top, &rows), 0);
            EXPECT_EQ(ZOR_close(image), 0);
        }
    });
    EXPECT_EQ(library.variable<TapeState>(0, "tape_state")->closes, 400);
}

TEST(Threads, ShareAnImageCallByCall) {
    const Library library({"tape"});
    ZOR_IMAGE *image = ZOR_open(Info("random.tape").get(), "r");
    ASSERT_NE(image, nullptr);
    static std::atomic<int> inside;
    image->direct_scan = [](void *, int, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) {
        EXPECT_EQ(++inside, 1);
        std::this_thread::yield();
        --inside;
        return 0;
    };
    image->raster = [](void *state, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD) {
        static_cast<void>(state);
        EXPECT_EQ(++inside, 1);
        std::this_thread::yield();
        --inside;
        return 0;
    };
    in_two_threads([image] {
        for (int i = 0; i < 500; ++i) {
            ZOR_direct_scan_read(image, i, 0, 0, 0, 0);
            ZOR_get_raster(image, 0, 0, 0, 0, 0);
            ZOR_chan_free(image, ZOR_chan_alloc(image, 0));
        }
    });
    EXPECT_EQ(ZOR_close(image), 0);
}

} // namespace
