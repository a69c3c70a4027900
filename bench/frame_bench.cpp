// frame_bench.cpp - whole frames moved in one call: against scanlines, and two threads against one.
//
//     bench_frame [DIRECTORY]     for the files; /dev/shm without it
//
// Opening and closing count. On both sides reading ends with the samples in a frame of the
// caller's. The first pair tells what a second thread is worth on this machine at the moment.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "frames.h"
#include "image_file.h"
#include "loader/loader.h"
#include "paired.h"
#include "scratch.h"
#include "zor/zor.h"

namespace {

using bench::Frame;
using bench::open_image;
using bench::Picture;
using bench::require;

struct Case {
    Case(Picture picture, int32_t bits, const bench::Size &size, const bench::Scratch &scratch)
        : name(std::string(bench::name_of(picture)) + ", " + std::to_string(bits) + " bits"),
          frame(bench::make_frame(picture, bits, size)),
          back(frame),
          path(scratch.file("frame.mox")) {}
    ~Case() { std::remove(path.c_str()); }
    Case(const Case &) = delete;
    Case &operator=(const Case &) = delete;

    static uint8_t *row(const Frame &of, int32_t channel, int32_t y) {
        return const_cast<uint8_t *>(of.row(channel, y));
    }
    void read_lines() const {
        bench::read_lines(open_image(path, "r", frame), frame, false,
                          [this](int32_t y, void **rows) {
                              for (int32_t k = 0; k < Frame::channels; ++k)
                                  std::memcpy(row(back, k, y), rows[k], frame.row_bytes());
                          });
    }
    void write_frame(int32_t threads, bool interleaved = false) const {
        bench::move_frame(path, "w", frame, threads, interleaved);
    }
    void read_frame(int32_t threads, bool interleaved = false) const {
        bench::move_frame(path, "r", back, threads, interleaved);
    }
    void get_raster() const {
        ZOR_IMAGE *image = open_image(path, "r", frame);
        void *channels[Frame::channels];
        for (int32_t k = 0; k < Frame::channels; ++k)
            channels[k] = row(back, k, 0);
        require(ZOR_get_raster(image, reinterpret_cast<ZOR_WORD>(channels), 0, frame.width - 1, 0,
                               frame.height - 1) == 0,
                "getting a raster");
        require(ZOR_close(image) == 0, "closing");
    }

    std::string name;
    Frame frame;
    Frame back;
    std::string path;
};

void add_pairs(bench::Pairs &pairs, const Case &c) {
    const size_t bytes = c.frame.data.size();
    c.write_frame(1);
    c.read_frame(2);
    require(c.back.data == c.frame.data, "reading back");
    const auto write = [&c](int32_t threads) { return [&c, threads] { c.write_frame(threads); }; };
    const auto read = [&c](int32_t threads) { return [&c, threads] { c.read_frame(threads); }; };
    pairs.add(c.name + ": write a frame", "scanlines", bytes, write(1),
              [&c] { bench::write_lines(c.path, c.frame); });
    pairs.add(c.name + ": read a frame", "scanlines", bytes, read(1), [&c] { c.read_lines(); });
    pairs.add(c.name + ": write, two threads", "one thread", bytes, write(2), write(1));
    pairs.add(c.name + ": read, two threads", "one thread", bytes, read(2), read(1));
}

// Other ways to the same frame.
void add_variants(bench::Pairs &pairs, const Case &c) {
    const size_t bytes = c.frame.data.size();
    const auto write = [&c] { c.write_frame(1); };
    const auto read = [&c] { c.read_frame(1); };
    pairs.add(
        c.name + ": write interleaved", "planes", bytes, [&c] { c.write_frame(1, true); }, write);
    pairs.add(
        c.name + ": read interleaved", "planes", bytes, [&c] { c.read_frame(1, true); }, read);
    pairs.add(
        c.name + ": ZOR_get_raster", "ZOR_raster_read", bytes, [&c] { c.get_raster(); }, read);
}

void compute(unsigned threads) {
    constexpr unsigned all = 40'000'000;
    std::vector<std::jthread> running;
    for (unsigned i = 0; i < threads; ++i) {
        running.emplace_back([threads] {
            for (unsigned n = 0, x = 1; n < all / threads; ++n)
                benchmark::DoNotOptimize(x = x * 1664525 + 1013904223);
        });
    }
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const bench::Scratch scratch(argc, argv);
    zor::Loader library({ZOR_BENCH_MODULES});
    require(library.start() == 0, "starting");

    bench::Pairs pairs;
    pairs.add(
        "arithmetic: two threads", "one thread", 0, [] { compute(2); }, [] { compute(1); });
    for (const int32_t bits : {8, 16})
        for (const Picture picture : bench::all_pictures)
            for (const bench::Size &size : bench::all_sizes) {
                const Case c(picture, bits, size, scratch);
                pairs.set_size(name_of(size));
                add_pairs(pairs, c);
                if (picture == Picture::rendered || picture == Picture::photograph)
                    add_variants(pairs, c);
                pairs.run(15);
            }
    return 0;
}
