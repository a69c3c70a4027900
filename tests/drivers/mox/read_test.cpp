// read_test.cpp - MOX files of all kinds, most of them hostile.
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <ctime>
#include <iomanip>
#include <locale>
#include <set>
#include <sstream>

#include "drivers/mox/mox_files.h"

namespace {

const Failure not_mox(ZOR_E_NOT_THIS_TYPE, ZOR_MSG_NOT_THIS_TYPE);
const Failure cannot_read(ZOR_E_READ, ZOR_MSG_CANNOT_READ);
const Failure cannot_decode(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE);

// What a bad file comes to.
const std::set<int> stated = {ZOR_E_DECODE, ZOR_E_NOT_THIS_TYPE, ZOR_E_MEMORY, ZOR_E_UNSUPPORTED,
                              ZOR_E_READ};

class ReadTest : public MoxTest {
protected:
    // Reads the rows of all sub-images, from the top down. Every failure must be reported once.
    // Returns the number of rows that could be read.
    int exercise(const std::string &bytes) {
        int good = 0;
        const size_t before = watch::peak = watch::used;
        ZOR_IMAGE *image = open_bytes(bytes);
        check(image != nullptr ? 0 : zor__err);
        for (int k = 0; image != nullptr && k < image->num_images; ++k) {
            const ZOR_IMAGE_DESC &desc = image->images[k];
            for (int y = std::min(desc.win_top, desc.win_bottom + 9); y >= desc.win_bottom; --y) {
                const int status = read(image, k, y);
                check(status);
                good += status == 0 ? 1 : 0;
            }
        }
        ZOR_close(image);
        EXPECT_LE(watch::peak - before, 4 * 1024 * 1024 + 64 * bytes.size());
        EXPECT_EQ(watch::used, before);
        return good;
    }
    void check(int status) {
        EXPECT_TRUE(status == 0 || (status == zor__err && stated.count(status) == 1)) << status;
        EXPECT_EQ(log.reports.size(), status == 0 ? 0U : 1U) << log.text();
        log.clear();
    }
};

TEST_F(ReadTest, EveryPrefixFailsWhereItEnds) {
    const std::string whole = small_file();
    for (size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        if (size < 748)
            expect_refused(whole.substr(0, size), size < 740 ? not_mox : cannot_read);
        else
            EXPECT_EQ(exercise(whole.substr(0, size)), 2 * size < 748 + whole.size() ? 2 : 3);
    }
    EXPECT_EQ(exercise(whole + "more"), 4);
}

// The small file with another 16-bit word.
std::string changed(size_t at, uint32_t value) {
    std::string bytes = small_file();
    put(bytes, at, 2, value);
    return bytes;
}

TEST_F(ReadTest, FieldsOutOfBoundsAreRefused) {
    // coordinates; counts; types; links; a gamma that is no number
    const std::pair<size_t, uint32_t> cases[] = {
        {0, 0x8000},   {0, 3},     {2, 8},        {6, 0xFFFF},   {8, 10},      {14, 4},
        {14, 0},       {20, 4},    {20, 0xFFFF},  {22, 0x8000},  {24, 0x8000}, {18, 0xFFFF},
        {660, 0x8000}, {738, 739}, {736, 0x8000}, {736, 0x7FFF}, {738, 748},   {28, 0x6162}};
    for (const auto &[at, value] : cases) {
        SCOPED_TRACE(testing::Message() << at << ": " << value);
        expect_refused(changed(at, value), not_mox);
    }
    expect_refused(changed(18, 3), {ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE});
    expect_refused(changed(660, 6), {ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE});
    expect_refused(changed(664, 0xFFFF), {ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_TYPE});
    expect_refused(changed(658, 0), {ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH});
    expect_refused(changed(662, 33), {ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_WIDTH});
    std::string bytes = changed(548, 0);
    EXPECT_EQ(exercise(bytes), 4); // one of the two aspect texts is enough
    put(bytes, 572, 1, 0);
    expect_refused(bytes, not_mox);
}

TEST_F(ReadTest, AnyValueAnywhereIsSurvived) {
    const auto survive = [this](size_t at, size_t size, uint32_t value) {
        SCOPED_TRACE(testing::Message() << at << ": " << value);
        std::string bytes = small_file();
        put(bytes, at, size, value);
        exercise(bytes);
        put(bytes, 22, 2, 32767); // and with much to make room for
        exercise(bytes);
    };
    for (size_t at = 0; at < small_file().size(); ++at)
        for (const uint32_t value : {0U, 1U, 0x20U, 0x7FU, 0x80U, 0xFEU, 0xFFU})
            survive(at, 1, value);
    for (size_t at = 0; at < small_file().size(); at += 2)
        for (const uint32_t value : {2U, 4U, 5U, 8U, 9U, 33U, 128U, 739U, 748U, 0x7FFFU, 0xFFFFU})
            if (at < 28 || at == 612 || at >= 658) // numbers
                survive(at, 2, value);
}

TEST_F(ReadTest, RecordsAreCheckedBeforeTheyAreBelieved) {
    const std::tuple<size_t, uint32_t, const Failure &> cases[] = {
        {742, 739, cannot_read},      {740, 0xFFFF, cannot_read},   // where the scanline is
        {748, 0xFFFF, cannot_read},   {748, 4, cannot_decode},      // its size
        {750, 0x8007, cannot_decode}, {750, 0x0807, cannot_decode}, // packets
        {762, 31, cannot_decode}};                                  // a raw row
    for (const auto &[at, value, failure] : cases) {
        SCOPED_TRACE(testing::Message() << at << ": " << value);
        ZOR_IMAGE *image = open_bytes(changed(at, value));
        ASSERT_NE(image, nullptr) << log.text();
        expect(failure, read(image, 0, 1));
        EXPECT_EQ(read(image, 0, 2), 0); // and the others are still there
        expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, read(image, 0, 4));
        ZOR_close(image);
    }
    // The record of a row of eight bytes is believed to have 11 at most, whatever is in them.
    for (const uint32_t size : {11U, 12U}) {
        std::string bytes = changed(748, size);
        put(bytes, 22, 4, 0); // the byte channel only
        EXPECT_EQ(exercise(bytes), size == 11 ? 4 : 3);
    }
}

