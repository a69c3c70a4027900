// tiff_frames_test.cpp - files of several pages, damaged files, and failures of the machine.
#include <gmock/gmock.h>

#include <sys/stat.h>

#include "modules/tiff_files.h"
#include "support/fault.h"
#include "zor/driver.h"

namespace {

class TiffFrames : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(ZOR_find("tiff"), nullptr); }
    Library library{"tiff"};
    ReportLog log;
};

// How frames and playback are asked for.
int set_frame(ZOR_IMAGE *image, int frame) { return image->set_frame(image->data[0], frame); }
int get_frame(ZOR_IMAGE *image) {
    int32_t frame = -1;
    EXPECT_EQ(image->get_frame(image->data[0], reinterpret_cast<ZOR_WORD>(&frame)), 0);
    return frame;
}
int play(ZOR_IMAGE *image, int first, int last, int step) {
    return image->playback_play(image->data[0], first, last, step, 0, 0);
}

// The frame that is current, read whole; without samples when that fails.
Picture read_frame(ZOR_IMAGE *image) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    Picture picture{desc->win_right + 1, desc->win_top + 1, desc->image, desc->matte, desc->aux};
    for (int i = 0; i < picture.height; ++i) {
        const int y = line(image, i);
        void **rows = nullptr;
        if (ZOR_scan_read(image, y, &rows) != 0)
            return {};
        for (int k = 0; k < picture.channels(); ++k)
            for (int x = 0; x < picture.width; ++x)
                picture.touch(rows[k], k, x, [&](auto sample) { picture.at(k, x, y) = sample; });
    }
    return picture;
}

// Pages that have nothing in common.
std::vector<Picture> motley() {
    return {noise(5, 4, integers(3, 8), integers(1, 8)), noise(30, 7, integers(1, 1)),
            noise(2, 50, floats(3)), noise(9, 9, integers(1, 16), integers(1, 16))};
}

void make_pages(const std::string &path, const std::vector<Picture> &pages, const char *mode) {
    TIFF *tiff = TIFFOpen(path.c_str(), mode);
    for (const Picture &page : pages)
        add_page(tiff, page,
                 {page.image.count == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK, COMPRESSION_LZW,
                  1, page.image.bits == 16, page.image.bits == 1 ? 16 : 0});
    TIFFClose(tiff);
}

TEST_F(TiffFrames, PagesAreFramesInAnyOrder) {
    const std::vector<Picture> pages = motley();
    const TempFile temp(".tiff");
    for (const char *mode : {"wl", "wb", "wb8"})
        for (const int first : {1, -2}) {
            make_pages(temp.path, pages, mode);
            Info info(temp.path.c_str());
            info.record.complete_path = 1;
            info.record.first_frame = first;
            ZOR_IMAGE *image = ZOR_open(&info.record, "r");
            ASSERT_NE(image, nullptr);
            EXPECT_EQ(image->num_frames, 4);
            EXPECT_EQ(get_frame(image), first);
            for (const int page : {0, 3, 1, 1, 2, 0, 2, 3}) {
                EXPECT_EQ(set_frame(image, first + page), 0) << log.text();
                EXPECT_EQ(get_frame(image), first + page);
                EXPECT_EQ(ZOR_image_desc(image, 0)->frame, first + page);
                EXPECT_STREQ(ZOR_image_desc(image, 0)->chan_format, "rgb");
                expect_equal(read_frame(image), pages[page]);
            }
            for (const int frame : {first - 1, first + 4, INT32_MAX, INT32_MIN}) {
                log.clear();
                EXPECT_EQ(set_frame(image, frame), ZOR_E_ARGUMENT);
                EXPECT_EQ(zor__err, ZOR_E_ARGUMENT);
                EXPECT_THAT(log.last(),
                            testing::HasSubstr("there is no frame " + std::to_string(frame)));
            }
            EXPECT_EQ(get_frame(image), first + 3);
            expect_equal(read_frame(image), pages[3]);
            ZOR_close(image);
        }
}

TEST_F(TiffFrames, AFileOfOnePageHasOneFrame) {
    const TempFile temp(".tiff");
    const Picture picture = noise(5, 4, integers(1, 8));
    ASSERT_EQ(write_picture(picture, temp.path), 0);
    ZOR_IMAGE *image = open_for_reading(temp.path);
    EXPECT_EQ(image->num_frames, 1);
    EXPECT_EQ(ZOR_image_desc(image, 0)->frame, -1);
    EXPECT_EQ(set_frame(image, 1), 0);
    EXPECT_EQ(set_frame(image, 2), ZOR_E_ARGUMENT);
    expect_equal(read_frame(image), picture);
    ZOR_close(image);
}

