// all_ops_bench.cpp - every operator on an image that suits it, beside the same image without it.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "frames.h"
#include "paired.h"
#include "row_source.h"
#include "zor/ops.h"

namespace {

constexpr ZOR_RESPONSE_CURVE screen = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
constexpr ZOR_RESPONSE_CURVE print = {1, 1.8F, 0, 0, 0, 0, 0, nullptr};
constexpr ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
const ZOR_TARGET *const to_bytes[3] = {&bytes, &bytes, nullptr};
constexpr ZOR_RANGE half = {0.25F, 0.75F};
const ZOR_RANGE *const ranges[3] = {&half, nullptr, nullptr};
constexpr float factors[3] = {0.5F, 1, 1};

constexpr ZOR_CHANNELS eight = {3, ZOR_C_INTEGER, 8};
constexpr ZOR_CHANNELS sixteen = {3, ZOR_C_INTEGER, 16};
constexpr ZOR_CHANNELS floats = {3, ZOR_C_FLOAT, 32};
constexpr ZOR_CHANNELS five_floats = {5, ZOR_C_FLOAT, 32};

struct Operator {
    const char *name;
    ZOR_CHANNELS colours;
    int32_t mattes;
    const char *format;
    void (*push)(ZOR_IMAGE *image);
};
constexpr Operator operators[] = {
    {"display, 8 bits", eight, 0, "rgb", [](auto *i) { ZOR__display(i, 7, nullptr, &print); }},
    {"display, 16 bits", sixteen, 0, "rgb", [](auto *i) { ZOR__display(i, 7, nullptr, &print); }},
    {"display, floats", floats, 1, "rgb", [](auto *i) { ZOR__display(i, 15, nullptr, &print); }},
    {"cast, 8 bits", eight, 0, "rgb", [](auto *i) { ZOR__cast(i); }},
    {"cast, 16 bits", sixteen, 0, "rgb", [](auto *i) { ZOR__cast(i); }},
    {"quantize", floats, 0, "rgb", [](auto *i) { ZOR__quantize(i, to_bytes, nullptr); }},
    {"quantize, encoding", floats, 0, "rgb", [](auto *i) { ZOR__quantize(i, to_bytes, &print); }},
    {"change width", sixteen, 0, "rgb", [](auto *i) { ZOR__change_width(i, to_bytes); }},
    {"remap", floats, 0, "rgb", [](auto *i) { ZOR__remap(i, ranges); }},
    {"min max, 8 bits", eight, 0, "rgb", [](auto *i) { ZOR__min_max(i, ranges); }},
    {"min max, 16 bits", sixteen, 0, "rgb", [](auto *i) { ZOR__min_max(i, ranges); }},
    {"min max, floats", floats, 0, "rgb", [](auto *i) { ZOR__min_max(i, ranges); }},
    {"scale, 8 bits", eight, 0, "rgb", [](auto *i) { ZOR__scale(i, factors); }},
    {"scale, 16 bits", sixteen, 0, "rgb", [](auto *i) { ZOR__scale(i, factors); }},
    {"scale, floats", floats, 0, "rgb", [](auto *i) { ZOR__scale(i, factors); }},
    {"clip, rgb", floats, 1, "rgb", [](auto *i) { ZOR__clip(i); }},
    {"clip, xyz", floats, 1, "xyz", [](auto *i) { ZOR__clip(i); }},
    {"gamma", eight, 0, "rgb", [](auto *i) { ZOR__gamma(i, &print); }},
    {"rgb transform", eight, 0, "rgb", [](auto *i) { ZOR__rgb_transform(i, &screen); }},
    {"xyz transform", eight, 0, "xyz", [](auto *i) { ZOR__xyz_transform(i, &screen); }},
    {"rgb luminance", eight, 0, "rgb", [](auto *i) { ZOR__rgb_luminance(i, &screen); }},
    {"samples to display", five_floats, 0, "sampled",
     [](auto *i) { ZOR__samples_to_display(i, &screen); }},
    {"samples to luminance", five_floats, 0, "sampled",
     [](auto *i) { ZOR__samples_to_luminance(i, &screen); }},
    {"samples to rgb", five_floats, 0, "sampled", [](auto *i) { ZOR__samples_to_rgb(i); }},
    {"samples to xyz", five_floats, 0, "sampled", [](auto *i) { ZOR__samples_to_xyz(i); }},
    {"resize to half", floats, 0, "rgb",
     [](auto *i) {
         ZOR__resize(i, bench::film.width / 2, bench::film.height / 2, ZOR_FILTER_MITCHELL);
     }},
};

using bench::RowSource;

struct Bench {
    bench::Pairs pairs;
    std::vector<std::unique_ptr<RowSource>> sources;

    RowSource &source(const Operator &op, const bench::Size &size) {
        return *sources.emplace_back(std::make_unique<RowSource>(bench::Picture::photograph, size,
                                                                 op.colours, op.mattes, op.format));
    }
    void add(const char *name, const RowSource &ours, const RowSource &plain) {
        if (!ours.has_operators()) {
            std::fprintf(stderr, "bench_all_ops: %s was not pushed\n", name);
            std::exit(1);
        }
        pairs.add(
            name, "driver alone", plain.frame_bytes(), [&ours] { ours.read(); },
            [&plain] { plain.read(); });
    }
    void add_all(const bench::Size &size) {
        pairs.set_size(name_of(size));
        for (const Operator &op : operators) {
            const RowSource &ours = source(op, size);
            op.push(ours.image());
            add(op.name, ours, source(op, size));
        }
        // Two fields of half the lines make a frame.
        const Operator field = {"merge fields", eight, 0, "rgb", nullptr};
        const bench::Size half_size = {size.width, size.height / 2};
        const RowSource &first = source(field, half_size);
        const RowSource &second = source(field, half_size);
        ZOR__merge_fields(first.image(), second.image());
        add(field.name, first, source(field, size));
    }
};

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Bench b;
    ZOR_color_matrix_set(3, nullptr);
    for (const bench::Size &size : bench::all_sizes)
        b.add_all(size);
    b.pairs.run(15);
    return 0;
}
