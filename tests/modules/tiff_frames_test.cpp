// tiff_frames_test.cpp - files of several pages, damaged files, and pipes.
#include <gmock/gmock.h>

#include "modules/tiff_files.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct TiffFrames : ModuleTest {
    TiffFrames() : ModuleTest{"tiff"} {}
    const TempFile temp{".tiff"};
};

int get_frame(ZOR_IMAGE *image) {
    int32_t frame = -1;
    EXPECT_EQ(ZOR_get_frame(image, reinterpret_cast<ZOR_WORD>(&frame)), 0);
    return frame;
}

void expect_shows(ZOR_IMAGE *image, const Picture &expected) {
    Picture picture;
    EXPECT_EQ(read_lines(image, &picture), 0);
    EXPECT_TRUE(picture == expected);
}

// Pages that have nothing in common; those with a fourth colour cannot be read.
std::vector<Picture> motley() {
    return {noise(5, 4, integers(3, 8), integers(1, 8)), noise(30, 7, integers(1, 1)),
            noise(2, 50, floats(3)), noise(9, 9, integers(1, 16), integers(1, 16)),
            noise(4, 4, integers(4, 8))};
}

void make_pages(const std::string &path, const std::vector<Picture> &pages, const char *mode) {
    const int photometric[] = {0, 1, 0, PHOTOMETRIC_RGB, PHOTOMETRIC_SEPARATED};
    TIFF *tiff = TIFFOpen(path.c_str(), mode);
    for (const Picture &page : pages)
        add_page(tiff, page,
                 {photometric[page.image.count], COMPRESSION_LZW, 1, page.image.bits == 16,
                  page.image.bits == 1 ? 16 : 0});
    TIFFClose(tiff);
}

TEST_F(TiffFrames, PagesAreFramesInAnyOrder) {
    const std::vector<Picture> pages = motley();
    for (const char *mode : {"wl", "wb", "wb8"})
        for (const int first : {1, -2}) {
            make_pages(temp.path, pages, mode);
            Info info(temp.path.c_str());
            info.first_frame = first;
            const Image opened(info.open("r"));
            ZOR_IMAGE *image = opened.get();
            ASSERT_NE(image, nullptr);
            EXPECT_EQ(ZOR_image_num_frames(image), 5);
            EXPECT_EQ(get_frame(image), first);
            for (const int page : {0, 3, 1, 1, 2, 0, 2, 3}) {
                EXPECT_EQ(ZOR_set_frame(image, first + page), 0) << log.text();
                EXPECT_EQ(get_frame(image), first + page);
                EXPECT_EQ(ZOR_image_desc(image, 0)->frame, first + page);
                EXPECT_STREQ(ZOR_image_desc(image, 0)->chan_format, "rgb");
                expect_shows(image, pages[page]);
            }
            // What cannot be shown leaves the page before.
            log.clear();
            EXPECT_EQ(ZOR_set_frame(image, first + 4), ZOR_E_UNSUPPORTED);
            EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_OPEN)) << log.text();
            for (const int frame : {first - 1, first + 5, INT32_MAX, INT32_MIN}) {
                EXPECT_EQ(ZOR_set_frame(image, frame), ZOR_E_ARGUMENT);
                EXPECT_THAT(log.last(), HasSubstr("there is no frame " + std::to_string(frame)));
                EXPECT_EQ(get_frame(image), first + 3);
                expect_shows(image, pages[3]);
            }
        }
}

