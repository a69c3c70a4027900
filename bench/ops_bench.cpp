// ops_bench.cpp - operators on samples beside copying the same bytes and beside the loop that one
// would write by hand; and a display's stack beside each operator that is in it, alone.
//
// A frame's lines are read through the stack, one by one. They come from a few lines in memory, so
// that rows stay near the processor as decoded ones do. Where an operator works in place the lines
// are copied first, on both sides, and the copy counts for both: "driver alone" is what it costs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/handle.h"
#include "frames.h"
#include "hot_rows.h"
#include "paired.h"
#include "zor/driver.h"
#include "zor/ops.h"
#include "zor/str.h"

namespace {

using bench::Frame;

constexpr int32_t width = bench::film.width;
constexpr int32_t height = bench::film.height;
constexpr int32_t num_lines = 16;
constexpr ZOR_RESPONSE_CURVE screen = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};

// An open image of colours, and mattes of the same type.
class Source {
public:
    Source(const Frame &picture, ZOR_CHANNELS colours, int32_t mattes, bool in_place)
        : image_(zor::new_handle(ZOR_MODE_READ)), in_place_(in_place) {
        zor__build_handle(image_, 1);
        ZOR_IMAGE_DESC &desc = image_->images[0];
        zor__describe(&desc, width, height, 3, 8);
        ERR_free(desc.chan_format);
        desc.chan_format = STR_save("rgb");
        desc.image = colours;
        desc.matte = {mattes, colours.type, colours.bits};
        desc.curve = {1, 1.0F, 0, 0, 0, 0, 0, nullptr};
        constexpr float primaries[] = {0.64F, 0.33F, 0, 0.3F,    0.6F,   0,
                                       0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
        std::copy_n(primaries, 12, image_->primaries);
        row_bytes_ = static_cast<size_t>(width) *
                     static_cast<size_t>(ZOR_sample_size(colours.type, colours.bits));
        num_rows_ = colours.count + mattes;
        rows_ = zor__chan_alloc(&desc, width, "bench");
        for (int32_t i = 0; i < num_lines; ++i) {
            void **line = lines_.emplace_back(zor__chan_alloc(&desc, width, "bench"));
            for (int32_t k = 0; k < num_rows_; ++k)
                fill(line[k], picture.row(k, i * (height / num_lines)), colours);
        }
        image_->data[0] = this;
        image_->scan = &scan_line;
        image_->close = [](ZOR_IMAGE *) { return 0; };
    }
    ~Source() {
        image_->close(image_);
        zor::discard_handle(image_);
        zor__chan_free(rows_);
        for (void **line : lines_)
            zor__chan_free(line);
    }
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    [[nodiscard]] ZOR_IMAGE *image() const { return image_; }
    [[nodiscard]] int32_t num_rows() const { return num_rows_; }
    [[nodiscard]] size_t row_bytes() const { return row_bytes_; }
    [[nodiscard]] size_t frame_bytes() const {
        return row_bytes_ * static_cast<size_t>(num_rows_) * static_cast<size_t>(height);
    }

    // All lines through the stack, and through what is done with them then.
    template<class Use>
    void read(Use use) const {
        for (int32_t y = 0; y < height; ++y) {
            void **rows = nullptr;
            if (ZOR_scan_read(image_, y, &rows) < 0)
                std::abort();
            use(rows);
            benchmark::ClobberMemory();
        }
    }
    void read() const {
        read([](void **) {});
    }

private:
    // Some of the colours as floats are outside of [0, 1], as rendered ones are.
    static void fill(void *row, const uint8_t *from, const ZOR_CHANNELS &group) {
        for (int32_t x = 0; x < width; ++x) {
            if (group.type == ZOR_C_FLOAT)
                static_cast<float *>(row)[x] = static_cast<float>(from[x]) / 240.0F;
            else if (group.bits > 8)
                static_cast<uint16_t *>(row)[x] = static_cast<uint16_t>(from[x] * 257);
            else
                static_cast<uint8_t *>(row)[x] = from[x];
        }
    }
    static int scan_line(void *data, int y, void **rows) {
        const auto *source = static_cast<Source *>(data);
        void **line = source->lines_[static_cast<size_t>(y % num_lines)];
        for (int32_t k = 0; source->in_place_ && k < source->num_rows_; ++k)
            std::memcpy(source->rows_[k], line[k], source->row_bytes_);
        *reinterpret_cast<void ***>(rows) = source->in_place_ ? source->rows_ : line;
        return 0;
    }

    ZOR_IMAGE *image_;
    bool in_place_;
    int32_t num_rows_ = 0;
    size_t row_bytes_ = 0;
    void **rows_ = nullptr;
    std::vector<void **> lines_;
};

constexpr ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
constexpr ZOR_TARGET words = {ZOR_C_INTEGER, 16};
const ZOR_TARGET *const to_bytes[3] = {&bytes, &bytes, nullptr};
const ZOR_TARGET *const to_words[3] = {&words, &words, nullptr};

constexpr ZOR_CHANNELS floats = {3, ZOR_C_FLOAT, 32};
constexpr ZOR_CHANNELS sixteen = {3, ZOR_C_INTEGER, 16};
constexpr ZOR_CHANNELS eight = {3, ZOR_C_INTEGER, 8};

struct Bench {
    bench::Pairs pairs;
    Frame picture = bench::make_frame(bench::Picture::rendered, 8);
    std::vector<std::unique_ptr<Source>> sources;

