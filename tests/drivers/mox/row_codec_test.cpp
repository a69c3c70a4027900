// row_codec_test.cpp - the row codec, in every version that can run here.
#include "drivers/mox/row_codec_check.h"

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <numeric>
#include <random>
#include <utility>

namespace {

using namespace row_codec_check;
using zor::mox::row_codec;

constexpr Kind bytes = kinds[0];

// Stretches of equal and of unlike bytes, or of equal ones only, the shortest and those around the
// limits of packets and blocks more often than others; of some lengths only, or of all.
Bytes random_row(size_t length, std::mt19937 &random) {
    Bytes row;
    const bool runs_only = random() % 3 == 0;
    const size_t shortest = random() % 3 * 2;
    while (row.size() < length) {
        const size_t lengths[] = {1 + random() % 4,   1 + random() % 40,  61 + random() % 6,
                                  125 + random() % 6, 1 + random() % 400, 2044 + random() % 10};
        const size_t n = lengths[shortest + random() % (std::size(lengths) - shortest)];
        const size_t first = random();
        const size_t step = runs_only ? 0 : random() % 2;
        for (size_t i = 0; i < n; ++i)
            row.push_back(static_cast<uint8_t>(first + step * i));
    }
    row.resize(length);
    return row;
}

TEST(RowCodec, IsTheFastestVersionThereIsForStorableChannels) {
    for (const Kind &kind : kinds)
        EXPECT_EQ(row_codec(kind.type, kind.bits), versions(kind).back());
    for (const auto &[type, bits] : {std::pair{0, 8}, {4, 32}, {1, 0}, {1, 33}, {2, 64}, {3, 32}})
        EXPECT_EQ(row_codec(type, bits), nullptr) << type << ' ' << bits;
    if (versions(bytes).size() < 3)
        GTEST_SKIP() << "this processor does not run all versions: some are not tested";
}

TEST(RowCodec, WritesTheFixedBytes) {
    Bytes unlike(200);
    std::iota(unlike.begin(), unlike.end(), uint8_t{0});
    Bytes two_literals = unlike;
    two_literals.insert(two_literals.begin() + 128, static_cast<uint8_t>(-72));
    two_literals.insert(two_literals.begin(), 0x80);
    const std::tuple<Kind, Bytes, Bytes> cases[] = {
        {bytes, {9, 9, 9, 1, 2}, {2, 9, 0xFE, 1, 2}},
        {bytes, {1, 9, 9, 2, 2}, {0xFB, 1, 9, 9, 2, 2}}, // two never make a run
        {bytes, Bytes(300, 7), {127, 7, 127, 7, 43, 7}},
        {bytes, unlike, two_literals},
        {kinds[1], {0x34, 0x12, 0x35, 0x12, 0x36, 0x12}, {2, 0x12, 0xFD, 0x34, 0x35, 0x36}},
        {kinds[2], {4, 3, 2, 1}, {0xFF, 1, 0xFF, 2, 0xFF, 3, 0xFF, 4}}};
    for (const auto &[kind, row, record] : cases) {
        EXPECT_EQ(encode(row, kind), record);
        EXPECT_TRUE(codes_alike(row, kind));
    }
}

TEST(RowCodec, CodesStretchesOfAnyLengthAtAnyPlace) {
    for (const size_t place : {0, 1, 126, 1024, 1917, 2046, 2048, 4095})
        for (size_t before = 0; before < 4; ++before)
            for (const size_t length : {1, 2, 3, 4, 63, 64, 65, 127, 128, 129, 130, 256, 257, 2050})
                for (const size_t after : {0, 1, 2, 3, 64, 128, 131}) {
                    Bytes row(place + before + length + after);
                    for (size_t i = 0; i < row.size(); ++i)
                        row[i] = static_cast<uint8_t>(i % 251);
                    std::fill_n(&row[place] + before, length, uint8_t{255});
                    std::fill_n(row.begin() + static_cast<ptrdiff_t>(place), before, uint8_t{254});
                    ASSERT_TRUE(codes_alike(row, bytes, before))
                        << place << " " << before << " " << length << " " << after;
                }
}

// A record by someone who divides planes into packets in any way.
Bytes random_record(size_t count, size_t size, std::mt19937 &random) {
    Bytes record;
    for (size_t plane = 0; plane < size; ++plane)
        for (size_t left = count, n; left > 0; left -= n) {
            n = std::min<size_t>(left, 1 + random() % (random() % 2 == 0 ? 128 : 5));
            const bool literal = random() % 2 == 0;
            record.push_back(static_cast<uint8_t>(literal ? 256 - n : n - 1));
            std::generate_n(std::back_inserter(record), literal ? n : 1, std::ref(random));
        }
    return record;
}

// Rows of all sizes; and records decoded by themselves or several together, of which one is wrong
// more often than not.
TEST(RowCodec, KeepsToTheRulesWhateverTheRow) {
    std::mt19937 random(2);
    for (const Kind &kind : kinds)
        for (int round = 0; round < 4000; ++round) {
            size_t count = 4 + random() % (round % 4 == 0 ? 3000 : 200);
            const size_t length = round == 0 ? 32768 : round < 1000 ? 1 + random() % 16 : count;
            ASSERT_TRUE(codes_alike(random_row(length * kind.size(), random), kind, random() % 16))
                << kind.bits << " " << round;
            std::vector<Bytes> records(1 + random() % zor::mox::most_rows);
            for (Bytes &record : records)
                record = round % 2 == 0 ? encode(random_row(count * kind.size(), random), kind)
                                        : random_record(count, kind.size(), random);
            Bytes &data = records[random() % records.size()];
            const size_t trouble = random() % 6;
            if (trouble == 0) // cut off
                data.resize(random() % data.size());
            else if (trouble == 1) // damaged
                data[random() % data.size()] ^= static_cast<uint8_t>(1 + random() % 255);
            else if (trouble == 2) // something left over, which is good
                data.resize(data.size() + random() % 200, 0x80);
            else if (trouble == 3) // a longer row's
                count = random() % count;
            else if (trouble == 4)
                std::generate(data.begin(), data.end(), std::ref(random));
            ASSERT_TRUE(decodes_alike(records, count, kind)) << kind.bits << " " << round;
        }
}

} // namespace
