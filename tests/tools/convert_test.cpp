// convert_test.cpp - conversions of images that take a program to make, and with memory running out.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zor/str.h>
#include <zor/zor.h>

#include "loader/loader.h"
#include "picture.h"
#include "support/fault.h"
#include "zor/convert_image.h"

namespace fs = std::filesystem;

namespace {

class Convert : public testing::Test {
protected:
    static void SetUpTestSuite() {
        loader_ = new zor::Loader({MODULES});
        ASSERT_EQ(loader_->start(), 0);
    }
    static void TearDownTestSuite() { delete loader_; }

    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "zor-test-XXXXXX").string();
        work_ = mkdtemp(name.data());
    }
    void TearDown() override { fs::remove_all(work_); }

    std::string path(const char *name) const { return (work_ / name).string(); }

    zor::ExitCode convert(const std::string &from, const std::string &to, bool strict = false) {
        const std::string input = path(from.c_str());
        const std::string output = path(to.c_str());
        auto conversion = zor::choose_formats(input, output, "", "", reports_);
        if (!conversion.has_value())
            return zor::EXIT_WRONG_USAGE;
        conversion->strict = strict;
        return zor::convert_image(input, output, *conversion, workplace_, reports_);
    }

    // Writes a grey MOX file of two images; the first one's window is 4 x 3 from (10, 20), its
    // active window the middle, and its samples are 1 to 12.
    void write_two_images(const char *name) const {
        ZOR_INFO *info = ZOR_info_alloc();
        info->file_name = STR_save(path(name).c_str());
        info->complete_path = 1;
        for (int i = 0; i < 2; ++i) {
            ZOR_IMAGE_DESC *desc = ZOR_info_add_image(info, 4, 3);
            desc->win_left += 10, desc->win_right += 10;
            desc->win_bottom += 20, desc->win_top += 20;
            desc->act_left = 11, desc->act_right = 12;
            desc->act_bottom = desc->act_top = 21;
            desc->image.count = 1;
        }
        ZOR_IMAGE *image = ZOR_open(info, "w");
        ZOR_info_free(info, 1);
        ASSERT_NE(image, nullptr);
        unsigned char samples[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        for (int row = 0; row < 3; ++row) {
            void *rows[] = {samples + size_t{4} * static_cast<size_t>(row)};
            EXPECT_EQ(ZOR_scan_write(image, 20 + row, rows), 0);
        }
        EXPECT_EQ(ZOR_close(image), 0);
    }

    inline static zor::Loader *loader_ = nullptr;
    fs::path work_;
    zor::Workplace workplace_;
    zor::LibraryReports library_reports_;
    zor::Reports reports_{true};
};

TEST_F(Convert, WindowsGoOverWhereTheFormatHasThemAndBecomeThePictureElsewhere) {
    write_two_images("a.mox");
    EXPECT_EQ(convert("a.mox", "b.mox"), zor::EXIT_FINE);
    EXPECT_EQ(read_file(path("a.mox")).substr(0, 16), read_file(path("b.mox")).substr(0, 16))
        << "window and active window";
    EXPECT_EQ(convert("b.mox", "c.pgm"), zor::EXIT_FINE);
    EXPECT_THAT(read_file(path("c.pgm")),
                testing::EndsWith(std::string("\0\0\0\0\0\6\7\0\0\0\0\0", 12)));
}

TEST_F(Convert, FurtherImagesAreLeftOutUnlessThatIsForbidden) {
    write_two_images("a.mox");
    EXPECT_EQ(convert("a.mox", "b.mox", true), zor::EXIT_OUTPUT_FAILED);
    EXPECT_EQ(convert("a.mox", "b.mox"), zor::EXIT_FINE);
    EXPECT_EQ(convert("b.mox", "c.mox", true), zor::EXIT_FINE) << "now there is one image only";
}

TEST_F(Convert, EveryAllocationMayFail) {
    write_two_images("a.mox");
    write_file(path("a.pam"), pam(9, 5, 4, 2));
    const struct {
        const char *from, *to;
    } ways[] = {{"a.mox", "b.pgm"}, {"a.pam", "b.png"}, {"a.pam", "b.mox"}, {"b.png", "c.mox"}};
    for (const auto &[from, to] : ways) {
        SCOPED_TRACE(std::string(from) + " to " + to);
        const long allocations =
            for_each_failing_allocation([&, from = from, to = to](Fault &fault) {
                fs::remove(path(to));
                testing::internal::CaptureStderr();
                const zor::ExitCode code = convert(from, to);
                const std::string said = testing::internal::GetCapturedStderr();
                EXPECT_EQ(code == zor::EXIT_FINE, fs::exists(path(to)));
                EXPECT_EQ(code == zor::EXIT_FINE, said.empty()) << said;
                EXPECT_EQ(fault.live(), 0);
                for (const auto &entry : fs::directory_iterator(work_))
                    EXPECT_NE(entry.path().filename().string()[0], '.') << "a temporary file stays";
            });
        EXPECT_GT(allocations, 20);
        EXPECT_EQ(convert(from, to), zor::EXIT_FINE);
    }
}

} // namespace
