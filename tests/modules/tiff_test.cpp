// tiff_test.cpp - the tiff module against libtiff itself: what is read, what is written, what is
// refused.
#include <gmock/gmock.h>

#include "modules/tiff_files.h"

namespace {

struct Tiff : ModuleTest {
    // The tests' own files are odd.
    Tiff() : ModuleTest{"tiff", "tif"} { TIFFSetWarningHandler(nullptr); }
    const TempFile temp{".tif"};

    // Reads the file in two orders of its lines and compares it with what it should be.
    void expect_reads(const Picture &expected) const {
        for (const bool shuffled : {false, true}) {
            Picture picture;
            EXPECT_EQ(read_picture(temp.path, &picture, shuffled), 0);
            EXPECT_TRUE(picture == expected);
        }
    }
};

// Noise of channels of one kind.
Picture file_of(int colours, int mattes, ZOR_CHANNELS kind) {
    return noise(21, 19, {colours, kind.type, kind.bits}, {mattes, kind.type, kind.bits});
}

TEST_F(Tiff, EverySampleTypeIsReadFromEveryLayout) {
    for (const ZOR_CHANNELS kind :
         {integers(1, 1), integers(1, 2), integers(1, 4), integers(1, 8), integers(1, 12),
          integers(1, 16), integers(1, 32), floats(1), doubles(1)})
        for (const int colours : {1, 3})
            for (const int tile : {0, 16})
                for (const bool planar : {false, true})
                    for (const char *mode : {"wl", "wb8"}) {
                        SCOPED_TRACE(testing::Message() << kind.type << " " << kind.bits << " "
                                                        << colours << tile << planar << mode);
                        const Picture picture = file_of(colours, colours / 2, kind);
                        const int photometric = colours == 1 ? 1 : PHOTOMETRIC_RGB;
                        make_tiff(temp.path, picture, {photometric, 1, 1, planar, tile}, mode);
                        expect_reads(picture);
                    }
}

TEST_F(Tiff, CompressedFilesAreRead) {
    for (const int compression : {COMPRESSION_LZW, COMPRESSION_DEFLATE, COMPRESSION_ADOBE_DEFLATE,
                                  COMPRESSION_ZSTD, COMPRESSION_PACKBITS})
        for (const int tile : {0, 16})
            for (const int predictor : {1, 2, 3}) {
                const Picture picture = file_of(3, 1, predictor == 3 ? floats(1) : integers(1, 16));
                const int used = compression == COMPRESSION_PACKBITS ? 1 : predictor;
                make_tiff(temp.path, picture,
                          {PHOTOMETRIC_RGB, compression, used, tile == 0, tile});
                expect_reads(picture);
            }
    make_tiff(temp.path, file_of(1, 0, integers(1, 1)), {1, COMPRESSION_CCITTFAX4});
    expect_reads(file_of(1, 0, integers(1, 1)));

    // Losses are small where colours change slowly; the file has luminance and colour differences.
    Picture smooth{32, 16, integers(3, 8)};
    smooth.each([&](int k, int x, int y) { smooth.at(k, x, y) = 70 + 3 * x + 2 * (k - 1) * y; });
    make_tiff(temp.path, smooth,
              {PHOTOMETRIC_YCBCR, COMPRESSION_JPEG, 1, false, 32,
               with(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB)});
    Picture back;
    ASSERT_EQ(read_picture(temp.path, &back), 0) << log.text();
    for (size_t i = 0; i < smooth.samples.size(); ++i)
        EXPECT_NEAR(back.samples[i], smooth.samples[i], 12);
}

TEST_F(Tiff, WhiteIsBrightAndTheFirstColumnIsLeft) {
    for (const int bits : {1, 4, 8, 16, 32})
        for (const int orientation : {1, 2, 3, 4}) {
            Picture file = file_of(1, 1, integers(1, bits));
            Picture expected = file;
            file.each([&](int k, int x, int y) {
                const bool mirrored = orientation == 2 || orientation == 3;
                const double sample = file.at(k, x, y);
                expected.at(k, mirrored ? file.width - 1 - x : x,
                            orientation > 2 ? file.height - 1 - y : y) =
                    k == 0 ? std::ldexp(1.0, bits) - 1 - sample : sample;
            });
            make_tiff(
                temp.path, file,
                {PHOTOMETRIC_MINISWHITE, 1, 1, false, 0, with(TIFFTAG_ORIENTATION, orientation)});
            expect_reads(expected);
            const Image image(open_for_reading(temp.path));
            EXPECT_EQ(image->images[0].orientation, orientation > 2 ? 1 : 0);
        }
}

TEST_F(Tiff, PalettesBecomeColours) {
    for (const int bits : {1, 4, 8, 16})
        for (const int factor : {1, 256, 257, 3}) { // entries of 8 bits in several forms, and of 16
            SCOPED_TRACE(testing::Message() << bits << " " << factor);
            Picture file = file_of(1, 1, integers(1, bits));
            std::vector<uint16_t> maps[3];
            for (int i = 0; i < 1 << bits; ++i)
                for (int k = 0; k < 3; ++k)
                    maps[k].push_back(static_cast<uint16_t>((255 - (i + 7 * k) % 200) * factor));
            const int wide = factor == 3 ? 16 : 8;
            Picture expected{file.width, file.height, integers(3, wide), integers(1, bits)};
            expected.each([&](int k, int x, int y) {
                expected.at(k, x, y) = k < 3 ? maps[k][static_cast<size_t>(file.at(0, x, y))] /
                                                   (wide == 16 ? 1 : factor)
                                             : file.at(1, x, y);
            });
            make_tiff(temp.path, file,
                      {PHOTOMETRIC_PALETTE, 1, 1, false, 0,
                       with(TIFFTAG_COLORMAP, maps[0].data(), maps[1].data(), maps[2].data())});
            expect_reads(expected);
        }
}

TEST_F(Tiff, ExtraSamplesAreMattesWhenTheyAreMarkedOrTheFirst) {
    using Case = std::pair<std::vector<uint16_t>, int>; // kinds, mattes
    for (const auto &[kinds, mattes] :
         {Case{{0}, 1}, Case{{1}, 1}, Case{{0, 0}, 1}, Case{{2, 2, 2}, 3}, Case{{1, 2, 0, 2}, 2},
          Case{{0, 2}, 1}}) {
        const int extra = static_cast<int>(kinds.size());
        const auto mark = with(TIFFTAG_EXTRASAMPLES, extra, kinds.data());
        Picture file = file_of(3, extra, integers(1, 8));
        make_tiff(temp.path, file, {PHOTOMETRIC_RGB, 1, 1, false, 0, mark});
        file.matte = integers(mattes, 8);
        file.aux = integers(extra - mattes, 8);
        expect_reads(file);
    }
}

TEST_F(Tiff, FilesOfOtherKindsAreRefused) {
    const std::tuple<ZOR_CHANNELS, Layout, const char *> cases[] = {
        {integers(4, 8), {PHOTOMETRIC_SEPARATED}, "colour space"},
        {integers(1, 8), {1, 1, 1, false, 0, with(TIFFTAG_SAMPLEFORMAT, 2)}, "samples of this"},
        {integers(1, 8), {1, 1, 1, false, 0, with(TIFFTAG_ORIENTATION, 6)}, "on their side"},
        {integers(1, 8), {1, COMPRESSION_LZMA}, "compression"},
        {floats(1), {PHOTOMETRIC_MINISWHITE}, "0 is white"},
    };
    for (const auto &[kind, layout, reason] : cases) {
        make_tiff(temp.path, noise(5, 5, kind), layout);
        EXPECT_EQ(read_bytes(".tif", temp.bytes(), log), ZOR_E_UNSUPPORTED);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_OPEN)) << log.text();
        EXPECT_THAT(log.last(), testing::HasSubstr(reason));
    }
}