// Headers and tables one behind the other, each with the position of the next.
std::string chain(const std::vector<uint32_t> &next) {
    std::string bytes;
    for (const uint32_t position : next) {
        bytes += small_file().substr(0, 748);
        put(bytes, bytes.size() - 12, 4, position);
    }
    return bytes;
}

TEST_F(ReadTest, ChainsEndOrAreRefused) {
    using Chain = std::vector<uint32_t>;
    for (const auto &next : {Chain{748, 748}, Chain{748, 1496, 748}, Chain{748, 1496},
                             Chain{748, 1496, 2244, 1496, 0}, Chain{748, 1497, 0}})
        expect_refused(chain(next), not_mox);
    std::string loop = chain({748, 1496, 2244, 748}); // whose rows, read once more, are too much
    for (uint32_t i = 1; i < 4; ++i) {
        put(loop, 748 * i + 2, 2, 32767);
        put(loop, 748 * i + 22, 2, 12 + i);
    }
    expect_refused(loop, not_mox);
    Chain many(65537);
    for (size_t i = 0; i + 1 < many.size(); ++i)
        many[i] = static_cast<uint32_t>((i + 1) * 748);
    expect_refused(chain(many), not_mox);
    many.resize(65536);
    many.back() = 0;
    for (const auto &next : {Chain{1496, 0, 748}, many}) { // backward is fine
        ZOR_IMAGE *image = open_bytes(chain(next));
        EXPECT_EQ(ZOR_image_count(image), static_cast<int>(next.size())) << log.text();
        ZOR_close(image);
    }
}

// What would take much more memory than the file has bytes is refused; sub-images of one shape
// share their rows.
TEST_F(ReadTest, MemoryStaysInProportionToTheFile) {
    std::string bytes = small_file();
    for (const size_t field : {2, 22})
        put(bytes, field, 2, 32767);
    expect_refused(bytes, {ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY});
    for (const uint32_t different : {0U, 1U}) {
        bytes = chain({748, 1496, 2244, 0});
        for (uint32_t i = 0; i < 4; ++i) {
            put(bytes, 748 * i + 2, 2, 32767);
            put(bytes, 748 * i + 22, 2, 20 + different * i);
        }
        ZOR_IMAGE *image = open_bytes(bytes);
        EXPECT_EQ(image == nullptr, different == 1) << log.text();
        ZOR_close(image);
    }
}

