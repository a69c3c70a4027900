// platform_test.cpp - files as the platform functions open them.
#include <memory>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/files.h"

namespace {

using namespace zor::platform;

class PlatformFiles : public testing::Test {
protected:
    // As the library is given it, in UTF-8.
    [[nodiscard]] std::string path(const std::u8string &name) const {
        const std::u8string whole = (directory.path / name).generic_u8string();
        return {whole.begin(), whole.end()};
    }
    TempDir directory;
};

struct Close {
    void operator()(FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, Close>;

TEST_F(PlatformFiles, NamesAreUtf8) {
    for (const std::u8string name :
         {u8"plain", u8"caf\u00e9", u8"\u0416\u65e5\u672c", u8"\U0001F3A8"}) {
        const std::string file = path(name);
        FileStamp stamp;
        EXPECT_FALSE(file_exists(file.c_str()) != 0 || file_stamp(file.c_str(), &stamp));
        EXPECT_EQ(open_file(file.c_str(), "rb"), nullptr);
        std::fputs("x", File(open_file(file.c_str(), "wb")).get());
        EXPECT_EQ(read_file(directory.path / name), "x") << "not under this name";
        EXPECT_TRUE(file_exists(file.c_str()) == 1 && file_stamp(file.c_str(), &stamp));
        EXPECT_EQ(std::fgetc(File(open_file(file.c_str(), "rb")).get()), 'x');
        EXPECT_EQ(remove_file(file.c_str()), 0);
        EXPECT_FALSE(std::filesystem::exists(directory.path / name));
    }
    EXPECT_NE(remove_file(directory.path.string().c_str()), 0) << "no regular file";
}

// Bytes that are no UTF-8 name a file all the same: on Windows in the system's code page.
TEST_F(PlatformFiles, OtherBytesNameFilesToo) {
    const std::string file = path(u8"caf") + '\xE9';
    ASSERT_NE(File(open_file(file.c_str(), "wb")), nullptr);
    EXPECT_EQ(file_exists(file.c_str()), 1);
    EXPECT_EQ(remove_file(file.c_str()), 0);
    for (const size_t too_long : {300U, 70000U})
        EXPECT_EQ(open_file((path(u8"") + std::string(too_long, 'x')).c_str(), "rb"), nullptr);
}

TEST_F(PlatformFiles, PositionsHave64Bits) {
    const std::string file = path(u8"large");
    const int64_t far = (int64_t{5} << 30) + 3;
    {
        const File out(open_file(file.c_str(), "wb"));
        ASSERT_EQ(seek_file(out.get(), far, SEEK_SET), 0);
        EXPECT_EQ(std::fputc('x', out.get()), 'x');
        EXPECT_EQ(tell_file(out.get()), far + 1);
    }
    FileStamp stamp;
    EXPECT_TRUE(file_stamp(file.c_str(), &stamp));
    const File in(open_file(file.c_str(), "rb"));
    ASSERT_EQ(seek_file(in.get(), -1, SEEK_END), 0);
    EXPECT_EQ(tell_file(in.get()), far);
    EXPECT_EQ(std::fgetc(in.get()), 'x');
}

} // namespace
