// tiff_test.cpp - the tiff module against libtiff itself: what is read, what is written, what is
// refused.
#include <gmock/gmock.h>

#include "modules/tiff_files.h"

using testing::ElementsAre;

namespace {

class Tiff : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(ZOR_find("tiff"), nullptr); }
    Library library{"tiff", "tif"};
    ReportLog log;
};

// Reads a file in two orders of its lines and compares it with what it should be.
void expect_reads(const std::string &path, const Picture &expected) {
    for (const bool shuffled : {false, true}) {
        Picture picture;
        EXPECT_EQ(read_picture(path, nullptr, &picture, shuffled), 0);
        expect_equal(picture, expected);
    }
}

// A picture of which the first channels are colours and the next a matte.
Picture file_of(int colours, int mattes, ZOR_CHANNELS kind, int width = 21, int height = 19) {
    ZOR_CHANNELS image = kind;
    ZOR_CHANNELS matte = kind;
    image.count = colours;
    matte.count = mattes;
    return noise(width, height, image, mattes > 0 ? matte : ZOR_CHANNELS{});
}

TEST_F(Tiff, EverySampleTypeIsReadFromEveryLayout) {
    const TempFile temp(".tiff");
    for (const ZOR_CHANNELS kind :
         {integers(1, 1), integers(1, 2), integers(1, 4), integers(1, 8), integers(1, 12),
          integers(1, 16), integers(1, 32), floats(1), doubles(1)})
        for (const int colours : {1, 3})
            for (const int mattes : {0, 1})
                for (const int tile : {0, 16})
                    for (const bool planar : {false, true})
                        for (const char *mode : {"wl", "wb8"}) {
                            SCOPED_TRACE(testing::Message()
                                         << kind.type << " " << kind.bits << " " << colours
                                         << mattes << " " << tile << planar << mode);
                            const Picture picture = file_of(colours, mattes, kind);
                            Layout layout;
                            layout.photometric =
                                colours == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
                            layout.tile = tile;
                            layout.planar = planar;
                            make_tiff(temp.path, picture, layout, mode);
                            expect_reads(temp.path, picture);
                        }
}

TEST_F(Tiff, CompressedFilesAreRead) {
    const TempFile temp(".tif");
    for (const int compression : {COMPRESSION_PACKBITS, COMPRESSION_LZW, COMPRESSION_DEFLATE,
                                  COMPRESSION_ADOBE_DEFLATE, COMPRESSION_ZSTD})
        for (const int tile : {0, 16})
            for (const int predictor : {1, 2, 3}) {
                const bool predicts = compression != COMPRESSION_PACKBITS;
                Layout layout{PHOTOMETRIC_RGB, compression, predicts ? predictor : 1, true, tile};
                const Picture picture = file_of(3, 1, predictor == 3 ? floats(1) : integers(1, 16));
                make_tiff(temp.path, picture, layout);
                expect_reads(temp.path, picture);
            }
    for (const int compression : {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX4}) {
        make_tiff(temp.path, file_of(1, 0, integers(1, 1)), {PHOTOMETRIC_MINISBLACK, compression});
        expect_reads(temp.path, file_of(1, 0, integers(1, 1)));
    }
    // Losses are small where colours change slowly; the file has luminance and colour differences.
    Picture smooth{32, 32, integers(3, 8)};
    for (int k = 0; k < 3; ++k)
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x)
                smooth.at(k, x, y) = 70 + 3 * x + 2 * (k - 1) * y;
    make_tiff(temp.path, smooth,
              {PHOTOMETRIC_YCBCR, COMPRESSION_JPEG, 1, false, 0, 16,
               [](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB); }});
    Picture back;
    ASSERT_EQ(read_picture(temp.path, nullptr, &back), 0) << log.text();
    for (size_t i = 0; i < smooth.samples.size(); ++i)
        EXPECT_NEAR(back.samples[i], smooth.samples[i], 12);
}

