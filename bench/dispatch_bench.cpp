// dispatch_bench.cpp - what the library adds to a scanline: locking the handle and finding its way
// to the driver. The driver, which is in this program itself, does nothing.
#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <utility>

#include "frames.h"
#include "image_file.h"
#include "paired.h"
#include "zor/driver.h"

ZOR_MODULE("nothing", ".nothing", "Rows of nothing", ZOR_ORIENTATION_RISING);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ);

namespace {

void *rows_of_nothing[bench::Frame::channels + 1] = {};

int scan_line(void *, int, void **rows) {
    *reinterpret_cast<void ***>(rows) = rows_of_nothing;
    return 0;
}

int close_file(ZOR_IMAGE *image) {
    zor__free_obj(image);
    return 0;
}

unsigned char next_module(void **module, const char **name) {
    static bool given = false;
    *module = dlopen(nullptr, RTLD_NOW);
    *name = "nothing";
    return !std::exchange(given, true);
}

} // namespace

int imageReadOpen(ZOR_IMAGE *image) {
    if (zor__build_handle(image, 1) != 0)
        return 0;
    zor__describe(&image->images[0], bench::film.width, bench::film.height, 3, 8);
    image->data[0] = rows_of_nothing;
    image->scan = &scan_line;
    image->close = &close_file;
    return 1;
}

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    bench::require(ZOR_init(nullptr, &next_module) == 0, "starting");
    ZOR_IMAGE *image = bench::open_image("none", "r", {}, "nothing");
    constexpr int scanlines = 100'000;
    bench::Pairs pairs;
    pairs.add_difference(
        "lock and dispatch of a scanline", "calling the driver", scanlines,
        [image] {
            void **rows = nullptr;
            for (int y = 0; y < scanlines; ++y)
                benchmark::DoNotOptimize(ZOR_scan_read(image, y % bench::film.height, &rows));
        },
        [image] {
            void **rows = nullptr;
            for (int y = 0; y < scanlines; ++y)
                benchmark::DoNotOptimize(image->scan(image->data[0], y % bench::film.height,
                                                     reinterpret_cast<void **>(&rows)));
        });
    pairs.run(101);
    ZOR_close(image);
    ZOR_exit();
    return 0;
}