TEST_F(TiffFrames, PlaybackSteps) {
    make_pages(temp.path, motley(), "wl");
    const Image image(open_for_reading(temp.path));
    void *state = image->data[0];
    // Frames that are shown, at most five, and what the last call returns.
    const auto run = [&](int first, int last, int by) {
        std::vector<int> frames;
        int status = image->playback_play(state, first, last, by, 0, 0);
        for (; status == 1 && frames.size() < 5;
             status = image->playback_play(state, 0, 0, 0, 0, 0))
            frames.push_back(get_frame(image.get()));
        frames.push_back(status);
        return frames;
    };
    EXPECT_EQ(image->playback_bind(state, 0, 0), 0);
    EXPECT_THAT(run(0, 0, 0), ElementsAre(0)); // nothing runs yet
    EXPECT_THAT(run(1, 4, 1), ElementsAre(1, 2, 3, 4, 0));
    EXPECT_THAT(run(4, 1, -2), ElementsAre(4, 2, 0));
    EXPECT_THAT(run(3, 9, 1), ElementsAre(3, 4, ZOR_E_UNSUPPORTED));
    EXPECT_THAT(run(7, 9, 1), ElementsAre(ZOR_E_ARGUMENT));
    EXPECT_EQ(image->playback_params(state, 1, 0, 0, 0, 0, 0, 0, 0), 0); // round and round
    EXPECT_THAT(run(2, 3, 1), ElementsAre(2, 3, 2, 3, 2, 1));
    EXPECT_EQ(image->playback_goto(state, 2), 0);
    EXPECT_THAT(run(0, 0, 0), ElementsAre(3, 2, 3, 2, 3, 1));
    EXPECT_EQ(image->playback_stop(state, 0), 0);
    EXPECT_THAT(run(0, 0, 0), ElementsAre(0));
}

// Frames that differ in one sample.
Picture frame_picture(int frame) {
    Picture picture = noise(6, 5, integers(3, 8), integers(1, 8));
    picture.at(0, 3, 3) = frame;
    return picture;
}

TEST_F(TiffFrames, FramesAreWrittenOneBehindTheOther) {
    ZOR_IMAGE *image = open_for_writing(frame_picture(0), temp.path, [](ZOR_INFO &info) {
        info.frame_count = 5;
        info.first_frame = 10;
    });
    ASSERT_NE(image, nullptr);
    for (int frame = 10; frame < 15; ++frame) {
        EXPECT_EQ(ZOR_set_frame(image, frame), 0) << log.text();
        EXPECT_EQ(get_frame(image), frame);
        EXPECT_EQ(image->num_frames, frame - 9);
        // All but the last one are whole.
        for (int y = 4; y >= (frame < 14 ? 0 : 1); --y) {
            EXPECT_EQ(ZOR_set_frame(image, frame + 1), ZOR_E_ARGUMENT); // not all there yet
            EXPECT_EQ(write_line(image, frame_picture(frame), y), 0);
        }
        EXPECT_EQ(write_line(image, frame_picture(frame), frame < 14 ? 0 : 1), ZOR_E_SCANLINE);
        for (const int other : {frame - 1, frame + 2})
            EXPECT_EQ(ZOR_set_frame(image, other), ZOR_E_ARGUMENT);
    }
    log.clear();
    EXPECT_EQ(ZOR_close(image), ZOR_E_WRITE);
    EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_WRITE)) << log.text();

    const Image read(open_for_reading(temp.path));
    ASSERT_EQ(read->num_frames, 4) << "what lacks a line is left out";
    for (int page = 4; page >= 1; --page) {
        EXPECT_EQ(ZOR_set_frame(read.get(), page), 0);
        expect_shows(read.get(), frame_picture(9 + page));
    }
    const Look file(temp.path);
    uint16_t page[2] = {};
    TIFFSetDirectory(file.tiff, 2);
    TIFFGetField(file.tiff, TIFFTAG_PAGENUMBER, &page[0], &page[1]);
    EXPECT_THAT(page, ElementsAre(2, 5));
}

TEST_F(TiffFrames, DamagedFilesEndInAFailure) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW}) {
        make_tiff(temp.path, noise(9, 9, integers(3, 8)), {PHOTOMETRIC_RGB, compression});
        damage(".tiff", temp.bytes(), 4, 4, log); // the end marks the list of pages
    }
}

TEST_F(TiffFrames, AFileThatIsCutOffIsReadUpToTheMissingStrip) {
    RawTiff file{4, 6, 2, COMPRESSION_NONE, 8};
    constexpr uint32_t data = RawTiff::data_offset;
    for (const uint32_t number : {data + 24, data + 32, data + 40, 8U, 8U, 8U})
        put_number(file.data, number);
    file.data += "abcdefghijklmnop....";
    const TempFile cut(".tiff", file.bytes());
    const Image image(open_for_reading(cut.path));
    ASSERT_NE(image, nullptr) << log.text();
    void **rows = nullptr;
    for (const int y : {5, 4, 3, 2, 1, 4}) {
        EXPECT_EQ(ZOR_scan_read(image.get(), y, &rows), y == 1 ? ZOR_E_READ : 0);
        EXPECT_TRUE(y == 1 || *static_cast<char *>(rows[0]) == "abcdefghijklmnop"[4 * (5 - y)]);
    }
    EXPECT_EQ(log.text(), "Cannot read scanline 1; the file is too short\n");
}

