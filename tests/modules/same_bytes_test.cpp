// same_bytes_test.cpp - files, rows and what operators make of them are the same on every target,
// bit for bit: one table of checksums holds for all.

#include "loader/loader.h"
#include "support/channels.h"
#include "support/driver_test.h"
#include "support/files.h"
#include "zor/ops.h"

namespace {

class Checksum { // FNV-1a, folded
public:
    void add(const void *bytes, size_t size) {
        for (size_t i = 0; i < size; ++i)
            value_ = (value_ ^ static_cast<const uint8_t *>(bytes)[i]) * 0x100000001B3U;
    }
    void expect(uint32_t expected) const {
        const auto sum = static_cast<uint32_t>(value_ ^ value_ >> 32);
        EXPECT_EQ(sum, expected) << std::hex << "0x" << sum;
    }

private:
    uint64_t value_ = 0xCBF29CE484222325U;
};

struct Kind {
    const char *name; // of the file; its extension chooses the format
    int width, height;
    ZOR_CHANNELS image, matte, aux;
    float gamma;
    uint32_t file, rows; // checksums
    const char *format = "rgb";
    int sub_images = 1;
};

// clang-format off
const Kind kinds[] = {
    {"bytes.mox", 700, 40, {3, 1, 8}, {1, 1, 8}, {}, 2.2F, 0x4e26ea4b, 0x4dcb3e69},
    {"words.mox", 333, 20, {3, 1, 12}, {1, 1, 1}, {1, 2, 32}, 1.7F, 0xb5cba882, 0xaa0ce1f8},
    {"longs.mox", 300, 20, {1, 1, 32}, {2, 1, 24}, {1, 3, 64}, 1.0F, 0xd3240903, 0xea962ab1},
    {"floats.mox", 300, 20, {3, 2, 32}, {}, {}, 1.0F, 0xde540d9e, 0xb89a28dc},
    {"doubles.mox", 300, 20, {1, 3, 64}, {1, 1, 16}, {}, 1.0F, 0xe6e2d960, 0xd9b136a7},
    {"old.mob", 300, 20, {3, 1, 8}, {}, {}, 2.2F, 0x4fedf13d, 0x6a1e562d},
    {"bytes.ppm", 300, 20, {3, 1, 8}, {}, {}, 2.2F, 0x7d0676b0, 0x2ee35487},
    {"words.pgm", 300, 20, {1, 1, 16}, {}, {}, 2.2F, 0xf3092dea, 0xf9e3d529},
    {"bits.pbm", 301, 20, {1, 1, 1}, {}, {}, 2.2F, 0x1d4d9963, 0x445e104b},
    {"words.pam", 300, 20, {3, 1, 16}, {1, 1, 16}, {}, 2.2F, 0x6aa8fb3f, 0x08289f8b},
    {"floats.pfm", 300, 20, {3, 2, 32}, {}, {}, 1.0F, 0x9e1b9e71, 0xb89a28dc},
    // For operators; their floats are light.
    {"light.mox", 61, 43, {3, 2, 32}, {1, 2, 32}, {1, 2, 32}, 1.0F, 0x7576ffe5, 0x1368322c},
    {"xyz.mox", 300, 20, {3, 1, 8}, {}, {}, 2.2F, 0xe77dff53, 0x6a1e562d, "xyz"},
    {"one.mox", 300, 20, {1, 1, 8}, {}, {}, 1.7F, 0x5c973586, 0x0bacdacf, "sampled"},
    {"two.mox", 300, 20, {2, 2, 32}, {}, {}, 1.0F, 0x11fb3a07, 0x8267db36, "sampled"},
    {"three.mox", 300, 20, {3, 1, 16}, {}, {}, 2.2F, 0x8a482ead, 0xc72ace53, "sampled"},
    {"chain.mox", 61, 43, {3, 1, 8}, {1, 1, 8}, {}, 2.2F, 0xbcf9f073, 0x6920f406, "rgb", 3},
};

// Arguments that go by group, and curves.
constexpr ZOR_TARGET targets[] = {{ZOR_C_INTEGER, 8}, {ZOR_C_INTEGER, 13}, {ZOR_C_INTEGER, 5}};
constexpr const ZOR_TARGET *to_bytes[] = {&targets[0], &targets[0], &targets[0]};
constexpr const ZOR_TARGET *to_words[] = {&targets[1], &targets[0], nullptr};
constexpr const ZOR_TARGET *narrow[] = {&targets[2], &targets[2], nullptr};
constexpr ZOR_RANGE range = {0.1F, 0.7F};
constexpr const ZOR_RANGE *ranges[] = {&range, nullptr, &range};
constexpr float factors[] = {1.3F, 0.7F, 0.01F};
constexpr ZOR_RESPONSE_CURVE screen = {1, 1.8F, 0, 0, 0, 0, 0, nullptr};
constexpr ZOR_RESPONSE_CURVE of_bytes = {1, 2.2F, 0, 0, 256, 0, 0, nullptr};
constexpr float wide[] = {0.68F, 0.32F, 0, 0.265F, 0.69F, 0, 0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};

// What operators make of images: the rows of all of these files, in one checksum. Each image gets
// another handle of its file too.
const struct {
    const char *name;
    void (*push)(ZOR_IMAGE *image, ZOR_IMAGE *other);
    std::vector<const char *> sources;
    uint32_t rows;
} results[] = {
#define PUSH(name, ...) \
    #name, [](ZOR_IMAGE *image, [[maybe_unused]] ZOR_IMAGE *other) { \
        ZOR__##name(image __VA_OPT__(,) __VA_ARGS__); \
    }
    {PUSH(cast), {"bytes", "words", "longs"}, 0xddf69268},
    {PUSH(quantize, to_words, nullptr), {"light", "floats"}, 0x70aff031},
    {PUSH(quantize, to_words, &screen), {"light"}, 0xe18f00ca},
    {PUSH(quantize, to_bytes, &of_bytes), {"light"}, 0xb6526982},
    {PUSH(change_width, narrow), {"bytes", "words"}, 0x2628bf1e},
    {PUSH(remap, ranges), {"light"}, 0x583c3ef5},
    {PUSH(min_max, ranges), {"bytes", "words", "light"}, 0xa23b936c},
    {PUSH(scale, factors), {"bytes", "words", "longs", "light"}, 0x502071da},
    {PUSH(clip), {"light"}, 0x54f11910},
    {PUSH(gamma, &screen), {"bytes", "xyz"}, 0x965e2d55},
    {PUSH(rgb_transform, &screen), {"bytes"}, 0x76bbe1d5},
    {PUSH(xyz_transform, &screen), {"xyz"}, 0x72964f7e},
    {PUSH(rgb_luminance, &screen), {"bytes"}, 0xc96b381c},
    {PUSH(samples_to_display, &screen), {"one", "two", "three"}, 0x0da4e570},
    {PUSH(samples_to_luminance, &screen), {"one", "two", "three"}, 0x7a91f6fc},
    {PUSH(samples_to_rgb), {"one", "two", "three"}, 0xf37995ae},
    {PUSH(samples_to_xyz), {"one", "two", "three"}, 0xb17f7827},
    {PUSH(select, 2), {"chain"}, 0xb73ba5db},
    {PUSH(resize, 97, 60, ZOR_FILTER_BOX), {"bytes", "light"}, 0x5ffe2aad},
    {PUSH(resize, 97, 60, ZOR_FILTER_TRIANGLE), {"bytes", "light"}, 0xd681760b},
    {PUSH(resize, 97, 60, ZOR_FILTER_CATMULL_ROM), {"bytes", "light"}, 0x7e90b78e},
    {PUSH(resize, 97, 60, ZOR_FILTER_MITCHELL), {"bytes", "light"}, 0x8358af95},
    {PUSH(resize, 97, 60, ZOR_FILTER_LANCZOS_3), {"bytes", "light"}, 0x702368f2},
    {PUSH(merge_fields, other), {"bytes", "light"}, 0xdf277b7d},
    {PUSH(display, 7 | 8 | 32, nullptr, &screen), {"light"}, 0x6326f585},
    {PUSH(display, ZOR_DISPLAY_LUMINANCE, nullptr, &screen), {"bytes"}, 0xc96b381c},
#undef PUSH
};
// clang-format on