TEST_F(Tiff, WhiteIsBrightAndTheFirstColumnIsLeft) {
    const TempFile temp(".tiff");
    for (const int bits : {1, 4, 8, 16, 32})
        for (const int orientation : {1, 2, 3, 4}) {
            Picture file = file_of(1, 1, integers(1, bits));
            Picture expected = file;
            for (int y = 0; y < file.height; ++y)
                for (int x = 0; x < file.width; ++x) {
                    const bool mirrored = orientation == 2 || orientation == 3;
                    const int to_x = mirrored ? file.width - 1 - x : x;
                    const int to_y = orientation > 2 ? file.height - 1 - y : y;
                    expected.at(0, to_x, to_y) = std::ldexp(1.0, bits) - 1 - file.at(0, x, y);
                    expected.at(1, to_x, to_y) = file.at(1, x, y);
                }
            Layout layout;
            layout.photometric = PHOTOMETRIC_MINISWHITE;
            layout.extras = [orientation](TIFF *tiff) {
                TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
            };
            make_tiff(temp.path, file, layout);
            expect_reads(temp.path, expected);
            ZOR_IMAGE *image = open_for_reading(temp.path);
            EXPECT_EQ(ZOR_image_desc(image, 0)->orientation, orientation > 2 ? 1 : 0);
            ZOR_close(image);
        }
}

TEST_F(Tiff, PalettesBecomeColours) {
    const TempFile temp(".tiff");
    for (const int bits : {1, 2, 4, 8, 16})
        for (const int factor : {1, 256, 257, 3}) { // entries of 8 bits in several forms, and of 16
            SCOPED_TRACE(testing::Message() << bits << " " << factor);
            Picture file = file_of(1, 1, integers(1, bits));
            std::vector<uint16_t> maps[3];
            for (int i = 0; i < 1 << bits; ++i)
                for (int k = 0; k < 3; ++k)
                    maps[k].push_back(static_cast<uint16_t>((255 - (i + 7 * k) % 200) * factor));
            const int wide = factor == 3 ? 16 : 8;
            Picture expected{file.width, file.height, integers(3, wide), integers(1, bits)};
            for (int y = 0; y < file.height; ++y)
                for (int x = 0; x < file.width; ++x) {
                    for (int k = 0; k < 3; ++k)
                        expected.at(k, x, y) = maps[k][static_cast<size_t>(file.at(0, x, y))] /
                                               (wide == 16 ? 1 : factor);
                    expected.at(3, x, y) = file.at(1, x, y);
                }
            Layout layout;
            layout.photometric = PHOTOMETRIC_PALETTE;
            layout.extras = [&maps](TIFF *tiff) {
                TIFFSetField(tiff, TIFFTAG_COLORMAP, maps[0].data(), maps[1].data(),
                             maps[2].data());
            };
            make_tiff(temp.path, file, layout);
            expect_reads(temp.path, expected);
        }
}

TEST_F(Tiff, ExtraSamplesAreMattesWhenTheyAreMarkedOrTheFirst) {
    const struct {
        std::vector<uint16_t> kinds;
        int mattes, aux;
    } cases[] = {{{0}, 1, 0},       {{1}, 1, 0},          {{2}, 1, 0},   {{0, 0}, 1, 1},
                 {{2, 2, 2}, 3, 0}, {{1, 2, 0, 2}, 2, 2}, {{0, 2}, 1, 1}};
    const TempFile temp(".tiff");
    for (const auto &c : cases) {
        Layout layout;
        layout.photometric = PHOTOMETRIC_RGB;
        layout.extras = [&c](TIFF *tiff) {
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(c.kinds.size()),
                         c.kinds.data());
        };
        Picture file = file_of(3, c.mattes + c.aux, integers(1, 8));
        make_tiff(temp.path, file, layout);
        file.matte = integers(c.mattes, 8);
        file.aux = integers(c.aux, 8);
        expect_reads(temp.path, file);
    }
}

