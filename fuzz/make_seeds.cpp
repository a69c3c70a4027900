// make_seeds.cpp - writes seeds of the targets that read files, of each format what it can hold:
//   make_seeds <directory of the modules> <directory of the corpora>
#include <cstdio>
#include <dlfcn.h>
#include <iterator>
#include <string>
#include <vector>

#include "zor/driver.h"

namespace {

const char *const keys[] = {"mox", "pnm", "png"};
std::string modules; // the directory they are in

unsigned char next_module(void **module, const char **name) {
    static size_t next;
    if (next == std::size(keys))
        return 0;
    *name = keys[next++];
    *module = dlopen((modules + "/" + *name + ".so").c_str(), RTLD_NOW);
    return 1;
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
    const bool rising = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
    for (int32_t n = 0; n <= desc.win_top; ++n) {
        const int32_t y = rising ? n : desc.win_top - n;
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

// Whether the format takes it; what it takes it must write.
bool write_seed(const std::string &directory, const char *key, const Seed &seed) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    const std::string format = key;
    info.file_name =
        STR_save((directory + "/" + format + "_read/" + seed.name + "." + format).c_str());
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
    ZOR_info_cleanup(&info, 1);
    if (file == nullptr)
        return zor__err == ZOR_E_UNSUPPORTED;
    bool good = true;
    for (int32_t k = 0; good && k < file->num_images; ++k)
        good = write_rows(file, k);
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
        {"grey", {{13, 4, 0, bytes, none, none}}},
        {"bits", {{21, 3, 0, {1, ZOR_C_INTEGER, 1}, none, none}}},
        {"deep", {{9, 3, 0, {3, ZOR_C_INTEGER, 16}, {1, ZOR_C_INTEGER, 16}, none}}},
        {"float_rgb", {{5, 3, 0, {3, ZOR_C_FLOAT, 32}, none, none}}},
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
    if (argc != 3)
        return 2;
    modules = argv[1];
    if (ZOR_init(nullptr, next_module) != 0)
        return 2;
    for (const char *key : keys)
        for (const Seed &seed : seeds)
            if (!write_seed(argv[2], key, seed)) {
                std::fprintf(stderr, "cannot write seed %s of %s\n", seed.name, key);
                return 1;
            }
    ZOR_exit();
    return 0;
}