TEST_F(ReadTest, OldFilesHaveByteChannelsAndNoChain) {
    std::string bytes = changed(26, 0x1234);
    for (const size_t meaningless : {18, 658, 664, 736})
        put(bytes, meaningless, 2, 64);
    const std::tuple<const char *, const char *, int, int> cases[] = {
        {"old.mox", nullptr, 0, 0},
        {"old.mob", nullptr, 0, 1},
        {"old.mob", "mox", 0, 1}, // no ".mox" is added
        {"old.mox", "mob", 1, 1}};
    for (const auto &[name, key, complete_path, field] : cases) {
        Request request(directory + "/" + name, key);
        request.info.complete_path = complete_path;
        write_file(request.info.file_name, bytes);
        ZOR_IMAGE *image = request.open("r");
        ASSERT_NE(image, nullptr) << name << log.text();
        EXPECT_EQ(image->field_flag, field) << name;
        EXPECT_STREQ(image->time, "unknown");
        EXPECT_STREQ(image->filter, "unknown");
        for (const ZOR_CHANNELS &group : {image->images[0].image, image->images[0].aux})
            EXPECT_EQ(group.type * 100 + group.bits, ZOR_C_INTEGER * 100 + 8);
        ZOR_close(image);
    }
}

TEST_F(ReadTest, TextsAndNumbersOfTheHeader) {
    std::string bytes = small_file();
    bytes.replace(144, 128, 128, 'n'); // no room left for a terminator
    bytes.replace(528, 20, "{0000000000000000001");
    put_text(bytes, 44, "nothing");
    put_text(bytes, 580, "");
    put_text(bytes, 28, std::string(15, ' '));
    ZOR_IMAGE *image = open_bytes(bytes);
    ASSERT_NE(image, nullptr) << log.text();
    std::ostringstream date;
    date.imbue(std::locale(std::setlocale(LC_ALL, nullptr)));
    const time_t second = 1;
    date << std::put_time(std::localtime(&second), "%c");
    EXPECT_EQ(image->date, date.str());
    EXPECT_EQ(image->name, std::string(128, 'n'));
    EXPECT_STREQ(image->compression, "run length encoded");
    EXPECT_EQ(image->primaries[0], 0.67F); // the usual one in place of none
    EXPECT_NEAR(image->primaries[11], 1 - 0.31 - 0.316, 1e-6);
    EXPECT_STREQ(image->images[0].chan_format, "rgb");
    EXPECT_EQ(image->images[0].curve.gamma, 1.0F);
    EXPECT_EQ(image->images[0].picture_width, 10);
    EXPECT_EQ(image->images[0].picture_aspect, 2.5F);
    ZOR_close(image);

    bytes.replace(528, 20, "{9999999999999999999"); // no such year
    put_text(bytes, 548, "ntsc_640");
    put_text(bytes, 28, "1e-60"); // nothing to divide by
    image = open_bytes(bytes);
    ASSERT_NE(image, nullptr) << log.text();
    EXPECT_STREQ(image->date, "{9999999999999999999");
    EXPECT_EQ(image->images[0].curve.gamma, 1.0F);
    EXPECT_EQ(image->images[0].picture_height, 486);
    EXPECT_EQ(image->images[0].picture_aspect, 1.33F);
    ZOR_close(image);
}

TEST_F(ReadTest, RecognisesFilesByNameAndStream) {
    for (const size_t missing : {0U, 1U}) {
        write_file(file, small_file().substr(0, 740 - missing));
        EXPECT_EQ(ZOR_mox_is_file(file.data(), nullptr), 1 - missing);
        FILE *stream = std::fopen(file.c_str(), "ab+"); // at its end
        EXPECT_EQ(ZOR_mox_is_file(nullptr, stream), 1 - missing);
        std::fclose(stream);
    }
    EXPECT_EQ(ZOR_mox_is_file(directory.append("/none").data(), nullptr), 0);
    EXPECT_TRUE(log.reports.empty());
}

TEST_F(ReadTest, PipesCanBeReadInFileOrder) {
    Request request(file);
    request.add(900, 150);
    ZOR_IMAGE *image = request.open("w");
    write_all(image, 0);
    ZOR_close(image);
    const std::string bytes = read_file(file); // more than one read, and fits a pipe
    FullPipe pipe(bytes);
    if (pipe.name.empty())
        GTEST_SKIP() << "pipes have no names here";
    Request piped(pipe.name, "mox");
    piped.info.complete_path = 1;
    image = piped.open("r");
    ASSERT_NE(image, nullptr) << log.text();
    pipe.end();
    for (int y = 0; y < 150; y += y == 20 ? 50 : 1) // may skip, too
        EXPECT_TRUE(reads_back(image, 0, y)) << y << log.text();
    EXPECT_EQ(read(image, 0, 0), ZOR_E_READ);
    EXPECT_NE(log.last().find(std::strerror(ESPIPE)), std::string::npos) << log.last();
    ZOR_close(image);
}

} // namespace
