// png_test.cpp - the png module against libpng itself: what is read, what is written, what is
// refused.
#include <gmock/gmock.h>

#include <png.h>

#include "modules/picture.h"

using namespace std::string_literals;

namespace {

struct Png : ModuleTest {
    Png() : ModuleTest{"png"} {}
};

using Extras = std::function<void(png_structp, png_infop)>;

// A file as libpng writes it, of samples that are numbers of the file's depth. Extras are put in
// front of the pixels.
void make_png(const std::string &path, int type, int interlace, Picture samples,
              const Extras &extras = {}) {
    const int depth = samples.image.bits;
    std::vector<std::vector<png_byte>> rows(samples.height);
    std::vector<png_bytep> pointers;
    for (int y = samples.height - 1; y >= 0; --y) {
        for (int x = 0; x < samples.width; ++x)
            for (int k = 0; k < samples.channels(); ++k) {
                const int value = static_cast<int>(samples.at(k, x, y));
                if (depth == 16)
                    rows[y].push_back(static_cast<png_byte>(value >> 8));
                rows[y].push_back(static_cast<png_byte>(value));
            }
        pointers.push_back(rows[y].data());
    }
    FILE *file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, samples.width, samples.height, depth, type, interlace, 0, 0);
    if (extras)
        extras(png, info);
    png_set_rows(png, info, pointers.data());
    png_write_png(png, info, PNG_TRANSFORM_PACKING, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

// What libpng finds in a file.
struct Look {
    explicit Look(const std::string &path, int transforms = PNG_TRANSFORM_IDENTITY) {
        FILE *file = std::fopen(path.c_str(), "rb");
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        info = png_create_info_struct(png);
        png_init_io(png, file);
        png_read_png(png, info, transforms, nullptr);
        std::fclose(file);
        depth = png_get_bit_depth(png, info);
    }
    ~Look() { png_destroy_read_struct(&png, &info, nullptr); }
    Look(Look &&) = delete;

    [[nodiscard]] int sample(int k, int x, int row) const {
        const int bit = (x * png_get_channels(png, info) + k) * depth;
        const png_byte *bytes = png_get_rows(png, info)[row] + bit / 8;
        return depth == 16 ? bytes[0] << 8 | bytes[1]
                           : bytes[0] >> (8 - depth - bit % 8) & ((1 << depth) - 1);
    }
    // All texts, sorted, international ones marked.
    [[nodiscard]] std::vector<std::string> texts() const {
        png_textp chunks = nullptr;
        const int count = png_get_text(png, info, &chunks, nullptr);
        std::vector<std::string> all;
        for (int i = 0; i < count; ++i)
            all.push_back(chunks[i].key + ": "s + chunks[i].text +
                          (chunks[i].compression > 0 ? " (international)" : ""));
        std::sort(all.begin(), all.end());
        return all;
    }
    png_structp png;
    png_infop info;
    int depth;
};

constexpr int grey = PNG_COLOR_TYPE_GRAY;
constexpr int palette = PNG_COLOR_TYPE_PALETTE;
constexpr int rgb = PNG_COLOR_TYPE_RGB;
constexpr int alpha = PNG_COLOR_MASK_ALPHA;

// Reads a file of noise: what there is only as an entry of a palette or a transparent colour is
// expanded.
void check_reading(int type, int depth, bool transparency, int interlace) {
    SCOPED_TRACE(testing::Message() << type << " " << depth << transparency << interlace);
    const int colours = (type & PNG_COLOR_MASK_COLOR) != 0 ? 3 : 1;
    const int mattes = (type & alpha) != 0 ? 1 : 0;
    Picture file =
        noise(11, 9, integers(type == palette ? 1 : colours, depth), integers(mattes, depth));
    const TempFile temp(".png");
    make_png(temp.path, type, interlace, file, [&](png_structp png, png_infop info) {
        png_color entries[256];
        for (int i = 0; i < 256; ++i)
            entries[i] = {static_cast<png_byte>(i / 2), static_cast<png_byte>(255 - i),
                          static_cast<png_byte>(i)};
        if (type == palette)
            png_set_PLTE(png, info, entries, 1 << depth);
        png_byte alphas[] = {9, 77}; // of the first entries
        const auto first = [&](int k) { return static_cast<png_uint_16>(file.at(k, 5, 5)); };
        const int last = type == rgb ? 2 : 0;
        const png_color_16 key = {0, first(0), first(last / 2), first(last), first(0)};
        if (transparency)
            png_set_tRNS(png, info, alphas, 2, &key);
    });

    const bool expanded = type == palette || transparency;
    const int bits = expanded ? std::max(depth, 8) : depth;
    const Look look(temp.path, expanded ? PNG_TRANSFORM_EXPAND : PNG_TRANSFORM_IDENTITY);
    Picture expected{11, 9, integers(colours, bits), integers(transparency ? 1 : mattes, bits)};
    expected.each([&](int k, int x, int y) { expected.at(k, x, y) = look.sample(k, x, 8 - y); });
    Picture picture;
    EXPECT_EQ(read_picture(temp.path, &picture, interlace != 0), 0);
    EXPECT_TRUE(picture == expected);
    EXPECT_EQ(read_picture(temp.path, &picture, true), interlace != 0 ? 0 : ZOR_E_SCANLINE);
}

TEST_F(Png, EveryKindOfFileIsRead) {
    for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7})
        for (const int type : {grey, palette, rgb, grey | alpha, rgb | alpha})
            for (const int depth : {1, 2, 4, 8, 16})
                if (type == grey || (type == palette ? depth <= 8 : depth >= 8)) {
                    check_reading(type, depth, false, interlace);
                    if ((type & alpha) == 0)
                        check_reading(type, depth, true, interlace);
                }
}

