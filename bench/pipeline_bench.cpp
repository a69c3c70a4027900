// pipeline_bench.cpp - the rows of a file corrected and turned into floats, as compositing begins.
//
//     bench_pipeline [DIRECTORY]     for the files; /dev/shm without it
//
// Ours are the lines of a MOX file under two operators. Beside them: another library's file of the
// same samples through the plain loop that one would write, with a table of the floats which those
// operators come to; and our own functions in three passes over whole frames.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "frames.h"
#include "image_file.h"
#include "ops/row_kernels.h"
#include "paired.h"
#include "plain_loops.h"
#include "scratch.h"
#include "tiff_file.h"
#include "zor/curve.h"
#include "zor/ops.h"
#include "zor/zor.h"

namespace {

using bench::Frame;
using bench::require;

constexpr ZOR_RESPONSE_CURVE print = {1, 1.8F, 0, 0, 0, 0, 0, nullptr};
constexpr int32_t colours = 3; // the fourth channel is the matte

// One case: a frame in a file of ours and in one of the other library's.
class Case {
public:
    Case(const Frame &frame, const std::string &path)
        : frame_(frame), path_(path + ".mox"), peer_(frame, path), copy_(frame) {
        bench::write_lines(path_, frame);
        floats_.resize(frame.data.size());
        learn_tables();
    }

    [[nodiscard]] size_t bytes() const { return frame_.data.size(); }

    void rows() const {
        bench::read_lines(open(), frame_, false, [](int32_t, void **) {});
    }

    void plain_loops() {
        const size_t plane = frame_.data.size() / Frame::channels;
        size_t done = 0;
        row_.resize(plane); // at most a plane comes at a time
        peer_.read([&](const uint8_t *samples, size_t bytes) {
            const auto &table = done / plane < colours ? colour_floats_ : matte_floats_;
            bench::loops_O2.look_up_floats(row_.data(), samples, static_cast<int32_t>(bytes),
                                           table.data());
            benchmark::ClobberMemory();
            done += bytes;
        });
    }

    void passes() {
        const zor::RowKernels &kernels = zor::row_kernels();
        bench::move_frame(path_, "r", copy_, 1, false);
        const auto plane = static_cast<int32_t>(frame_.data.size() / Frame::channels);
        for (int32_t k = 0; k < colours; ++k)
            kernels.look_up(copy_.data.data() + int64_t{plane} * k, plane, corrected_.data());
        benchmark::ClobberMemory();
        for (int32_t k = 0; k < Frame::channels; ++k) {
            float *to = floats_.data() + int64_t{plane} * k;
            const uint8_t *from = copy_.row(k, 0);
            if (k < colours)
                kernels.look_up_floats(to, from, plane, light_.data());
            else
                kernels.bytes_to_floats(to, from, plane, 1.0 / 255);
        }
        benchmark::ClobberMemory();
    }

private:
    [[nodiscard]] ZOR_IMAGE *open() const {
        ZOR_IMAGE *image = bench::open_image(path_, "r", frame_);
        ZOR__gamma(image, &print);
        ZOR__cast(image);
        require(ZOR_image_desc(image, 0)->image.type == ZOR_C_FLOAT, "casting");
        return image;
    }

    // What the operators make of each byte that there is, which they are asked for.
    void learn_tables() {
        bench::read_lines(open(), frame_, false, [&](int32_t y, void **rows) {
            for (int32_t k = 0; k < Frame::channels; ++k) {
                auto &table = k < colours ? colour_floats_ : matte_floats_;
                for (int32_t x = 0; x < frame_.width; ++x)
                    table[frame_.row(k, y)[x]] = static_cast<const float *>(rows[k])[x];
            }
        });
        ZOR_IMAGE *image = bench::open_image(path_, "r", frame_);
        const double gamma = static_cast<double>(ZOR_image_desc(image, 0)->curve.gamma);
        ZOR__gamma(image, &print);
        bench::read_lines(image, frame_, false, [&](int32_t y, void **rows) {
            for (int32_t k = 0; k < colours; ++k)
                for (int32_t x = 0; x < frame_.width; ++x)
                    corrected_[frame_.row(k, y)[x]] = static_cast<const uint8_t *>(rows[k])[x];
        });
        float *light = ZOR_gamma_btof(gamma);
        require(light != nullptr, "a table");
        std::copy_n(light, light_.size(), light_.begin());
        ZOR_gamma_done(light);
    }

    const Frame &frame_;
    std::string path_;
    bench::TiffPeer peer_;
    Frame copy_;
    std::vector<float> row_;
    std::vector<float> floats_;
    std::array<float, 256> colour_floats_ = {}, matte_floats_ = {};
    std::array<uint8_t, 256> corrected_ = {}; // the first operator alone, for the passes
    std::array<float, 256> light_ = {};       // and the second
};

// The one module is part of this program.
unsigned char next_module(void **module, const char **name) {
    static bool delivered = false;
    *module = dlopen(nullptr, RTLD_NOW);
    *name = "mox";
    return std::exchange(delivered, true) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    const bench::Scratch scratch(argc, argv);
    require(ZOR_init(nullptr, next_module) == 0, "starting");
    for (const bench::Size &size : bench::all_sizes) {
        bench::Pairs pairs;
        pairs.set_size(name_of(size));
        for (const bench::Picture picture :
             {bench::Picture::rendered, bench::Picture::photograph}) {
            const Frame frame = make_frame(picture, 8, size);
            Case c(frame, scratch.file(name_of(picture)));
            const std::string name = std::string(name_of(picture)) + ", 8 bits to float rows";
            const auto rows = [&c] { c.rows(); };
            pairs.add(name, "libtiff, plain loop", c.bytes(), rows, [&c] { c.plain_loops(); });
            pairs.add(name, "in three passes", c.bytes(), rows, [&c] { c.passes(); });
            pairs.run(15);
        }
    }
    return 0;
}