// Every field of its own that would else come from this machine and this day.
void set_texts(ZOR_INFO *info) {
    const std::pair<char **, const char *> texts[] = {
        {&info->name, "name"},       {&info->description, "description"},
        {&info->program, "program"}, {&info->machine, "machine"},
        {&info->user, "user"},       {&info->date, "date"},
        {&info->time, "00:00:01"},   {&info->filter, "filter"}};
    for (const auto &[field, text] : texts)
        *field = STR_save(text);
    info->job_number = 7;
}

class SameBytes : public DriverTest {
protected:
    SameBytes() { loader.start(); }

    void write(const Kind &kind, const std::string &path) {
        Request request(path);
        set_texts(&request.info);
        for (int k = 0; k < kind.sub_images; ++k) {
            ZOR_IMAGE_DESC &desc = request.add(kind.width, kind.height);
            desc.image = kind.image, desc.matte = kind.matte, desc.aux = kind.aux;
            desc.curve.gamma = kind.gamma;
            desc.chan_format = STR_save(kind.format);
        }
        ZOR_IMAGE *image = request.open("w");
        ASSERT_NE(image, nullptr) << log.text();
        for (int k = 0; k < kind.sub_images; ++k)
            for (const int y : lines(image->images[0])) {
                Rows rows(image->images[0], y + 7 * k, false);
                if (path.ends_with("light.mox"))
                    make_light(&rows);
                ASSERT_EQ(image->scan(image->data[k], y, rows.pointers.data()), 0) << log.text();
            }
        ASSERT_EQ(ZOR_close(image), 0) << log.text();
    }

