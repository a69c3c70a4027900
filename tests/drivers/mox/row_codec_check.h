// row_codec_check.h - whether the row codec, in every version that can run here, does what a plain
// transcription of its rules does.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "drivers/mox/row_codec.h"
#include "zor/driver.h"

namespace row_codec_check {

using zor::mox::codec_slack;
using zor::mox::RowCodec;
using Bytes = std::vector<uint8_t>; // of exactly their size, for a sanitizer to guard

// One of each size and coding. Floats are not coded.
struct Kind {
    int32_t type, bits;
    [[nodiscard]] size_t size() const { return static_cast<size_t>(ZOR_sample_size(type, bits)); }
};
constexpr Kind kinds[] = {{ZOR_C_INTEGER, 8},
                          {ZOR_C_INTEGER, 12},
                          {ZOR_C_INTEGER, 32},
                          {ZOR_C_FLOAT, 32},
                          {ZOR_C_DOUBLE, 64}};

// The encoding rule, one run of equal bytes after the other.
inline void append_packets(const Bytes &plane, Bytes &out) {
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

inline Bytes encode(const Bytes &row, const Kind &kind) {
    if (kind.type != ZOR_C_INTEGER)
        return row;
    Bytes record;
    for (size_t plane = kind.size(); plane-- > 0;) {
        Bytes bytes;
        for (size_t i = plane; i < row.size(); i += kind.size())
            bytes.push_back(row[i]);
        append_packets(bytes, record);
    }
    return record;
}

// The reading rule one sample at a time; false when a plane does not come out at its exact length.
inline bool decode(const Bytes &data, size_t count, const Kind &kind, Bytes &samples) {
    const size_t size = kind.size();
    samples.resize(count * size);
    if (kind.type != ZOR_C_INTEGER) {
        std::copy_n(data.begin(), std::min(data.size(), samples.size()), samples.begin());
        return data.size() >= samples.size();
    }
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

// The slowest version first.
inline std::vector<const RowCodec *> versions(const Kind &kind) {
    using zor::mox::Vectors;
    std::vector<const RowCodec *> there;
    for (const Vectors vectors : {Vectors::portable, Vectors::sse2, Vectors::avx2})
        if (const RowCodec *codec = zor::mox::row_codec(kind.type, kind.bits, vectors))
            there.push_back(codec);
    return there;
}

constexpr uint8_t guard = 0xA5;

inline bool untouched_from(const Bytes &bytes, size_t first) {
    return std::all_of(bytes.begin() + static_cast<ptrdiff_t>(first), bytes.end(),
                       [](uint8_t byte) { return byte == guard; });
}

// Decodes at most most_rows records together, with exactly the slack around data and rows, and
// compares verdict and samples.
inline bool decodes_alike(const std::vector<Bytes> &records, size_t count, const Kind &kind) {
    bool good = true;
    std::vector<Bytes> expected, data;
    for (const Bytes &record : records) {
        good &= decode(record, count, kind, expected.emplace_back());
        Bytes &padded = data.emplace_back(record.size() + codec_slack, 1); // would do as data
        std::copy(record.begin(), record.end(), padded.begin());
    }
    for (const RowCodec *codec : versions(kind)) {
        const size_t end = count * kind.size() + codec_slack;
        std::vector<Bytes> rows(records.size(), Bytes(end + 16, guard));
        std::vector<zor::mox::EncodedRow> encoded;
        for (size_t i = 0; i < records.size(); ++i)
            encoded.push_back({data[i].data(), records[i].size(), rows[i].data()});
        if (good != codec->decode(encoded.data(), static_cast<int>(records.size()),
                                  static_cast<int32_t>(count)))
            return false;
        for (size_t i = 0; i < records.size(); ++i)
            if (!untouched_from(rows[i], end) ||
                (good && !std::equal(expected[i].begin(), expected[i].end(), rows[i].begin())))
                return false;
    }
    return true;
}

// Encodes a row, compares every byte, and decodes it again. skip moves the row away from aligned
// addresses.
inline bool codes_alike(const Bytes &row, const Kind &kind, size_t skip = 0) {
    const size_t count = row.size() / kind.size();
    const Bytes expected = encode(row, kind);
    Bytes in(skip + row.size());
    std::copy(row.begin(), row.end(), in.begin() + static_cast<ptrdiff_t>(skip));
    for (const RowCodec *codec : versions(kind)) {
        const size_t most = codec->max_encoded(static_cast<int32_t>(count));
        Bytes out(skip + most + codec_slack, guard);
        const size_t length =
            codec->encode(in.data() + skip, static_cast<int32_t>(count), out.data() + skip);
        if (length > most || length != expected.size() ||
            !untouched_from(out, std::min(out.size(), skip + length + codec_slack)) ||
            !std::equal(expected.begin(), expected.end(), out.data() + skip))
            return false;
    }
    const Bytes cut_off(expected.begin(), expected.end() - (expected.empty() ? 0 : 1));
    return decodes_alike({expected}, count, kind) && decodes_alike({cut_off}, count, kind);
}

} // namespace row_codec_check
