// png_bench.cpp - PNG files through the library's module beside the codec that it uses, called
// directly on rows that are interleaved already.
//
//     bench_png [DIRECTORY]     for the files; /dev/shm without it
#include <benchmark/benchmark.h>
#include <png.h>

#include <cstdio>
#include <string>
#include <vector>

#include "frames.h"
#include "image_file.h"
#include "loader/loader.h"
#include "paired.h"
#include "scratch.h"

namespace {

using bench::Frame;
using bench::Picture;
using bench::require;

// A frame as the peer takes it: pixel by pixel, the top line first.
std::vector<uint8_t> interleave(const Frame &frame) {
    std::vector<uint8_t> pixels;
    pixels.reserve(frame.data.size());
    for (int32_t y = frame.height - 1; y >= 0; --y)
        for (size_t x = 0; x < frame.row_bytes(); ++x)
            for (int32_t k = 0; k < Frame::channels; ++k)
                pixels.push_back(frame.row(k, y)[x]);
    return pixels;
}

void write_png(const std::string &path, const Frame &frame, std::vector<uint8_t> &pixels) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    require(file != nullptr, "opening a PNG");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(frame.width),
                 static_cast<png_uint_32>(frame.height), frame.bits, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    png_write_info(png, info);
    const size_t row = frame.row_bytes() * Frame::channels;
    for (size_t at = 0; at < pixels.size(); at += row)
        png_write_row(png, &pixels[at]);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    require(std::fclose(file) == 0, "writing a PNG");
}

void read_png(const std::string &path, std::vector<uint8_t> &row) {
    std::FILE *file = std::fopen(path.c_str(), "rb");
    require(file != nullptr, "opening a PNG");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    row.resize(png_get_rowbytes(png, info));
    for (png_uint_32 y = png_get_image_height(png, info); y > 0; --y) {
        png_read_row(png, row.data(), nullptr);
        benchmark::DoNotOptimize(row.data());
    }
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
}

void measure(bench::Pairs &pairs, Picture picture, const bench::Size &size,
             const bench::Scratch &scratch) {
    const Frame frame = make_frame(picture, 8, size);
    std::vector<uint8_t> pixels = interleave(frame);
    std::vector<uint8_t> row;
    const std::string ours = scratch.file("ours.png");
    const std::string theirs = scratch.file("theirs.png");
    const std::string name = std::string("png, ") + name_of(picture);
    pairs.set_size(name_of(size));
    pairs.add(
        name + ": write", "libpng", frame.data.size(),
        [&] { bench::write_lines(ours, frame, "png", true); },
        [&] { write_png(theirs, frame, pixels); });
    pairs.add(
        name + ": read", "libpng", frame.data.size(),
        [&] {
            bench::read_lines(bench::open_image(ours, "r", frame, "png"), frame, true,
                              [](auto...) {});
        },
        [&] { read_png(theirs, row); });
    pairs.run(5);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const bench::Scratch scratch(argc, argv);
    zor::Loader library({ZOR_BENCH_MODULES});
    require(library.start() == 0, "starting");
    bench::Pairs pairs;
    for (const Picture picture : {Picture::rendered, Picture::photograph})
        for (const bench::Size &size : bench::all_sizes) // a quarter of each: packing takes long
            measure(pairs, picture, {size.width / 2, size.height / 2}, scratch);
    return 0;
}
