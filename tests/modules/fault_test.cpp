// fault_test.cpp - where all the modules have to fail: channels that do not fit, missing lines, no
// memory, a full disk, pipes.
#include <gmock/gmock.h>

#include <cstring>
#include <sys/stat.h>
#include <thread>

#include "modules/picture.h"
#include "support/fault.h"

namespace {

class ModuleFaults : public testing::Test {
protected:
    Library library{"pnm", "pbm", "ppm", "pam", "pfm", "png", "tiff"};
    ReportLog log;
};

TEST_F(ModuleFaults, ChannelsThatDoNotFitAreRefusedAndLeaveNoFile) {
    const std::tuple<const char *, ZOR_CHANNELS, ZOR_CHANNELS, const char *> cases[] = {
        {".pnm", integers(2, 8), {}, "pnm cannot handle image channel type"},
        {".pnm", integers(0, 8), integers(1, 8), "pnm cannot handle image channel type"},
        {".pnm", floats(3), floats(1), "pnm cannot handle matte channel type"},
        {".pnm", integers(3, 8), floats(1), "pnm cannot handle matte channel type"},
        {".pnm", integers(1, 17), {}, "pnm cannot handle image channel width"},
        {".pbm", integers(1, 2), {}, "pbm cannot handle image channel width"},
        {".ppm", integers(1, 8), {}, "ppm cannot handle image channel type"},
        {".ppm", integers(3, 8), integers(1, 8), "ppm cannot handle matte channel type"},
        {".pam", floats(1), {}, "pam cannot handle image channel type"},
        {".pfm", integers(3, 8), {}, "pfm cannot handle image channel width"},
        {".png", integers(2, 8), {}, "png cannot handle image channel type"},
        {".png", floats(3), {}, "png cannot handle image channel type"},
        {".png", integers(3, 17), {}, "png cannot handle image channel width"},
        {".png", integers(3, 8), floats(1), "png cannot handle matte channel type"},
        {".png", integers(1, 8), integers(2, 8), "png cannot handle matte channel type"},
        {".tiff", integers(2, 8), {}, "tiff cannot handle image channel type"},
        {".tiff", integers(3, 17), {}, "tiff cannot handle image channel width"},
        {".tiff", integers(3, 8), floats(1), "tiff cannot handle matte channel type"},
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
    for (const char *extension : {".pfm", ".pnm", ".png"}) {
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

// Frames are how many times the picture is in the file; 0 for a format of single images.
TEST_F(ModuleFaults, EveryFailedAllocationIsReportedAndNothingLeaks) {
    const Picture picture = noise(3, 2, integers(3, 8), integers(1, 8));
    ZOR_multiframe_set(0, 0); // a kept handle would look like a leak
    for (const auto &[extension, frames] : {std::pair(".pnm", 0), {".png", 0}, {".tiff", 2}}) {
        const TempFile temp(extension);
        Info info(temp.path.c_str()); // complete before the faults begin
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, 3, 2);
        desc->image = picture.image;
        desc->matte = picture.matte;
        info.complete_path = 1;
        info.name = STR_save("name");
        info.program = STR_save("caf\xE9");
        info.description = STR_save("\xC3\xA9");

        for (const bool writing : {true, false}) {
            const auto run = [&, frames = frames](const Fault &fault) {
                if (writing)
                    std::remove(temp.path.c_str());
                log.clear();
                ZOR_IMAGE *image = info.open(writing ? "w" : "r");
                EXPECT_EQ(temp.exists(), !writing || image != nullptr);
                int status = image == nullptr ? zor__err : 0;
                void **rows = nullptr;
                for (int frame = 0; frame < std::max(frames, 1) && status == 0; ++frame) {
                    status = frames > 0 ? ZOR_set_frame(image, frame + 1) : 0;
                    for (int y = 1; y >= 0 && status == 0; --y)
                        status = writing ? write_line(image, picture, y)
                                         : ZOR_scan_read(image, y, &rows);
                }
                const int closed = image != nullptr ? ZOR_close(image) : status;
                EXPECT_EQ(status, fault.struck() ? ZOR_E_MEMORY : 0) << log.text();
                EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), fault.struck() ? 1 : 0) << log.text();
                EXPECT_TRUE(!writing || (closed < 0) == fault.struck());
                EXPECT_EQ(fault.live(), 0);
            };
            EXPECT_GT(for_each_failing_allocation(run), 10);
        }
        EXPECT_GT(temp.bytes().size(), 24U);

        const Image image(open_for_reading(temp.path));
        for_each_failing_allocation([&](const Fault &fault) {
            ZOR_INFO copy;
            const int status = ZOR_info_from_image(&copy, image.get());
            EXPECT_EQ(status, fault.struck() ? ZOR_E_MEMORY : 0);
            if (status == 0)
                ZOR_info_cleanup(&copy, 1);
            EXPECT_EQ(fault.live(), 0);
        });
    }
}

TEST_F(ModuleFaults, AFullDiskShowsAtTheLatestWhenClosing) {
    for (const int size : {2, 400})
        for (const char *key : {"pnm", "png", "tiff"}) {
            const auto with_key = [key](ZOR_INFO &info) { info.key = STR_save(key); };
            const Picture picture = noise(size, size, integers(3, 8));
            EXPECT_EQ(write_picture(picture, "/dev/full", with_key), ZOR_E_WRITE);
            EXPECT_THAT(log.last(), testing::HasSubstr(std::strerror(ENOSPC)));
        }
    EXPECT_GE(log.count(ZOR_MSG_CANNOT_WRITE), 6);
}

TEST_F(ModuleFaults, PipesGiveTheirLinesInOrderOnly) {
    const Picture picture = noise(5, 4, integers(3, 8));
    for (const char *extension : {".pnm", ".png"})
        for (const bool shuffled : {false, true}) {
            const TempFile file(extension);
            const TempFile pipe(extension);
            ASSERT_EQ(write_picture(picture, file.path), 0);
            ASSERT_EQ(mkfifo(pipe.path.c_str(), 0600), 0);
            std::thread writer([&] { write_file(pipe.path, file.bytes()); });
            Picture back = picture;
            const Image image(open_for_reading(pipe.path));
            EXPECT_EQ(read_lines(image.get(), &back, shuffled), shuffled ? ZOR_E_SCANLINE : 0);
            if (!shuffled) {
                expect_equal(back, picture);
            }
            writer.join();
        }
}

} // namespace
