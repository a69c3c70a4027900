// tiff_files.h - files as libtiff itself writes and sees them, and files put together by hand.
#pragma once

#include <algorithm>
#include <cstring>

#include <tiffio.h>

#include "modules/picture.h"

// How a page is laid out in a file.
struct Layout {
    int photometric = PHOTOMETRIC_MINISBLACK;
    int compression = COMPRESSION_NONE;
    int predictor = PREDICTOR_NONE;
    bool planar = false;
    int tile = 0;           // width and height of tiles; 0 for strips
    int rows_per_strip = 4; // the last strip is a short one as a rule
    std::function<void(TIFF *)> extras = {};
};

// A part of a picture as bytes: whole lines of it, samples of fewer bits than a byte's packed.
inline std::string block(Picture &picture, int x0, int row0, int width, int rows, int first,
                         int channels) {
    const int bits = picture.image.bits;
    const bool real = picture.image.type != ZOR_C_INTEGER;
    std::string bytes;
    for (int row = row0; row < row0 + rows; ++row) {
        uint32_t packed = 0;
        int filled = 0;
        for (int i = 0; i < width * channels; ++i) {
            const int x = x0 + i / channels;
            const bool inside = x < picture.width && row < picture.height;
            const double sample =
                inside ? picture.at(first + i % channels, x, picture.height - 1 - row) : 0;
            const auto put = [&](auto value) {
                bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
            };
            if (bits == 64)
                put(sample);
            else if (bits == 32)
                real ? put(static_cast<float>(sample)) : put(static_cast<uint32_t>(sample));
            else if (bits == 16)
                put(static_cast<uint16_t>(sample));
            else
                for (int bit = bits - 1; bit >= 0; --bit) {
                    packed = packed << 1 | (static_cast<uint32_t>(sample) >> bit & 1);
                    if (++filled % 8 == 0)
                        bytes += static_cast<char>(packed);
                }
        }
        if (filled % 8 != 0)
            bytes += static_cast<char>(packed << (8 - filled % 8));
    }
    return bytes;
}

// Appends a page of samples, which are numbers of the file's width.
inline void add_page(TIFF *tiff, Picture samples, const Layout &layout) {
    const int channels = samples.channels();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, samples.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, samples.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples.image.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                 samples.image.type == ZOR_C_INTEGER ? SAMPLEFORMAT_UINT : SAMPLEFORMAT_IEEEFP);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression);
    if (layout.predictor != PREDICTOR_NONE)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, layout.predictor);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, layout.planar ? 2 : 1);
    if (layout.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, layout.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, layout.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, layout.rows_per_strip);
    }
    const std::vector<uint16_t> coverage(samples.matte.count, EXTRASAMPLE_UNASSALPHA);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, samples.matte.count, coverage.data());
    if (layout.extras)
        layout.extras(tiff);

    const int width = layout.tile > 0 ? layout.tile : samples.width;
    const int height = layout.tile > 0 ? layout.tile : layout.rows_per_strip;
    const int together = layout.planar ? 1 : channels;
    uint32_t number = 0;
    for (int k = 0; k < channels; k += together)
        for (int row = 0; row < samples.height; row += height)
            for (int x = 0; x < samples.width; x += width) {
                const int rows = layout.tile > 0 ? height : std::min(height, samples.height - row);
                std::string bytes = block(samples, x, row, width, rows, k, together);
                const auto write = layout.tile > 0 ? TIFFWriteEncodedTile : TIFFWriteEncodedStrip;
                ASSERT_GE(write(tiff, number++, bytes.data(), std::ssize(bytes)), 0);
            }
    ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
}

// A file of one page. Modes: "wl" and "wb" for the byte orders, with "8" for positions of 64 bits.
inline void make_tiff(const std::string &path, const Picture &samples, const Layout &layout,
                      const char *mode = "wl") {
    TIFFSetWarningHandler(nullptr); // old schemes
    TIFF *tiff = TIFFOpen(path.c_str(), mode);
    ASSERT_NE(tiff, nullptr);
    add_page(tiff, samples, layout);
    TIFFClose(tiff);
}

// What libtiff finds in a file, page by page.
struct Look {
    explicit Look(const std::string &path) : tiff(TIFFOpen(path.c_str(), "r")) {
        EXPECT_NE(tiff, nullptr);
    }
    ~Look() { TIFFClose(tiff); }
    Look(const Look &) = delete;
    Look &operator=(const Look &) = delete;

    [[nodiscard]] int number(uint32_t tag) const { // of 16 bits; -1 for none
        uint16_t value = 0;
        return TIFFGetField(tiff, tag, &value) != 0 ? value : -1;
    }
    [[nodiscard]] std::string text(uint32_t tag) const {
        const char *value = nullptr;
        return TIFFGetField(tiff, tag, &value) != 0 ? value : "(none)";
    }
    [[nodiscard]] std::vector<int> extra_samples() const {
        uint16_t count = 0;
        uint16_t *kinds = nullptr;
        TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
        return {kinds, kinds + count};
    }
    TIFF *tiff;
};

// A file put together by hand: a directory in front, data behind it.
struct RawTiff {
    struct Entry {
        uint16_t tag;
        uint32_t value;
        uint16_t type = 4; // 32-bit numbers
        uint32_t count = 1;
    };
    std::vector<Entry> entries;
    std::string data = "";
    uint32_t next = 0; // directory

    [[nodiscard]] uint32_t data_offset() const {
        return static_cast<uint32_t>(8 + 2 + 12 * entries.size() + 4);
    }
    [[nodiscard]] std::string bytes() const {
        std::string all = "II";
        const auto put = [&all](uint32_t number, int size) {
            for (int i = 0; i < size; ++i)
                all += static_cast<char>(number >> 8 * i);
        };
        put(42, 2);
        put(8, 4);
        put(static_cast<uint32_t>(entries.size()), 2);
        for (const Entry &entry : entries) {
            put(entry.tag, 2);
            put(entry.type, 2);
            put(entry.count, 4);
            put(entry.value, 4);
        }
        put(next, 4);
        return all + data;
    }
    // A grey picture of 8 bits in strips of the given height, the only one at the given place.
    static RawTiff grey(uint32_t width, uint32_t height, uint32_t rows_per_strip, uint32_t scheme,
                        uint32_t strip_bytes) {
        RawTiff file{{{TIFFTAG_IMAGEWIDTH, width},
                      {TIFFTAG_IMAGELENGTH, height},
                      {TIFFTAG_BITSPERSAMPLE, 8, 3},
                      {TIFFTAG_COMPRESSION, scheme, 3},
                      {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK, 3},
                      {TIFFTAG_STRIPOFFSETS, 0},
                      {TIFFTAG_SAMPLESPERPIXEL, 1, 3},
                      {TIFFTAG_ROWSPERSTRIP, rows_per_strip},
                      {TIFFTAG_STRIPBYTECOUNTS, strip_bytes}}};
        file.entry(TIFFTAG_STRIPOFFSETS).value = file.data_offset();
        return file;
    }
    Entry &entry(uint16_t tag) {
        return *std::find_if(entries.begin(), entries.end(),
                             [tag](const Entry &entry) { return entry.tag == tag; });
    }
};
