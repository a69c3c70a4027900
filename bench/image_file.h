// image_file.h - frames as files that the library writes and reads, MOX unless another format is
// named, for benchmarks. What fails ends the program.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "frames.h"
#include "zor/str.h"
#include "zor/zor.h"

namespace bench {

inline void require(bool good, const char *what) {
    if (good)
        return;
    std::fprintf(stderr, "bench: %s failed\n", what);
    std::exit(1);
}

// The image of a key's format in a file; one to be written is like the frame.
inline ZOR_IMAGE *open_image(const std::string &path, const char *mode, const Frame &frame,
                             const char *key = "mox") {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.key = STR_save(key);
    info.file_name = STR_save(path.c_str());
    info.complete_path = 1;
    if (*mode == 'w') {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, frame.width, frame.height);
        const int32_t type = frame.bits == 32 ? ZOR_C_FLOAT : ZOR_C_INTEGER;
        desc->image.type = type;
        desc->image.bits = frame.bits;
        desc->matte = {1, type, frame.bits};
    }
    ZOR_IMAGE *image = ZOR_open(&info, mode);
    ZOR_info_cleanup(&info, 1);
    require(image != nullptr, "opening");
    return image;
}

inline void write_lines(const std::string &path, const Frame &frame, const char *key = "mox",
                        bool downwards = false) {
    ZOR_IMAGE *image = open_image(path, "w", frame, key);
    for (int32_t i = 0; i < frame.height; ++i) {
        void *rows[Frame::channels];
        const int32_t y = downwards ? frame.height - 1 - i : i;
        for (int32_t k = 0; k < Frame::channels; ++k)
            rows[k] = const_cast<uint8_t *>(frame.row(k, y));
        require(ZOR_scan_write(image, y, rows) == 0, "writing");
    }
    require(ZOR_close(image) == 0, "closing");
}

// Calls use(y, rows) for each line.
template<class Use>
void read_lines(ZOR_IMAGE *image, const Frame &frame, bool downwards, Use use) {
    for (int32_t i = 0; i < frame.height; ++i) {
        void **rows;
        const int32_t y = downwards ? frame.height - 1 - i : i;
        require(ZOR_scan_read(image, y, &rows) == 0, "reading");
        benchmark::DoNotOptimize(rows[0]);
        use(y, rows);
    }
    require(ZOR_close(image) == 0, "closing");
}

// A whole frame in one call, written from the frame or read into it, its samples as planes or taken
// to be interleaved.
inline void move_frame(const std::string &path, const char *mode, const Frame &frame,
                       int32_t threads, bool interleaved) {
    ZOR_IMAGE *image = open_image(path, mode, frame);
    ZOR_PLANE planes[Frame::channels] = {};
    const size_t size = frame.sample_size();
    for (int32_t k = 0; k < Frame::channels; ++k) {
        auto *plane = const_cast<uint8_t *>(frame.row(interleaved ? 0 : k, 0));
        if (interleaved)
            planes[k] = {plane + static_cast<size_t>(k) * size,
                         static_cast<ZOR_WORD>(Frame::channels * size), 0};
        else
            planes[k] = {plane, 0, 0};
    }
    ZOR_RASTER raster = {0,      0, frame.width - 1, 0, frame.height - 1, threads, Frame::channels,
                         planes, 0};
    const int status =
        *mode == 'r' ? ZOR_raster_read(image, &raster) : ZOR_raster_write(image, &raster);
    require(status == 0, "moving a frame");
    require(ZOR_close(image) == 0, "closing");
}

} // namespace bench
