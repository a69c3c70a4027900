// picture.h - pictures as numbers, moved through the library as whole files.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "core/library.h"
#include "gtest/gtest.h"

// A file for a scope; without bytes only its name.
struct TempFile {
    explicit TempFile(const std::string &extension)
        : path(testing::TempDir() + "module_test_" + std::to_string(++count) + extension) {
        std::remove(path.c_str());
    }
    TempFile(const std::string &extension, const std::string &bytes) : TempFile(extension) {
        std::ofstream(path, std::ios::binary).write(bytes.data(), std::ssize(bytes));
    }
    ~TempFile() { std::remove(path.c_str()); }
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;

    [[nodiscard]] bool exists() const { return std::ifstream(path).good(); }
    [[nodiscard]] std::string bytes() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::string path;
    inline static int count = 0;
};

constexpr ZOR_CHANNELS integers(int count, int bits) { return {count, ZOR_C_INTEGER, bits}; }
constexpr ZOR_CHANNELS floats(int count) { return {count, ZOR_C_FLOAT, 32}; }
constexpr ZOR_CHANNELS doubles(int count) { return {count, ZOR_C_DOUBLE, 64}; }

struct Picture {
    int width = 0, height = 0;
    ZOR_CHANNELS image = {}, matte = {}, aux = {};
    std::vector<double> samples = {}; // channel by channel, each top row first

    [[nodiscard]] int channels() const { return image.count + matte.count + aux.count; }
    [[nodiscard]] const ZOR_CHANNELS &group(int k) const {
        return k < image.count ? image : k < image.count + matte.count ? matte : aux;
    }
    [[nodiscard]] double &at(int k, int x, int y) { // y counts upward
        samples.resize(static_cast<size_t>(channels()) * width * height);
        return samples[(static_cast<size_t>(k) * height + (height - 1 - y)) * width + x];
    }
    // The sample's place in a row of the library's.
    template<class Use>
    void touch(void *row, int k, int x, Use use) const {
        if (group(k).type == ZOR_C_FLOAT)
            use(static_cast<float *>(row)[x]);
        else if (group(k).type == ZOR_C_DOUBLE)
            use(static_cast<double *>(row)[x]);
        else if (group(k).bits > 16)
            use(static_cast<uint32_t *>(row)[x]);
        else if (group(k).bits > 8)
            use(static_cast<uint16_t *>(row)[x]);
        else
            use(static_cast<uint8_t *>(row)[x]);
    }
};

inline void expect_equal(const Picture &picture, const Picture &expected) {
    const auto layout = [](const Picture &p) {
        std::vector<int> numbers = {p.width, p.height};
        for (const ZOR_CHANNELS &group : {p.image, p.matte, p.aux})
            for (const int number : {group.type, group.bits, group.count})
                numbers.push_back(group.count > 0 ? number : 0);
        return numbers;
    };
    EXPECT_EQ(layout(picture), layout(expected));
    EXPECT_EQ(picture.samples, expected.samples);
}

// Numbers without a pattern, the smallest and the largest among them.
inline Picture noise(int width, int height, ZOR_CHANNELS image, ZOR_CHANNELS matte = {}) {
    Picture picture{width, height, image, matte};
    uint32_t seed = 12345;
    for (int k = 0; k < picture.channels(); ++k)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const bool real = picture.group(k).type != ZOR_C_INTEGER;
                const double largest = real ? 1000 : std::ldexp(1.0, picture.group(k).bits) - 1;
                seed = seed * 1664525 + 1013904223;
                const double random = std::floor(std::ldexp(seed >> 8, -24) * (largest + 1));
                const double value = x == 0 ? 0 : x == 1 ? largest : random;
                picture.at(k, x, y) = real ? value / 8.0 - 3.0 : value;
            }
    return picture;
}

using Fill = std::function<void(ZOR_INFO &)>;

inline ZOR_IMAGE *open_for_writing(const Picture &picture, const std::string &path,
                                   const Fill &fill = {}) {
    Info info(path.c_str());
    info.record.complete_path = 1;
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, picture.width, picture.height);
    desc->image = picture.image;
    desc->matte = picture.matte;
    if (fill)
        fill(info.record);
    return ZOR_open(&info.record, "w");
}

inline int write_line(ZOR_IMAGE *image, Picture picture, int y) {
    std::vector<std::vector<double>> memory(picture.channels()); // room enough for any type
    std::vector<void *> rows;
    for (int k = 0; k < picture.channels(); ++k) {
        memory[k].resize(picture.width);
        rows.push_back(memory[k].data());
        for (int x = 0; x < picture.width; ++x)
            picture.touch(rows[k], k, x, [&](auto &sample) {
                sample = static_cast<std::decay_t<decltype(sample)>>(picture.at(k, x, y));
            });
    }
    return ZOR_scan_write(image, y, rows.data());
}

// The i-th line in file order.
inline int line(const ZOR_IMAGE *image, int i) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    return (desc->orientation & ZOR_ORIENTATION_RISING) != 0 ? i : desc->win_top - i;
}

// Writes a whole file. Returns 0 or the status of what failed first.
inline int write_picture(const Picture &picture, const std::string &path, const Fill &fill = {}) {
    ZOR_IMAGE *image = open_for_writing(picture, path, fill);
    int status = image == nullptr ? zor__err : 0;
    for (int i = 0; i < picture.height && image != nullptr && status == 0; ++i)
        status = write_line(image, picture, line(image, i));
    const int closed = image != nullptr ? ZOR_close(image) : status;
    return status == 0 ? closed : status;
}

inline ZOR_IMAGE *open_for_reading(const std::string &path, const char *key = nullptr) {
    Info info(path.c_str(), key);
    info.record.complete_path = 1;
    return ZOR_open(&info.record, "r");
}

// Reads a whole file, its lines in file order or, shuffled, in another. Returns 0 or the status of
// what failed first.
inline int read_picture(const std::string &path, const char *key, Picture *picture,
                        bool shuffled = false) {
    ZOR_IMAGE *image = open_for_reading(path, key);
    if (image == nullptr)
        return zor__err;
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    *picture = {desc->win_right + 1, desc->win_top + 1, desc->image, desc->matte, desc->aux};
    const int height = picture->height;
    int status = 0;
    for (int i = 0; i < height && status == 0; ++i) {
        const int y = line(image, shuffled ? (i + height / 2) % height : i);
        void **rows = nullptr;
        status = ZOR_scan_read(image, y, &rows);
        for (int k = 0; k < picture->channels() && status == 0; ++k)
            for (int x = 0; x < picture->width; ++x)
                picture->touch(rows[k], k, x, [&](auto sample) { picture->at(k, x, y) = sample; });
    }
    ZOR_close(image);
    return status;
}