TEST_F(Tiff, FilesOfOtherKindsAreRefused) {
    const auto with = [](uint32_t tag, int value) {
        return [=](TIFF *tiff) { TIFFSetField(tiff, tag, value); };
    };
    const struct {
        ZOR_CHANNELS kind;
        Layout layout;
        const char *reason;
    } cases[] = {
        {integers(4, 8), {PHOTOMETRIC_SEPARATED}, "colour space"},
        {integers(3, 8), {PHOTOMETRIC_CIELAB}, "colour space"},
        {integers(1, 8), {1, 1, 1, false, 0, 4, with(TIFFTAG_SAMPLEFORMAT, 2)}, "samples of this"},
        {integers(1, 8), {1, 1, 1, false, 0, 4, with(TIFFTAG_ORIENTATION, 6)}, "on their side"},
        {integers(1, 8), {1, COMPRESSION_LZMA}, "compression"},
        {floats(1), {PHOTOMETRIC_MINISWHITE}, "0 is white"},
    };
    const TempFile temp(".tiff");
    for (const auto &c : cases) {
        make_tiff(temp.path, noise(5, 5, c.kind), c.layout);
        log.clear();
        EXPECT_EQ(open_for_reading(temp.path), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_OPEN)) << log.text();
        EXPECT_THAT(log.last(), testing::HasSubstr(c.reason));
    }
}

// Settings live as long as the handle.
struct Choice {
    explicit Choice(int number, int code = 0)
        : setting{static_cast<uint16_t>(code), 0, {number}}, list{&setting, nullptr} {}
    ZOR_CAP_SETTING setting;
    ZOR_CAP_SETTING *list[2];
    [[nodiscard]] Fill fill() {
        return [this](ZOR_INFO &info) { info.cap_settings = list; };
    }
};

TEST_F(Tiff, WhatIsWrittenIsReadBackUnderEveryCompression) {
    const uint16_t schemes[] = {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW,
                                COMPRESSION_ADOBE_DEFLATE};
    const TempFile temp(".tiff");
    for (int choice = 0; choice < 4; ++choice)
        for (const ZOR_CHANNELS kind : {integers(1, 1), integers(1, 8), integers(1, 16),
                                        integers(1, 32), floats(1), doubles(1)})
            for (const int colours : {1, 3})
                for (const int mattes : {0, 1, 3}) {
                    if (kind.bits == 1 && colours + mattes > 1)
                        continue; // widened
                    const Picture picture = file_of(colours, mattes, kind);
                    Choice compression(choice);
                    ASSERT_EQ(write_picture(picture, temp.path, compression.fill()), 0);
                    expect_reads(temp.path, picture);
                    const Look file(temp.path);
                    EXPECT_EQ(file.number(TIFFTAG_COMPRESSION), schemes[choice]);
                    EXPECT_EQ(file.number(TIFFTAG_BITSPERSAMPLE), kind.bits);
                }
}

TEST_F(Tiff, OtherWidthsAreWidenedSoThatShiftingBackRestoresThem) {
    const TempFile temp(".tiff");
    for (int bits = 1; bits <= 16; ++bits)
        for (const int matte_bits : {0, 1, 8, 32}) {
            SCOPED_TRACE(testing::Message() << bits << " " << matte_bits);
            Picture picture =
                noise(13, 2, integers(1, bits), integers(matte_bits > 0 ? 1 : 0, matte_bits));
            ASSERT_EQ(write_picture(picture, temp.path), 0);
            Picture back;
            ASSERT_EQ(read_picture(temp.path, nullptr, &back), 0);
            const int depth = back.image.bits;
            const int narrow = matte_bits > 0 || bits > 4 ? 8 : bits > 2 ? 4 : bits;
            EXPECT_EQ(depth, bits > 8 ? 16 : narrow);
            const double full = std::ldexp(1.0, depth) - 1;
            const double matte_full = std::ldexp(1.0, matte_bits) - 1;
            for (int x = 0; x < 13; ++x) {
                EXPECT_EQ(std::floor(std::ldexp(back.at(0, x, 1), bits - depth)),
                          picture.at(0, x, 1));
                EXPECT_TRUE(picture.at(0, x, 1) < std::ldexp(1.0, bits) - 1 ||
                            back.at(0, x, 1) == full);
                if (matte_bits > 0) {
                    EXPECT_NEAR(back.at(1, x, 1), picture.at(1, x, 1) * full / matte_full, 0.5);
                }
            }
        }
}