TEST_F(TiffFrames, ListsOfPagesMayLie) {
    const RawTiff page{2, 1, 1, COMPRESSION_NONE, 2};
    // A page, and behind it two more, of which the last leads back to the second; then other ends.
    for (const uint32_t next : {0U, 8U, 110U, 1000000U}) {
        const auto size = static_cast<uint32_t>(page.bytes().size());
        std::string bytes = page.bytes().substr(0, 8);
        for (const uint32_t behind : {next == 110 ? size : next, 2 * size - 8, size}) {
            RawTiff linked = page;
            linked.next = behind;
            bytes += linked.bytes().substr(8);
        }
        const TempFile listed(".tiff", bytes);
        log.clear();
        const Image image(open_for_reading(listed.path));
        ASSERT_NE(image, nullptr) << log.text();
        EXPECT_EQ(image->num_frames, next == 110 ? 3 : 1);
        EXPECT_EQ(log.reports.size(), next != 0 ? 1U : 0U) << log.text();
        EXPECT_EQ(ZOR_set_frame(image.get(), image->num_frames), 0);
    }
    const std::string no_page = page.bytes().substr(0, 4) + std::string(4, '\0');
    EXPECT_EQ(read_bytes(".tiff", no_page, log), ZOR_E_DECODE);
}

TEST_F(TiffFrames, ImplausibleSizesAreRefused) {
    EXPECT_EQ(read_bytes(".tiff", RawTiff{2000000000, 1, 1, COMPRESSION_LZW, 10}.bytes(), log),
              ZOR_E_MEMORY);
    TIFF *tiff = TIFFOpen(temp.path.c_str(), "w");
    for (const uint32_t tag :
         {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_TILEWIDTH, TIFFTAG_TILELENGTH})
        TIFFSetField(tiff, tag, 19200);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, 1);
    EXPECT_EQ(TIFFWriteCheck(tiff, 1, "test"), 1); // makes room for a tile's position
    TIFFClose(tiff);
    EXPECT_EQ(read_bytes(".tiff", temp.bytes(), log), ZOR_E_MEMORY);
    EXPECT_TRUE(log.has_only(ZOR_MSG_NO_MEMORY)) << log.text();
}

TEST_F(TiffFrames, ALargeStripIsDecodedLineByLineWhileTheOrderLasts) {
    // 64 MiB and a little in runs of 128 bytes, and more than the file's size allows to hold.
    using Steps = std::vector<std::pair<uint32_t, int>>; // row, status
    const std::tuple<uint32_t, uint32_t, Steps> cases[] = {
        {67200, 67200, {{0, 0}, {1, 0}, {2, 0}, {67199, 0}, {1, 0}}},
        {2000000, 2, {{0, 0}, {1, 0}, {2, ZOR_E_DECODE}, {0, ZOR_E_MEMORY}}}};
    for (const auto &[height, count, steps] : cases) {
        RawTiff file{1024, height, height, COMPRESSION_PACKBITS, count * 16};
        for (uint32_t row = 0; row < count; ++row)
            for (int i = 0; i < 8; ++i)
                put_number(file.data, 0x81U | row % 251 << 8, 2);
        const TempFile large(".tiff", file.bytes());
        const Image image(open_for_reading(large.path));
        ASSERT_NE(image, nullptr) << log.text();
        void **rows = nullptr;
        for (const auto &[row, status] : steps) {
            const int y = static_cast<int>(height - 1 - row);
            EXPECT_EQ(ZOR_scan_read(image.get(), y, &rows), status);
            EXPECT_TRUE(status != 0 || static_cast<uint8_t *>(rows[0])[1023] == row % 251);
        }
    }
}

} // namespace
