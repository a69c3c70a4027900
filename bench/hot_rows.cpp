// hot_rows.cpp - the row kernels beside the plain loops.
#include "hot_rows.h"

#include <benchmark/benchmark.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frames.h"
#include "ops/row_kernels.h"
#include "plain_loops.h"

namespace bench {

namespace {

constexpr int32_t count = film.width;
constexpr int times = 1000; // or the clock would count

// Rows as operators have them.
struct Rows {
    alignas(64) std::array<uint8_t, count> bytes;
    alignas(64) std::array<uint16_t, count> words;
    alignas(64) std::array<float, count> floats;
    alignas(64) std::array<uint8_t, count> made_bytes;
    alignas(64) std::array<uint16_t, count> made_words;
    alignas(64) std::array<float, count> made_floats;
    std::array<uint8_t, 256> table; // turns bytes round, so that they stay as near to each other
    std::array<float, 256> light;

    explicit Rows(Picture picture) {
        const std::vector<uint8_t> line = make_line(picture, 8, film.height / 2, count);
        for (size_t x = 0; x < bytes.size(); ++x) {
            bytes[x] = line[x];
            words[x] = static_cast<uint16_t>(bytes[x] * 257);
            floats[x] = static_cast<float>(bytes[x]) / 240.0F;
        }
        for (size_t i = 0; i < table.size(); ++i) {
            table[i] = static_cast<uint8_t>(255 - i);
            light[i] = static_cast<float>(i) / 255.0F;
        }
    }
};

struct Kernel {
    std::string name;
    size_t bytes_read;
    std::function<void()> ours;
    std::function<void(const PlainLoops &)> plain;
};

Kernel look_up(Picture picture, Rows &r) {
    return {std::string("lookup of bytes, ") + name_of(picture), sizeof r.bytes,
            [&r] { zor::row_kernels().look_up(r.bytes.data(), count, r.table.data()); },
            [&r](auto &loops) { loops.look_up(r.bytes.data(), count, r.table.data()); }};
}

Kernel look_up_floats(Picture picture, Rows &r) {
    float *const to = r.made_floats.data();
    return {
        std::string("bytes to floats by a table, ") + name_of(picture), sizeof r.bytes,
        [=, &r] { zor::row_kernels().look_up_floats(to, r.bytes.data(), count, r.light.data()); },
        [=, &r](auto &loops) { loops.look_up_floats(to, r.bytes.data(), count, r.light.data()); }};
}

// Those that take as long for any row.
std::vector<Kernel> other_kernels(Rows &r) {
    const zor::RowKernels &k = zor::row_kernels();
    constexpr double byte = 255;
    constexpr double word = 65535;
    uint8_t *const bytes = r.made_bytes.data();
    uint16_t *const words = r.made_words.data();
    float *const floats = r.made_floats.data();
    return {{"cast of a row, 8 bits", sizeof r.bytes,
             [=, &k, &r] { k.bytes_to_floats(floats, r.bytes.data(), count, 1 / byte); },
             [=, &r](auto &l) { l.bytes_to_floats(floats, r.bytes.data(), count, 1 / byte); }},
            {"cast of a row, 16 bits", sizeof r.words,
             [=, &k, &r] { k.words_to_floats(floats, r.words.data(), count, 1 / word); },
             [=, &r](auto &l) { l.words_to_floats(floats, r.words.data(), count, 1 / word); }},
            {"row of 16 to 8 bits", sizeof r.words,
             [&k, &r] { k.narrow(r.words.data(), count, 8); },
             [=, &r](auto &l) { l.narrow(bytes, r.words.data(), count); }},
            {"row of floats to 8 bits", sizeof r.floats,
             [=, &k, &r] { k.floats_to_bytes(bytes, r.floats.data(), count, byte); },
             [=, &r](auto &l) { l.floats_to_bytes(bytes, r.floats.data(), count, byte); }},
            {"row of floats to 16 bits", sizeof r.floats,
             [=, &k, &r] { k.floats_to_words(words, r.floats.data(), count, word); },
             [=, &r](auto &l) { l.floats_to_words(words, r.floats.data(), count, word); }}};
}

std::function<void()> often(std::function<void()> once) {
    return [once = std::move(once)] {
        for (int i = 0; i < times; ++i) {
            once();
            benchmark::ClobberMemory();
        }
    };
}

} // namespace

void add_hot_rows(Pairs *pairs) {
    static std::vector<std::unique_ptr<Rows>> rows;
    std::vector<Kernel> kernels;
    for (const Picture picture : {Picture::rendered, Picture::photograph, Picture::noise}) {
        Rows &r = *rows.emplace_back(std::make_unique<Rows>(picture));
        kernels.push_back(look_up(picture, r));
        kernels.push_back(look_up_floats(picture, r));
    }
    for (Kernel &kernel : other_kernels(*rows.back()))
        kernels.push_back(std::move(kernel));
    for (const Kernel &kernel : kernels)
        for (const auto &[name, loops] :
             {std::pair{"plain loop, -O2", &loops_O2}, {"plain loop, -O3", &loops_O3}})
            pairs->add(kernel.name, name, kernel.bytes_read * times, often(kernel.ours),
                       often([plain = kernel.plain, loops = loops] { plain(*loops); }));
}

} // namespace bench