TEST_F(TiffFrames, APageThatCannotBeReadLeavesTheOneBefore) {
    const std::vector<Picture> pages = motley();
    const TempFile temp(".tiff");
    TIFF *tiff = TIFFOpen(temp.path.c_str(), "w");
    add_page(tiff, pages[0], {PHOTOMETRIC_RGB, COMPRESSION_LZW});
    add_page(tiff, noise(4, 4, integers(4, 8)), {PHOTOMETRIC_SEPARATED});
    add_page(tiff, pages[3], {});
    TIFFClose(tiff);
    ZOR_IMAGE *image = open_for_reading(temp.path);
    void **rows = nullptr;
    ASSERT_EQ(ZOR_scan_read(image, 3, &rows), 0);
    EXPECT_EQ(set_frame(image, 2), ZOR_E_UNSUPPORTED);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_OPEN)) << log.text();
    EXPECT_EQ(get_frame(image), 1);
    expect_equal(read_frame(image), pages[0]);
    EXPECT_EQ(set_frame(image, 3), 0);
    expect_equal(read_frame(image), pages[3]);
    ZOR_close(image);
}

TEST_F(TiffFrames, PlaybackSteps) {
    const TempFile temp(".tiff");
    make_pages(temp.path, motley(), "wl");
    ZOR_IMAGE *image = open_for_reading(temp.path);
    void *state = image->data[0];
    const auto run = [&](int first, int last, int step, size_t most) {
        std::vector<int> frames;
        int status = play(image, first, last, step);
        for (; status == 1 && frames.size() < most; status = play(image, 0, 0, 0))
            frames.push_back(get_frame(image));
        frames.push_back(status);
        return frames;
    };
    using testing::ElementsAre;
    EXPECT_EQ(image->playback_bind(state, 0, 0), 0);
    EXPECT_EQ(play(image, 0, 0, 0), 0); // nothing runs yet
    EXPECT_THAT(run(1, 4, 1, 9), ElementsAre(1, 2, 3, 4, 0));
    EXPECT_THAT(run(4, 1, -2, 9), ElementsAre(4, 2, 0));
    EXPECT_THAT(run(3, 9, 1, 9), ElementsAre(3, 4, ZOR_E_ARGUMENT));
    EXPECT_THAT(run(7, 9, 1, 9), ElementsAre(ZOR_E_ARGUMENT));
    EXPECT_EQ(image->playback_params(state, 1, 0, 0, 0, 0, 0, 0, 0), 0);
    EXPECT_THAT(run(2, 3, 1, 5), ElementsAre(2, 3, 2, 3, 2, 1));
    EXPECT_EQ(image->playback_goto(state, 2), 0);
    EXPECT_EQ(play(image, 0, 0, 0), 1);
    EXPECT_EQ(get_frame(image), 3);
    EXPECT_EQ(image->playback_stop(state, 0), 0);
    EXPECT_EQ(play(image, 0, 0, 0), 0);
    EXPECT_EQ(get_frame(image), 3);
    ZOR_close(image);
}

// Writes frames of noise that differ in one sample.
Picture frame_picture(int frame) {
    Picture picture = noise(6, 5, integers(3, 8), integers(1, 8));
    picture.at(0, 3, 3) = frame;
    return picture;
}

