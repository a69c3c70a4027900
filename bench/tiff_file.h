// tiff_file.h - frames as TIFF files, channel by channel, for benchmarks. What fails ends the program.
#pragma once

#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "frames.h"
#include "image_file.h"

namespace bench {

// How the library moves samples: a line a call in its usual strips, such strips whole, or a plane
// whole.
enum class TiffMode { scanlines, strips, planes };
constexpr TiffMode tiff_modes[] = {TiffMode::scanlines, TiffMode::strips, TiffMode::planes};

inline void write_tiff(const std::string &path, const Frame &frame, TiffMode mode,
                       int compression) {
    TIFF *tiff = TIFFOpen(path.c_str(), "w");
    require(tiff != nullptr, "opening a TIFF");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, frame.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, frame.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, frame.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                 frame.bits == 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, Frame::channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    const auto height = static_cast<uint32_t>(frame.height);
    const auto usual = TIFFDefaultStripSize(tiff, 0); // lines that make some 8 KiB
    const auto lines = mode == TiffMode::planes ? height : usual;
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines);

    bool good = true;
    for (uint16_t k = 0; k < Frame::channels; ++k) {
        for (uint32_t y = 0; y < height; y += mode == TiffMode::scanlines ? 1 : lines) {
            auto *row = const_cast<uint8_t *>(frame.row(k, static_cast<int32_t>(y)));
            const auto left = height - y;
            const auto bytes =
                static_cast<tmsize_t>((left < lines ? left : lines) * frame.row_bytes());
            good = good && (mode == TiffMode::scanlines
                                ? TIFFWriteScanline(tiff, row, y, k) == 1
                                : TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, y, k), row,
                                                        bytes) == bytes);
        }
    }
    TIFFClose(tiff);
    require(good, "writing a TIFF");
}

// Calls use(samples, bytes) for what the buffer holds after each call to the library: one line or
// more of a channel, in the order of the file.
template<class Use>
void read_tiff(const std::string &path, TiffMode mode, std::vector<uint8_t> *buffer, Use use) {
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    require(tiff != nullptr, "opening a TIFF");
    if (mode == TiffMode::scanlines) {
        uint32_t height = 0;
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        buffer->resize(static_cast<size_t>(TIFFScanlineSize(tiff)));
        for (uint16_t k = 0; k < Frame::channels; ++k)
            for (uint32_t y = 0; y < height; ++y) {
                require(TIFFReadScanline(tiff, buffer->data(), y, k) == 1, "reading a TIFF");
                use(buffer->data(), buffer->size());
            }
    } else {
        buffer->resize(static_cast<size_t>(TIFFStripSize(tiff)));
        for (uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip) {
            const tmsize_t bytes = TIFFReadEncodedStrip(tiff, strip, buffer->data(), -1);
            require(bytes > 0, "reading a TIFF");
            use(buffer->data(), static_cast<size_t>(bytes));
        }
    }
    TIFFClose(tiff);
}

// The mode in which the work takes least.
inline TiffMode fastest_mode(const std::function<void(TiffMode)> &work) {
    TiffMode best = TiffMode::scanlines;
    auto least = std::chrono::steady_clock::duration::max();
    for (const TiffMode mode : tiff_modes) {
        work(mode);
        for (int i = 0; i < 5; ++i) {
            const auto start = std::chrono::steady_clock::now();
            work(mode);
            const auto time = std::chrono::steady_clock::now() - start;
            if (time < least) {
                least = time;
                best = mode;
            }
        }
    }
    return best;
}

// A frame written and read in whichever mode is fastest for it. Its files go with the object; the
// frame must live as long.
class TiffPeer {
public:
    // path: the beginning of the files' names
    TiffPeer(const Frame &frame, std::string path, int compression = COMPRESSION_PACKBITS)
        : frame_(frame), path_(std::move(path)), compression_(compression) {
        for (const TiffMode mode : tiff_modes)
            write_tiff(path_of(mode), frame_, mode, compression_);
        read_mode_ = fastest_mode([this](TiffMode mode) { read_in(mode, [](auto...) {}); });
        write_mode_ = fastest_mode(
            [this](TiffMode mode) { write_tiff(new_path(), frame_, mode, compression_); });
        for (const TiffMode mode : tiff_modes)
            if (mode != read_mode_)
                std::remove(path_of(mode).c_str());
    }
    ~TiffPeer() {
        std::remove(new_path().c_str());
        std::remove(path_of(read_mode_).c_str());
    }
    TiffPeer(const TiffPeer &) = delete;
    TiffPeer &operator=(const TiffPeer &) = delete;

    void write() const { write_tiff(new_path(), frame_, write_mode_, compression_); }

    // use as in read_tiff
    template<class Use>
    void read(Use use) {
        read_in(read_mode_, use);
    }
    void read() {
        read([](auto...) {});
    }

private:
    template<class Use>
    void read_in(TiffMode mode, Use use) {
        read_tiff(path_of(mode), mode, &buffer_, [&use](const uint8_t *samples, size_t bytes) {
            benchmark::DoNotOptimize(samples);
            use(samples, bytes);
        });
    }
    [[nodiscard]] std::string path_of(TiffMode mode) const {
        return path_ + "_" + std::to_string(static_cast<int>(mode)) + ".tif";
    }
    [[nodiscard]] std::string new_path() const { return path_ + "_new.tif"; }

    const Frame &frame_;
    std::string path_;
    int compression_;
    TiffMode read_mode_ = TiffMode::scanlines;
    TiffMode write_mode_ = TiffMode::scanlines;
    std::vector<uint8_t> buffer_;
};

} // namespace bench
