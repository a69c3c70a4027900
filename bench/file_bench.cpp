// file_bench.cpp - whole files through the public scan calls, beside two other libraries and memcpy.
//
// Files are written to memory-backed storage, from rows of a frame, and read into row buffers; opening
// and closing count. The peers store the same samples, channel by channel: one with byte packets, in
// the fastest of its three ways of moving them, the other with its run-length coding, at 16 bits only,
// since it has no samples of 8.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frames.h"
#include "loader/loader.h"
#include "mox_image.h"
#include "paired.h"
#include "tiff_file.h"
#include "zor/zor.h"

namespace {

using bench::Frame;
using bench::Picture;
using bench::require;

// Blocks of halves -----------------------------------------------------------------------------

constexpr const char *exr_names[] = {"R", "G", "B", "A"};

void write_exr(const std::string &path, const Frame &frame) {
    Imf::Header header(frame.width, frame.height);
    header.compression() = Imf::RLE_COMPRESSION;
    Imf::FrameBuffer buffer;
    for (int32_t k = 0; k < Frame::channels; ++k) {
        header.channels().insert(exr_names[k], Imf::Channel(Imf::HALF));
        auto *base = reinterpret_cast<char *>(const_cast<uint8_t *>(frame.row(k, 0)));
        buffer.insert(exr_names[k], Imf::Slice(Imf::HALF, base, 2, frame.row_bytes()));
    }
    Imf::OutputFile file(path.c_str(), header, 0);
    file.setFrameBuffer(buffer);
    file.writePixels(frame.height);
}

void read_exr(const std::string &path, const Frame &frame, std::vector<uint8_t> *buffer) {
    const size_t row = frame.row_bytes();
    buffer->resize(row * Frame::channels);
    Imf::InputFile file(path.c_str(), 0);
    for (int32_t y = 0; y < frame.height; ++y) { // one row at a time, like the others
        Imf::FrameBuffer rows;
        for (int32_t k = 0; k < Frame::channels; ++k)
            rows.insert(exr_names[k],
                        Imf::Slice(Imf::HALF,
                                   reinterpret_cast<char *>(buffer->data()) +
                                       static_cast<size_t>(k) * row - static_cast<size_t>(y) * row,
                                   2, row));
        file.setFrameBuffer(rows);
        file.readPixels(y);
    }
}

// Runs ------------------------------------------------------------------------------------------

struct Case {
    Case(Picture picture, int32_t bits, const std::string &directory)
        : name(std::string(name_of(picture)) + ", " + std::to_string(bits) + " bits"),
          path(directory + "/bench_" + name_of(picture) + std::to_string(bits)),
          frame(make_frame(picture, bits)),
          tiff(frame, path) {
        bench::write_lines(path + ".mox", frame);
        if (bits == 16)
            write_exr(path + ".exr", frame);
        copy.resize(frame.data.size());
    }
    ~Case() {
        for (const char *extension : {".mox", ".new.mox", ".exr", ".new.exr"})
            std::remove((path + extension).c_str());
    }
    Case(const Case &) = delete;
    Case &operator=(const Case &) = delete;

    void read(bool downwards) const {
        bench::read_lines(bench::open_image(path + ".mox", "r", frame), frame, downwards,
                          [](auto...) {});
    }

    std::string name;
    std::string path;
    Frame frame;
    bench::TiffPeer tiff;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> copy;
};

void add_pairs(bench::Pairs *pairs, Case &c) {
    const size_t bytes = c.frame.data.size();
    const auto write = [&c] { bench::write_lines(c.path + ".new.mox", c.frame); };
    const auto read = [&c] { c.read(false); };
    const auto downwards = [&c] { c.read(true); };
    const auto copy = [&c] {
        std::memcpy(c.copy.data(), c.frame.data.data(), c.copy.size());
        benchmark::ClobberMemory();
    };
    pairs->add(c.name + ": write", "libtiff PackBits", bytes, write, [&c] { c.tiff.write(); });
    pairs->add(c.name + ": read", "libtiff PackBits", bytes, read, [&c] { c.tiff.read(); });
    if (c.frame.bits == 16) {
        pairs->add(c.name + ": write", "OpenEXR RLE", bytes, write,
                   [&c] { write_exr(c.path + ".new.exr", c.frame); });
        pairs->add(c.name + ": read", "OpenEXR RLE", bytes, read,
                   [&c] { read_exr(c.path + ".exr", c.frame, &c.buffer); });
    }
    pairs->add(c.name + ": write", "memcpy", bytes, write, copy);
    pairs->add(c.name + ": read", "memcpy", bytes, read, copy);
    pairs->add(c.name + ": read top to bottom", "bottom to top", bytes, downwards, read);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const std::string directory = argc > 1 ? argv[1] : "/dev/shm";
    zor::Loader library({ZOR_BENCH_MODULES});
    require(library.start() == 0, "starting");

    bench::Pairs pairs;
    std::vector<std::unique_ptr<Case>> cases;
    for (const int32_t bits : {8, 16})
        for (const Picture picture : bench::all_pictures)
            add_pairs(&pairs,
                      *cases.emplace_back(std::make_unique<Case>(picture, bits, directory)));
    pairs.run(15);
    return 0;
}
