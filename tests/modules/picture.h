// picture.h - pictures as numbers, moved through the library as whole files.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "core/library.h"
#include "support/channels.h"
#include "support/files.h"
#include "zor/driver.h"
#include "gtest/gtest.h"

// A file of its own; without bytes only its name.
struct TempFile {
    explicit TempFile(const std::string &extension)
        : path((directory.path / (std::to_string(++count) + extension)).string()) {}
    TempFile(const std::string &extension, const std::string &bytes) : TempFile(extension) {
        write_file(path, bytes);
    }
    [[nodiscard]] bool exists() const { return std::filesystem::exists(path); }
    [[nodiscard]] std::string bytes() const { return read_file(path); }

    const std::string path;
    inline static const TempDir directory;
    inline static int count = 0;
};

inline bool operator==(const ZOR_CHANNELS &a, const ZOR_CHANNELS &b) {
    return a.count == b.count && (a.count == 0 || (a.type == b.type && a.bits == b.bits));
}

struct Picture {
    bool operator==(const Picture &) const = default;

    int width = 0, height = 0;
    ZOR_CHANNELS image = {}, matte = {}, aux = {};
    std::vector<double> samples = {}; // channel by channel, each top row first

    [[nodiscard]] int channels() const { return count_rows(*this); }
    [[nodiscard]] const ZOR_CHANNELS &group(int k) const { return group_of_row(*this, k); }
    [[nodiscard]] double &at(int k, int x, int y) { // y counts upward
        samples.resize(static_cast<size_t>(channels()) * width * height);
        return samples[(static_cast<size_t>(k) * height + (height - 1 - y)) * width + x];
    }
    // Calls a function with every sample's channel, column and line.
    template<class Use>
    void each(Use use) const {
        for (int k = 0; k < channels(); ++k)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    use(k, x, y);
    }
    // The sample's place in a row of the library's.
    template<class Use>
    void touch(void *row, int k, int x, Use use) const {
        with_sample(group(k), [&]<class Sample>(Sample) { use(static_cast<Sample *>(row)[x]); });
    }
};

// Numbers without a pattern, the smallest and the largest among them.
inline Picture noise(int width, int height, ZOR_CHANNELS image, ZOR_CHANNELS matte = {}) {
    Picture picture{width, height, image, matte};
    uint32_t seed = 12345;
    picture.each([&](int k, int x, int y) {
        const bool real = picture.group(k).type != ZOR_C_INTEGER;
        const double largest = real ? 1000 : std::ldexp(1.0, picture.group(k).bits) - 1;
        seed = seed * 1664525 + 1013904223;
        const double random = std::floor(std::ldexp(seed >> 8, -24) * (largest + 1));
        const double value = x == 0 ? 0 : x == 1 ? largest : random;
        picture.at(k, x, y) = real ? value / 8.0 - 3.0 : value;
    });
    return picture;
}

using Fill = std::function<void(ZOR_INFO &)>;

inline ZOR_IMAGE *open_for_writing(const Picture &picture, const std::string &path,
                                   const Fill &fill = {}) {
    Info info(path.c_str());
    info.complete_path = 1;
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, picture.width, picture.height);
    desc->image = picture.image;
    desc->matte = picture.matte;
    if (fill)
        fill(info);
    return info.open("w");
}

