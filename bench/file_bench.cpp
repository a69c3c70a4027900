// file_bench.cpp - whole files through the public scan calls, beside two other libraries, blocks of
// the same bytes, and memcpy.
//
//     bench_file [DIRECTORY]     for the files; /dev/shm without it
//
// Files are written from rows of a frame and read into row buffers; opening and closing count. The
// peers store the same samples, channel by channel: one with byte packets, floats without, in the
// fastest of its three ways of moving them, the other with its run-length coding, two pictures of
// 16 bits only, since it has no samples of 8 and takes long.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "frames.h"
#include "image_file.h"
#include "loader/loader.h"
#include "paired.h"
#include "scratch.h"
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
    Case(Picture picture, int32_t bits, const bench::Size &size, const bench::Scratch &scratch)
        : name(std::string(name_of(picture)) +
               (bits == 32 ? ", floats" : ", " + std::to_string(bits) + " bits")),
          path(scratch.file("frame")),
          exr(bits == 16 && (picture == Picture::rendered || picture == Picture::photograph)),
          frame(make_frame(picture, bits, size)),
          tiff(frame, path, bits == 32 ? COMPRESSION_NONE : COMPRESSION_PACKBITS) {
        bench::write_lines(path + ".mox", frame);
        if (exr)
            write_exr(path + ".exr", frame);
    }
    ~Case() {
        for (const char *extension : {".mox", "_new.mox", ".exr", "_new.exr", ".raw"})
            std::remove((path + extension).c_str());
    }
    Case(const Case &) = delete;
    Case &operator=(const Case &) = delete;

    void write() const { bench::write_lines(path + "_new.mox", frame); }
    void read(bool downwards) const {
        bench::read_lines(bench::open_image(path + ".mox", "r", frame), frame, downwards,
                          [](auto...) {});
    }

    std::string name;
    std::string path;
    bool exr; // the slowest peer
    Frame frame;
    bench::TiffPeer tiff;
    std::vector<uint8_t> buffer;
};

void add_peers(bench::Pairs &pairs, Case &c) {
    const size_t bytes = c.frame.data.size();
    const char *name = c.frame.bits == 32 ? "libtiff, uncompressed" : "libtiff PackBits";
    const auto write = [&c] { c.write(); };
    const auto read = [&c] { c.read(false); };
    pairs.add(c.name + ": write", name, bytes, write, [&c] { c.tiff.write(); });
    pairs.add(c.name + ": read", name, bytes, read, [&c] { c.tiff.read(); });
    if (c.exr) {
        pairs.add(c.name + ": write", "OpenEXR RLE", bytes, write,
                  [&c] { write_exr(c.path + "_new.exr", c.frame); });
        pairs.add(c.name + ": read", "OpenEXR RLE", bytes, read,
                  [&c] { read_exr(c.path + ".exr", c.frame, &c.buffer); });
    }
}

// The bytes of the file, as they are, in blocks.
std::vector<char> contents(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_blocks(const std::string &path, const std::vector<char> &bytes) {
    constexpr size_t block = 0x40000;
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    require(file >= 0, "opening");
    for (size_t at = 0; at < bytes.size(); at += block) {
        const size_t size = std::min(block, bytes.size() - at);
        require(::write(file, &bytes[at], size) == static_cast<ssize_t>(size), "writing");
    }
    require(close(file) == 0, "closing");
}

void add_bounds(bench::Pairs &pairs, Case &c) {
    const size_t bytes = c.frame.data.size();
    const auto read = [&c] { c.read(false); };
    if (c.frame.bits == 32) { // what is written raw is bound by the system alone
        const auto raw = std::make_shared<std::vector<char>>(contents(c.path + ".mox"));
        pairs.add(
            c.name + ": write", "blocks of its bytes", bytes, [&c] { c.write(); },
            [&c, raw] { write_blocks(c.path + ".raw", *raw); });
    }
    const auto copy = [&c] {
        c.buffer.resize(c.frame.data.size());
        std::memcpy(c.buffer.data(), c.frame.data.data(), c.buffer.size());
        benchmark::ClobberMemory();
    };
    pairs.add(c.name + ": read", "memcpy of the samples", bytes, read, copy);
    pairs.add(
        c.name + ": read top to bottom", "bottom to top", bytes, [&c] { c.read(true); }, read);
}

// One after the other, because frames and their files take much memory.
void measure(bench::Pairs &pairs, Picture picture, int32_t bits, const bench::Scratch &scratch) {
    for (const bench::Size &size : bench::all_sizes) {
        Case c(picture, bits, size, scratch);
        pairs.set_size(name_of(size));
        add_peers(pairs, c);
        add_bounds(pairs, c);
        pairs.run(15);
    }
}

// What opening and closing take shows where there are few samples between them.
void measure_small(bench::Pairs &pairs, const bench::Scratch &scratch) {
    Case c(Picture::photograph, 8, {64, 64}, scratch);
    pairs.set_size("64x64");
    constexpr size_t files = 100; // one takes too little time
    const auto often = [](auto work) {
        return [work] {
            for (size_t i = 0; i < files; ++i)
                work();
        };
    };
    const size_t bytes = files * c.frame.data.size();
    pairs.add("small file: write", "libtiff PackBits", bytes, often([&c] { c.write(); }),
              often([&c] { c.tiff.write(); }));
    pairs.add("small file: read", "libtiff PackBits", bytes, often([&c] { c.read(false); }),
              often([&c] { c.tiff.read(); }));
    pairs.run(21);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const bench::Scratch scratch(argc, argv);
    zor::Loader library({ZOR_BENCH_MODULES});
    require(library.start() == 0, "starting");

    bench::Pairs pairs;
    for (const int32_t bits : {8, 16})
        for (const Picture picture : bench::all_pictures)
            measure(pairs, picture, bits, scratch);
    measure(pairs, Picture::rendered, 32, scratch);
    measure_small(pairs, scratch);
    return 0;
}
