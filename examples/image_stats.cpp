// image_stats.cpp - reads an image of any format and prints, for each of its channels, the smallest
// and the largest value and the mean.
//
//     image_stats FILE [KEY]
//
// KEY is the file's format, such as "png"; without it the extension tells, and where that is not
// known the formats are asked which of them recognises the file.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <zor/str.h>
#include <zor/zor.h>

#include "loader/loader.h"

namespace {

struct Stats {
    double min = 0;
    double max = 0;
    double sum = 0;
    int64_t count = 0;

    void add(double value) {
        min = count == 0 ? value : std::min(min, value);
        max = count == 0 ? value : std::max(max, value);
        sum += value;
        ++count;
    }
};

template<class Sample>
void add_row(Stats &stats, const void *row, int32_t width) {
    const auto *samples = static_cast<const Sample *>(row);
    for (int32_t x = 0; x < width; ++x)
        stats.add(static_cast<double>(samples[x]));
}

// How samples lie in memory follows from the type and the bits of their channel group.
void add_row(Stats &stats, const ZOR_CHANNELS &group, const void *row, int32_t width) {
    if (group.type == ZOR_C_FLOAT)
        return add_row<float>(stats, row, width);
    if (group.type == ZOR_C_DOUBLE)
        return add_row<double>(stats, row, width);
    switch (ZOR_sample_size(group.type, group.bits)) {
    case 1:
        return add_row<uint8_t>(stats, row, width);
    case 2:
        return add_row<uint16_t>(stats, row, width);
    default:
        return add_row<uint32_t>(stats, row, width);
    }
}

// Reads all rows of the first image. Returns false when one could not be read.
bool read_image(ZOR_IMAGE *image, std::vector<Stats> &stats) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    const int32_t width = desc->win_right - desc->win_left + 1;
    const int32_t height = desc->win_top - desc->win_bottom + 1;
    const bool rising = (desc->orientation & ZOR_ORIENTATION_RISING) != 0;

    // Going along with the file's order suits every format.
    for (int32_t step = 0; step < height; ++step) {
        void **rows;
        if (ZOR_scan_read(image, rising ? desc->win_bottom + step : desc->win_top - step, &rows) !=
            0)
            return false;
        size_t channel = 0;
        for (const ZOR_CHANNELS &group : {desc->image, desc->matte, desc->aux}) {
            for (int32_t k = 0; k < group.count; ++k, ++channel)
                add_row(stats[channel], group, rows[channel], width);
        }
    }
    return true;
}

void print(const ZOR_IMAGE *image, const std::vector<Stats> &stats) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    std::printf("%s, %d x %d pixels\n", ZOR_image_format(image)->name,
                desc->win_right - desc->win_left + 1, desc->win_top - desc->win_bottom + 1);
    std::printf("%-8s  %12s  %12s  %12s\n", "channel", "minimum", "maximum", "mean");

    const struct {
        const char *name;
        int32_t count;
    } groups[] = {
        {"colour", desc->image.count}, {"matte", desc->matte.count}, {"aux", desc->aux.count}};
    auto values = stats.begin();
    for (const auto &[name, count] : groups) {
        for (int32_t k = 0; k < count; ++k, ++values) {
            const std::string label = std::string(name) + " " + std::to_string(k + 1);
            std::printf("%-8s  %12.6g  %12.6g  %12.6g\n", label.c_str(), values->min, values->max,
                        values->sum / static_cast<double>(values->count));
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: image_stats FILE [KEY]\n");
        return 2;
    }
    zor::Loader library(zor::module_directories());
    if (library.start() != 0)
        return 1;

    ZOR_INFO *info = ZOR_info_alloc();
    if (info == nullptr)
        return 1;
    info->file_name = STR_save(argv[1]);
    info->complete_path = 1; // the name is used as it stands
    const char *extension = std::strrchr(argv[1], '.');
    unsigned char tried;
    if (argc == 3)
        info->key = STR_save(argv[2]);
    else if (extension == nullptr || ZOR_find(extension) == nullptr)
        info->key = STR_save(ZOR_get_file_type(argv[1], nullptr, &tried));

    ZOR_IMAGE *image = ZOR_open(info, "r");
    ZOR_info_free(info, 1);
    if (image == nullptr)
        return 1; // the library has said why

    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    const int32_t channels = desc->image.count + desc->matte.count + desc->aux.count;
    std::vector<Stats> stats(static_cast<size_t>(channels));
    const bool good = read_image(image, stats);
    if (good)
        print(image, stats);
    ZOR_close(image);
    return good ? 0 : 1;
}