inline int write_line(ZOR_IMAGE *image, Picture picture, int y) {
    std::vector<double> memory(static_cast<size_t>(picture.channels()) * picture.width); // any type
    std::vector<void *> rows;
    for (int k = 0; k < picture.channels(); ++k) {
        rows.push_back(&memory[static_cast<size_t>(k) * picture.width]);
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
    if (image == nullptr)
        return zor__err;
    int status = 0;
    for (int i = 0; i < picture.height && status == 0; ++i)
        status = write_line(image, picture, line(image, i));
    const int closed = ZOR_close(image);
    return status == 0 ? closed : status;
}

constexpr float test_primaries[12] = {.64F, .33F, .03F, .3F,    .6F,   .1F,
                                      .15F, .06F, .79F, .3127F, .329F, .3583F};

// What a file has to say of its picture, in a request and as it is read.
inline void fill_texts_and_colour(ZOR_INFO &info) {
    info.name = STR_save("na\xC3\xAFve");
    info.description = STR_save("\xE2\x82\xAC");
    info.program = STR_save("caf\xE9"); // Latin-1
    info.machine = STR_save("unknown");
    info.user = STR_save("");
    info.date = STR_save("{1700000000}");
    info.images[0].curve.kind = 1;
    info.images[0].curve.gamma = 1.8F;
    info.images[0].picture_aspect = 3;
    std::copy_n(test_primaries, 12, info.primaries);
}
inline void expect_texts_and_colour(const ZOR_IMAGE *image, const char *date) {
    ASSERT_NE(image, nullptr);
    EXPECT_STREQ(image->name, "na\xC3\xAFve");
    EXPECT_STREQ(image->description, "\xE2\x82\xAC");
    EXPECT_STREQ(image->program, "caf\xC3\xA9");
    EXPECT_STREQ(image->date, date);
    EXPECT_EQ(image->images[0].curve.gamma, 1.8F);
    for (int i = 0; i < 12; ++i)
        EXPECT_NEAR(image->primaries[i], test_primaries[i], 1e-5);
}

inline ZOR_IMAGE *open_for_reading(const std::string &path, const char *key = nullptr) {
    Info info(path.c_str(), key);
    info.complete_path = 1;
    return info.open("r");
}

// Reads all lines in file order or, shuffled, in another. Returns 0 or the status of what failed
// first.
inline int read_lines(ZOR_IMAGE *image, Picture *picture, bool shuffled = false) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    const int height = desc->win_top + 1;
    *picture = {desc->win_right + 1, height, desc->image, desc->matte, desc->aux};
    {
        const ReportLog outside; // lines there are none of
        void **rows = nullptr;
        for (const int y : {-1, height})
            EXPECT_EQ(ZOR_scan_read(image, y, &rows), ZOR_E_SCANLINE);
        EXPECT_EQ(outside.count(ZOR_MSG_BAD_SCANLINE), 2);
        zor__err = 0;
    }
    int status = 0;
    for (int i = 0; i < height && status == 0; ++i) {
        const int y = line(image, shuffled ? (i + height / 2) % height : i);
        void **rows = nullptr;
        status = ZOR_scan_read(image, y, &rows);
        for (int k = 0; k < picture->channels() && status == 0; ++k)
            for (int x = 0; x < picture->width; ++x)
                picture->touch(rows[k], k, x, [&](auto sample) { picture->at(k, x, y) = sample; });
    }
    return status;
}

// Reads a file on disk, and the first line once more.
inline int read_picture(const std::string &path, Picture *picture, bool shuffled = false,
                        const char *key = nullptr) {
    ZOR_IMAGE *image = open_for_reading(path, key);
    if (image == nullptr)
        return zor__err;
    const int status = read_lines(image, picture, shuffled);
    if (status == 0 && picture->height > 1) {
        const int y = line(image, 0);
        void **rows = nullptr;
        if (ZOR_seek(&image, y) == 0 && ZOR_scan_read(image, y, &rows) == 0)
            picture->touch(rows[0], 0, 0, [&](auto s) { EXPECT_EQ(s, picture->at(0, 0, y)); });
        EXPECT_NE(rows, nullptr);
    }
    ZOR_close(image);
    return status;
}

// Reads bytes as a file, good or bad. Returns 0 or the status, of which there is one report beside
// warnings.
inline int read_bytes(const std::string &extension, const std::string &bytes, ReportLog &log) {
    const TempFile file(extension, bytes);
    log.clear();
    Picture picture;
    const int status = read_picture(file.path, &picture);
    EXPECT_EQ(zor__err, status);
    const auto errors = std::count_if(log.reports.begin(), log.reports.end(),
                                      [](const auto &r) { return r.severity != ERR_WARNING; });
    EXPECT_EQ(errors, status != 0 ? 1 : 0) << bytes.size() << log.text();
    std::remove(file.path.c_str());
    return status;
}

// Cuts a file everywhere and changes each of its bytes, but for spare ones at the end; the first
// ones, the magic, tell the format. The formats' own libraries are not to print anything.
inline void damage(const std::string &extension, const std::string &whole, size_t magic,
                   size_t spare, ReportLog &log) {
    testing::internal::CaptureStderr();
    for (size_t i = 0; i + spare < whole.size(); ++i) {
        EXPECT_EQ(read_bytes(extension, whole.substr(0, i), log),
                  i < magic ? ZOR_E_NOT_THIS_TYPE : ZOR_E_READ)
            << i << " of " << whole.size();
        EXPECT_EQ(log.reports.size(), 1U) << log.text();
        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 0x10);
        const int status = read_bytes(extension, changed, log);
        EXPECT_EQ(status == ZOR_E_NOT_THIS_TYPE, i < magic) << i;
        EXPECT_TRUE(extension != ".png" || log.reports.empty() == (status == 0)) << log.text();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// The library with some modules, and what it reports.
class ModuleTest : public testing::Test {
protected:
    explicit ModuleTest(std::initializer_list<const char *> modules) : library(modules) {}

    Library library;
    ReportLog log;
};