TEST_F(TiffFrames, FramesAreWrittenOneBehindTheOther) {
    const TempFile temp(".tiff");
    ZOR_IMAGE *image = open_for_writing(frame_picture(0), temp.path, [](ZOR_INFO &info) {
        info.frame_count = 4;
        info.first_frame = 10;
        info.description = STR_save("frames");
    });
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->num_frames, 1);
    for (int frame = 10; frame < 14; ++frame) {
        EXPECT_EQ(set_frame(image, frame), 0) << log.text();
        EXPECT_EQ(get_frame(image), frame);
        for (int y = 4; y >= 0; --y) {
            EXPECT_EQ(set_frame(image, frame + 1), ZOR_E_ARGUMENT); // not all there yet
            EXPECT_EQ(write_line(image, frame_picture(frame), y), 0);
        }
        EXPECT_EQ(write_line(image, frame_picture(frame), 0), ZOR_E_SCANLINE);
        EXPECT_EQ(set_frame(image, frame - 1), ZOR_E_ARGUMENT);
        EXPECT_EQ(set_frame(image, frame + 2), ZOR_E_ARGUMENT);
    }
    EXPECT_EQ(image->num_frames, 4);
    EXPECT_EQ(ZOR_close(image), 0);

    image = open_for_reading(temp.path);
    ASSERT_EQ(image->num_frames, 4);
    for (int page = 4; page >= 1; --page) {
        EXPECT_EQ(set_frame(image, page), 0);
        expect_equal(read_frame(image), frame_picture(9 + page));
    }
    ZOR_close(image);
    const Look file(temp.path);
    TIFFSetDirectory(file.tiff, 2);
    uint16_t page = 0;
    uint16_t pages = 0;
    EXPECT_EQ(TIFFGetField(file.tiff, TIFFTAG_PAGENUMBER, &page, &pages), 1);
    EXPECT_EQ(page, 2);
    EXPECT_EQ(pages, 4);
    EXPECT_EQ(file.text(TIFFTAG_IMAGEDESCRIPTION), "frames");
}

TEST_F(TiffFrames, APageThatLacksLinesIsLeftOut) {
    for (const int whole : {0, 2}) {
        const TempFile temp(".tiff");
        ZOR_IMAGE *image = open_for_writing(frame_picture(0), temp.path);
        for (int frame = 1; frame <= whole; ++frame) {
            for (int y = 4; y >= 0; --y)
                write_line(image, frame_picture(frame), y);
            EXPECT_EQ(set_frame(image, frame + 1), 0);
        }
        EXPECT_EQ(write_line(image, frame_picture(9), 4), 0);
        log.clear();
        EXPECT_EQ(ZOR_close(image), ZOR_E_WRITE);
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_WRITE)) << log.text();
        image = open_for_reading(temp.path);
        EXPECT_EQ(image != nullptr ? image->num_frames : 0, whole);
        if (image != nullptr)
            ZOR_close(image);
    }
}

TEST_F(TiffFrames, DamagedFilesEndInAFailure) {
    const TempFile temp(".tiff");
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW}) {
        make_tiff(temp.path, noise(9, 9, integers(3, 8)), {PHOTOMETRIC_RGB, compression});
        const std::string whole = temp.bytes();
        testing::internal::CaptureStderr(); // libtiff is to report, not to print
        for (size_t i = 0; i < whole.size(); ++i) {
            log.clear();
            const TempFile prefix(".tiff", whole.substr(0, i));
            Picture picture;
            const int cut = read_picture(prefix.path, nullptr, &picture);
            EXPECT_TRUE(cut == ZOR_E_READ || (i < 4 && cut == ZOR_E_NOT_THIS_TYPE) ||
                        cut == ZOR_E_DECODE || i + 4 >= whole.size())
                << i << " of " << whole.size() << ": " << cut << " " << log.text();
            EXPECT_EQ(log.reports.empty(), cut == 0) << i << log.text();

            std::string changed = whole;
            changed[i] = static_cast<char>(changed[i] ^ 0x10);
            const TempFile damaged(".tiff", changed);
            log.clear();
            const int status = read_picture(damaged.path, nullptr, &picture);
            EXPECT_TRUE(status == 0 || zor__err == status);
            EXPECT_TRUE(status == 0 || !log.reports.empty());
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

TEST_F(TiffFrames, AFileThatIsCutOffIsReadUpToTheMissingStrip) {
    RawTiff file = RawTiff::grey(4, 6, 2, COMPRESSION_NONE, 0);
    const uint32_t offsets = file.data_offset();
    file.entry(TIFFTAG_STRIPOFFSETS) = {TIFFTAG_STRIPOFFSETS, offsets, 4, 3};
    file.entry(TIFFTAG_STRIPBYTECOUNTS) = {TIFFTAG_STRIPBYTECOUNTS, offsets + 12, 4, 3};
    for (const uint32_t number : {offsets + 24, offsets + 32, offsets + 40, 8U, 8U, 8U})
        for (int i = 0; i < 4; ++i)
            file.data += static_cast<char>(number >> 8 * i);
    file.data += "abcdefghijklmnop....";
    const TempFile temp(".tiff", file.bytes());
    ZOR_IMAGE *image = open_for_reading(temp.path);
    ASSERT_NE(image, nullptr) << log.text();
    void **rows = nullptr;
    for (int y = 5; y >= 2; --y) {
        EXPECT_EQ(ZOR_scan_read(image, y, &rows), 0);
        EXPECT_EQ(*static_cast<char *>(rows[0]), "abcdefghijklmnop"[4 * (5 - y)]);
    }
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(ZOR_scan_read(image, 1, &rows), ZOR_E_READ);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_READ)) << log.text();
    EXPECT_EQ(log.last(), "Cannot read scanline 1; the file is too short");
    EXPECT_EQ(ZOR_scan_read(image, 4, &rows), 0); // what is there can still be read
    ZOR_close(image);
}

