// fault_test.cpp - MOX files when the disk or the file system give out.
#include <atomic>
#include <cerrno>

#include "drivers/mox/mox_files.h"
#include "drivers/mox/stream.h"
#include "support/fault.h"

namespace {

// File functions of which the n-th call fails.
class FailingCalls {
public:
    explicit FailingCalls(int n, int number = EIO) {
        left_ = n;
        number_ = number;
        zor::mox::set_file_calls(&calls_);
    }
    ~FailingCalls() {
        zor::mox::set_file_calls(&zor::mox::system_file_calls);
        fault_points.count += left_ <= 0 ? 1 : 0;
    }
    FailingCalls(const FailingCalls &) = delete;
    FailingCalls &operator=(const FailingCalls &) = delete;
    [[nodiscard]] int left() const { return left_; }

private:
    template<class Result>
    static Result fail(Result result, Result failure) {
        if (--left_ != 0) // of several threads one
            return result;
        errno = number_;
        return failure;
    }
    inline static std::atomic<int> left_;
    inline static int number_;
    static constexpr zor::mox::FileCalls calls_ = {
        // a read that failed has moved the file all the same
        [](void *to, size_t n, FILE *file) { return fail<size_t>(std::fread(to, 1, n, file), 0); },
        [](const void *from, size_t n, FILE *file) {
            return left_ == 1 ? fail<size_t>(n, n - 1) : fail(std::fwrite(from, 1, n, file), n);
        },
        [](FILE *file, int64_t position, int origin) {
            return fail(zor::mox::system_file_calls.seek(file, position, origin), -1);
        },
        [](ZOR_IMAGE *image, FILE *file) { return fail(zor__close_file(image, file), EOF); },
        [](FILE *file, int64_t position, void *to, size_t n) {
            return fail(zor::mox::system_file_calls.read_at(file, position, to, n), n / 2);
        }};
};

class FaultTest : public MoxTest {
protected:
    static constexpr int width = 3000, height = 200;
    std::vector<uint8_t> samples = std::vector<uint8_t>(size_t{3} * width * height);
    int done = 0; // lines of the latest frame
    int move(ZOR_IMAGE *image, int k, int threads, int bottom = 0) {
        ZOR_PLANE planes[3] = {};
        for (size_t c = 0; c < 3; ++c)
            planes[c].samples = samples.data() + c * width * height;
        ZOR_RASTER raster = {k, 0, width - 1, bottom, height - 1, threads, 3, planes, 0};
        const bool reading = image->mode == ZOR_MODE_READ;
        const int status = (reading ? ZOR_raster_read : ZOR_raster_write)(image, &raster);
        done = raster.lines_done;
        return status;
    }

    // Writes two images, by scanlines or with some threads as a whole. Returns the first failure's
    // status. Once lines cannot be written the file is lost, which whatever comes next says, too.
    int write_images(int threads = 0) {
        Request request(file, "mox");
        for (int k = 0; k < 2; ++k)
            request.add(width, height);
        log.clear();
        ZOR_IMAGE *image = request.open("w");
        if (image == nullptr)
            return zor__err;
        for (int i = 0; i < (threads > 0 ? 2 : 2 * height); ++i) {
            const auto write_next = [&](int first) {
                return threads > 0 ? move(image, i, threads, first)
                                   : write(image, i / height, i % height);
            };
            if (const int status = write_next(0); status != 0) {
                expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE}, status);
                expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE}, write_next(done));
                expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE}, ZOR_close(image));
                return status;
            }
        }
        const int status = ZOR_close(image);
        if (status != 0)
            expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE}, status);
        return status;
    }
};

// Whatever fails in writing is told, and as long as it is not one of the last touches there are no
// scanlines to be found afterwards.
TEST_F(FaultTest, EveryCallMayFailInWriting) {
    for (const int threads : {0, 1, 3}) {
        const int calls = [&] {
            const FailingCalls none(1000);
            EXPECT_EQ(write_images(threads), 0);
            return 1000 - none.left();
        }();
        EXPECT_GT(calls, 6);
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE(testing::Message() << n << " with " << threads);
            EXPECT_EQ((FailingCalls(n, ENOSPC), write_images(threads)), ZOR_E_WRITE);
            EXPECT_EQ(std::filesystem::exists(file), n > 1);
            if (n == 1 || n > calls - 4) // two tables, the close: a call or two each
                continue;
            Request request(file);
            ZOR_IMAGE *image = request.open("r");
            EXPECT_TRUE(image == nullptr || read(image, 0, 0) == ZOR_E_READ);
            ZOR_close(image);
        }
    }
}

// A scanline can be read when the trouble is over.
TEST_F(FaultTest, EveryCallMayFailInReading) {
    ASSERT_EQ(write_images(), 0);
    Request request(file);
    for (int n = 1, left = 0; left <= 0; ++n) {
        SCOPED_TRACE(n);
        const FailingCalls failing(n);
        ZOR_IMAGE *image = request.open("r");
        EXPECT_TRUE(image != nullptr || zor__err == ZOR_E_NOT_THIS_TYPE || zor__err == ZOR_E_READ);
        // What fails beside a scanline is tried again as one.
        const int whole = image != nullptr ? move(image, 1, 2) : 0;
        EXPECT_TRUE(whole == 0 || whole == ZOR_E_READ) << log.text();
        for (const int y : {150, 20, 149, 90, 0})
            if (image != nullptr && !reads_back(image, 1, y)) {
                EXPECT_EQ(zor__err, ZOR_E_READ);
                EXPECT_NE(log.last().find(std::strerror(EIO)), std::string::npos) << log.last();
                EXPECT_TRUE(reads_back(image, 1, y)) << y;
            }
        ZOR_close(image);
        left = failing.left();
        ASSERT_LT(n, 100);
    }
}

} // namespace
