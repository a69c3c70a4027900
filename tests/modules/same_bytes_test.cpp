// same_bytes_test.cpp - files and rows are the same on every target, bit for bit: one table of
// checksums holds for all.
#include <algorithm>
#include <iomanip>
#include <sstream>

#include "loader/loader.h"
#include "support/driver_test.h"
#include "support/files.h"

namespace {

class Checksum { // FNV-1a
public:
    void add(const void *bytes, size_t size) {
        const auto *at = static_cast<const uint8_t *>(bytes);
        for (size_t i = 0; i < size; ++i)
            value_ = (value_ ^ at[i]) * 0x100000001B3U;
    }
    [[nodiscard]] std::string text() const {
        std::ostringstream out;
        out << std::hex << std::setfill('0') << std::setw(16) << value_;
        return out.str();
    }

private:
    uint64_t value_ = 0xCBF29CE484222325U;
};

struct Kind {
    const char *name; // of the file; its extension chooses the format
    int width, height;
    ZOR_CHANNELS image, matte, aux;
    float gamma;
    const char *file, *rows; // checksums
};

// clang-format off
const Kind kinds[] = {
    {"bytes.mox", 700, 40, {3, 1, 8}, {1, 1, 8}, {}, 2.2F,
     "2a73cd3964552772", "0d7b103640b02e5f"},
    {"words.mox", 333, 20, {3, 1, 12}, {1, 1, 1}, {1, 2, 32}, 1.7F,
     "341ccebd81d7663f", "caac753160a094c9"},
    {"longs.mox", 300, 20, {1, 1, 32}, {2, 1, 24}, {1, 3, 64}, 1.0F,
     "211ea1b2f23aa8b1", "0b42d8c4e1d4f275"},
    {"floats.mox", 300, 20, {3, 2, 32}, {}, {}, 1.0F,
     "580af185865efc1b", "f7d6f6f14f4cde2d"},
    {"doubles.mox", 300, 20, {1, 3, 64}, {1, 1, 16}, {}, 1.0F,
     "9a49cf4b7cab162b", "8a5d368a53ec002d"},
    {"old.mob", 300, 20, {3, 1, 8}, {}, {}, 2.2F,
     "146664fd5b8b95c0", "a5bb4460cfa5124d"},
    {"bytes.ppm", 300, 20, {3, 1, 8}, {}, {}, 2.2F,
     "b780f0a2ca868612", "d54c9f7afbafcbfd"},
    {"words.pgm", 300, 20, {1, 1, 16}, {}, {}, 2.2F,
     "6083c2dd938aef37", "5b25ad0ca2c67825"},
    {"bits.pbm", 301, 20, {1, 1, 1}, {}, {}, 2.2F,
     "c49b1ed2d9d687b1", "0392483947cc5872"},
    {"words.pam", 300, 20, {3, 1, 16}, {1, 1, 16}, {}, 2.2F,
     "218027b54b28dc8a", "379878763fb0e7fd"},
    {"floats.pfm", 300, 20, {3, 2, 32}, {}, {}, 1.0F,
     "ef3de77b7126790a", "f7d6f6f14f4cde2d"},
};
// clang-format on

// Every field of its own that would else come from this machine and this day.
void set_texts(ZOR_INFO *info) {
    const std::pair<char **, const char *> texts[] = {
        {&info->name, "name"},       {&info->description, "description"},
        {&info->program, "program"}, {&info->machine, "machine"},
        {&info->user, "user"},       {&info->date, "date"},
        {&info->time, "00:00:01"},   {&info->filter, "filter"}};
    for (const auto &[field, text] : texts)
        *field = STR_save(text);
    info->job_number = 7;
}

class SameBytes : public DriverTest {
protected:
    SameBytes() { loader.start(); }

    void write(const Kind &kind, const std::string &path) {
        Request request(path);
        set_texts(&request.info);
        ZOR_IMAGE_DESC &desc = request.add(kind.width, kind.height);
        desc.image = kind.image, desc.matte = kind.matte, desc.aux = kind.aux;
        desc.curve.gamma = kind.gamma;
        ZOR_IMAGE *image = request.open("w");
        ASSERT_NE(image, nullptr) << log.text();
        const bool rising = image->images[0].orientation == ZOR_ORIENTATION_RISING;
        for (int i = 0; i < kind.height; ++i) {
            const int y = rising ? i : kind.height - 1 - i;
            ASSERT_EQ(ZOR_scan_write(image, y, Rows(desc, y, false).pointers.data()), 0)
                << log.text();
        }
        ASSERT_EQ(ZOR_close(image), 0) << log.text();
    }

    std::string checksum_of_rows(const std::string &path) {
        ZOR_IMAGE *image = Request(path).open("r");
        EXPECT_NE(image, nullptr) << log.text();
        if (image == nullptr)
            return "";
        Checksum sum;
        const ZOR_IMAGE_DESC &desc = image->images[0];
        const bool rising = desc.orientation == ZOR_ORIENTATION_RISING;
        for (int i = desc.win_bottom; i <= desc.win_top; ++i) {
            void **rows = nullptr;
            const int y = rising ? i : desc.win_top + desc.win_bottom - i;
            EXPECT_EQ(ZOR_scan_read(image, y, &rows), 0) << log.text();
            for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
                for (int k = 0; k < group.count; ++k)
                    sum.add(*rows++, static_cast<size_t>(ZOR_sample_size(group.type, group.bits) *
                                                         (desc.win_right - desc.win_left + 1)));
        }
        EXPECT_EQ(ZOR_close(image), 0);
        return sum.text();
    }

    zor::Loader loader{{TEST_MODULE_DIR}};
    TempDir directory;
};

TEST_F(SameBytes, FilesAndRows) {
    for (const Kind &kind : kinds) {
        const std::string path = (directory.path / kind.name).generic_string();
        write(kind, path);
        const std::string bytes = read_file(path);
        Checksum sum;
        sum.add(bytes.data(), bytes.size());
        EXPECT_EQ(sum.text(), kind.file) << kind.name;
        EXPECT_EQ(checksum_of_rows(path), kind.rows) << kind.name;
    }
}

} // namespace
