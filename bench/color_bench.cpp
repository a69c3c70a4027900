// color_bench.cpp - correcting 8-bit colours, beside a colour management library and plain loops.
//
// Rows are planar as operators get them, and for the peer interleaved too, which it is faster with;
// ours work in place on a copy of the row that both sides make, and the copy counts for both.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/handle.h"
#include "frames.h"
#include "paired.h"
#include "zor/driver.h"
#include "zor/ops.h"
#include "zor/str.h"

namespace {

using bench::Frame;
using bench::Picture;

constexpr size_t colors = 3;
constexpr bench::Size size = bench::film;
constexpr size_t frame_bytes = colors * size.width * size.height;

constexpr float hdtv[12] = {0.64F, 0.33F, 0, 0.3F, 0.6F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
constexpr float wide[12] = {0.68F, 0.32F, 0, 0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};

// An image whose rows are those of a frame, copied each time as a driver would decode them.
class Source {
public:
    explicit Source(const Frame &frame) : frame_(frame), image_(zor::new_handle(ZOR_MODE_READ)) {
        zor__build_handle(image_, 1);
        ZOR_IMAGE_DESC &desc = image_->images[0];
        zor__describe(&desc, size.width, size.height, colors, 8);
        desc.chan_format = STR_save("rgb");
        desc.curve = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
        std::copy_n(hdtv, 12, image_->primaries);
        for (size_t k = 0; k < colors; ++k) {
            rows_[k].resize(size.width);
            pointers_[k] = rows_[k].data();
        }
        image_->data[0] = this;
        image_->scan = &read_line;
        image_->close = [](ZOR_IMAGE *) { return 0; };
    }
    ~Source() {
        image_->close(image_);
        zor::discard_handle(image_);
    }
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    [[nodiscard]] ZOR_IMAGE *image() const { return image_; }

    void read() const {
        for (int y = 0; y < size.height; ++y) {
            void **rows = nullptr;
            if (ZOR_scan_read(image_, y, &rows) < 0)
                std::abort();
            benchmark::ClobberMemory();
        }
    }

private:
    static int read_line(void *data, int y, void **rows) {
        auto &source = *static_cast<Source *>(data);
        for (size_t k = 0; k < colors; ++k)
            std::memcpy(source.pointers_[k], source.frame_.row(static_cast<int32_t>(k), y),
                        size.width);
        *reinterpret_cast<void ***>(rows) = source.pointers_.data();
        return 0;
    }

    const Frame &frame_;
    ZOR_IMAGE *image_;
    std::array<std::vector<uint8_t>, colors> rows_;
    std::array<void *, colors> pointers_ = {};
};

// The same rows, their colours interleaved or one after the other, through the peer's transform
// between the same primaries and gammas.
class Peer {
public:
    Peer(const Frame &frame, bool planar) : row_(colors * size.width) {
        lines_.resize(frame_bytes);
        const size_t step = planar ? 1 : colors;
        const size_t distance = planar ? size.width : 1; // of a pixel's colours
        for (int32_t y = 0; y < size.height; ++y)
            for (size_t x = 0; x < size.width; ++x)
                for (size_t k = 0; k < colors; ++k)
                    lines_[static_cast<size_t>(y) * row_.size() + x * step + k * distance] =
                        frame.row(static_cast<int32_t>(k), y)[x];
        cmsHPROFILE from = profile(hdtv);
        cmsHPROFILE to = profile(wide);
        const cmsUInt32Number format = planar ? TYPE_RGB_8_PLANAR : TYPE_RGB_8;
        transform_ = cmsCreateTransform(from, format, to, format, INTENT_RELATIVE_COLORIMETRIC, 0);
        cmsCloseProfile(from);
        cmsCloseProfile(to);
    }
    ~Peer() { cmsDeleteTransform(transform_); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    void read() {
        for (size_t y = 0; y < size.height; ++y) {
            std::memcpy(row_.data(), lines_.data() + y * row_.size(), row_.size());
            cmsDoTransform(transform_, row_.data(), row_.data(), size.width);
            benchmark::ClobberMemory();
        }
    }

private:
    static cmsHPROFILE profile(const float *p) {
        const auto at = [&](size_t i) {
            return cmsCIExyY{static_cast<double>(p[i]), static_cast<double>(p[i + 1]), 1};
        };
        const cmsCIExyY white = at(9);
        const cmsCIExyYTRIPLE primaries = {at(0), at(3), at(6)};
        cmsToneCurve *curve = cmsBuildGamma(nullptr, 2.2);
        cmsToneCurve *curves[] = {curve, curve, curve};
        cmsHPROFILE result = cmsCreateRGBProfile(&white, &primaries, curves);
        cmsFreeToneCurve(curve);
        return result;
    }

    std::vector<uint8_t> lines_;
    std::vector<uint8_t> row_;
    cmsHTRANSFORM transform_;
};

// The best plain loop for bytes through a table, and the copy alone.
class Plain {
public:
    explicit Plain(const Frame &frame) : frame_(frame), row_(size.width), table_(256) {
        for (size_t i = 0; i < table_.size(); ++i)
            table_[i] = static_cast<uint8_t>(255 - i);
    }
    void look_up() {
        uint8_t *const __restrict row = row_.data();
        const uint8_t *const __restrict table = table_.data();
        for_each_row([=] {
            for (size_t x = 0; x < size.width; x += 8) {
                uint64_t word = 0;
                for (size_t i = 0; i < 8; ++i)
                    word |= uint64_t{table[row[x + i]]} << 8 * i;
                std::memcpy(row + x, &word, sizeof word);
            }
        });
    }
    void copy() {
        for_each_row([] {});
    }

private:
    template<class Work>
    void for_each_row(Work work) {
        for (int32_t y = 0; y < size.height; ++y)
            for (int32_t k = 0; k < int32_t{colors}; ++k) {
                std::memcpy(row_.data(), frame_.row(k, y), row_.size());
                work();
                benchmark::ClobberMemory();
            }
    }

    const Frame &frame_;
    std::vector<uint8_t> row_;
    std::vector<uint8_t> table_;
};

struct Case {
    explicit Case(Picture picture)
        : name(bench::name_of(picture)),
          frame(make_frame(picture, 8)),
          transform(frame),
          gamma(frame),
          untouched(frame),
          peer(frame, false),
          planar_peer(frame, true),
          plain(frame) {
        const ZOR_RESPONSE_CURVE screen = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
        const ZOR_RESPONSE_CURVE print = {1, 1.8F, 0, 0, 0, 0, 0, nullptr};
        ZOR_color_matrix_set(3, wide);
        ZOR__rgb_transform(transform.image(), &screen);
        ZOR__gamma(gamma.image(), &print);
        if (transform.image()->driver_state == nullptr || gamma.image()->driver_state == nullptr)
            std::abort(); // nothing was pushed
    }

    std::string name;
    Frame frame;
    Source transform, gamma, untouched;
    Peer peer, planar_peer;
    Plain plain;
};

void add_figure(const std::string &name, const Source &source) {
    benchmark::RegisterBenchmark(name.c_str(), [&source](benchmark::State &state) {
        for (auto _ : state)
            source.read();
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * int64_t{frame_bytes});
    });
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    bench::Pairs pairs;
    std::vector<std::unique_ptr<Case>> cases;
    for (const Picture picture : bench::all_pictures) {
        Case &c = *cases.emplace_back(std::make_unique<Case>(picture));
        const auto add = [&](const char *what, const char *against, const Source &ours,
                             const std::function<void()> &peer) {
            pairs.add(
                c.name + ": " + what, against, frame_bytes, [&ours] { ours.read(); }, peer);
        };
        add("rgb transform", "lcms2, RGB_8", c.transform, [&c] { c.peer.read(); });
        add("rgb transform", "lcms2, RGB_8_PLANAR", c.transform, [&c] { c.planar_peer.read(); });
        add("gamma", "plain loop", c.gamma, [&c] { c.plain.look_up(); });
        add("gamma", "memcpy", c.gamma, [&c] { c.plain.copy(); });
        add("no operator", "memcpy", c.untouched, [&c] { c.plain.copy(); });
    }
    for (const auto &c : cases)
        for (const auto &[what, source] :
             {std::pair{"rgb transform", &c->transform}, std::pair{"gamma", &c->gamma}})
            add_figure(c->name + ": " + what, *source);
    benchmark::RunSpecifiedBenchmarks();
    std::puts("");
    pairs.run(15);
    return 0;
}
