// thread_test.cpp - two threads at one image, and at many.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/library.h"
#include "core/tape.h"
#include "zor/driver.h"

namespace {

// Runs a function many times over in two threads at once.
template<class Function>
void in_two_threads(Function function) {
    const auto repeat = [function] {
        for (int i = 0; i < 300; ++i)
            function();
    };
    std::thread other(repeat);
    repeat();
    other.join();
}

TEST(Threads, OpenAndCloseOneAtATime) {
    const Library library({"tape"});
    in_two_threads([] {
        ZOR_IMAGE *image = Info("falling.tape").open("r");
        void **rows = nullptr;
        EXPECT_EQ(ZOR_scan_read(image, tape_top, &rows), 0);
        EXPECT_EQ(ZOR_close(image), 0);
    });
    EXPECT_EQ(library.variable<TapeState>(0, "tape_state")->closes, 600);
}

std::atomic<int> inside; // functions of the image

int visit() {
    EXPECT_EQ(++inside, 1);
    std::this_thread::yield();
    return --inside;
}

TEST(Threads, ShareAnImageCallByCall) {
    const Library library({"tape"});
    const Image image(Info("random.tape").open("r"));
    ASSERT_NE(image, nullptr);
    image->direct_scan = [](auto...) { return visit(); };
    image->raster = [](auto...) { return visit(); };
    in_two_threads([handle = image.get()] {
        ZOR_direct_scan_read(handle, 1, 0, 0, 0, 0);
        ZOR_get_raster(handle, 0, 0, 0, 0, 0);
        ZOR_chan_free(handle, ZOR_chan_alloc(handle, 0));
    });
}

} // namespace
