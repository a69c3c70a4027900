// row_codec_bench.cpp - the row codec beside another run-length codec and beside copying the bytes.
//
// Work is done row by row as the driver does it: rows come from a frame in memory and records go to
// one buffer, and the other way round. The peer's codec knows bytes only. It gets the rows of
// 16-bit pictures with their bytes sorted into planes, and the sorting counts: its files need it as
// well.
#include <OpenEXR/ImfNamespace.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "drivers/mox/row_codec.h"
#include "frames.h"
#include "paired.h"
#include "zor/records.h"

// The library exports these without installing their header.
OPENEXR_IMF_INTERNAL_NAMESPACE_HEADER_ENTER
int rleCompress(int in_size, const char in[], signed char out[]);
int rleUncompress(int in_size, int max_size, const signed char in[], char out[]);
OPENEXR_IMF_INTERNAL_NAMESPACE_HEADER_EXIT

namespace {

using bench::Frame;
using bench::Picture;
using zor::mox::codec_slack;
using zor::mox::EncodedRow;
using zor::mox::most_rows;
using zor::mox::RowCodec;

// One way to code the rows of a picture.
class Coder {
public:
    explicit Coder(const Frame &frame) : frame_(frame) {}
    virtual ~Coder() = default;
    Coder(const Coder &) = delete;
    Coder &operator=(const Coder &) = delete;

    // Every row to the buffer for one record.
    void encode() {
        for_each_row([this](const uint8_t *row) { encode_row(row, record_.data()); });
    }

    // Every record to the buffer of its channel's row.
    void decode() {
        for (size_t i = 0; i + 1 < starts_.size(); i += Frame::channels)
            decode_records(i);
    }

    // Makes the records, and stops the program when they do not give the rows again.
    void prepare(size_t most) {
        record_.resize(most + codec_slack);
        for (std::vector<uint8_t> &row : rows_)
            row.resize(frame_.row_bytes() + codec_slack);
        for_each_row([this](const uint8_t *row) {
            const size_t size = encode_row(row, record_.data());
            starts_.push_back(records_.size());
            records_.insert(records_.end(), record_.data(), record_.data() + size);
        });
        starts_.push_back(records_.size());
        records_.resize(records_.size() + codec_slack);
        for (int32_t y = 0; y < frame_.height; ++y) {
            decode_records(static_cast<size_t>(y) * Frame::channels);
            for (int32_t k = 0; k < Frame::channels; ++k)
                if (std::memcmp(row_of(k), frame_.row(k, y), frame_.row_bytes()) != 0)
                    std::abort();
        }
    }

    [[nodiscard]] size_t size() const { return records_.size(); }

protected:
    virtual size_t encode_row(const uint8_t *row, uint8_t *record) = 0;
    // The records of a scanline, of which the given one is the first.
    virtual void decode_records(size_t first) = 0;

    [[nodiscard]] const uint8_t *record(size_t i) const { return records_.data() + starts_[i]; }
    [[nodiscard]] size_t record_size(size_t i) const { return starts_[i + 1] - starts_[i]; }
    uint8_t *row_of(int32_t channel) { return rows_[static_cast<size_t>(channel)].data(); }

    const Frame &frame_;

private:
    void for_each_row(const std::function<void(const uint8_t *)> &visit) const {
        for (int32_t y = 0; y < frame_.height; ++y)
            for (int32_t channel = 0; channel < Frame::channels; ++channel)
                visit(frame_.row(channel, y));
    }

    std::vector<uint8_t> records_; // one after the other
    std::vector<size_t> starts_;
    std::vector<uint8_t> record_;
    std::array<std::vector<uint8_t>, Frame::channels> rows_;
};

class Ours : public Coder {
public:
    explicit Ours(const Frame &frame)
        : Coder(frame), codec_(*zor::mox::row_codec(ZOR_C_INTEGER, frame.bits)) {
        prepare(codec_.max_encoded(frame.width));
    }

private:
    size_t encode_row(const uint8_t *row, uint8_t *record) override {
        return codec_.encode(row, frame_.width, record);
    }
    void decode_records(size_t first) override {
        for (int32_t k = 0; k < Frame::channels; k += most_rows) {
            const int32_t count = std::min(Frame::channels - k, most_rows);
            EncodedRow rows[most_rows];
            for (int32_t i = 0; i < count; ++i) {
                const size_t at = first + static_cast<size_t>(k + i);
                rows[i] = {record(at), record_size(at), row_of(k + i)};
            }
            if (!codec_.decode(rows, count, frame_.width))
                std::abort();
        }
    }