TEST_F(Tiff, CapabilitiesAreDescribedAndChosen) {
    ZOR_CAPABILITY *list = nullptr;
    int32_t first = 0;
    int32_t second = 0;
    int32_t count = 0;
    ZOR_info_get_specific("tiff", nullptr, &list, &first, &second, &count);
    ASSERT_EQ(count, 2);
    std::vector<std::string> names;
    std::vector<int> values;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(list[i].code, 0);
        EXPECT_EQ(list[i].kind, 0);
        names.emplace_back(list[i].name);
        int defaults = 0;
        for (const ZOR_CAP_ENTRY *entry = list[i].list->entries; entry->name != nullptr; ++entry) {
            names.emplace_back(entry->name);
            values.push_back(entry->value);
            defaults += entry->value == list[i].list->default_value ? 1 : 0;
        }
        EXPECT_EQ(defaults, 1);
    }
    EXPECT_THAT(names, ElementsAre("compression", "none", "packbits", "lzw", "deflate", "alpha",
                                   "unassociated", "associated"));
    EXPECT_THAT(values, ElementsAre(0, 1, 2, 3, 16, 17));

    const TempFile temp(".tiff");
    const Picture picture = noise(3, 3, integers(3, 8), integers(2, 8));
    EXPECT_EQ(write_picture(picture, temp.path), 0);
    EXPECT_EQ(Look(temp.path).number(TIFFTAG_COMPRESSION), COMPRESSION_LZW);
    EXPECT_THAT(Look(temp.path).extra_samples(), ElementsAre(2, 2));
    Choice associated(17);
    EXPECT_EQ(write_picture(picture, temp.path, associated.fill()), 0);
    EXPECT_THAT(Look(temp.path).extra_samples(), ElementsAre(1, 1));

    for (Choice unknown : {Choice(4), Choice(-1), Choice(0x10001), Choice(1, 7)}) {
        unknown.list[0] = &unknown.setting;
        log.clear();
        const TempFile none(".tiff");
        EXPECT_EQ(open_for_writing(picture, none.path, unknown.fill()), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_HANDLE)) << log.text();
        EXPECT_FALSE(none.exists());
    }
}

