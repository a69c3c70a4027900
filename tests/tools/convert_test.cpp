// convert_test.cpp - conversions of images that take a program to make, and without memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zor/str.h>
#include <zor/zor.h>

#include "loader/loader.h"
#include "picture.h"
#include "support/fault.h"
#include "support/files.h"
#include "zor/convert_image.h"

namespace fs = std::filesystem;

namespace {

class Convert : public testing::Test {
protected:
    Convert() { EXPECT_EQ(loader_.start(), 0); }

    std::string path(const char *name) const { return (work_.path / name).string(); }

    zor::ExitCode convert(const char *from, const char *to, bool strict = false) {
        const std::string input = path(from);
        const std::string output = path(to);
        auto conversion = zor::choose_formats(input, output, "", "", reports_);
        if (!conversion.has_value())
            return zor::EXIT_WRONG_USAGE;
        conversion->strict = strict;
        return zor::convert_image(input, output, *conversion, workplace_, reports_);
    }

    // Writes a MOX file of two images. The first one is 10 x 4 with rows 1 and 2, columns 2 to 9
    // stored, the other one has no scanlines.
    void write_two_images(const char *name) const {
        std::string file = read_file(SMALL_MOX);
        const size_t size = file.size();
        file[738] = static_cast<char>(size >> 8); // where the next header is
        file[739] = static_cast<char>(size);
        write_file(path(name), file + read_file(SMALL_MOX).substr(0, 748));
    }

    zor::Loader loader_{{MODULES}};
    TempDir work_;
    zor::Workplace workplace_;
    zor::LibraryReports library_reports_;
    zor::Reports reports_{true};
};

TEST_F(Convert, WindowsAndFurtherImagesGoOverWhereTheyCan) {
    write_two_images("a.mox");
    EXPECT_EQ(convert("a.mox", "b.mox", true), zor::EXIT_OUTPUT_FAILED) << "one image only";
    EXPECT_EQ(convert("a.mox", "b.mox"), zor::EXIT_FINE);
    EXPECT_EQ(convert("b.mox", "c.mox", true), zor::EXIT_FINE);
    EXPECT_EQ(read_file(path("a.mox")).substr(0, 16), read_file(path("b.mox")).substr(0, 16))
        << "window and active window";
    EXPECT_EQ(convert("b.mox", "c.pgm"), zor::EXIT_FINE);
    const std::string empty(10, '\0');
    const std::string row = empty.substr(8) + "\7\7\7\7\7\1\2\3";
    EXPECT_THAT(read_file(path("c.pgm")), testing::EndsWith(empty + row + row + empty));
}

TEST_F(Convert, EveryAllocationMayFail) {
    write_two_images("a.mox");
    write_file(path("a.pam"), pam(9, 5, 4, 2));
    using Way = std::pair<const char *, const char *>;
    for (const auto &[from, to] : {Way("a.mox", "b.pgm"), Way("a.pam", "b.png"),
                                   Way("a.pam", "b.mox"), Way("b.png", "c.mox")}) {
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
                for (const auto &entry : fs::directory_iterator(work_.path))
                    EXPECT_NE(entry.path().filename().string()[0], '.') << "a temporary file stays";
            });
        EXPECT_GT(allocations, 20);
        EXPECT_EQ(convert(from, to), zor::EXIT_FINE);
    }
}

} // namespace