    const RowCodec &codec_;
};

class Peer : public Coder {
public:
    explicit Peer(const Frame &frame) : Coder(frame), sorted_(frame.row_bytes()) {
        prepare(2 * frame.row_bytes());
    }

private:
    size_t encode_row(const uint8_t *row, uint8_t *record) override {
        const auto size = static_cast<int>(frame_.row_bytes());
        const uint8_t *from = row;
        if (frame_.bits == 16) {
            const auto width = static_cast<size_t>(frame_.width);
            from = sorted_.data();
            for (size_t i = 0; i < width; ++i) {
                sorted_[i] = row[2 * i + 1];
                sorted_[width + i] = row[2 * i];
            }
        }
        return static_cast<size_t>(Imf::rleCompress(size, reinterpret_cast<const char *>(from),
                                                    reinterpret_cast<signed char *>(record)));
    }
    void decode_records(size_t first) override {
        for (int32_t k = 0; k < Frame::channels; ++k) {
            const size_t at = first + static_cast<size_t>(k);
            decode_record(record(at), record_size(at), row_of(k));
        }
    }
    void decode_record(const uint8_t *record, size_t size, uint8_t *row) {
        const auto room = static_cast<int>(frame_.row_bytes());
        uint8_t *const to = frame_.bits == 16 ? sorted_.data() : row;
        if (Imf::rleUncompress(static_cast<int>(size), room,
                               reinterpret_cast<const signed char *>(record),
                               reinterpret_cast<char *>(to)) != room)
            std::abort();
        if (frame_.bits == 16) {
            const auto width = static_cast<size_t>(frame_.width);
            for (size_t i = 0; i < width; ++i) {
                row[2 * i + 1] = sorted_[i];
                row[2 * i] = sorted_[width + i];
            }
        }
    }

    std::vector<uint8_t> sorted_;
};

struct Case {
    Case(Picture picture, int32_t bits, const bench::Size &size)
        : name(std::string(name_of(picture)) + ", " + std::to_string(bits) + " bits"),
          frame(make_frame(picture, bits, size)),
          ours(frame),
          peer(frame),
          row(frame.row_bytes()) {}

    // A row of the frame to the row buffer: what decoding would be if it were nothing else.
    void copy() {
        for (int32_t y = 0; y < frame.height; ++y)
            for (int32_t channel = 0; channel < Frame::channels; ++channel) {
                std::memcpy(row.data(), frame.row(channel, y), row.size());
                benchmark::ClobberMemory();
            }
    }

    std::string name;
    Frame frame;
    Ours ours;
    Peer peer;
    std::vector<uint8_t> row;
};

void add_figure(const Case &c, const char *what, const std::function<void()> &work) {
    benchmark::RegisterBenchmark(
        (c.name + ": " + what).c_str(), [&c, work](benchmark::State &state) {
            for (auto _ : state)
                work();
            state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                    static_cast<int64_t>(c.frame.data.size()));
            state.counters["compressed"] =
                static_cast<double>(c.ours.size()) / static_cast<double>(c.frame.data.size());
        });
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    bench::Pairs pairs;
    std::vector<std::unique_ptr<Case>> cases;
    const auto add_case = [&](Picture picture, int32_t bits, const bench::Size &size) {
        Case &c = *cases.emplace_back(std::make_unique<Case>(picture, bits, size));
        const auto encode = [&c] { c.ours.encode(); };
        const auto decode = [&c] { c.ours.decode(); };
        const auto copy = [&c] { c.copy(); };
        if (size.width == bench::film.width) {
            add_figure(c, "encode", encode);
            add_figure(c, "decode", decode);
        }
        const size_t bytes = c.frame.data.size();
        pairs.set_size(name_of(size));
        pairs.add(c.name + ": encode", "OpenEXR RLE", bytes, encode, [&c] { c.peer.encode(); });
        pairs.add(c.name + ": decode", "OpenEXR RLE", bytes, decode, [&c] { c.peer.decode(); });
        pairs.add(c.name + ": encode", "memcpy", bytes, encode, copy);
        pairs.add(c.name + ": decode", "memcpy", bytes, decode, copy);
    };
    for (const int32_t bits : {8, 16})
        for (const Picture picture : bench::all_pictures)
            for (const bench::Size &size : bench::all_sizes)
                add_case(picture, bits, size);
    benchmark::RunSpecifiedBenchmarks();
    std::puts("");
    pairs.run(21);
    return 0;
}