    Source &source(const ZOR_CHANNELS &colours, int32_t mattes, bool in_place) {
        return *sources.emplace_back(std::make_unique<Source>(picture, colours, mattes, in_place));
    }

    void add(const std::string &name, const char *peer_name, const Source &ours,
             std::function<void()> peer) {
        const auto work = [&ours] { ours.read(); };
        benchmark::RegisterBenchmark((name + ", " + peer_name).c_str(),
                                     [work](benchmark::State &state) {
                                         for (auto _ : state)
                                             work();
                                     });
        pairs.add(name, peer_name, ours.frame_bytes(), work, std::move(peer));
    }

    // An operator beside a copy of its rows, and beside a loop that converts each sample.
    template<class From, class To, class Push, class Convert>
    void add_rows(const char *name, const ZOR_CHANNELS &from, bool in_place, Push push,
                  Convert convert) {
        Source &ours = source(from, 0, in_place);
        push(ours.image());
        const Source &plain = source(from, 0, in_place);
        const auto to = std::make_shared<std::vector<To>>(size_t{3} * width);
        const auto copy = std::make_shared<std::vector<From>>(size_t{3} * width);
        add(name, "memcpy", ours, [&plain, copy] {
            plain.read([&](void **rows) {
                for (int32_t k = 0; k < 3; ++k)
                    std::memcpy(copy->data() + k * width, rows[k], plain.row_bytes());
            });
        });
        add(name, "plain loop", ours, [&plain, to, convert] {
            plain.read([&](void **rows) {
                for (int32_t k = 0; k < 3; ++k) {
                    const From *in = static_cast<const From *>(rows[k]);
                    To *out = to->data() + k * width;
                    for (int32_t x = 0; x < width; ++x)
                        out[x] = convert(in[x]);
                }
            });
        });
    }