// Writes noise and looks at what came of it: the smallest depth that fits, and samples that give
// the ones handed in when shifted back.
void check_writing(int bits, int colours, int matte_bits) {
    SCOPED_TRACE(testing::Message() << bits << " " << colours << " " << matte_bits);
    Picture picture =
        noise(7, 3, integers(colours, bits), integers(matte_bits > 0 ? 1 : 0, matte_bits));
    const TempFile temp(".png");
    ASSERT_EQ(write_picture(picture, temp.path), 0);
    const Look file(temp.path);
    const int depth = file.depth;
    const bool whole_bytes = colours == 3 || matte_bits > 0;
    EXPECT_EQ(depth, bits > 8 ? 16 : whole_bytes || bits > 4 ? 8 : bits > 2 ? 4 : bits);

    png_color_8p significant = nullptr;
    png_get_sBIT(file.png, file.info, &significant);
    const bool widened = bits < depth || (matte_bits > 0 && matte_bits < depth);
    ASSERT_EQ(significant != nullptr, widened);
    EXPECT_TRUE(!widened || (colours == 1 ? significant->gray : significant->blue) == bits);

    picture.each([&](int k, int x, int y) {
        const int width = picture.group(k).bits;
        const int value = static_cast<int>(picture.at(k, x, y));
        const int sample = file.sample(k, x, 2 - y);
        EXPECT_TRUE(width > depth ? std::abs(sample - value / 257.0) <= 0.5
                                  : sample >> (depth - width) == value);
        EXPECT_TRUE(value < (1 << width) - 1 || sample == (1 << depth) - 1);
    });
}

TEST_F(Png, EveryWidthIsWrittenSoThatShiftingBackRestoresIt) {
    for (int bits = 1; bits <= 16; ++bits)
        for (const int colours : {1, 3})
            for (const int matte_bits : {0, 1, 8, 16})
                check_writing(bits, colours, matte_bits);
}

TEST_F(Png, TextsGammaAndPrimariesTravel) {
    const TempFile temp(".png");
    ASSERT_EQ(write_picture(noise(2, 2, integers(1, 8)), temp.path, fill_texts_and_colour), 0);
    const Look file(temp.path);
    EXPECT_THAT(file.texts(),
                testing::ElementsAre("Creation Time: 2023-11-14T22:13:20Z",
                                     "Description: \xE2\x82\xAC (international)",
                                     "Software: caf\xE9", "Title: na\xC3\xAFve (international)"));
    double gamma = 0;
    png_get_gAMA(file.png, file.info, &gamma);
    EXPECT_NEAR(gamma, 1 / 1.8, 1e-5);

    const Image image(open_for_reading(temp.path));
    expect_texts_and_colour(image.get(), "2023-11-14T22:13:20Z");
}

TEST_F(Png, ColourThatAFileDoesNotStateIsTheDefault) {
    // what is there, gamma, the x of red
    const std::tuple<Extras, float, float> cases[] = {
        {{}, 1.0F, 0.67F},
        {[](png_structp png, png_infop info) { png_set_sRGB(png, info, 0); }, 2.2F, 0.64F},
        {[](png_structp png, png_infop info) { png_set_gAMA_fixed(png, info, 45455); }, 2.2F,
         0.67F}};
    const TempFile temp(".png");
    const Picture picture = noise(2, 2, integers(1, 8));
    for (const auto &[extras, gamma, red_x] : cases) {
        make_png(temp.path, grey, 0, picture, extras);
        const Image image(open_for_reading(temp.path));
        EXPECT_EQ(image->images[0].curve.gamma, gamma);
        EXPECT_EQ(image->primaries[0], red_x);
    }
    // Nor are the defaults stated in a file.
    write_picture(picture, temp.path,
                  [](ZOR_INFO &info) { info.images[0].curve = {1, 1, 0, 0, 0, 0, 0, {}}; });
    const Look file(temp.path);
    EXPECT_EQ(png_get_valid(file.png, file.info, PNG_INFO_cHRM | PNG_INFO_gAMA), 0U);
}

TEST_F(Png, DamagedFilesEndInAFailure) {
    for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
        const TempFile temp(".png");
        make_png(temp.path, rgb, interlace, noise(9, 9, integers(3, 8)));
        damage(".png", temp.bytes(), 8, 20, log); // the last check sums and the end mark
    }
}

TEST_F(Png, ImplausibleSizesAreRefused) {
    const std::string rests[] = {
        // 100000 x 100000, interlaced; 20000000 x 1; a text of 1.3 GB in a picture of 1 x 1
        "\0\1\x86\xA0\0\1\x86\xA0\x10\6\0\0\1\x8F\xC5\xE7\x1D\0\0\0\1IDAT"s,
        "\1\x31\x2D\0\0\0\0\1\x10\6\0\0\0\xBF\x55\x12\xCA\0\0\0\1IDAT"s,
        "\0\0\0\1\0\0\0\1\x08\0\0\0\0\x3A\x7E\x9B\x55\x50\0\0\0tEXt"s,
    };
    for (const std::string &rest : rests) {
        const std::string bytes = "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"s + rest;
        EXPECT_EQ(read_bytes(".png", bytes, log), ZOR_E_MEMORY);
        EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), 1) << log.text();
    }
}

} // namespace