// Asks for one setting.
Fill with_setting(int number, uint16_t code = 0) {
    static ZOR_CAP_SETTING setting; // lives as long as the handle
    static ZOR_CAP_SETTING *list[] = {&setting, nullptr};
    setting = {code, 0, {number}};
    return [](ZOR_INFO &info) { info.cap_settings = list; };
}

TEST_F(Tiff, WhatIsWrittenIsReadBackUnderEverySetting) {
    const std::pair<int, int> settings[] = {{0, COMPRESSION_NONE}, {1, COMPRESSION_PACKBITS},
                                            {2, COMPRESSION_LZW},  {3, COMPRESSION_ADOBE_DEFLATE},
                                            {16, COMPRESSION_LZW}, {17, COMPRESSION_LZW}};
    for (const auto &[setting, compression] : settings)
        for (const ZOR_CHANNELS kind :
             {integers(1, 8), integers(1, 16), integers(1, 32), floats(1), doubles(1)})
            for (const int colours : {1, 3})
                for (const int mattes : {0, 3}) {
                    const Picture picture = file_of(colours, mattes, kind);
                    ASSERT_EQ(write_picture(picture, temp.path, with_setting(setting)), 0);
                    expect_reads(picture);
                    const Look file(temp.path);
                    EXPECT_EQ(file.number(TIFFTAG_COMPRESSION), compression);
                    EXPECT_EQ(file.number(TIFFTAG_BITSPERSAMPLE), kind.bits);
                    uint16_t count = 0;
                    const uint16_t *marks = nullptr;
                    TIFFGetField(file.tiff, TIFFTAG_EXTRASAMPLES, &count, &marks);
                    const uint16_t mark =
                        setting == 17 ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
                    EXPECT_EQ(std::vector(marks, marks + count), std::vector(mattes, mark));
                }
}

