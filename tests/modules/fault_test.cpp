// fault_test.cpp - where all the modules have to fail: channels that do not fit, missing lines, no
// memory, a full disk, pipes.
#include <gmock/gmock.h>

#include <sys/stat.h>
#include <thread>

#include "modules/picture.h"
#include "support/fault.h"

namespace {

class ModuleFaults : public testing::Test {
protected:
    Library library{"pnm", "pbm", "ppm", "pam", "pfm", "png"};
    ReportLog log;
};

TEST_F(ModuleFaults, ChannelsThatDoNotFitAreRefusedAndLeaveNoFile) {
    const struct {
        const char *extension;
        ZOR_CHANNELS image, matte;
        const char *message;
    } cases[] = {
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
    };
    for (const auto &c : cases) {
        const TempFile temp(c.extension);
        EXPECT_EQ(open_for_writing(noise(2, 2, c.image, c.matte), temp.path), nullptr);
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_EQ(log.last(), c.message);
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
        EXPECT_NE(read_picture(temp.path, nullptr, &back), 0);
    }
}

TEST_F(ModuleFaults, EveryFailedAllocationIsReportedAndNothingLeaks) {
    const Picture picture = noise(3, 2, integers(3, 8), integers(1, 8));
    for (const char *extension : {".pnm", ".png"}) {
        const TempFile temp(extension);
        Info info(temp.path.c_str()); // complete before the faults begin
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, 3, 2);
        desc->image = picture.image;
        desc->matte = picture.matte;
        info.record.complete_path = 1;
        info.record.name = STR_save("name");
        info.record.description = STR_save("\xC3\xA9");

        size_t written = 0;
        for (const char *mode : {"w", "r"}) {
            const bool writing = *mode == 'w';
            const long points = for_each_failing_allocation([&](const Fault &fault) {
                if (writing)
                    std::remove(temp.path.c_str());
                log.clear();
                ZOR_IMAGE *image = ZOR_open(&info.record, mode);
                int status = image == nullptr ? zor__err : 0;
                EXPECT_EQ(temp.exists(), !writing || image != nullptr);
                void **rows = nullptr;
                for (int y = 1; image != nullptr && y >= 0 && status == 0; --y)
                    status =
                        writing ? write_line(image, picture, y) : ZOR_scan_read(image, y, &rows);
                const int closed = image != nullptr ? ZOR_close(image) : status;
                EXPECT_EQ(status, fault.struck() ? ZOR_E_MEMORY : 0) << log.text();
                EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), fault.struck() ? 1 : 0) << log.text();
                EXPECT_TRUE(!writing || (closed < 0) == fault.struck());
                EXPECT_EQ(fault.live(), 0);
                written = temp.bytes().size();
            });
            EXPECT_GT(points, 10);
            EXPECT_GT(written, 24U);
        }
    }
}

TEST_F(ModuleFaults, AFullDiskShowsAtTheLatestWhenClosing) {
    for (const int size : {2, 200})
        for (const char *key : {"pnm", "png"}) {
            log.clear();
            const int status = write_picture(noise(size, size, integers(3, 8)), "/dev/full",
                                             [&](ZOR_INFO &info) { info.key = STR_save(key); });
            EXPECT_EQ(status, ZOR_E_WRITE);
            EXPECT_EQ(zor__err, ZOR_E_WRITE);
            EXPECT_TRUE(log.has(ZOR_MSG_CANNOT_WRITE)) << log.text();
            EXPECT_THAT(log.last(), testing::HasSubstr(std::strerror(ENOSPC)));
        }
}

TEST_F(ModuleFaults, PipesGiveTheirLinesInOrderOnly) {
    const Picture picture = noise(5, 4, integers(3, 8));
    for (const char *extension : {".pnm", ".png"}) {
        const TempFile file(extension);
        const TempFile pipe(extension);
        ASSERT_EQ(write_picture(picture, file.path), 0);
        for (const bool shuffled : {false, true}) {
            std::remove(pipe.path.c_str());
            ASSERT_EQ(mkfifo(pipe.path.c_str(), 0600), 0);
            std::thread writer([&] { std::ofstream(pipe.path, std::ios::binary) << file.bytes(); });
            Picture back;
            EXPECT_EQ(read_picture(pipe.path, nullptr, &back, shuffled),
                      shuffled ? ZOR_E_SCANLINE : 0)
                << log.text();
            if (!shuffled) {
                expect_equal(back, picture);
            }
            writer.join();
        }
    }
}

} // namespace
