// raster_test.cpp - whole frames and windows of MOX files, beside the same lines as scanlines.
#include <algorithm>
#include <numeric>
#include <random>

#include "drivers/mox/mox_files.h"
#include "zor/ops.h"

namespace {

// Memory for a window of an image: so many channels interleaved, the last one first, and the others
// in planes of their own, of which then only every second sample counts. Bottom line first or last,
// with bytes between the lines that are nobody's.
struct Canvas {
    Canvas(const ZOR_IMAGE_DESC &desc, int left, int right, int bottom, int top, size_t interleaved,
           bool falling)
        : raster{0, left, right, bottom, top, 1, 0, nullptr, -1} {
        for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
            sizes.insert(sizes.end(), static_cast<size_t>(group.count),
                         ZOR_sample_size(group.type, group.bits));
        interleaved = std::min(interleaved, sizes.size());
        const auto size_of = [this](size_t first, size_t end) {
            return std::accumulate(&sizes[0] + first, &sizes[0] + end, 0);
        };
        const int columns = right - left + 1;
        const int lines = top - bottom + 1;
        const int pixel = size_of(0, interleaved);
        const int spread = interleaved > 0 ? 2 : 1;
        const int line = (pixel + spread * size_of(interleaved, sizes.size())) * columns + 3;
        memory.assign(static_cast<size_t>(line) * static_cast<size_t>(lines), gap);
        uint8_t *const start = memory.data() + (falling ? line * (lines - 1) : 0);
        for (size_t k = 0; k < sizes.size(); ++k) {
            const bool in_pixel = k < interleaved;
            const int place = in_pixel ? size_of(k + 1, interleaved)
                                       : (pixel + spread * size_of(interleaved, k)) * columns;
            const int step = in_pixel ? pixel : spread > 1 ? spread * sizes[k] : 0;
            planes.push_back({start + place, step, falling ? -line : line});
        }
        raster.num_planes = static_cast<int>(planes.size());
        raster.planes = planes.data();
    }
    [[nodiscard]] uint8_t *sample(size_t k, int x, int y) const {
        const ZOR_WORD step = planes[k].column_step != 0 ? planes[k].column_step : sizes[k];
        return static_cast<uint8_t *>(planes[k].samples) +
               planes[k].row_step * (y - raster.bottom) + step * (x - raster.left);
    }
    void begin_at(int y) {
        for (size_t k = 0; k < planes.size(); ++k)
            planes[k].samples = sample(k, raster.left, y);
        raster.bottom = y;
    }
    // Calls a function with every sample of a line and the one of a scanline it belongs to.
    template<class Function>
    void each(int y, int win_left, void *const *rows, Function function) {
        for (size_t k = 0; k < planes.size(); ++k)
            for (int x = raster.left; planes[k].samples != nullptr && x <= raster.right; ++x)
                function(sample(k, x, y),
                         static_cast<uint8_t *>(rows[k]) + (x - win_left) * sizes[k],
                         static_cast<size_t>(sizes[k]));
    }
    void fill(const ZOR_IMAGE_DESC &desc) {
        for (int y = raster.bottom; y <= raster.top; ++y)
            each(
                y, desc.win_left, Rows(desc, y, false).pointers.data(),
                [](uint8_t *to, const uint8_t *from, size_t size) { std::memcpy(to, from, size); });
    }
    // Whether the lines below an end are those of the image's scanlines; wipes them, so that in the
    // end nothing but gaps are left.
    bool take(ZOR_IMAGE *image, int k, int end) {
        bool equal = true;
        for (int y = raster.bottom; equal && y < end; ++y) {
            void **rows = nullptr;
            equal = image->scan(image->data[k], y, reinterpret_cast<void **>(&rows)) == 0;
            if (equal)
                each(y, image->images[k].win_left, rows,
                     [&](uint8_t *sample, const uint8_t *expected, size_t size) {
                         equal = equal && std::memcmp(sample, expected, size) == 0;
                         std::memset(sample, gap, size);
                     });
        }
        return equal;
    }
    [[nodiscard]] bool is_gap() const { return memory == std::vector<uint8_t>(memory.size(), gap); }

    static constexpr uint8_t gap = 0xAA;
    std::vector<int> sizes;
    std::vector<uint8_t> memory;
    std::vector<ZOR_PLANE> planes;
    ZOR_RASTER raster;
};

class RasterTest : public MoxTest {
protected:
    // The whole window of a sub-image.
    static Canvas canvas(ZOR_IMAGE *image, int k = 0, size_t interleaved = 0,
                         bool falling = false) {
        const ZOR_IMAGE_DESC &desc = image->images[k];
        Canvas canvas(desc, desc.win_left, desc.win_right, desc.win_bottom, desc.win_top,
                      interleaved, falling);
        canvas.raster.sub_image = k;
        return canvas;
    }
    // The file, but for its date and the time that it took.
    [[nodiscard]] std::string content() const {
        return read_file(file).replace(528, 20, 20, ' ').replace(614, 12, 12, ' ');
    }

