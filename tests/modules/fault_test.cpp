// fault_test.cpp - where all the modules have to fail: channels that do not fit, missing lines,
// pipes.
#include <gmock/gmock.h>

#include "modules/picture.h"

namespace {

struct ModuleFaults : ModuleTest {
    ModuleFaults() : ModuleTest{"pnm", "pbm", "ppm", "pam", "pfm", "png", "tiff"} {}
};

TEST_F(ModuleFaults, ChannelsThatDoNotFitAreRefusedAndLeaveNoFile) {
    const std::tuple<const char *, ZOR_CHANNELS, ZOR_CHANNELS, const char *> cases[] = {
        {".pnm", integers(2, 8), {}, "pnm cannot handle image channel type"},
        {".pnm", floats(3), floats(1), "pnm cannot handle matte channel type"},
        {".pnm", integers(1, 17), {}, "pnm cannot handle image channel width"},
        {".pbm", integers(1, 2), {}, "pbm cannot handle image channel width"},
        {".ppm", integers(1, 8), {}, "ppm cannot handle image channel type"},
        {".pam", floats(1), {}, "pam cannot handle image channel type"},
        {".pfm", integers(3, 8), {}, "pfm cannot handle image channel width"},
        {".pnm", integers(3, 8), floats(1), "pnm cannot handle matte channel type"},
        {".png", integers(2, 8), {}, "png cannot handle image channel type"},
        {".png", floats(3), {}, "png cannot handle image channel type"},
        {".png", integers(3, 8), floats(1), "png cannot handle matte channel type"},
        {".png", integers(3, 17), {}, "png cannot handle image channel width"},
        {".png", integers(1, 8), integers(2, 8), "png cannot handle matte channel type"},
        {".tiff", integers(2, 8), {}, "tiff cannot handle image channel type"},
        {".tiff", integers(3, 8), floats(1), "tiff cannot handle matte channel type"},
        {".tiff", integers(3, 17), {}, "tiff cannot handle image channel width"},
        {".tiff", floats(3), doubles(1), "tiff cannot handle matte channel type"}};
    for (const auto &[extension, image, matte, message] : cases) {
        const TempFile temp(extension);
        EXPECT_EQ(open_for_writing(noise(2, 2, image, matte), temp.path), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_EQ(log.last(), message);
        EXPECT_FALSE(temp.exists());
    }
}

TEST_F(ModuleFaults, FilesThatLackLinesDoNotLookWhole) {
    for (const char *extension : {".pfm", ".pnm", ".png", ".tiff"}) {
        const bool rising = extension == std::string(".pfm");
        const Picture picture = noise(20000, 3, rising ? floats(1) : integers(1, 8));
        const TempFile temp(extension);
        ZOR_IMAGE *image = open_for_writing(picture, temp.path);
        EXPECT_EQ(write_line(image, picture, rising ? 2 : 0), ZOR_E_SCANLINE);
        EXPECT_EQ(write_line(image, picture, rising ? 0 : 2), 0);
        log.clear();
        EXPECT_EQ(ZOR_close(image), ZOR_E_WRITE);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_WRITE));
        EXPECT_EQ(temp.bytes().find("IEND"), std::string::npos);
        Picture back;
        EXPECT_NE(read_picture(temp.path, &back), 0);
    }
}

TEST_F(ModuleFaults, PipesGiveTheirLinesInOrderIfAny) {
    const Picture picture = noise(5, 4, integers(3, 8));
    for (const char *extension : {".pnm", ".png"})
        for (const bool shuffled : {false, true}) {
            const TempFile file(extension);
            ASSERT_EQ(write_picture(picture, file.path), 0);
            FullPipe pipe(file.bytes());
            Picture back;
            const Image image(open_for_reading(pipe.name, extension + 1));
            pipe.end();
            EXPECT_EQ(read_lines(image.get(), &back, shuffled), shuffled ? ZOR_E_SCANLINE : 0);
            EXPECT_TRUE(shuffled || back == picture);
        }
    const FullPipe pipe("");
    const Fill as_tiff = [](ZOR_INFO &info) { info.key = STR_save("tiff"); };
    EXPECT_EQ(open_for_reading(pipe.name, "tiff"), nullptr);
    EXPECT_EQ(open_for_writing(picture, pipe.name, as_tiff), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_THAT(log.text(), testing::ContainsRegex("(it has to be a file on disk.*){2}"));
}

} // namespace