TEST_F(TiffFrames, ListsOfPagesMayLie) {
    RawTiff file = RawTiff::grey(2, 1, 1, COMPRESSION_NONE, 2);
    file.data = "ab";
    const struct {
        uint32_t next;
        int frames;
    } cases[] = {{0, 1}, {8, 1}, {1000000, 1}};
    for (const auto &c : cases) {
        file.next = c.next;
        const TempFile temp(".tiff", file.bytes());
        log.clear();
        ZOR_IMAGE *image = open_for_reading(temp.path);
        ASSERT_NE(image, nullptr) << log.text();
        EXPECT_EQ(image->num_frames, c.frames) << c.next;
        EXPECT_EQ(log.reports.size(), c.next != 0 ? 1U : 0U) << log.text();
        ZOR_close(image);
    }
    // Three pages, of which the last leads back to the second.
    const TempFile temp(".tiff");
    make_pages(temp.path, {motley()[0], motley()[0], motley()[0]}, "wl");
    const Look look(temp.path);
    TIFFSetDirectory(look.tiff, 1);
    const auto second = static_cast<uint32_t>(TIFFCurrentDirOffset(look.tiff));
    TIFFSetDirectory(look.tiff, 2);
    const auto third = static_cast<size_t>(TIFFCurrentDirOffset(look.tiff));
    std::string bytes = temp.bytes();
    const auto entries = static_cast<uint8_t>(bytes[third]);
    for (size_t i = 0; i < 4; ++i)
        bytes[third + 2 + 12U * entries + i] = static_cast<char>(second >> 8 * i);
    const TempFile loop(".tiff", bytes);
    log.clear();
    ZOR_IMAGE *image = open_for_reading(loop.path);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->num_frames, 3);
    EXPECT_THAT(log.last(), testing::HasSubstr("has no end"));
    for (const int frame : {3, 2, 1, 3})
        EXPECT_EQ(set_frame(image, frame), 0);
    ZOR_close(image);
}

TEST_F(TiffFrames, ImplausibleSizesAreRefused) {
    RawTiff files[] = {
        RawTiff::grey(2000000000, 1, 1, COMPRESSION_LZW, 10),
        RawTiff::grey(100000, 100000, 100000, COMPRESSION_LZW, 10),
        RawTiff::grey(100000, 100000, 1000, COMPRESSION_LZW, 10),
    };
    files[1].entries.push_back({TIFFTAG_TILEWIDTH, 100000});
    files[1].entries.push_back({TIFFTAG_TILELENGTH, 100000});
    files[1].entry(TIFFTAG_STRIPOFFSETS).tag = TIFFTAG_TILEOFFSETS;
    files[1].entry(TIFFTAG_STRIPBYTECOUNTS).tag = TIFFTAG_TILEBYTECOUNTS;
    for (const RawTiff &file : files) {
        const TempFile temp(".tiff", file.bytes() + "0123456789");
        log.clear();
        ZOR_IMAGE *image = open_for_reading(temp.path);
        void **rows = nullptr;
        const int status = image != nullptr ? ZOR_scan_read(image, 99999, &rows) : zor__err;
        EXPECT_TRUE(status == ZOR_E_MEMORY || status == ZOR_E_DECODE) << status << log.text();
        EXPECT_FALSE(log.reports.empty());
        if (image != nullptr)
            ZOR_close(image);
    }
    const TempFile empty(".tiff", std::string("II*\0\0\0\0\0", 8));
    EXPECT_EQ(open_for_reading(empty.path), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_DECODE);
}