    // A stack beside one operator.
    template<class Push, class PushOne>
    void add_stack(const char *name, const char *one, Source &ours, Push push, Source &alone,
                   PushOne push_one) {
        push(ours.image());
        push_one(alone.image());
        add(name, one, ours, [&alone] { alone.read(); });
    }
};

template<class To>
To round_to(float value, double largest) {
    const double scaled = static_cast<double>(value) * largest;
    const double clamped = std::min(std::max(scaled, 0.0), largest);
    return static_cast<To>(static_cast<int32_t>(clamped + 0.5));
}

void add_row_operators(Bench &b) {
    b.add_rows<uint8_t, float>("cast, 8 bits", eight, false, &ZOR__cast, [](uint8_t v) {
        return static_cast<float>(static_cast<double>(v) * (1.0 / 255));
    });
    b.add_rows<uint16_t, float>("cast, 16 bits", sixteen, false, &ZOR__cast, [](uint16_t v) {
        return static_cast<float>(static_cast<double>(v) * (1.0 / 65535));
    });
    b.add_rows<uint16_t, uint8_t>(
        "narrow, 16 to 8 bits", sixteen, true,
        [](ZOR_IMAGE *image) { ZOR__change_width(image, to_bytes); },
        [](uint16_t v) { return static_cast<uint8_t>(v >> 8); });
    b.add_rows<float, uint8_t>(
        "quantize, floats to 8 bits", floats, false,
        [](ZOR_IMAGE *image) { ZOR__quantize(image, to_bytes, nullptr); },
        [](float v) { return round_to<uint8_t>(v, 255.0); });
    b.add_rows<float, uint16_t>(
        "quantize, floats to 16 bits", floats, false,
        [](ZOR_IMAGE *image) { ZOR__quantize(image, to_words, nullptr); },
        [](float v) { return round_to<uint16_t>(v, 65535.0); });
    b.add_rows<float, uint16_t>(
        "quantize and encode to 16 bits", floats, false,
        [](ZOR_IMAGE *image) { ZOR__quantize(image, to_words, &screen); },
        [](float v) { return round_to<uint16_t>(v, 65535.0); });
}

void add_displays(Bench &b) {
    const auto nothing = [](ZOR_IMAGE *) {};
    const auto narrow = [](ZOR_IMAGE *image) { ZOR__change_width(image, to_bytes); };
    const auto quantize = [](ZOR_IMAGE *image) { ZOR__quantize(image, to_bytes, nullptr); };
    const auto correct = [](ZOR_IMAGE *image) { ZOR__gamma(image, &screen); };
    const auto transform = [](ZOR_IMAGE *image) { ZOR__rgb_transform(image, &screen); };

    const auto show = [](int flags, const float *primaries) {
        return [=](ZOR_IMAGE *image) {
            ZOR__display(image, static_cast<unsigned char>(flags), primaries, &screen);
        };
    };
    static constexpr float other[18] = {0,      0,     0, 0,     0,     0, 0.68F,   0.32F,  0,
                                        0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
    const auto integers = [&] { return &b.source(sixteen, 0, true); };
    const auto rendered = [&] { return &b.source(floats, 1, true); };
    const auto shown = [&] { return &b.source(eight, 0, true); };

    const char *name = "display, 16-bit rgb";
    b.add_stack(name, "driver alone", *integers(), show(7, nullptr), *integers(), nothing);
    b.add_stack(name, "narrowing alone", *integers(), show(7, nullptr), *integers(), narrow);
    b.add_stack(name, "correction alone", *integers(), show(7, nullptr), *shown(), correct);
    name = "display, 16-bit rgb, primaries";
    b.add_stack(name, "transform alone", *integers(), show(7, other), *shown(), transform);
    name = "display, float rgb and matte";
    b.add_stack(name, "driver alone", *rendered(), show(15, nullptr), *rendered(), nothing);
    b.add_stack(name, "clip alone", *rendered(), show(15, nullptr), *rendered(), &ZOR__clip);
    b.add_stack(name, "quantizing alone", *rendered(), show(15, nullptr), *rendered(), quantize);
    b.add_stack(name, "correction alone", *rendered(), show(15, nullptr), *shown(), correct);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Bench b;
    bench::add_hot_rows(&b.pairs);
    add_row_operators(b);
    ZOR_color_matrix_set(3, nullptr);
    add_displays(b);
    benchmark::RunSpecifiedBenchmarks();
    std::puts("");
    b.pairs.run(21);
    return 0;
}
