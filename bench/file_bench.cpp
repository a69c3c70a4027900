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
#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frames.h"
#include "loader/loader.h"
#include "mox_image.h"
#include "paired.h"
#include "zor/zor.h"

namespace {

using bench::Frame;
using bench::open_image;
using bench::Picture;
using bench::require;

// Our files ------------------------------------------------------------------------------------

void write_ours(const std::string &path, const Frame &frame) {
    ZOR_IMAGE *image = open_image(path, "w", frame.bits);
    for (int32_t y = 0; y < Frame::height; ++y) {
        void *rows[Frame::channels];
        for (int32_t k = 0; k < Frame::channels; ++k)
            rows[k] = const_cast<uint8_t *>(frame.row(k, y));
        require(ZOR_scan_write(image, y, rows) == 0, "writing");
    }
    require(ZOR_close(image) == 0, "closing");
}

void read_ours(const std::string &path, int32_t bits, bool reversed) {
    ZOR_IMAGE *image = open_image(path, "r", bits);
    for (int32_t i = 0; i < Frame::height; ++i) {
        void **rows;
        const int32_t y = reversed ? Frame::height - 1 - i : i;
        require(ZOR_scan_read(image, y, &rows) == 0, "reading");
        benchmark::DoNotOptimize(rows[0]);
    }
    ZOR_close(image);
}

// Strips of packets ----------------------------------------------------------------------------

// How the library moves them: a line a call in its usual strips, such strips whole, or a plane whole.
enum class Mode { scanlines, strips, planes };
constexpr Mode all_modes[] = {Mode::scanlines, Mode::strips, Mode::planes};

void write_tiff(const std::string &path, const Frame &frame, Mode mode) {
    TIFF *tiff = TIFFOpen(path.c_str(), "w");
    require(tiff != nullptr, "opening a TIFF");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, Frame::width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, Frame::height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, frame.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, Frame::channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    const auto usual = TIFFDefaultStripSize(tiff, 0); // lines that make some 8 KiB
    const auto lines = mode == Mode::planes ? static_cast<uint32_t>(Frame::height) : usual;
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines);

    bool good = true;
    for (uint16_t k = 0; k < Frame::channels; ++k) {
        for (uint32_t y = 0; y < Frame::height; y += mode == Mode::scanlines ? 1 : lines) {
            auto *row = const_cast<uint8_t *>(frame.row(k, static_cast<int32_t>(y)));
            const auto left = static_cast<uint32_t>(Frame::height) - y;
            const auto bytes =
                static_cast<tmsize_t>((left < lines ? left : lines) * frame.row_bytes());
            good = good && (mode == Mode::scanlines
                                ? TIFFWriteScanline(tiff, row, y, k) == 1
                                : TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, y, k), row,
                                                        bytes) == bytes);
        }
    }
    TIFFClose(tiff);
    require(good, "writing a TIFF");
}

void read_tiff(const std::string &path, Mode mode, std::vector<uint8_t> *buffer) {
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    require(tiff != nullptr, "opening a TIFF");
    bool good = true;
    if (mode == Mode::scanlines) {
        buffer->resize(static_cast<size_t>(TIFFScanlineSize(tiff)));
        for (uint16_t k = 0; k < Frame::channels; ++k)
            for (uint32_t y = 0; y < Frame::height; ++y)
                good = good && TIFFReadScanline(tiff, buffer->data(), y, k) == 1;
    } else {
        buffer->resize(static_cast<size_t>(TIFFStripSize(tiff)));
        for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip)
            good = good && TIFFReadEncodedStrip(tiff, strip, buffer->data(), -1) > 0;
    }
    benchmark::DoNotOptimize(buffer->data());
    TIFFClose(tiff);
    require(good, "reading a TIFF");
}

// Blocks of halves -----------------------------------------------------------------------------

constexpr const char *exr_names[] = {"R", "G", "B", "A"};

