// mem_test.cpp - images in memory: what goes in comes out, under its name, for as long as it is
// used.
#include <algorithm>
#include <random>
#include <thread>

#include "core/registry.h"
#include "support/driver_test.h"
#include "support/fault.h"

namespace {

class MemTest : public BuiltInDriverTest {
protected:
    void TearDown() override { zor::release_builtin_drivers(); }

    // Writes, or knows again, a picture of two lines.
    static ZOR_IMAGE *begin(const char *name, int salt) {
        Request request(name);
        request.add(5, 2);
        ZOR_IMAGE *image = request.open("w");
        EXPECT_EQ(write(image, 0, 1, salt) + write(image, 0, 0, salt), 0);
        return image;
    }
    static bool holds(ZOR_IMAGE *image, int salt) {
        return image != nullptr && reads_back(image, 0, 0, salt) && reads_back(image, 0, 1, salt);
    }
};

TEST_F(MemTest, EveryMixOfChannelsComesBackInEveryOrder) {
    const ZOR_CHANNELS kinds[] = {{1, ZOR_C_INTEGER, 1},  {3, ZOR_C_INTEGER, 8},
                                  {2, ZOR_C_INTEGER, 12}, {5, ZOR_C_INTEGER, 24},
                                  {1, ZOR_C_INTEGER, 32}, {2, ZOR_C_FLOAT, 0}, // widths of floats
                                  {1, ZOR_C_DOUBLE, 8},   {0, 0, 0}};          // do not matter
    constexpr int height = 11;
    Request request("mixes.mem");
    for (int k = 0; k <= 8; ++k) { // the last one has no channels at all
        ZOR_IMAGE_DESC &desc = request.add(40, height);
        desc.win_left += 390, desc.win_right += 390, desc.act_left = 392, desc.act_right = 425;
        desc.win_bottom -= 4, desc.win_top -= 4, desc.act_bottom = -3, desc.act_top = k % 7;
        desc.image = kinds[k == 8 ? 7 : k];
        desc.matte = kinds[k == 8 ? 7 : (3 * k + 1) % 8];
        desc.aux = kinds[k == 8 ? 7 : (5 * k + 3) % 8];
    }
    uint8_t entries[] = {1, 2, 3};
    void *tables[] = {entries};
    request.info.name = STR_save("portrait");
    request.info.add_extension = 0;
    request.info.images[0].curve = {2, 0, 0, 1, 3, ZOR_C_INTEGER, 8, tables};
    request.info.images[0].aux_name = STR_save("depth");
    ZOR_IMAGE *image = request.open("w");
    ASSERT_NE(image, nullptr) << log.text();
    std::vector<int> order = {7, 0, 10, 3, 4, 9, 1, 5, 8, 6, 7}; // not 2, and 7 twice
    for (int k = 0; k <= 8; ++k)
        for (const int y : order)
            ASSERT_EQ(write(image, k, y, 0, -4), 0);
    for (const int y : {-1, height, -4})
        expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, write(image, 0, y));
    image->images[0].aux.count = 0; // as operators may leave it
    ASSERT_EQ(ZOR_close(image), 0);
    entries[1] = 99;

    image = Request("mixes.mem").open("r");
    ASSERT_EQ(ZOR_image_count(image), 9) << log.text();
    EXPECT_STREQ(image->name, "portrait");
    EXPECT_EQ(image->add_extension, 1) << "a matter of the request";
    const ZOR_IMAGE_DESC &desc = image->images[0];
    EXPECT_EQ(desc.aux.count, kinds[3].count);
    EXPECT_STREQ(desc.aux_name, "depth");
    ASSERT_EQ(desc.curve.kind, 2);
    EXPECT_EQ(static_cast<uint8_t *>(desc.curve.tables[0])[1], 2);
    std::mt19937 random(1);
    for (int round = 0; round < 3; ++round) {
        for (const int y : order)
            for (int k = 0; k <= 8; ++k)
                ASSERT_TRUE(reads_back(image, k, y, 0, -4)) << k << " " << y;
        std::shuffle(order.begin(), order.end(), random);
    }
    void **rows = nullptr;
    EXPECT_EQ(ZOR_scan_read(image, 2, &rows), 0);
    EXPECT_EQ(std::string(static_cast<char *>(rows[0]), 40), std::string(40, '\0')) << "unwritten";
    for (const int y : {-1, height})
        expect({ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE}, ZOR_scan_read(image, y, &rows));
    EXPECT_EQ(ZOR_close(image), 0);
}

