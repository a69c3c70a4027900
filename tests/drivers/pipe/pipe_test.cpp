// pipe_test.cpp - images on the standard output: every byte of the stream.
#include <cerrno>

#include "core/registry.h"
#include "support/driver_test.h"
#include "support/system.h"

namespace {

class PipeTest : public BuiltInDriverTest {
protected:
    ~PipeTest() override { std::fclose(file_); }

    // What arrived in the file that stands for the reader.
    std::string stream() {
        std::string bytes(1 << 16, '\0');
        std::rewind(file_); // and, for who writes to it, to its end again
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file_));
        return bytes;
    }

    FILE *file_ = std::tmpfile();
};

TEST_F(PipeTest, TheStreamIsALineOfTextAndTheActiveSamples) {
    const struct {
        ZOR_CHANNELS image, matte;
        const char *tail; // of the line
    } mixes[] = {
        {{3, ZOR_C_INTEGER, 8}, {1, ZOR_C_INTEGER, 16}, " 3 1 0 1 8 1 16 0 0\n"},
        {{1, ZOR_C_INTEGER, 12}, {0, 77, 77}, " 1 0 0 1 12 0 0 0 0\n"},
        {{2, ZOR_C_FLOAT, 32}, {1, ZOR_C_INTEGER, 24}, " 2 1 0 2 32 1 24 0 0\n"},
        {{0, 0, 0}, {1, ZOR_C_DOUBLE, 64}, " 0 1 0 0 0 3 64 0 0\n"},
    };
    std::string expected;
    const Redirected to_file(file_);
    for (const auto &[channels, matte, tail] : mixes) {
        Request request("x.pipe");
        ZOR_IMAGE_DESC &desc = request.add(20, 5);
        desc.win_left += 390, desc.win_right += 390, desc.act_left = 395, desc.act_right = 406;
        desc.win_bottom -= 2, desc.win_top -= 2, desc.act_bottom = -1, desc.act_top = 1;
        desc.image = channels, desc.matte = matte;
        std::printf("before\n"); // by the application, and in the stream's order
        ZOR_IMAGE *image = request.open("w");
        ASSERT_NE(image, nullptr) << log.text();
        expected.append("before").append(text_line_end);
        for (int y = -2; y <= 2; ++y) {
            for (const int wrong : {y - 1, y + 1})
                expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, write(image, 0, wrong));
            ASSERT_EQ(stream(), expected) << "nothing comes of lines out of order";
            ASSERT_EQ(write(image, 0, y), 0);
            if (y == -2)
                expected.append("ZORPIPE 1 12 3").append(tail);
            ZOR_IMAGE_DESC active = desc;
            active.win_left = desc.act_left, active.win_right = desc.act_right;
            for (const auto &row : Rows(active, y, false).bytes)
                if (y >= desc.act_bottom && y <= desc.act_top)
                    expected.append(row.begin(), row.end());
            ASSERT_EQ(stream(), expected) << y << ": each line arrives at once";
        }
        expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, write(image, 0, 3));
        EXPECT_EQ(ZOR_close(image), 0);
        std::printf("after\n"); // the stream stays open, in the mode it was in
        std::fflush(stdout);
        ASSERT_EQ(stream(), expected.append("after").append(text_line_end));
    }
}

// Other drivers get the stream as a file, several at a time.
TEST_F(PipeTest, TheStreamsModeComesBackWithTheLastFileThatIsClosed) {
    ZOR_IMAGE image = {};
    std::string name = "/dev/stdout";
    image.file_name = name.data();
    image.mode = ZOR_MODE_WRITE;
    const Redirected to_file(file_);
    std::printf("\n");
    FILE *files[] = {zor__open_file(&image), zor__open_file(&image)};
    for (FILE *file : files) {
        std::fputs("\n", file);
        EXPECT_EQ(zor__close_file(&image, file), 0);
    }
    std::printf("\n");
    std::fflush(stdout);
    EXPECT_EQ(stream(), text_line_end + std::string("\n\n") + text_line_end);
}

// In a child process, because what could not be written stays in the standard output.
TEST_F(PipeTest, ABrokenStreamIsToldAtOnceAndForGood) {
    if (*full_device == '\0')
        GTEST_SKIP() << "no such device";
    const auto breaks = [&] {
        const Redirected to_device(std::fopen(full_device, "w"));
        Request request("x.pipe");
        request.add(4, 3);
        ZOR_IMAGE *image = request.open("w");
        for (int i = 0; i < 2; ++i)
            expect({ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE}, write(image, 0, 0));
        EXPECT_EQ(ZOR_close(image), ZOR_E_WRITE);
        EXPECT_EQ(log.text(),
                  std::string("Cannot write to x.pipe; ") + std::strerror(ENOSPC) + "\n");
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(breaks(), testing::ExitedWithCode(0), "");
}

TEST_F(PipeTest, OneImageIsWrittenAndNoneRead) {
    Request request("x.pipe");
    request.add(4, 3);
    request.add(4, 3);
    EXPECT_EQ(request.open("w"), nullptr);
    expect({ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES}, zor__err);
    ZOR_IMAGE none = {};
    EXPECT_EQ(zor::find_driver("pipe")->write_open(&none), 0);
    expect({ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES}, zor__err);

    ZOR_IMAGE *image = request.open("r"); // accepted, and does nothing
    ASSERT_NE(image, nullptr) << log.text();
    EXPECT_EQ(ZOR_image_count(image), 0);
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(image, 0, &rows), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_close(image), ZOR_E_UNSUPPORTED);
    image->close = [](ZOR_IMAGE *handle) { return zor__free_obj(handle), 0; };
    EXPECT_EQ(ZOR_close(image), 0);
}

} // namespace