    // Three sub-images whose lines are mixed, the first one large.
    std::string mixed_file() {
        Request request(file);
        request.add(700, 300).matte = {1, ZOR_C_INTEGER, 16};
        request.add(300, 300).aux = {1, ZOR_C_FLOAT, 32};
        request.add(9, 3);
        ZOR_IMAGE *image = request.open("w");
        for (int y = 0; y < 300; ++y)
            for (int k = 0; k < (y < 3 ? 3 : 2); ++k)
                EXPECT_EQ(write(image, k, y), 0);
        EXPECT_EQ(ZOR_close(image), 0);
        return read_file(file);
    }

    // Reads the first image in one call and line by line, which must come to the same: equal lines,
    // or a failure at the same line in the same words.
    void compare(const std::string &bytes) {
        ZOR_IMAGE *image = open_bytes(bytes);
        ASSERT_NE(image, nullptr) << log.text();
        const int top = image->images[0].win_top;
        int y = 0;
        int status = 0;
        while (y <= top && (status = read(image, 0, y)) == 0)
            ++y;
        const std::string said = log.text();
        for (const int threads : {1, 3}) {
            log.clear();
            Canvas whole = canvas(image);
            whole.raster.num_threads = threads;
            EXPECT_EQ(ZOR_raster_read(image, &whole.raster), status);
            EXPECT_EQ(log.text(), said);
            EXPECT_EQ(whole.raster.lines_done, y);
            EXPECT_TRUE(whole.take(image, 0, y));
            EXPECT_EQ(image->last_scanline, -1);
        }
        ZOR_close(image);
    }
};

// All storages, in files that are read in several blocks. The records of wide rows are measured
// before they are written: each row is asked for twice.
TEST_F(RasterTest, IsTheSameAsScanlines) {
    constexpr int wide = 32700;
    std::mt19937 random(1);
    const std::tuple<int, int, int> cases[] = {{1, 1, 5},  {1, 8, 5},  {1, 9, 0},
                                               {1, 16, 5}, {1, 17, 5}, {1, 32, 0},
                                               {2, 32, 5}, {3, 64, 0}, {1, 16, wide}};
    for (const auto &[type, bits, border] : cases) {
        const int margin = border % wide;
        SCOPED_TRACE(testing::Message() << type << " " << bits << " " << border);
        Request request(file);
        ZOR_IMAGE_DESC &desc = border == wide ? request.add(wide, 4) : request.add(420, 100);
        desc.image = {3, type, bits};
        desc.matte = {1, ZOR_C_INTEGER, 33 - std::min(bits, 32)};
        if (border != wide)
            desc.aux = {1, 4 - type, type == 3 ? 8 : 32 * (3 - type)};
        desc.win_left = desc.win_bottom = margin;
        desc.act_left = desc.act_bottom = 2 * margin;
        desc.act_right -= margin;
        desc.act_top -= margin;
        ZOR_IMAGE *image = request.open("w");
        ASSERT_NE(image, nullptr) << log.text();
        ASSERT_NO_FATAL_FAILURE(write_all(image, 0));
        ZOR_close(image);
        const std::string expected = content();

        image = request.open("r");
        ASSERT_NE(image, nullptr) << log.text();
        EXPECT_EQ(image->images[0].image.bits, bits);
        std::vector<int> order = lines(desc);
        for (int pass = 0; pass < 3; ++pass) {
            for (const int y : order)
                EXPECT_TRUE(reads_back(image, 0, y)) << y;
            pass == 0 ? std::reverse(order.begin(), order.end())
                      : std::shuffle(order.begin(), order.end(), random);
        }
        ZOR_close(image);

        const std::pair<int, size_t> ways[] = {{1, 5}, {2, 0}, {4, 5}, {1, 2}, {2, 3}, {4, 4}};
        for (const auto &[threads, interleaved] : ways) {
            const bool falling = threads == 4;
            image = request.open("w");
            Canvas rows = canvas(image, 0, interleaved, falling);
            rows.raster.num_threads = threads;
            rows.fill(desc);
            const Canvas before = rows;
            // In three parts, the first of which is a scanline.
            ASSERT_EQ(write(image, 0, margin), 0);
            const int middle = (desc.win_bottom + desc.win_top) / 2;
            for (const auto &[y, top] :
                 {std::pair(margin + 1, middle), {middle + 1, desc.win_top}}) {
                rows.begin_at(y);
                rows.raster.top = top;
                EXPECT_EQ(ZOR_raster_write(image, &rows.raster), 0) << log.text();
                EXPECT_EQ(rows.raster.lines_done, top - y + 1);
            }
            EXPECT_TRUE(rows.memory == before.memory);
            EXPECT_EQ(ZOR_close(image), 0);
            EXPECT_TRUE(content() == expected) << threads;

            image = request.open("r");
            ASSERT_NE(image, nullptr) << log.text();
            Canvas whole = canvas(image, 0, interleaved, falling);
            Canvas window(desc, margin + 3, desc.win_right - 28, margin + 1, desc.win_top - 1,
                          interleaved, !falling);
            window.planes[1].samples = nullptr; // left out
            for (Canvas *some : {&whole, &window}) {
                some->raster.num_threads = threads;
                EXPECT_EQ(ZOR_raster_read(image, &some->raster), 0) << log.text();
                EXPECT_EQ(some->raster.lines_done, some->raster.top - some->raster.bottom + 1);
                EXPECT_TRUE(some->take(image, 0, some->raster.top + 1));
                EXPECT_TRUE(some->is_gap()) << "touches nothing else";
            }
            ZOR_close(image);
        }
    }
}

const Failure argument(ZOR_E_ARGUMENT, ZOR_MSG_CANNOT_HANDLE);
const Failure bad_line(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE);

TEST_F(RasterTest, WordsAskForPlanesWithoutGaps) {
    ZOR_IMAGE *image = open_bytes(mixed_file());
    ASSERT_NE(image, nullptr);
    std::vector<uint8_t> red(200), matte(400);
    void *channels[] = {red.data(), nullptr, nullptr, matte.data()};
    const auto address = reinterpret_cast<ZOR_WORD>(channels);
    const Rows expected(image->images[0], 8, true);
    const auto has_row = [&](size_t line) {
        const bool equal = std::memcmp(&red[100 * line], &expected.bytes[0][320], 100) == 0 &&
                           std::memcmp(&matte[200 * line], &expected.bytes[3][640], 200) == 0;
        std::fill(matte.begin(), matte.end(), 0);
        return equal;
    };
    EXPECT_EQ(ZOR_get_raster(image, address, 320, 419, 7, 8), 0) << log.text();
    EXPECT_TRUE(has_row(1));
    EXPECT_EQ(ZOR_get_region(image, address, 320, 419, 8, 8), 0);
    EXPECT_TRUE(has_row(0));
    EXPECT_EQ(ZOR_direct_scan_read(image, 8, address, 320, 419, 0), 0);
    EXPECT_TRUE(has_row(0));
    EXPECT_EQ(image->last_scanline, 8);
    expect(argument, ZOR_direct_scan_read(image, 8, address, 320, 419, 1));
    expect(argument, ZOR_direct_scan_read(image, 8, address, 0, 700, 0));
    expect(argument, ZOR_get_raster(image, 0, 0, 3, 0, 0));
    expect(bad_line, ZOR_get_raster(image, address, 0, 3, 299, 300));
    ZOR_close(image);

    Request request(file);
    request.add(100, 1).image.count = 1;
    image = request.open("w");
    EXPECT_EQ(ZOR_get_raster(image, address, 0, 99, 0, 0), ZOR_E_UNSUPPORTED);
    EXPECT_TRUE(log.has_only(ZOR_MSG_NO_RASTER));
    EXPECT_EQ(ZOR_direct_scan_write(image, 0, address, 0, 99, 0), 0);
    EXPECT_EQ(ZOR_close(image), 0);
    image = request.open("r");
    EXPECT_EQ(ZOR_direct_scan_read(image, 0, reinterpret_cast<ZOR_WORD>(channels + 3), 0, 99, 0),
              0);
    EXPECT_EQ(std::memcmp(red.data(), matte.data(), 100), 0);
    ZOR_close(image);
}

TEST_F(RasterTest, RefusesWhatCannotBe) {
    const auto unsupported = [&](int status) {
        return status == ZOR_E_UNSUPPORTED && zor__err == status && log.reports.empty();
    };
    ZOR_IMAGE *image = open_bytes(mixed_file());
    ASSERT_NE(image, nullptr);
    Canvas some = canvas(image, 1);
    const std::tuple<int32_t ZOR_RASTER::*, int32_t, Failure> cases[] = {
        {&ZOR_RASTER::sub_image, 3, argument},    {&ZOR_RASTER::sub_image, -1, argument},
        {&ZOR_RASTER::left, -1, argument},        {&ZOR_RASTER::right, 300, argument},
        {&ZOR_RASTER::left, 300, argument},       {&ZOR_RASTER::num_planes, 3, argument},
        {&ZOR_RASTER::num_threads, -1, argument}, {&ZOR_RASTER::bottom, -1, bad_line},
        {&ZOR_RASTER::top, 300, bad_line},        {&ZOR_RASTER::top, -1, bad_line}};
    for (const auto &[field, value, failure] : cases) {
        ZOR_RASTER wrong = some.raster;
        wrong.*field = value;
        expect(failure, ZOR_raster_read(image, &wrong));
        EXPECT_EQ(wrong.lines_done, 0);
    }
    EXPECT_TRUE(unsupported(ZOR_raster_write(image, &some.raster)));
    ZOR__select(image, 1);
    some.raster.sub_image = 0;
    EXPECT_TRUE(unsupported(ZOR_raster_read(image, &some.raster)));
    ZOR_close(image);

    Request request(file);
    request.add(8, 8);
    image = request.open("w");
    Canvas whole = canvas(image);
    EXPECT_TRUE(unsupported(ZOR_raster_read(image, &whole.raster)));
    whole.raster.right = 6; // columns that do not make a line
    expect(argument, ZOR_raster_write(image, &whole.raster));
    whole.raster.right = 7;
    whole.raster.bottom = 1; // is not the next line
    expect(bad_line, ZOR_raster_write(image, &whole.raster));
    whole.raster.bottom = 0;
    void *const samples = std::exchange(whole.planes[2].samples, nullptr);
    expect(argument, ZOR_raster_write(image, &whole.raster));
    whole.planes[2].samples = samples;
    EXPECT_EQ(ZOR_raster_write(image, &whole.raster), 0) << log.text();
    expect(bad_line, ZOR_raster_write(image, &whole.raster));
    EXPECT_EQ(whole.raster.lines_done, 0);
    EXPECT_EQ(ZOR_close(image), 0);
}

// Lines may lie anywhere in the file; and when some of them are damaged or missing, the lowest one
// is what counts.
TEST_F(RasterTest, FailsWhereAndAsScanlinesDo) {
    const std::string whole = mixed_file();
    const auto entry = [](int y) { return 740 + 4 * static_cast<size_t>(y); };
    const auto position = [&](int y) {
        uint32_t value = 0;
        for (size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<uint8_t>(whole[entry(y) + i]);
        return value;
    };
    ASSERT_NO_FATAL_FAILURE(compare(whole));
    std::string bytes = whole;
    std::mt19937 random(1);
    for (int y = 0; y < 300; ++y)
        put(bytes, entry(y), 4, position(static_cast<int>(random() % 300)));
    ASSERT_NO_FATAL_FAILURE(compare(bytes));
    for (const int y : {0, 150, 299}) {
        SCOPED_TRACE(y);
        for (const uint32_t lost : {739U, position(y) + 1, 0xFFFFFFFFU}) {
            bytes = whole;
            put(bytes, entry(y), 4, lost);
            put(bytes, entry(299), 4, 1); // is only told when it is the first one
            ASSERT_NO_FATAL_FAILURE(compare(bytes));
        }
        // a packet too short, one too long, a record too long
        for (const auto &[at, value] : {std::pair{2U, 0x8007U}, {2U, 0x7F00U}, {0U, 0xFFFFU}}) {
            bytes = whole;
            put(bytes, position(y) + at, 2, value);
            ASSERT_NO_FATAL_FAILURE(compare(bytes));
        }
        if (y > 0) { // the headers come before
            ASSERT_NO_FATAL_FAILURE(compare(whole.substr(0, position(y) + 40)));
        }
    }
}

// A line that cannot be stored is not begun; it is expected next, with other samples. Without
// threads: as a scanline.
TEST_F(RasterTest, RecordsTooLongEndIt) {
    Request request(file);
    request.add(20000, 60).image = {2, ZOR_C_INTEGER, 32};
    ZOR_IMAGE *image = request.open("w");
    write_all(image, 0);
    ZOR_close(image);
    const std::string expected = content();
    std::vector<uint32_t> noise(20000);
    std::generate(noise.begin(), noise.end(), std::mt19937(1));
    for (const int threads : {0, 1, 2, 4}) {
        image = request.open("w");
        Canvas whole = canvas(image);
        whole.raster.num_threads = std::max(threads, 1);
        whole.fill(image->images[0]);
        const Canvas good = whole;
        for (const int y : {17, 50})
            std::memcpy(whole.sample(1, 0, y), noise.data(), 80000);
        for (int y = 0; threads == 0 && y < 17; ++y)
            EXPECT_EQ(write(image, 0, y), 0);
        void *rows[] = {whole.sample(0, 0, 17), noise.data()};
        expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE},
               threads == 0 ? ZOR_scan_write(image, 17, rows)
                            : ZOR_raster_write(image, &whole.raster));
        EXPECT_EQ(whole.raster.lines_done, threads == 0 ? -1 : 17);
        whole.memory = good.memory;
        whole.begin_at(17);
        EXPECT_EQ(ZOR_raster_write(image, &whole.raster), 0) << log.text();
        EXPECT_EQ(ZOR_close(image), 0);
        EXPECT_TRUE(content() == expected) << threads;
    }
}

} // namespace
