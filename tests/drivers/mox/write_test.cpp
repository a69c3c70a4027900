// write_test.cpp - MOX files as they are written, and read back.
#include "drivers/mox/driver.h"
#include "drivers/mox/mox_files.h"

namespace {

using WriteTest = MoxTest;

// Also when scanlines out of sequence are tried on the way.
TEST_F(WriteTest, CopiesAreEqualByteForByte) {
    ZOR_IMAGE *image = open_bytes(small_file());
    ASSERT_NE(image, nullptr) << log.text();
    Request request("");
    ZOR_info_cleanup(&request.info, 1);
    ASSERT_EQ(ZOR_info_from_image(&request.info, image), 0);
    const auto set = [](char **field, const std::string &text) {
        ERR_free(*field);
        *field = STR_save(text.c_str());
    };
    set(&request.info.file_name, file + ".copy");
    set(&request.info.description, std::string(300, 'd')); // cut to its field
    set(&request.info.time, "until the end");
    request.info.images[0].aux.bits = 16; // floats have 32 whatever one says
    ZOR_IMAGE *copy = request.open("w");
    ASSERT_NE(copy, nullptr) << log.text();
    for (int y = 0; y < 4; ++y) {
        void **rows = nullptr;
        EXPECT_EQ(ZOR_scan_read(image, y, &rows), 0);
        expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, ZOR_scan_write(copy, y + 1, rows));
        EXPECT_EQ(ZOR_scan_write(copy, y, rows), 0);
    }
    expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, write(copy, 0, 4));
    EXPECT_EQ(ZOR_close(copy), 0);
    EXPECT_EQ(read_file(file + ".copy"), small_file());
    ZOR_close(image);
}

// Sub-images take their rows in any mixture. The last one has none: it comes at the end, with a
// table that no reader takes for one.
TEST_F(WriteTest, SubImagesAreChained) {
    const int frames[] = {-1, -5, 7, 40000};
    const int clamped[] = {-1, 0, 7, 32767}; // to the field
    Request request(file);
    request.add(40, 3);
    request.add(300, 3).aux = {1, ZOR_C_FLOAT, 32};
    request.add(9, 3).image = {1, ZOR_C_INTEGER, 16};
    request.add(40, 5);
    for (int k = 0; k < 4; ++k)
        request.info.images[k].frame = frames[k];
    ZOR_IMAGE *image = request.open("w");
    ASSERT_NE(image, nullptr);
    for (const auto &[k, y] : {std::pair{2, 0}, {0, 0}, {0, 1}, {2, 1}, {0, 2}, {2, 2}})
        EXPECT_EQ(write(image, k, y), 0);
    write_all(image, 1);
    EXPECT_EQ(ZOR_close(image), 0);
    const std::string bytes = read_file(file);
    EXPECT_EQ(bytes.substr(bytes.size() - 20), std::string(20, '\0'));

    image = request.open("r");
    ASSERT_EQ(ZOR_image_count(image), 4) << log.text();
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(image->images[k].frame, clamped[k]);
    for (int y = 0; y < 3; ++y)
        for (const int k : {2, 0, 1})
            EXPECT_TRUE(reads_back(image, k, y)) << k << " " << y;
    expect({ZOR_E_READ, ZOR_MSG_CANNOT_READ}, read(image, 3, 0));
    ZOR_close(image);
}

TEST_F(WriteTest, RefusesWhatItCannotStoreBeforeThereIsAFile) {
    const std::tuple<int, int, ZOR_CHANNELS, ZOR_CHANNELS, ZOR_CHANNELS, Failure> cases[] = {
        {0, 32768, {1, 1, 8}, {}, {}, {ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE}},
        {-1, 7, {1, 1, 8}, {}, {}, {ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE}},
        {0, 7, {4, 1, 8}, {}, {}, {ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE}},
        {0, 7, {1, 1, 8}, {1, 1, 40}, {}, {ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_WIDTH}},
        // raw rows of more than 65535 bytes
        {0, 8191, {1, 3, 64}, {}, {}, {ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH}},
        {0, 16383, {1, 1, 8}, {}, {1, 2, 32}, {ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_WIDTH}},
    };
    for (const auto &[left, right, image, matte, aux, failure] : cases) {
        Request request(file);
        ZOR_IMAGE_DESC &desc = request.add(8, 8);
        desc.win_left = desc.act_left = left;
        desc.win_right = desc.act_right = right;
        desc.image = image, desc.matte = matte, desc.aux = aux;
        EXPECT_EQ(request.open("w"), nullptr);
        expect(failure, zor__err);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

// The header cannot be completed there.
TEST_F(WriteTest, StandardOutputKeepsItsPlaceholders) {
    Request request("/dev/stdout", "mox");
    request.info.time = STR_save("a day");
    request.add(8, 1);
    FILE *target = std::fopen(file.c_str(), "wb");
    ASSERT_NE(target, nullptr);
    int status = -1;
    {
        const Redirected to_file(target);
        if (ZOR_IMAGE *image = request.open("w"); image != nullptr)
            status = write(image, 0, 0) | ZOR_close(image);
    }
    std::fclose(target);
    EXPECT_EQ(status, 0) << log.text();
    const std::string bytes = read_file(file);
    ASSERT_GT(bytes.size(), 744U);
    EXPECT_EQ(bytes.substr(614, 6), std::string("a day") + '\0');
    EXPECT_EQ(bytes.substr(740, 4), std::string(4, '\0'));
}

TEST(ElapsedTime, IsHoursMinutesSeconds) {
    char text[12];
    zor::mox::format_elapsed(text, 3725);
    EXPECT_STREQ(text, "01:02:05");
    zor::mox::format_elapsed(text, UINT32_MAX / 1000);
    EXPECT_STREQ(text, "1193:02:47");
}

} // namespace
