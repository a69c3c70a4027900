// make_seeds.cpp - writes the seeds of mox_read into the directory given.
#include <cstdio>
#include <dlfcn.h>
#include <string>
#include <vector>

#include "zor/driver.h"

namespace {

unsigned char next_module(void **module, const char **name) {
    static int delivered;
    *module = dlopen(nullptr, RTLD_NOW);
    *name = "mox";
    return delivered++ == 0 ? 1 : 0;
}

struct Image {
    int32_t width, height, margin;
    ZOR_CHANNELS image, matte, aux;
};

struct Seed {
    const char *name;
    std::vector<Image> images;
};

// Rows of runs and literals.
bool write_rows(ZOR_IMAGE *file, int32_t k) {
    const ZOR_IMAGE_DESC &desc = file->images[k];
    const auto width = static_cast<size_t>(desc.win_right + 1);
    for (int32_t y = 0; y <= desc.win_top; ++y) {
        std::vector<std::vector<uint8_t>> rows;
        std::vector<void *> pointers;
        const int32_t count = desc.image.count + desc.matte.count + desc.aux.count;
        for (int32_t i = 0; i < count; ++i) {
            auto &row = rows.emplace_back(width * 8);
            for (size_t x = 0; x < row.size(); ++x)
                row[x] = static_cast<uint8_t>(x / 10 % 3 == 0 ? static_cast<size_t>(y) : x * x);
        }
        for (auto &row : rows)
            pointers.push_back(row.data());
        if (file->scan(file->data[k], y, pointers.data()) != 0)
            return false;
    }
    return true;
}

bool write_seed(const std::string &directory, const Seed &seed) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.file_name =
        STR_save(std::string(directory).append("/").append(seed.name).append(".mox").c_str());
    info.complete_path = 1;
    info.machine = STR_save("machine"); // nothing in a seed tells where it was made
    info.user = STR_save("user");
    info.date = STR_save("{1000000000}");
    for (ZOR_CHANNELS none{}; const Image &image : seed.images) {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, image.width, image.height);
        desc->act_left = desc->act_bottom = image.margin;
        desc->image = image.image;
        desc->matte = image.matte.count > 0 ? image.matte : none;
        desc->aux = image.aux.count > 0 ? image.aux : none;
    }
    ZOR_IMAGE *file = ZOR_open(&info, "w");
    bool good = file != nullptr;
    for (int32_t k = 0; good && k < file->num_images; ++k)
        good = write_rows(file, k);
    ZOR_info_cleanup(&info, 1);
    return ZOR_close(file) == 0 && good;
}

} // namespace

int main(int argc, char **argv) {
    constexpr ZOR_CHANNELS bytes = {1, ZOR_C_INTEGER, 8};
    constexpr ZOR_CHANNELS words = {2, ZOR_C_INTEGER, 12};
    constexpr ZOR_CHANNELS longs = {1, ZOR_C_INTEGER, 32};
    constexpr ZOR_CHANNELS floats = {1, ZOR_C_FLOAT, 32};
    constexpr ZOR_CHANNELS doubles = {1, ZOR_C_DOUBLE, 64};
    constexpr ZOR_CHANNELS none = {};
    const Seed seeds[] = {
        {"bytes", {{40, 6, 0, {3, ZOR_C_INTEGER, 8}, bytes, none}}},
        {"words_margins", {{30, 5, 3, words, none, none}}},
        {"longs", {{20, 3, 0, longs, longs, none}}},
        {"floats", {{12, 3, 1, bytes, none, floats}}},
        {"doubles", {{6, 2, 0, doubles, none, doubles}}},
        {"chain",
         {{20, 2, 0, bytes, none, none},
          {8, 3, 1, words, none, floats},
          {4, 1, 0, bytes, bytes, none}}},
        {"wide", {{2000, 2, 0, bytes, none, none}}},
    };
    if (argc != 2 || ZOR_init(nullptr, next_module) != 0)
        return 2;
    for (const Seed &seed : seeds)
        if (!write_seed(argv[1], seed)) {
            std::fprintf(stderr, "cannot write seed %s\n", seed.name);
            return 1;
        }
    ZOR_exit();
    return 0;
}
