// resize_bench.cpp - resampling a frame, against copying what it reads.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "core/handle.h"
#include "frames.h"
#include "paired.h"
#include "zor/driver.h"
#include "zor/ops.h"

namespace {

constexpr int32_t width = bench::film.width;
constexpr int32_t height = bench::film.height;
constexpr int32_t channels = 3;

// Three channels of floats, handed out row by row: what resampling costs, without casting.
class Source {
public:
    Source() : image(zor::new_handle(ZOR_MODE_READ)), samples_(size_t{width} * height * channels) {
        zor__build_handle(image, 1);
        zor__describe(&image->images[0], width, height, channels, 8);
        for (ZOR_CHANNELS *group :
             {&image->images[0].image, &image->images[0].matte, &image->images[0].aux})
            *group = {group->count, ZOR_C_FLOAT, 32};
        const bench::Frame frame = bench::make_frame(bench::Picture::photograph, 8);
        for (size_t i = 0; i < samples_.size(); ++i)
            samples_[i] = static_cast<float>(frame.data[i]) / 255;
        image->data[0] = this;
        image->scan = [](void *source, int y, void **rows) {
            return static_cast<Source *>(source)->read(y, rows);
        };
        image->close = [](ZOR_IMAGE *) { return 0; };
    }
    ~Source() { zor::discard_handle(image); }
    Source(const Source &) = delete;

    [[nodiscard]] float *row(int32_t channel, int32_t y) {
        return samples_.data() + (int64_t{height} * channel + y) * width;
    }

    ZOR_IMAGE *image;

private:
    int read(int y, void **rows) {
        for (int32_t k = 0; k < channels; ++k)
            rows_[k] = row(k, y);
        *reinterpret_cast<void ***>(rows) = rows_;
        return 0;
    }
    std::vector<float> samples_;
    void *rows_[channels + 1] = {};
};

struct Case {
    const char *name;
    int32_t width, height, filter;
};
constexpr Case cases[] = {{"half, box", width / 2, height / 2, ZOR_FILTER_BOX},
                          {"half, Mitchell", width / 2, height / 2, ZOR_FILTER_MITCHELL},
                          {"half, Lanczos-3", width / 2, height / 2, ZOR_FILTER_LANCZOS_3},
                          {"a tenth, Mitchell", width / 10, height / 10, ZOR_FILTER_MITCHELL},
                          {"twice, Mitchell", width * 2, height * 2, ZOR_FILTER_MITCHELL}};

void resize(Source &source, const Case &wanted) {
    ZOR__resize(source.image, wanted.width, wanted.height, wanted.filter);
    for (int32_t y = wanted.height - 1; y >= 0; --y) {
        void **rows = nullptr;
        ZOR_scan_read(source.image, y, &rows);
        benchmark::DoNotOptimize(rows);
    }
    ZOR__resize_undo(source.image);
}

// Every row to the same place.
void copy(Source &source, std::vector<float> &place) {
    for (int32_t k = 0; k < channels; ++k)
        for (int32_t y = 0; y < height; ++y) {
            std::memcpy(place.data(), source.row(k, y), place.size() * sizeof(float));
            benchmark::ClobberMemory();
        }
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Source source;
    std::vector<float> place(width);
    constexpr size_t bytes = size_t{width} * height * channels * sizeof(float);
    bench::Pairs pairs;
    for (const Case &wanted : cases) {
        const auto work = [&] { resize(source, wanted); };
        benchmark::RegisterBenchmark(wanted.name, [work](benchmark::State &state) {
            for (auto _ : state)
                work();
            state.SetBytesProcessed(state.iterations() * int64_t{bytes});
        });
        pairs.add(wanted.name, "memcpy of the source", bytes, work, [&] { copy(source, place); });
    }
    benchmark::RunSpecifiedBenchmarks();
    std::puts("");
    pairs.run(11);
    return 0;
}