TEST_F(TiffFrames, ALargeStripIsDecodedLineByLineWhileTheOrderLasts) {
    const int size = 8200; // 64 MiB and a little
    Picture picture{size, size, integers(1, 8)};
    const TempFile temp(".tiff");
    TIFF *tiff = TIFFOpen(temp.path.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, size);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    std::string bytes(size, '\0');
    for (int row = 0; row < size; ++row) {
        std::fill(bytes.begin(), bytes.end(), static_cast<char>(row));
        TIFFWriteScanline(tiff, bytes.data(), row);
    }
    TIFFClose(tiff);

    ZOR_IMAGE *image = nullptr;
    {
        Fault none(0); // sees the allocations
        image = open_for_reading(temp.path);
        ASSERT_NE(image, nullptr);
        void **rows = nullptr;
        for (const int row : {0, 1, 2, 8000, 1, 8001, 8199}) {
            EXPECT_EQ(ZOR_scan_read(image, size - 1 - row, &rows), 0) << log.text();
            EXPECT_EQ(static_cast<uint8_t *>(rows[0])[size - 1], row % 256);
        }
        ZOR_close(image);
        EXPECT_EQ(none.live(), 0);
    }
    // One too large to hold is read in its order only.
    RawTiff tall = RawTiff::grey(1000, 2000000, 2000000, COMPRESSION_PACKBITS, 40);
    for (int i = 0; i < 20; ++i)
        tall.data += "\x81x"; // 128 times the byte
    const TempFile huge(".tiff", tall.bytes());
    image = open_for_reading(huge.path);
    ASSERT_NE(image, nullptr) << log.text();
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(image, 1999999, &rows), 0) << log.text();
    EXPECT_EQ(ZOR_scan_read(image, 1999998, &rows), 0);
    EXPECT_EQ(ZOR_scan_read(image, 1999997, &rows), ZOR_E_DECODE);
    log.clear();
    EXPECT_EQ(ZOR_scan_read(image, 5, &rows), ZOR_E_MEMORY);
    EXPECT_TRUE(log.has_only(ZOR_MSG_NO_MEMORY)) << log.text();
    ZOR_close(image);
}

TEST_F(TiffFrames, EveryFailedAllocationIsReportedAndNothingLeaks) {
    const TempFile temp(".tiff");
    const std::vector<Picture> pages = {frame_picture(1), frame_picture(2)};
    Info info(temp.path.c_str()); // complete before the faults begin
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info.record, 6, 5);
    desc->image = pages[0].image;
    desc->matte = pages[0].matte;
    info.record.complete_path = 1;
    info.record.description = STR_save("caf\xE9");
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
            for (int frame = 1; frame <= 2 && status == 0; ++frame) {
                status = set_frame(image, frame);
                for (int y = 4; y >= 0 && status == 0; --y)
                    status = writing ? write_line(image, pages[frame - 1], y)
                                     : ZOR_scan_read(image, y, &rows);
            }
            const int closed = image != nullptr ? ZOR_close(image) : status;
            EXPECT_EQ(status, fault.struck() ? ZOR_E_MEMORY : 0) << log.text();
            EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), fault.struck() ? 1 : 0) << log.text();
            EXPECT_TRUE(!writing || (closed < 0) == fault.struck());
            EXPECT_EQ(fault.live(), 0);
        });
        EXPECT_GT(points, 10);
    }
}

TEST_F(TiffFrames, AFullDiskShowsAtTheLatestWhenClosing) {
    for (const int size : {2, 400}) {
        log.clear();
        const int status = write_picture(noise(size, size, integers(3, 8)), "/dev/full",
                                         [](ZOR_INFO &info) { info.key = STR_save("tiff"); });
        EXPECT_EQ(status, ZOR_E_WRITE);
        EXPECT_EQ(zor__err, ZOR_E_WRITE);
        EXPECT_TRUE(log.has(ZOR_MSG_CANNOT_WRITE)) << log.text();
        EXPECT_THAT(log.last(), testing::HasSubstr(std::strerror(ENOSPC)));
    }
}

TEST_F(TiffFrames, PipesAreRefused) {
    const TempFile pipe(".tiff");
    ASSERT_EQ(mkfifo(pipe.path.c_str(), 0600), 0);
    FILE *other_end = std::fopen(pipe.path.c_str(), "r+b");
    EXPECT_EQ(open_for_reading(pipe.path), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_OPEN)) << log.text();
    log.clear();
    EXPECT_EQ(open_for_writing(noise(2, 2, integers(1, 8)), pipe.path), nullptr);
    EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_WRITE)) << log.text();
    std::fclose(other_end);
}

} // namespace