TEST_F(Tiff, OtherWidthsAreWidenedSoThatShiftingBackRestoresThem) {
    for (int bits = 1; bits <= 16; ++bits)
        for (const int mattes : {0, 1}) {
            Picture picture = noise(13, 1, integers(1, bits), integers(mattes, 32));
            ASSERT_EQ(write_picture(picture, temp.path), 0);
            Picture back;
            ASSERT_EQ(read_picture(temp.path, &back), 0);
            const int narrow = mattes > 0 || bits > 4 ? 8 : bits > 2 ? 4 : bits;
            ASSERT_EQ(back.image.bits, bits > 8 ? 16 : narrow);
            for (int x = 0; x < 13; ++x)
                EXPECT_EQ(std::floor(std::ldexp(back.at(0, x, 0), bits - back.image.bits)),
                          picture.at(0, x, 0));
        }
}

TEST_F(Tiff, UnknownSettingsAreRefusedAndLeaveNoFile) {
    for (const auto &[setting, code] : {std::pair(4, 0), {0x10001, 0}, {1, 1}}) {
        const Fill fill = with_setting(setting, static_cast<uint16_t>(code));
        EXPECT_EQ(open_for_writing(noise(2, 2, integers(3, 8)), temp.path, fill), nullptr);
        EXPECT_EQ(log.last(), "tif cannot handle the requested action");
        EXPECT_FALSE(temp.exists());
    }
}

TEST_F(Tiff, TextsColourAndTheShapeOfPixelsTravel) {
    for (const int bits : {8, 16}) {
        const Picture picture = noise(4, 2, integers(3, bits));
        ASSERT_EQ(write_picture(picture, temp.path, fill_texts_and_colour), 0);
        const Look file(temp.path);
        EXPECT_EQ(file.text(TIFFTAG_DOCUMENTNAME), "na\xC3\xAFve");
        EXPECT_EQ(file.text(TIFFTAG_HOSTCOMPUTER) + file.text(TIFFTAG_ARTIST), "(none)(none)");
        EXPECT_EQ(file.text(TIFFTAG_DATETIME), "2023:11:14 22:13:20");

        const Image back(open_for_reading(temp.path));
        expect_texts_and_colour(back.get(), "2023-11-14T22:13:20");
        EXPECT_EQ(back->images[0].picture_aspect, 3.0F);
    }
}

TEST_F(Tiff, ColourThatMakesNoSenseIsLeftOut) {
    const Picture picture = noise(4, 2, integers(1, 8));
    make_tiff(temp.path, picture, {1, 1, 1, false, 0, [](TIFF *tiff) {
                                       const std::vector<uint16_t> flat(256, 1000);
                                       const float white[] = {0.9F, 0.9F};
                                       TIFFSetField(tiff, TIFFTAG_TRANSFERFUNCTION, flat.data());
                                       TIFFSetField(tiff, TIFFTAG_WHITEPOINT, white);
                                   }});
    const Image back(open_for_reading(temp.path));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->images[0].curve.gamma, 1.0F);
    EXPECT_EQ(back->images[0].picture_aspect, 2.0F);
    EXPECT_EQ(back->primaries[9], 0.31F);

    // Nor are defaults stated in a file.
    write_picture(picture, temp.path,
                  [](ZOR_INFO &info) { info.images[0].curve = {1, 1, 0, 0, 0, 0, 0, {}}; });
    for (const uint32_t tag : {TIFFTAG_TRANSFERFUNCTION, TIFFTAG_WHITEPOINT, TIFFTAG_XRESOLUTION}) {
        const void *unused[3];
        EXPECT_EQ(TIFFGetField(Look(temp.path).tiff, tag, &unused[0], &unused[1], &unused[2]), 0);
    }
}

} // namespace