void write_exr(const std::string &path, const Frame &frame) {
    Imf::Header header(Frame::width, Frame::height);
    header.compression() = Imf::RLE_COMPRESSION;
    Imf::FrameBuffer buffer;
    for (int32_t k = 0; k < Frame::channels; ++k) {
        header.channels().insert(exr_names[k], Imf::Channel(Imf::HALF));
        auto *base = reinterpret_cast<char *>(const_cast<uint8_t *>(frame.row(k, 0)));
        buffer.insert(exr_names[k], Imf::Slice(Imf::HALF, base, 2, frame.row_bytes()));
    }
    Imf::OutputFile file(path.c_str(), header, 0);
    file.setFrameBuffer(buffer);
    file.writePixels(Frame::height);
}

void read_exr(const std::string &path, std::vector<uint8_t> *buffer) {
    constexpr size_t row = Frame::width * 2;
    buffer->resize(row * Frame::channels);
    Imf::InputFile file(path.c_str(), 0);
    for (int32_t y = 0; y < Frame::height; ++y) { // one row at a time, like the others
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

double seconds_of(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The mode in which the work takes least.
Mode fastest(const std::function<void(Mode)> &work) {
    Mode best = Mode::scanlines;
    double least = 1e9;
    for (const Mode mode : all_modes) {
        work(mode);
        for (int i = 0; i < 5; ++i) {
            const double time = seconds_of([&] { work(mode); });
            if (time < least) {
                least = time;
                best = mode;
            }
        }
    }
    return best;
}

struct Case {
    Case(Picture picture, int32_t bits, const std::string &directory)
        : name(std::string(name_of(picture)) + ", " + std::to_string(bits) + " bits"),
          frame(make_frame(picture, bits)),
          path(directory + "/bench_" + name_of(picture) + std::to_string(bits)) {
        write_ours(path + ".mox", frame);
        write_mode = fastest([this](Mode mode) { write_tiff(path + ".tif", frame, mode); });
        for (const Mode mode : all_modes)
            write_tiff(tiff_path(mode), frame, mode);
        read_mode = fastest([this](Mode mode) { read_tiff(tiff_path(mode), mode, &buffer); });
        if (bits == 16)
            write_exr(path + ".exr", frame);
        copy.resize(frame.data.size());
    }
    ~Case() {
        for (const char *extension : {".mox", ".new.mox", ".tif", ".exr", ".new.exr"})
            std::remove((path + extension).c_str());
        for (const Mode mode : all_modes)
            std::remove(tiff_path(mode).c_str());
    }
    Case(const Case &) = delete;
    Case &operator=(const Case &) = delete;

    [[nodiscard]] std::string tiff_path(Mode mode) const {
        return path + "_" + std::to_string(static_cast<int>(mode)) + ".tif";
    }

    std::string name;
    Frame frame;
    std::string path;
    Mode write_mode;
    Mode read_mode;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> copy;
};

void add_pairs(bench::Pairs *pairs, Case &c) {
    const size_t bytes = c.frame.data.size();
    const int32_t bits = c.frame.bits;
    const auto write = [&c] { write_ours(c.path + ".new.mox", c.frame); };
    const auto read = [&c, bits] { read_ours(c.path + ".mox", bits, false); };
    const auto reversed = [&c, bits] { read_ours(c.path + ".mox", bits, true); };
    const auto copy = [&c] {
        std::memcpy(c.copy.data(), c.frame.data.data(), c.copy.size());
        benchmark::ClobberMemory();
    };
    pairs->add(c.name + ": write", "libtiff PackBits", bytes, write,
               [&c] { write_tiff(c.path + ".tif", c.frame, c.write_mode); });
    pairs->add(c.name + ": read", "libtiff PackBits", bytes, read,
               [&c] { read_tiff(c.tiff_path(c.read_mode), c.read_mode, &c.buffer); });
    if (bits == 16) {
        pairs->add(c.name + ": write", "OpenEXR RLE", bytes, write,
                   [&c] { write_exr(c.path + ".new.exr", c.frame); });
        pairs->add(c.name + ": read", "OpenEXR RLE", bytes, read,
                   [&c] { read_exr(c.path + ".exr", &c.buffer); });
    }
    pairs->add(c.name + ": write", "memcpy", bytes, write, copy);
    pairs->add(c.name + ": read", "memcpy", bytes, read, copy);
    pairs->add(c.name + ": read top to bottom", "bottom to top", bytes, reversed, read);
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
