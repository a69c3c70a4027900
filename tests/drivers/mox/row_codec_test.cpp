// row_codec_test.cpp - the row codec, in every version that can run here, against a plain
// transcription of its rules.
#include "drivers/mox/row_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "zor/records.h"

namespace {

using zor::mox::codec_slack;
using zor::mox::EncodedRow;
using zor::mox::most_rows;
using zor::mox::row_codec;
using zor::mox::RowCodec;
using zor::mox::Vectors;
using Bytes = std::vector<uint8_t>;

// The encoding rule, one run of equal bytes after the other.
void append_packets(const Bytes &plane, Bytes &out) {
    size_t coded = 0;
    const auto packet = [&coded](size_t stop) { return std::min<size_t>(stop - coded, 128); };
    const auto put_literal = [&](size_t stop) {
        for (size_t n; (n = packet(stop)) > 0; coded += n) {
            out.push_back(static_cast<uint8_t>(-static_cast<int>(n)));
            out.insert(out.end(), &plane[coded], &plane[coded] + n);
        }
    };
    for (size_t run = 0, end = 0; run < plane.size(); run = end) {
        while (end < plane.size() && plane[end] == plane[run])
            ++end;
        if (end - run < 3)
            continue; // joins the literal
        put_literal(run);
        for (size_t n; (n = packet(end)) > 0; coded += n)
            out.insert(out.end(), {static_cast<uint8_t>(n - 1), plane[run]});
    }
    put_literal(plane.size());
}

// The reading rule one sample at a time; false when a plane does not come out at its exact length.
bool reference_decode(const Bytes &data, size_t count, size_t size, Bytes &samples) {
    size_t at = 0;
    for (size_t plane = size; plane-- > 0;) {
        for (size_t i = 0; i < count;) {
            if (at + 2 > data.size())
                return false;
            const int control = static_cast<int8_t>(data[at++]);
            const size_t n = static_cast<size_t>(control < 0 ? -control : control + 1);
            if (n > count - i || (control < 0 && n > data.size() - at))
                return false;
            for (const size_t stop = i + n; i < stop; ++i)
                samples[i * size + plane] = control < 0 ? data[at++] : data[at];
            at += control < 0 ? 0 : 1;
        }
    }
    return true;
}

// The codecs of samples of so many bytes, the slowest version first.
std::vector<const RowCodec *> versions(size_t size) {
    std::vector<const RowCodec *> there;
    for (const Vectors vectors : {Vectors::portable, Vectors::sse2, Vectors::avx2})
        if (const RowCodec *codec =
                row_codec(ZOR_C_INTEGER, static_cast<int32_t>(size) * 8, vectors))
            there.push_back(codec);
    return there;
}

Bytes encode(const Bytes &row, size_t size) {
    const RowCodec &codec = *versions(size)[0];
    const auto count = static_cast<int32_t>(row.size() / size);
    Bytes out(codec.max_encoded(count) + codec_slack);
    out.resize(codec.encode(row.data(), count, out.data()));
    return out;
}

constexpr uint8_t guard = 0xA5;

bool untouched_from(const Bytes &bytes, size_t first) {
    return std::all_of(bytes.begin() + static_cast<ptrdiff_t>(first), bytes.end(),
                       [](uint8_t byte) { return byte == guard; });
}

// Decodes records together, with exactly the slack around data and rows, and compares verdict and
// samples.
void expect_decode_as_reference(const std::vector<Bytes> &records, size_t count, size_t size) {
    bool good = true;
    std::vector<Bytes> expected, data;
    for (const Bytes &record : records) {
        good &= reference_decode(record, count, size, expected.emplace_back(count * size));
        Bytes &padded = data.emplace_back(record.size() + codec_slack, 1); // would do as data
        std::copy(record.begin(), record.end(), padded.begin());
    }
    for (const RowCodec *codec : versions(size)) {
        std::vector<Bytes> rows(records.size(), Bytes(count * size + codec_slack + 16, guard));
        EncodedRow encoded[most_rows];
        for (size_t i = 0; i < records.size(); ++i)
            encoded[i] = {data[i].data(), records[i].size(), rows[i].data()};
        ASSERT_EQ(good, codec->decode(encoded, static_cast<int>(records.size()),
                                      static_cast<int32_t>(count)));
        for (size_t i = 0; i < records.size(); ++i) {
            ASSERT_TRUE(untouched_from(rows[i], count * size + codec_slack));
            ASSERT_TRUE(!good ||
                        std::equal(expected[i].begin(), expected[i].end(), rows[i].begin()));
        }
    }
}

// Encodes a row as samples of the given size, compares every byte, and decodes it again. skip moves
// the row away from aligned addresses.
void expect_exact_bytes(const Bytes &row, size_t size, size_t skip = 0) {
    const size_t count = row.size() / size;
    Bytes expected;
    for (size_t plane = size; plane-- > 0;) {
        Bytes bytes(count);
        for (size_t i = 0; i < count; ++i)
            bytes[i] = row[i * size + plane];
        append_packets(bytes, expected);
    }
    Bytes in(skip + row.size());
    std::copy(row.begin(), row.end(), in.begin() + static_cast<ptrdiff_t>(skip));
    for (const RowCodec *codec : versions(size)) {
        const size_t most = codec->max_encoded(static_cast<int32_t>(count));
        ASSERT_LE(expected.size(), most);
        Bytes out(skip + most + codec_slack, guard);
        const size_t length =
            codec->encode(in.data() + skip, static_cast<int32_t>(count), &out[skip]);
        ASSERT_TRUE(untouched_from(out, std::min(out.size(), skip + length + codec_slack)));
        ASSERT_EQ(expected, Bytes(&out[skip], &out[skip] + length));
    }
    expect_decode_as_reference({expected}, count, size);
}

// Stretches of equal and of unlike bytes, or of equal ones only, the shortest and those around the
// limits of a packet more often than others.
Bytes random_row(size_t length, std::mt19937 &random) {
    Bytes row;
    const bool runs_only = random() % 3 == 0;
    while (row.size() < length) {
        const size_t lengths[] = {1 + random() % 4, 1 + random() % 40, 125 + random() % 6,
                                  1 + random() % 400};
        const size_t n = lengths[random() % std::size(lengths)];
        const size_t first = random();
        const size_t step = runs_only ? 0 : random() % 2;
        for (size_t i = 0; i < n; ++i)
            row.push_back(static_cast<uint8_t>(first + step * i));
    }
    row.resize(length);
    return row;
}

TEST(RowCodec, IsTheFastestVersionThereIs) {
    for (const size_t size : {1, 2, 4})
        EXPECT_EQ(row_codec(ZOR_C_INTEGER, static_cast<int32_t>(size) * 8), versions(size).back());
    if (versions(1).size() < 3)
        GTEST_SKIP() << "this processor does not run all versions: some are not tested";
}

TEST(RowCodec, WritesTheFixedBytes) {
    Bytes unlike(200);
    std::iota(unlike.begin(), unlike.end(), uint8_t{0});
    Bytes two_literals = unlike;
    two_literals.insert(two_literals.begin() + 128, static_cast<uint8_t>(-72));
    two_literals.insert(two_literals.begin(), 0x80);
    const struct {
        size_t size;
        Bytes row, record;
    } cases[] = {
        {1, {9, 9, 9, 1, 2}, {2, 9, 0xFE, 1, 2}},
        {1, {1, 9, 9, 2, 2}, {0xFB, 1, 9, 9, 2, 2}}, // two never make a run
        {1, Bytes(300, 7), {127, 7, 127, 7, 43, 7}},
        {1, unlike, two_literals},
        {2, {0x34, 0x12, 0x35, 0x12, 0x36, 0x12}, {2, 0x12, 0xFD, 0x34, 0x35, 0x36}},
        {4, {4, 3, 2, 1}, {0xFF, 1, 0xFF, 2, 0xFF, 3, 0xFF, 4}},
    };
    for (const auto &[size, row, record] : cases) {
        EXPECT_EQ(encode(row, size), record);
        expect_exact_bytes(row, size); // the reference agrees
    }
}

TEST(RowCodec, CodesEveryShortRow) {
    for (const auto &[letters, longest] : {std::pair<size_t, size_t>{2, 13}, {3, 9}})
        for (size_t length = 0, rows = 1; length <= longest; ++length, rows *= letters)
            for (size_t number = 0; number < rows; ++number) {
                Bytes row(length);
                for (size_t i = 0, rest = number; i < length; ++i, rest /= letters)
                    row[i] = static_cast<uint8_t>(rest % letters);
                ASSERT_NO_FATAL_FAILURE(expect_exact_bytes(row, 1));
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
                    ASSERT_NO_FATAL_FAILURE(expect_exact_bytes(row, 1, before));
                }
}

TEST(RowCodec, CodesRandomRowsOfAllSizes) {
    std::mt19937 random(1);
    for (const size_t size : {1, 2, 4})
        for (int round = 0; round < 400; ++round) {
            const size_t count = round == 0 ? 32768 : random() % (round % 8 == 0 ? 5000 : 300);
            ASSERT_NO_FATAL_FAILURE(
                expect_exact_bytes(random_row(count * size, random), size, random() % 16));
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

// One record, or several decoded together, of which one is wrong more often than not.
TEST(RowCodec, RefusesWhatTheRulesRefuse) {
    std::mt19937 random(2);
    for (const size_t size : {1, 2, 4}) {
        for (int round = 0; round < 4000; ++round) {
            size_t count = 4 + random() % (round % 4 == 0 ? 3000 : 200);
            std::vector<Bytes> records(1 + random() % most_rows);
            for (Bytes &record : records)
                record = round % 2 == 0 ? encode(random_row(count * size, random), size)
                                        : random_record(count, size, random);
            Bytes &data = records[random() % records.size()];
            const size_t kind = random() % 6;
            if (kind == 0) // cut off
                data.resize(random() % data.size());
            else if (kind == 1) // damaged
                data[random() % data.size()] ^= static_cast<uint8_t>(1 + random() % 255);
            else if (kind == 2) // something left over, which is good
                data.resize(data.size() + random() % 200, 0x80);
            else if (kind == 3) // a longer row's
                count = random() % count;
            else if (kind == 4)
                std::generate(data.begin(), data.end(), std::ref(random));
            ASSERT_NO_FATAL_FAILURE(expect_decode_as_reference(records, count, size));
        }
    }
}

TEST(RowCodec, KeepsFloatsAsTheyAre) {
    for (const auto &[type, bits] : {std::pair{ZOR_C_FLOAT, 32}, {ZOR_C_DOUBLE, 64}}) {
        const RowCodec &codec = *row_codec(type, bits);
        ASSERT_EQ(codec.sample_size * 8, bits);
        const Bytes row = {0, 0, 0xC0, 0x7F, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0xF8, 0x7F};
        const int32_t count = 16 / codec.sample_size;
        Bytes out(codec.max_encoded(count) + codec_slack);
        ASSERT_EQ(codec.encode(row.data(), count, out.data()), row.size());
        Bytes back(row.size());
        const EncodedRow whole = {out.data(), row.size(), back.data()};
        EXPECT_TRUE(codec.decode(&whole, 1, count));
        EXPECT_EQ(back, row);
        Bytes other(row.size());
        const EncodedRow rows[] = {whole, {out.data(), row.size() - 1, other.data()}};
        EXPECT_FALSE(codec.decode(rows, 2, count));
    }
}

TEST(RowCodec, ExistsForStorableChannelsOnly) {
    for (const auto &[type, bits] : {std::pair{0, 8},
                                     {4, 32},
                                     {ZOR_C_INTEGER, 0},
                                     {ZOR_C_INTEGER, 33},
                                     {ZOR_C_FLOAT, 64},
                                     {ZOR_C_DOUBLE, 32}})
        EXPECT_EQ(row_codec(type, bits), nullptr) << type << ' ' << bits;
}

} // namespace
