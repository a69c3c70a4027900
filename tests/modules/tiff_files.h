// tiff_files.h - files as libtiff itself writes and sees them, and files put together by hand.
#pragma once

#include <algorithm>

#include <tiffio.h>

#include "modules/picture.h"

// How a page is laid out in a file.
struct Layout {
    int photometric = PHOTOMETRIC_MINISBLACK;
    int compression = COMPRESSION_NONE;
    int predictor = PREDICTOR_NONE;
    bool planar = false;
    int tile = 0; // width and height of tiles; 0 for strips of four lines
    std::function<void(TIFF *)> extras = {};
};

// Sets a field of a page beside those of its layout.
template<class... Values>
auto with(uint32_t tag, Values... values) {
    return [=](TIFF *tiff) { TIFFSetField(tiff, tag, values...); };
}

// A part of a picture as bytes: whole lines of it, samples of fewer bits than a byte's packed.
inline std::string block(Picture &picture, int x0, int row0, int width, int rows, int first,
                         int channels) {
    const int bits = picture.image.bits;
    std::string bytes;
    for (int row = row0; row < row0 + rows; ++row) {
        uint32_t packed = 0;
        int filled = 0;
        for (int i = 0; i < width * channels; ++i) {
            const int x = x0 + i / channels;
            const bool inside = x < picture.width && row < picture.height;
            const double sample =
                inside ? picture.at(first + i % channels, x, picture.height - 1 - row) : 0;
            double room = 0; // for any type
            if (bits >= 16)
                picture.touch(&room, 0, 0, [&](auto &native) {
                    native = static_cast<std::decay_t<decltype(native)>>(sample);
                    bytes.append(reinterpret_cast<const char *>(&native), sizeof native);
                });
            for (int bit = bits < 16 ? bits - 1 : -1; bit >= 0; --bit) {
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
    const std::vector<uint16_t> coverage(samples.matte.count, EXTRASAMPLE_UNASSALPHA);
    const int width = layout.tile > 0 ? layout.tile : samples.width;
    const int height = layout.tile > 0 ? layout.tile : 4;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, samples.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, samples.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples.image.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, samples.image.type == ZOR_C_INTEGER ? 1 : 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, samples.matte.count, coverage.data());
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression);
    if (layout.predictor != PREDICTOR_NONE)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, layout.predictor);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, layout.planar ? 2 : 1);
    TIFFSetField(tiff, layout.tile > 0 ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, height);
    if (layout.tile > 0)
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, width);
    if (layout.extras)
        layout.extras(tiff);

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
    TIFF *tiff = TIFFOpen(path.c_str(), mode);
    add_page(tiff, samples, layout);
    TIFFClose(tiff);
}

// What libtiff finds in a file.
struct Look {
    explicit Look(const std::string &path) : tiff(TIFFOpen(path.c_str(), "r")) {}
    ~Look() { TIFFClose(tiff); }
    Look(Look &&) = delete;

    [[nodiscard]] int number(uint32_t tag) const { // of 16 bits; -1 for none
        uint16_t value = 0;
        return TIFFGetField(tiff, tag, &value) != 0 ? value : -1;
    }
    [[nodiscard]] std::string text(uint32_t tag) const {
        const char *value = nullptr;
        return TIFFGetField(tiff, tag, &value) != 0 ? value : "(none)";
    }
    TIFF *tiff;
};

// Appends a number as files have it, the least significant byte first.
inline void put_number(std::string &bytes, uint32_t number, int size = 4) {
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(number >> 8 * i);
}

// A file put together by hand: a grey page of 8 bits in strips, its directory in front, its data
// behind. With several strips the data begins with their positions and then their sizes.
struct RawTiff {
    uint32_t width, height, rows_per_strip, compression, strip_bytes;
    std::string data = "";
    uint32_t next = 0; // page

    static constexpr uint32_t data_offset = 8 + 2 + 12 * 8 + 4;

    [[nodiscard]] std::string bytes() const {
        const uint32_t strips = (height - 1) / rows_per_strip + 1;
        const uint32_t sizes = strips > 1 ? data_offset + 4 * strips : strip_bytes;
        const uint32_t entries[][3] = {{TIFFTAG_IMAGEWIDTH, 1, width},
                                       {TIFFTAG_IMAGELENGTH, 1, height},
                                       {TIFFTAG_BITSPERSAMPLE, 1, 8},
                                       {TIFFTAG_COMPRESSION, 1, compression},
                                       {TIFFTAG_PHOTOMETRIC, 1, PHOTOMETRIC_MINISBLACK},
                                       {TIFFTAG_STRIPOFFSETS, strips, data_offset},
                                       {TIFFTAG_ROWSPERSTRIP, 1, rows_per_strip},
                                       {TIFFTAG_STRIPBYTECOUNTS, strips, sizes}};
        std::string all("II*\0", 4);
        put_number(all, 8);
        put_number(all, 8, 2);
        for (const auto &[tag, count, value] : entries) {
            put_number(all, tag, 2);
            put_number(all, 4, 2); // numbers of 32 bits
            put_number(all, count);
            put_number(all, value);
        }
        put_number(all, next);
        return all + data;
    }
};