TEST_F(MemTest, NamesAreThoseOfFiles) {
    EXPECT_EQ(ZOR_close(begin("a.mem", 1)), 0);
    EXPECT_EQ(ZOR_close(begin("folder/a.mem", 2)), 0);
    const struct {
        const char *name;
        int32_t complete;
        int salt; // of the picture found; 0: none
    } cases[] = {{"a.mem", 0, 1}, {"a", 0, 1}, {"folder/a", 0, 2}, {"./a.mem", 0, 0},
                 {"A.mem", 0, 0}, {"a", 1, 0}, {"", 0, 0}};
    for (const auto &[name, complete, salt] : cases) {
        Request request(name, "mem");
        request.info.complete_path = complete;
        ZOR_IMAGE *image = request.open("r");
        EXPECT_EQ(holds(image, salt), salt != 0) << name;
        if (salt != 0)
            EXPECT_EQ(ZOR_close(image), 0);
        else
            expect({ZOR_E_OPEN, ZOR_MSG_CANNOT_OPEN}, zor__err);
    }
}

TEST_F(MemTest, ReadersKeepTheImageTheyOpenedAndNothingElseStays) {
    ZOR_exit();
    {
        const Fault watch(0);
        EXPECT_EQ(ZOR_init(nullptr, nullptr), 0);
        EXPECT_EQ(ZOR_close(begin("a.mem", 1)), 0);
        ZOR_IMAGE *first = Request("a.mem").open("r");
        ZOR_IMAGE *writer = begin("a.mem", 2);
        ZOR_IMAGE *second = Request("a.mem").open("r");
        EXPECT_TRUE(holds(second, 1)) << "the new one is the writer's alone until it is closed";
        EXPECT_EQ(ZOR_close(writer), 0);
        ZOR_IMAGE *third = Request("a.mem").open("r");
        EXPECT_TRUE(holds(third, 2) && holds(first, 1));
        EXPECT_EQ(ZOR_close(first), 0);
        EXPECT_TRUE(holds(second, 1));
        EXPECT_EQ(ZOR_close(second) + ZOR_close(third), 0);
        EXPECT_EQ(ZOR_close(begin("b.mem", 3)), 0);
        ZOR_exit();
        EXPECT_EQ(watch.live(), 0);
    }
    EXPECT_EQ(ZOR_init(nullptr, nullptr), 0);
    EXPECT_EQ(Request("b.mem").open("r"), nullptr);
}

// Two threads write one name and read it, each in its own handles. Whatever they get is one of the
// images, whole.
TEST_F(MemTest, ThreadsWriteAndReadAtOnce) {
    EXPECT_EQ(ZOR_close(begin("a.mem", 1)), 0);
    const auto work = [](int salt) {
        for (int i = 0; i < 300; ++i) {
            ZOR_IMAGE *reader = Request("a.mem").open("r");
            ZOR_IMAGE *writer = begin("a.mem", salt);
            EXPECT_TRUE(holds(reader, 1) || holds(reader, 2));
            EXPECT_EQ(ZOR_close(writer), 0);
            EXPECT_TRUE(holds(reader, 1) || holds(reader, 2));
            EXPECT_EQ(ZOR_close(reader), 0);
        }
    };
    std::thread other(work, 2);
    work(1);
    other.join();
}

TEST_F(MemTest, ImagesTooLargeForMemoryAreRefused) {
    for (const auto &[width, height, channels] :
         {std::tuple(INT32_MAX - 1, INT32_MAX - 1, 32767),
          {1 << 30, 1 << 17, 16384}, // a multiple of 2^64 bytes
          {1 << 30, 1 << 30, 1}}) {
        Request request("large.mem");
        request.add(width, height).image = {channels, ZOR_C_DOUBLE, 64};
        EXPECT_EQ(request.open("w"), nullptr);
        expect({ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY}, zor__err);
    }
}

} // namespace