    // Floats around [0, 1], and auxiliary ones up to 10000, of any bits.
    static void make_light(Rows *rows) {
        for (void *row : rows->pointers)
            for (size_t x = 0; x < rows->bytes[0].size() / 4; ++x) {
                uint32_t bits = 0;
                float *sample = static_cast<float *>(row) + x;
                std::memcpy(&bits, sample, 4);
                *sample = static_cast<float>(bits >> 8 & 0xFFFF) / 50000 - 0.125F;
                *sample *= row == rows->pointers.back() ? 9000.0F : 1.0F;
            }
    }

    using Push = void (*)(ZOR_IMAGE *image, ZOR_IMAGE *other);
    void add_rows(Checksum *sum, const std::string &path, Push push = nullptr) {
        ZOR_IMAGE *image = Request(path).open("r");
        ZOR_IMAGE *other = Request(path).open("r");
        ASSERT_TRUE(image != nullptr && other != nullptr) << log.text();
        if (push != nullptr) {
            push(image, other);
            EXPECT_NE(image->driver_state, nullptr) << "nothing pushed " << log.text();
        }
        const ZOR_IMAGE_DESC &desc = image->images[0];
        for (const int y : lines(desc)) {
            void **rows = nullptr;
            ASSERT_EQ(DriverTest::read(image, 0, y, rows), 0) << log.text();
            for (int k = 0; k < count_rows(desc); ++k)
                with_sample(group_of_row(desc, k), [&](auto sample) {
                    sum->add(rows[k], sizeof sample * (desc.win_right - desc.win_left + 1));
                });
        }
        EXPECT_EQ(ZOR_close(image) | ZOR_close(other), 0);
    }

    zor::Loader loader{{TEST_MODULE_DIR}};
    TempDir directory;
    const std::string prefix = directory.path.generic_string() + "/";
};

TEST_F(SameBytes, FilesAndRowsAndResults) {
    for (const Kind &kind : kinds) {
        SCOPED_TRACE(kind.name);
        const std::string path = prefix + kind.name;
        write(kind, path);
        const std::string bytes = read_file(path);
        Checksum file, rows;
        file.add(bytes.data(), bytes.size());
        file.expect(kind.file);
        add_rows(&rows, path);
        rows.expect(kind.rows);
    }
    ZOR_color_matrix_set(3, wide);
    for (const auto &[name, push, sources, expected] : results) {
        SCOPED_TRACE(name);
        Checksum rows;
        for (const char *source : sources)
            add_rows(&rows, prefix + source + ".mox", push);
        rows.expect(expected);
    }
}

} // namespace
