// row_codec.cpp - the row codec stays within its buffers on any data, and gives back what it coded.
//
// The first byte of an input chooses the coding and its version, the next two the number of samples.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "drivers/mox/row_codec.h"
#include "zor/records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

using zor::mox::codec_slack;
using zor::mox::EncodedRow;
using zor::mox::most_rows;
using zor::mox::RowCodec;
using zor::mox::Vectors;

namespace {

using Bytes = std::unique_ptr<uint8_t[]>;

// Of exactly this size and on the heap, for the sanitizer to guard.
Bytes make_bytes(size_t size) { return std::make_unique<uint8_t[]>(size); }

void check(bool good) {
    if (!good)
        std::abort();
}

bool decode(const RowCodec &codec, const uint8_t *data, size_t size, int32_t count, uint8_t *row) {
    const EncodedRow encoded = {data, size, row};
    return codec.decode(&encoded, 1, count);
}

// Rows come out together as they do one by one. Takes the data for so many records of equal size.
void decode_together(const RowCodec &codec, const uint8_t *data, size_t size, int num_rows,
                     int32_t count) {
    size /= static_cast<size_t>(num_rows);
    const auto row_size = static_cast<size_t>(count) * static_cast<size_t>(codec.sample_size);
    Bytes records[most_rows];
    Bytes expected[most_rows];
    Bytes rows[most_rows];
    EncodedRow encoded[most_rows];
    bool good = true;
    for (int i = 0; i < num_rows; ++i, data += size) {
        records[i] = make_bytes(size + codec_slack);
        std::memcpy(records[i].get(), data, size);
        expected[i] = make_bytes(row_size + codec_slack);
        good &= decode(codec, records[i].get(), size, count, expected[i].get());
        rows[i] = make_bytes(row_size + codec_slack);
        encoded[i] = {records[i].get(), size, rows[i].get()};
    }
    check(codec.decode(encoded, num_rows, count) == good);
    for (int i = 0; good && i < num_rows; ++i)
        check(std::memcmp(rows[i].get(), expected[i].get(), row_size) == 0);
}

void decode_anything(const RowCodec &codec, const uint8_t *data, size_t size, int32_t count) {
    const Bytes record = make_bytes(size + codec_slack);
    std::memcpy(record.get(), data, size);
    const auto row_size = static_cast<size_t>(count) * static_cast<size_t>(codec.sample_size);
    const Bytes row = make_bytes(row_size + codec_slack);
    if (!decode(codec, record.get(), size, count, row.get()))
        return;
    // What was decoded can be coded again, in no more than the most there may be.
    const Bytes again = make_bytes(codec.max_encoded(count) + codec_slack);
    check(codec.encode(row.get(), count, again.get()) <= codec.max_encoded(count));
}

void code_and_decode(const RowCodec &codec, const uint8_t *data, size_t size) {
    const auto count = static_cast<int32_t>(size / static_cast<size_t>(codec.sample_size));
    if (count == 0)
        return;
    const auto row_size = static_cast<size_t>(count) * static_cast<size_t>(codec.sample_size);
    const Bytes row = make_bytes(row_size + codec_slack);
    std::memcpy(row.get(), data, row_size);
    const Bytes record = make_bytes(codec.max_encoded(count) + codec_slack);
    const size_t length = codec.encode(row.get(), count, record.get());
    check(length <= codec.max_encoded(count));

    const Bytes back = make_bytes(row_size + codec_slack);
    check(decode(codec, record.get(), length, count, back.get()));
    check(std::memcmp(back.get(), data, row_size) == 0);
    check(!decode(codec, record.get(), length - 1, count, back.get())); // no byte too many
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr struct {
        int32_t type, bits;
    } kinds[] = {{ZOR_C_INTEGER, 8},
                 {ZOR_C_INTEGER, 12},
                 {ZOR_C_INTEGER, 32},
                 {ZOR_C_FLOAT, 32},
                 {ZOR_C_DOUBLE, 64}};
    if (size < 4)
        return 0;
    constexpr size_t num_kinds = sizeof kinds / sizeof kinds[0];
    const auto &kind = kinds[data[0] % num_kinds];
    constexpr Vectors versions[] = {Vectors::avx2, Vectors::sse2, Vectors::portable};
    const RowCodec *version =
        zor::mox::row_codec(kind.type, kind.bits, versions[data[0] / num_kinds % 3]);
    if (version == nullptr) // the processor cannot run it
        version = zor::mox::row_codec(kind.type, kind.bits);
    const RowCodec &codec = *version;
    const int32_t count = (data[1] << 8 | data[2]) % 32768 + 1;
    decode_anything(codec, data + 3, size - 3, count);
    decode_anything(codec, data + 3, size - 3, count % 100 + 1);
    for (int num_rows = 2; num_rows <= most_rows; ++num_rows)
        decode_together(codec, data + 3, size - 3, num_rows, count % 300 + 1);
    code_and_decode(codec, data + 3, size - 3);
    return 0;
}