TEST_F(Tiff, ChannelsThatDoNotFitAreRefusedAndLeaveNoFile) {
    const struct {
        ZOR_CHANNELS image, matte;
        const char *message;
    } cases[] = {
        {integers(2, 8), {}, "tiff cannot handle image channel type"},
        {integers(3, 17), {}, "tiff cannot handle image channel width"},
        {integers(3, 8), floats(1), "tiff cannot handle matte channel type"},
        {floats(3), doubles(1), "tiff cannot handle matte channel type"},
    };
    for (const auto &c : cases) {
        const TempFile temp(".tiff");
        EXPECT_EQ(open_for_writing(noise(2, 2, c.image, c.matte), temp.path), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_EQ(log.last(), c.message);
        EXPECT_FALSE(temp.exists());
    }
}

TEST_F(Tiff, TextsColourAndTheShapeOfPixelsTravel) {
    const float primaries[12] = {.64F, .33F, .03F, .3F,    .6F,   .1F,
                                 .15F, .06F, .79F, .3127F, .329F, .3583F};
    for (const int bits : {8, 16}) {
        const TempFile temp(".tiff");
        ASSERT_EQ(write_picture(noise(4, 2, integers(3, bits)), temp.path,
                                [&](ZOR_INFO &info) {
                                    info.name = STR_save("A name");
                                    info.description = STR_save("na\xC3\xAFve");
                                    info.program = STR_save("caf\xE9"); // Latin-1
                                    info.machine = STR_save("unknown");
                                    info.user = STR_save("");
                                    info.date = STR_save("{1700000000}");
                                    info.images[0].curve.kind = 1;
                                    info.images[0].curve.gamma = 1.8F;
                                    info.images[0].picture_aspect = 3;
                                    std::copy(primaries, primaries + 12, info.primaries);
                                }),
                  0);
        const Look file(temp.path);
        EXPECT_EQ(file.text(TIFFTAG_DOCUMENTNAME), "A name");
        EXPECT_EQ(file.text(TIFFTAG_IMAGEDESCRIPTION), "na\xC3\xAFve");
        EXPECT_EQ(file.text(TIFFTAG_SOFTWARE), "caf\xE9");
        EXPECT_EQ(file.text(TIFFTAG_HOSTCOMPUTER), "(none)");
        EXPECT_EQ(file.text(TIFFTAG_ARTIST), "(none)");
        EXPECT_EQ(file.text(TIFFTAG_DATETIME), "2023:11:14 22:13:20");

        ZOR_IMAGE *image = open_for_reading(temp.path);
        ZOR_INFO back;
        ASSERT_EQ(ZOR_info_from_image(&back, image), 0);
        EXPECT_STREQ(back.name, "A name");
        EXPECT_STREQ(back.description, "na\xC3\xAFve");
        EXPECT_STREQ(back.program, "caf\xC3\xA9");
        EXPECT_STREQ(back.date, "2023-11-14T22:13:20");
        EXPECT_EQ(back.images[0].curve.gamma, 1.8F);
        EXPECT_EQ(back.images[0].picture_aspect, 3.0F);
        for (int i = 0; i < 12; ++i)
            EXPECT_NEAR(back.primaries[i], primaries[i], 1e-5);
        ZOR_info_cleanup(&back, 1);
        ZOR_close(image);
    }
}

TEST_F(Tiff, WhatAFileDoesNotStateIsNotMadeUp) {
    const TempFile temp(".tiff");
    ASSERT_EQ(write_picture(noise(4, 2, integers(1, 8)), temp.path,
                            [](ZOR_INFO &info) {
                                info.images[0].curve.kind = 1;
                                info.images[0].curve.gamma = 1; // what files without one have
                            }),
              0);
    const Look file(temp.path);
    uint16_t *table = nullptr;
    float *numbers = nullptr;
    float number = 0;
    EXPECT_EQ(TIFFGetField(file.tiff, TIFFTAG_TRANSFERFUNCTION, &table, &table, &table), 0);
    EXPECT_EQ(TIFFGetField(file.tiff, TIFFTAG_WHITEPOINT, &numbers), 0);
    EXPECT_EQ(TIFFGetField(file.tiff, TIFFTAG_XRESOLUTION, &number), 0);

    // A function that no exponent describes is dropped, chromaticities that are none as well.
    Layout layout;
    layout.extras = [](TIFF *tiff) {
        std::vector<uint16_t> steps(256, 1000);
        const float white[] = {0.9F, 0.9F};
        TIFFSetField(tiff, TIFFTAG_TRANSFERFUNCTION, steps.data(), steps.data(), steps.data());
        TIFFSetField(tiff, TIFFTAG_WHITEPOINT, white);
    };
    make_tiff(temp.path, noise(4, 2, integers(1, 8)), layout);
    ZOR_IMAGE *image = open_for_reading(temp.path);
    ZOR_INFO back;
    ASSERT_EQ(ZOR_info_from_image(&back, image), 0);
    EXPECT_EQ(back.images[0].curve.gamma, 1.0F);
    EXPECT_EQ(back.images[0].picture_aspect, 2.0F);
    EXPECT_EQ(back.primaries[9], 0.31F);
    ZOR_info_cleanup(&back, 1);
    ZOR_close(image);
}

} // namespace
